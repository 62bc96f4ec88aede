// CCounter64 (tag 70): an unsigned 64-bit counter (RFC 2578), all 64 bits both ways.
#pragma once

#include <string_view>

#include "snmp/asn_data_type.h"

namespace snmp {

class CCounter64 final : public CASNDataType {
 public:
  CCounter64() : CASNDataType(kTagCounter64) {}
  explicit CCounter64(std::uint64_t value) : CASNDataType(kTagCounter64), value_(value) {}
  // Decimal text; text that is not a number gives 0.
  explicit CCounter64(std::wstring_view text);

  std::uint64_t Value() const { return value_; }
  void SetValue(std::uint64_t value) { value_ = value; }

 protected:
  bool EncodeContent(CBerWriter& out) override;
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  std::uint64_t value_ = 0;
};

}  // namespace snmp
