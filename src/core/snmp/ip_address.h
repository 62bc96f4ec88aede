// CIPAddress (tag 64): held as its bytes, never through a text conversion, so every address
// travels exactly.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "snmp/asn_data_type.h"

namespace snmp {

class CIPAddress final : public CASNDataType {
 public:
  CIPAddress() : CASNDataType(kTagIpAddress) {}
  // Dotted text: shorter than 16 characters, exactly three dots, four parts of 1 to 3
  // characters, each read as a decimal number from 0 to 255 (a part that is not a number counts
  // as 0). Anything else leaves the address empty; an empty address encodes an empty content.
  explicit CIPAddress(std::wstring_view text) : CIPAddress() { SetFromText(text); }

  void SetFromText(std::wstring_view text);
  // The held bytes, each as a decimal number, joined by dots; empty when the address is.
  std::wstring ToText() const;
  std::span<const std::uint8_t> Octets() const { return {octets_.data(), octets_.size()}; }

 protected:
  bool EncodeContent(CBerWriter& out) override;
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  // A received address keeps whatever length the peer sent.
  tvkutil::CSmallVector<std::uint8_t, 16> octets_;
};

}  // namespace snmp
