// CIPAddress (tag 64): held as one character per address byte (code points 0 to 255), never
// through UTF-8, so every address travels exactly.
#pragma once

#include <string>

#include "snmp/asn_data_type.h"

namespace snmp {

class CIPAddress : public CASNDataType {
 public:
  CIPAddress() : CASNDataType(kTagIpAddress) {}
  // Dotted text: shorter than 16 characters, exactly three dots, four parts of 1 to 3
  // characters, each read as a decimal number from 0 to 255 (a part that is not a number counts
  // as 0). Anything else leaves the address empty; an empty address encodes an empty content.
  explicit CIPAddress(const std::wstring& text) : CIPAddress() { SetFromText(text); }

  void SetFromText(const std::wstring& text);
  // The held bytes, each as a decimal number, joined by dots; empty when the address is.
  std::wstring ToText() const;
  const std::wstring& Octets() const { return octets_; }

 protected:
  bool EncodeContent(CBerWriter& out) override;
  int DecodeContent(CBerReader& in) override;

 private:
  std::wstring octets_;
};

}  // namespace snmp
