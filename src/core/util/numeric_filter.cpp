#include "util/numeric_filter.h"

#include <clocale>
#include <cstdio>

#include "util/text.h"

namespace tvkutil {

namespace {

bool IsDigit(wchar_t ch) {
  return ch >= L'0' && ch <= L'9';
}

}  // namespace

bool IsNumericCharAllowed(int base, wchar_t ch) {
  switch (base) {
    case kBaseSignedDecimal:
      return IsDigit(ch) || ch == L'-';
    case kBaseUnsignedDecimal:
      return IsDigit(ch);
    case kBaseOctal:
      return ch >= L'0' && ch <= L'7';
    case kBaseHexadecimal:
      return IsDigit(ch) || (ch >= L'a' && ch <= L'f') || (ch >= L'A' && ch <= L'F');
    default:
      return false;
  }
}

bool IsRealNumCharAllowed(wchar_t ch, wchar_t decimal_separator) {
  return IsDigit(ch) || ch == decimal_separator || ch == L'E' || ch == L'e' || ch == L'-';
}

wchar_t LocaleDecimalSeparator() {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%f", 1.1);
  // Some locales use a separator of more than one byte (U+066B); read it as UTF-8.
  const std::wstring text = FromUtf8Lenient(buf);
  return text.size() > 1 ? text[1] : L'.';
}

std::wstring NumericValueToText(int base, std::uint32_t value) {
  switch (base) {
    case kBaseSignedDecimal:
      return FormatN(L"%d", SIZE_MAX, static_cast<std::int32_t>(value));
    case kBaseUnsignedDecimal:
      return FormatN(L"%u", SIZE_MAX, value);
    case kBaseOctal: {
      // Format has no %o; octal is short enough to build by hand.
      std::wstring out;
      do {
        out.insert(out.begin(), static_cast<wchar_t>(L'0' + (value & 7)));
        value >>= 3;
      } while (value != 0);
      return out;
    }
    case kBaseHexadecimal:
      return FormatN(L"%X", SIZE_MAX, value);
    default:
      return {};
  }
}

std::uint32_t NumericTextToValue(int base, std::wstring_view text) {
  switch (base) {
    case kBaseSignedDecimal:
      return static_cast<std::uint32_t>(Wtoi(text));
    case kBaseUnsignedDecimal:
      return WcsToU32InBase(text, 10);
    case kBaseOctal:
      return WcsToU32InBase(text, 8);
    case kBaseHexadecimal:
      return WcsToU32InBase(text, 16);
    default:
      return 0;
  }
}

}  // namespace tvkutil
