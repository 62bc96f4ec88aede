// CUnsigned32 (tag 71) and the types that share its codec: Counter32, Gauge32, TimeTicks.
#pragma once

#include <string_view>

#include "snmp/asn_data_type.h"

namespace snmp {

class CUnsigned32 : public CASNDataType {
 public:
  CUnsigned32() : CUnsigned32(kTagUnsigned32, 0U) {}
  explicit CUnsigned32(std::uint32_t value) : CUnsigned32(kTagUnsigned32, value) {}
  // Base 0 ("0x1F" hex, "010" octal); text that is not a number gives 0.
  explicit CUnsigned32(std::wstring_view text) : CUnsigned32(kTagUnsigned32, text) {}

  std::uint32_t Value() const { return value_; }
  void SetValue(std::uint32_t value) { value_ = value; }

 protected:
  CUnsigned32(AsnTag tag, std::uint32_t value) : CASNDataType(tag), value_(value) {}
  CUnsigned32(AsnTag tag, std::wstring_view text);

  bool EncodeContent(CBerWriter& out) override;
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  std::uint32_t value_ = 0;
};

// The derived types only carry their own tag.
class CCounter32 : public CUnsigned32 {
 public:
  CCounter32() : CUnsigned32(kTagCounter32, 0U) {}
  explicit CCounter32(std::uint32_t value) : CUnsigned32(kTagCounter32, value) {}
  explicit CCounter32(std::wstring_view text) : CUnsigned32(kTagCounter32, text) {}
};

class CGauge32 : public CUnsigned32 {
 public:
  CGauge32() : CUnsigned32(kTagGauge32, 0U) {}
  explicit CGauge32(std::uint32_t value) : CUnsigned32(kTagGauge32, value) {}
  explicit CGauge32(std::wstring_view text) : CUnsigned32(kTagGauge32, text) {}
};

// TimeTicks counts hundredths of a second.
class CTimeTicks : public CUnsigned32 {
 public:
  CTimeTicks() : CUnsigned32(kTagTimeTicks, 0U) {}
  explicit CTimeTicks(std::uint32_t value) : CUnsigned32(kTagTimeTicks, value) {}
  explicit CTimeTicks(std::wstring_view text) : CUnsigned32(kTagTimeTicks, text) {}
};

}  // namespace snmp
