// COctetString (tag 4) and COpaque (tag 68): string values, held as the bytes that go on the
// wire (UTF-8 for text a user typed) and turned into text only when someone reads it.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "snmp/asn_data_type.h"

namespace snmp {

// The bytes of a string value. As many are held in place as an identifier's arcs take, so a
// binding's value slot is no larger for it; longer strings go to the heap.
using COctets = tvkutil::CSmallVector<std::uint8_t, 112>;

class COctetString : public CASNDataType {
 public:
  COctetString() : CASNDataType(kTagOctetString) {}
  explicit COctetString(std::wstring_view text) : CASNDataType(kTagOctetString) { SetText(text); }

  // The value as text. Text a user gave comes back as given (code points that UTF-8 cannot
  // carry read as U+FFFD). Received content becomes text when it is valid UTF-8 made of
  // printable characters and white space (a zero byte only as the last byte); anything else
  // becomes lower-case hex pairs separated by blanks ("00 1a ff").
  std::wstring Text() const;
  void SetText(std::wstring_view text);
  // The content bytes, as sent or as received.
  std::span<const std::uint8_t> Bytes() const { return {bytes_.data(), bytes_.size()}; }

 protected:
  COctetString(AsnTag tag, std::wstring_view text) : CASNDataType(tag) { SetText(text); }

  // The content is the held bytes; its length is their count.
  bool EncodeContent(CBerWriter& out) override;
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  COctets bytes_;
  bool received_ = false;  // decoded from a message rather than built from text
};

class COpaque : public COctetString {
 public:
  COpaque() : COctetString(kTagOpaque, {}) {}
  explicit COpaque(std::wstring_view text) : COctetString(kTagOpaque, text) {}
};

// The text rule of received octet strings, for callers that hold raw bytes.
std::wstring OctetsToText(const std::uint8_t* bytes, std::uint32_t bytes_len);
// Bytes as lower-case hex pairs separated by blanks ("00 1a ff"), as values that are not text
// are shown.
std::wstring HexPairsText(std::span<const std::uint8_t> bytes);

}  // namespace snmp
