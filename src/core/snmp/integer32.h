// CInteger32: INTEGER (tag 2), signed 32 bits.
#pragma once

#include <string_view>

#include "snmp/asn_data_type.h"

namespace snmp {

class CInteger32 final : public CASNDataType {
 public:
  CInteger32() : CASNDataType(kTagInteger32) {}
  explicit CInteger32(std::int32_t value) : CASNDataType(kTagInteger32), value_(value) {}
  // Decimal text; text that is not a number gives 0, too large a number saturates.
  explicit CInteger32(std::wstring_view text);

  std::int32_t Value() const { return value_; }
  void SetValue(std::int32_t value) { value_ = value; }

 protected:
  bool EncodeContent(CBerWriter& out) override;
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  std::int32_t value_ = 0;
};

}  // namespace snmp
