// The filters behind the numeric fields; typing and pasting through them is covered by the
// widget tests.
#include "util/numeric_filter.h"

#include <gtest/gtest.h>

#include "util/text.h"

namespace {

using namespace tvkutil;

TEST(NumericFilterTest, AllowedCharactersPerBase) {
  const struct {
    int base;
    const wchar_t* allowed;
    const wchar_t* refused;
  } cases[] = {
      {kBaseSignedDecimal, L"0123456789-", L"+ .aAfx"},
      {kBaseUnsignedDecimal, L"0123456789", L"-+ .aA"},
      {kBaseOctal, L"01234567", L"89-aA"},
      {kBaseHexadecimal, L"0123456789abcdefABCDEF", L"gGxX- "},
      {4, L"", L"0159aA-"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "base " << c.base);
    for (const wchar_t* p = c.allowed; *p != 0; ++p)
      EXPECT_TRUE(IsNumericCharAllowed(c.base, *p));
    for (const wchar_t* p = c.refused; *p != 0; ++p)
      EXPECT_FALSE(IsNumericCharAllowed(c.base, *p));
  }
  for (wchar_t c : std::wstring(L"0789,Ee-"))
    EXPECT_TRUE(IsRealNumCharAllowed(c, L','));
  for (wchar_t c : std::wstring(L".+ x"))
    EXPECT_FALSE(IsRealNumCharAllowed(c, L','));
  EXPECT_EQ(LocaleDecimalSeparator(), L'.');  // the tests run in the C locale
}

TEST(NumericFilterTest, TextToValueAndBack) {
  const struct {
    int base;
    const wchar_t* text;
    std::uint32_t value;
    bool shown_back;  // the value reads back as the same text
  } cases[] = {
      {kBaseSignedDecimal, L"-5", 0xFFFFFFFBu, true},
      {kBaseSignedDecimal, L"--5", 0, false},  // two minus signs can be typed; reads as 0
      {kBaseSignedDecimal, L"5-", 5, false},   // a minus after the digits is ignored
      {kBaseSignedDecimal, L"99999999999", 0x7FFFFFFF, false},
      {kBaseUnsignedDecimal, L"4294967295", 4294967295u, true},
      {kBaseUnsignedDecimal, L"010", 10, false},  // decimal, not octal
      {kBaseUnsignedDecimal, L"99999999999", 0xFFFFFFFF, false},
      {kBaseUnsignedDecimal, L"", 0, false},
      {kBaseOctal, L"10", 8, true},
      {kBaseOctal, L"0", 0, true},
      {kBaseHexadecimal, L"DEADBEEF", 0xDEADBEEF, true},
      {kBaseHexadecimal, L"0x1A", 26, false},
      {9, L"12", 0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "base " << c.base << " text " << ToUtf8(c.text));
    EXPECT_EQ(NumericTextToValue(c.base, c.text), c.value);
    if (c.shown_back) {
      EXPECT_EQ(NumericValueToText(c.base, c.value), c.text);
    }
  }
  EXPECT_EQ(NumericValueToText(7, 1), L"");
}

}  // namespace
