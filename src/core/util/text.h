// Text helpers shared by the whole program (namespace tvkutil).
//
// The core keeps text as std::wstring (one wchar_t per code point on Linux); UTF-8 is used only
// where bytes leave or enter the program. Number readers mirror the C library functions the
// pages were designed around, so "12abc" reads as 12 and "abc" as 0, never as an error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

namespace tvkutil {

// The value of a hexadecimal digit of either case, or -1.
inline int HexDigitValue(wchar_t c) {
  if (c >= L'0' && c <= L'9')
    return c - L'0';
  if (c >= L'a' && c <= L'f')
    return c - L'a' + 10;
  if (c >= L'A' && c <= L'F')
    return c - L'A' + 10;
  return -1;
}

// Wide text to UTF-8. Code points that cannot be encoded (surrogates, > U+10FFFF) become U+FFFD.
std::string ToUtf8(std::wstring_view text);

// Strict UTF-8 to wide text. Returns false (and leaves out_text unspecified) on any malformed,
// overlong or surrogate sequence; an embedded zero byte becomes a zero character.
[[nodiscard]] bool FromUtf8(const std::uint8_t* bytes, std::size_t bytes_len,
                            std::wstring& out_text);

// Lenient UTF-8 to wide text: malformed sequences become U+FFFD. For file names and messages.
std::wstring FromUtf8Lenient(std::string_view bytes);

// Decimal text to int: leading blanks, optional sign, digits; stops at the first other
// character; saturates at INT32_MIN / INT32_MAX on overflow; no digits gives 0.
std::int32_t Wtoi(std::wstring_view text);

// Unsigned 32-bit reading with base 0 ("0x" hex, leading 0 octal): a minus sign negates modulo
// 2^32, a value beyond 32 bits saturates at 0xFFFFFFFF, text that is not a number gives 0.
std::uint32_t WcsToU32(std::wstring_view text);

// Unsigned 64-bit decimal reading with the same sign and saturation rules on 64 bits.
std::uint64_t WcsToU64(std::wstring_view text);

// Case-insensitive comparison of wide text (simple per-character folding).
bool EqualsNoCase(std::wstring_view a, std::wstring_view b);

// One argument of Format. Held by value or view; the caller's strings must outlive the call.
using FormatArg = std::variant<std::int64_t, std::uint64_t, std::wstring_view>;

// printf-style formatting over wide text without C varargs. Understands %s, %d, %i, %u, %x, %X,
// %I64u, %llu, %lu, %ld, %c, %% with optional '-', '0' and width (as in "%02x"). A conversion
// whose argument is missing or of the wrong kind is written out literally, so a bad format text
// can never read past its arguments. The result is cut to max_len characters.
std::wstring Format(std::wstring_view format, std::initializer_list<FormatArg> args,
                    std::size_t max_len = SIZE_MAX);

// Convenience overloads so call sites can pass ints, unsigned and strings directly.
inline FormatArg Arg(int v) {
  return std::int64_t{v};
}
inline FormatArg Arg(long v) {
  return std::int64_t{v};
}
inline FormatArg Arg(long long v) {
  return std::int64_t{v};
}
inline FormatArg Arg(unsigned v) {
  return std::uint64_t{v};
}
inline FormatArg Arg(unsigned long v) {
  return std::uint64_t{v};
}
inline FormatArg Arg(unsigned long long v) {
  return std::uint64_t{v};
}
inline FormatArg Arg(std::wstring_view v) {
  return v;
}
inline FormatArg Arg(const std::wstring& v) {
  return std::wstring_view{v};
}
inline FormatArg Arg(const wchar_t* v) {
  return std::wstring_view{v};
}

template <typename... Args>
std::wstring FormatN(std::wstring_view format, std::size_t max_len, const Args&... args) {
  return Format(format, {Arg(args)...}, max_len);
}

// Event-log lines are cut to this many characters.
inline constexpr std::size_t kMaxLogLineLen = 511;

// Unsigned 32-bit reading in a fixed base (8, 10 or 16; a "0x" prefix is allowed in base 16),
// with the sign and saturation rules of WcsToU32. For the numeric entry fields.
std::uint32_t WcsToU32InBase(std::wstring_view text, int base);

}  // namespace tvkutil
