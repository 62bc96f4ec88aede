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
      {-1, L"", L"0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "base " << c.base);
    for (const wchar_t* p = c.allowed; *p != 0; ++p)
      EXPECT_TRUE(IsNumericCharAllowed(c.base, *p));
    for (const wchar_t* p = c.refused; *p != 0; ++p)
      EXPECT_FALSE(IsNumericCharAllowed(c.base, *p));
  }
}

TEST(NumericFilterTest, RealNumbersTakeDigitsSeparatorExponentAndMinus) {
  for (wchar_t c : std::wstring(L"0789,Ee-"))
    EXPECT_TRUE(IsRealNumCharAllowed(c, L','));
  for (wchar_t c : std::wstring(L".+ x"))
    EXPECT_FALSE(IsRealNumCharAllowed(c, L','));
  EXPECT_EQ(LocaleDecimalSeparator(), L'.');  // the tests run in the C locale
}

TEST(NumericFilterTest, ValueToTextAndBack) {
  const struct {
    int base;
    std::uint32_t value;
    const wchar_t* text;
  } cases[] = {
      {kBaseSignedDecimal, 0xFFFFFFFBu, L"-5"},
      {kBaseUnsignedDecimal, 4294967295u, L"4294967295"},
      {kBaseOctal, 8, L"10"},
      {kBaseOctal, 0, L"0"},
      {kBaseHexadecimal, 255, L"FF"},
      {kBaseHexadecimal, 0xDEADBEEF, L"DEADBEEF"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "base " << c.base << " value " << c.value);
    EXPECT_EQ(NumericValueToText(c.base, c.value), c.text);
    EXPECT_EQ(NumericTextToValue(c.base, c.text), c.value);
  }
  EXPECT_EQ(NumericValueToText(7, 1), L"");
}

TEST(NumericFilterTest, ReadsTypedTextTheWayTheFieldDoes) {
  const struct {
    int base;
    const wchar_t* text;
    std::uint32_t value;
  } cases[] = {
      {kBaseSignedDecimal, L"--5", 0},  // two minus signs can be typed; reads as 0
      {kBaseSignedDecimal, L"5-", 5},   // a minus after the digits is ignored
      {kBaseSignedDecimal, L"99999999999", 0x7FFFFFFF},
      {kBaseUnsignedDecimal, L"010", 10},  // decimal, not octal
      {kBaseUnsignedDecimal, L"99999999999", 0xFFFFFFFF},
      {kBaseUnsignedDecimal, L"", 0},
      {kBaseOctal, L"777", 511},
      {kBaseHexadecimal, L"ff", 255},
      {kBaseHexadecimal, L"0x1A", 26},
      {9, L"12", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "base " << c.base << " text " << tvkutil::ToUtf8(c.text));
    EXPECT_EQ(NumericTextToValue(c.base, c.text), c.value);
  }
}

TEST(NumericFilterTest, PastingKeepsAllowedCharactersAndCountsTheRest) {
  std::size_t refused = 99;
  const auto unsigned_field = [](wchar_t c) {
    return IsNumericCharAllowed(kBaseUnsignedDecimal, c);
  };
  EXPECT_EQ(FilterChars(L"12a3", unsigned_field, refused), L"123");
  EXPECT_EQ(refused, 1u);
  const auto octal_field = [](wchar_t c) { return IsNumericCharAllowed(kBaseOctal, c); };
  EXPECT_EQ(FilterChars(L"1829", octal_field, refused), L"12");
  EXPECT_EQ(refused, 2u);
}

}  // namespace
