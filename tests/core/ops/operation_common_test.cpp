// The value text test that every operation and the varbind editor share.
#include "ops/operation_common.h"

#include <gtest/gtest.h>

#include "snmp/asn_data_type.h"

namespace {

using namespace snmp;

TEST(ValueText, NumbersMustBeWholeAndFitTheirType) {
  const struct {
    std::uint32_t tag;
    const wchar_t* text;
    bool valid;
  } cases[] = {
      {kTagInteger32, L"-2147483648", true},
      {kTagInteger32, L"2147483647", true},
      {kTagInteger32, L"-2147483649", false},
      {kTagInteger32, L"2147483648", false},
      {kTagInteger32, L"99999999999", false},
      {kTagInteger32, L"010", true},  // decimal ten
      {kTagInteger32, L"0x1F", false},
      {kTagInteger32, L"-", false},
      {kTagCounter32, L"0", true},
      {kTagCounter32, L"4294967295", true},
      {kTagCounter32, L"4294967296", false},
      {kTagCounter32, L"-1", false},
      {kTagGauge32, L"0x1F", true},
      {kTagGauge32, L"0xFFFFFFFF", true},
      {kTagGauge32, L"0x100000000", false},
      {kTagGauge32, L"0x", false},
      {kTagGauge32, L"300.1.1.1", false},
      {kTagUnsigned32, L"010", true},  // octal eight
      {kTagUnsigned32, L"037777777777", true},
      {kTagUnsigned32, L"040000000000", false},
      {kTagUnsigned32, L"08", false},
      {kTagTimeTicks, L"abc", false},
      {kTagCounter64, L"18446744073709551615", true},
      {kTagCounter64, L"18446744073709551616", false},
      {kTagCounter64, L"0x1F", false},
      {kTagOid, L".1.3.6.1", true},
      {kTagOid, L"1.3.", false},
      {kTagIpAddress, L"10.0.0.1", true},
      {kTagIpAddress, L"300.1.1.1", false},
      {kTagOctetString, L" any text ", true},
      {kTagNull, L"x", true},
      {kTagNoSuchObject, L"x", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.tag << " '" << std::wstring(c.text) << "'");
    EXPECT_EQ(pages::IsValidValueText(c.tag, c.text), c.valid);
  }
  // What no number of any type may look like.
  for (std::uint32_t tag :
       {kTagInteger32, kTagCounter32, kTagGauge32, kTagUnsigned32, kTagTimeTicks, kTagCounter64}) {
    for (const wchar_t* bad : {L"", L"abc", L"12x", L"1.5", L" 7", L"7 ", L"+7"}) {
      SCOPED_TRACE(testing::Message() << tag << " '" << std::wstring(bad) << "'");
      EXPECT_FALSE(pages::IsValidValueText(tag, bad));
    }
  }
}

}  // namespace
