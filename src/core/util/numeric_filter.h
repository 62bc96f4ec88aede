// The character rules of the numeric entry fields, kept apart from the widgets so that the
// rules can be tested without a window: which characters a field takes as they are typed or
// pasted, how a value is shown in the field's base, and how the field's text reads as a value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tvkutil {

// Number bases of a whole-number field. Other values are possible (the base is an int) and
// allow no character at all.
inline constexpr int kBaseSignedDecimal = 0;
inline constexpr int kBaseUnsignedDecimal = 1;  // the default of a new field
inline constexpr int kBaseOctal = 2;
inline constexpr int kBaseHexadecimal = 3;

// Whether a whole-number field of the base takes the character. The test is per character,
// not per position: a signed field takes "-" anywhere, even twice.
bool IsNumericCharAllowed(int base, wchar_t ch);

// Whether a real-number field takes the character: digits, the separator, "E", "e", "-".
bool IsRealNumCharAllowed(wchar_t ch, wchar_t decimal_separator);

// The decimal point of the current C locale (what "%f" puts into 1.1); "." in the C locale.
wchar_t LocaleDecimalSeparator();

// A value as the field of the base shows it: "%d", "%u", "%o" or "%X"; empty for another base.
std::wstring NumericValueToText(int base, std::uint32_t value);

// The field's text as a value: a signed decimal reads as a 32-bit signed number (so "--5" is
// 0 and "-5" is 0xFFFFFFFB); the other bases read as unsigned numbers in their base. Text
// that is not a number gives 0; another base gives 0.
std::uint32_t NumericTextToValue(int base, std::wstring_view text);

// Pasting: the characters of text that pass the test, in order; out_refused counts the others
// (each one is a beep).
template <typename Allowed>
std::wstring FilterChars(std::wstring_view text, Allowed allowed, std::size_t& out_refused) {
  std::wstring kept;
  out_refused = 0;
  for (wchar_t c : text) {
    if (allowed(c)) {
      kept.push_back(c);
    } else {
      ++out_refused;
    }
  }
  return kept;
}

}  // namespace tvkutil
