// COctetString (tag 4) and COpaque (tag 68): text values, UTF-8 on the wire.
#pragma once

#include <string>

#include "snmp/asn_data_type.h"

namespace snmp {

class COctetString : public CASNDataType {
 public:
  COctetString() : CASNDataType(kTagOctetString) {}
  explicit COctetString(std::wstring text)
      : CASNDataType(kTagOctetString), text_(std::move(text)) {}

  const std::wstring& Text() const { return text_; }
  void SetText(std::wstring text) { text_ = std::move(text); }

 protected:
  COctetString(AsnTag tag, std::wstring text) : CASNDataType(tag), text_(std::move(text)) {}

  // The content is the text in UTF-8; its length is the byte count.
  bool EncodeContent(CBerWriter& out) override;
  // Received content becomes text when it is valid UTF-8 made of printable characters and white
  // space (a zero byte only as the last byte); anything else becomes lower-case hex pairs
  // separated by blanks ("00 1a ff").
  int DecodeContent(CBerReader& in) override;

 private:
  std::wstring text_;
};

class COpaque : public COctetString {
 public:
  COpaque() : COctetString(kTagOpaque, {}) {}
  explicit COpaque(std::wstring text) : COctetString(kTagOpaque, std::move(text)) {}
};

// The text rule of received octet strings, for callers that hold raw bytes.
std::wstring OctetsToText(const std::uint8_t* bytes, std::uint32_t bytes_len);

}  // namespace snmp
