#include "util/text.h"

#include <cerrno>
#include <climits>
#include <cwctype>
#include <limits>

namespace tvkutil {

std::string ToUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (wchar_t wc : text) {
    auto cp = static_cast<std::uint32_t>(wc);
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
      cp = 0xFFFD;
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return out;
}

namespace {

// Decodes one UTF-8 sequence at bytes[i]; returns its length or 0 when it is malformed.
std::size_t DecodeOne(const std::uint8_t* bytes, std::size_t len, std::size_t i,
                      std::uint32_t& out_cp) {
  const std::uint8_t b0 = bytes[i];
  if (b0 < 0x80) {
    out_cp = b0;
    return 1;
  }
  std::size_t n;
  std::uint32_t min;
  if ((b0 & 0xE0) == 0xC0) {
    n = 2, min = 0x80, out_cp = b0 & 0x1F;
  } else if ((b0 & 0xF0) == 0xE0) {
    n = 3, min = 0x800, out_cp = b0 & 0x0F;
  } else if ((b0 & 0xF8) == 0xF0) {
    n = 4, min = 0x10000, out_cp = b0 & 0x07;
  } else {
    return 0;
  }
  if (len - i < n)
    return 0;
  for (std::size_t k = 1; k < n; ++k) {
    const std::uint8_t b = bytes[i + k];
    if ((b & 0xC0) != 0x80)
      return 0;
    out_cp = (out_cp << 6) | (b & 0x3F);
  }
  if (out_cp < min || out_cp > 0x10FFFF || (out_cp >= 0xD800 && out_cp <= 0xDFFF))
    return 0;
  return n;
}

}  // namespace

bool FromUtf8(const std::uint8_t* bytes, std::size_t bytes_len, std::wstring& out_text) {
  out_text.clear();
  out_text.reserve(bytes_len);
  for (std::size_t i = 0; i < bytes_len;) {
    std::uint32_t cp = 0;
    const std::size_t n = DecodeOne(bytes, bytes_len, i, cp);
    if (n == 0)
      return false;
    out_text.push_back(static_cast<wchar_t>(cp));
    i += n;
  }
  return true;
}

std::wstring FromUtf8Lenient(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::wstring out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    if (bytes[i] < 0x80) {  // most text a device sends, and every name
      out.push_back(static_cast<wchar_t>(bytes[i++]));
      continue;
    }
    std::uint32_t cp = 0;
    std::size_t n = DecodeOne(bytes, text.size(), i, cp);
    if (n == 0) {
      cp = 0xFFFD;
      n = 1;
    }
    out.push_back(static_cast<wchar_t>(cp));
    i += n;
  }
  return out;
}

namespace {

struct ParsedNumber {
  bool negative = false;
  bool overflow = false;  // beyond 64 bits
  std::uint64_t magnitude = 0;
};

// Blanks, sign, then digits of the given base (base 0 chooses by prefix like strtoul).
ParsedNumber ParseNumber(std::wstring_view text, int base) {
  ParsedNumber r;
  std::size_t i = 0;
  while (i < text.size() && std::iswspace(static_cast<wint_t>(text[i])))
    ++i;
  if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) {
    r.negative = text[i] == L'-';
    ++i;
  }
  if (base == 0) {
    if (i + 1 < text.size() && text[i] == L'0' && (text[i + 1] == L'x' || text[i + 1] == L'X') &&
        i + 2 < text.size() && std::iswxdigit(static_cast<wint_t>(text[i + 2]))) {
      base = 16;
      i += 2;
    } else if (i < text.size() && text[i] == L'0') {
      base = 8;
    } else {
      base = 10;
    }
  }
  for (; i < text.size(); ++i) {
    const wchar_t c = text[i];
    int digit;
    if (c >= L'0' && c <= L'9') {
      digit = c - L'0';
    } else if (c >= L'a' && c <= L'z') {
      digit = c - L'a' + 10;
    } else if (c >= L'A' && c <= L'Z') {
      digit = c - L'A' + 10;
    } else {
      break;
    }
    if (digit >= base)
      break;
    const auto ubase = static_cast<std::uint64_t>(base);
    if (r.magnitude >
        (std::numeric_limits<std::uint64_t>::max() - static_cast<unsigned>(digit)) / ubase) {
      r.overflow = true;
    } else {
      r.magnitude = r.magnitude * ubase + static_cast<unsigned>(digit);
    }
  }
  return r;
}

}  // namespace

std::int32_t Wtoi(std::wstring_view text) {
  const ParsedNumber n = ParseNumber(text, 10);
  if (n.negative) {
    if (n.overflow || n.magnitude > 2147483648ULL)
      return INT32_MIN;
    return static_cast<std::int32_t>(-static_cast<std::int64_t>(n.magnitude));
  }
  if (n.overflow || n.magnitude > INT32_MAX)
    return INT32_MAX;
  return static_cast<std::int32_t>(n.magnitude);
}

std::uint32_t WcsToU32(std::wstring_view text) {
  const ParsedNumber n = ParseNumber(text, 0);
  if (n.overflow || n.magnitude > UINT32_MAX)
    return UINT32_MAX;
  const auto v = static_cast<std::uint32_t>(n.magnitude);
  return n.negative ? static_cast<std::uint32_t>(0U - v) : v;
}

std::uint64_t WcsToU64(std::wstring_view text) {
  const ParsedNumber n = ParseNumber(text, 10);
  if (n.overflow)
    return UINT64_MAX;
  return n.negative ? 0ULL - n.magnitude : n.magnitude;
}

bool EqualsNoCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size())
    return false;
  if (a == b)
    return true;  // the usual case, without a case mapping per character
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::towlower(static_cast<wint_t>(a[i])) != std::towlower(static_cast<wint_t>(b[i]))) {
      return false;
    }
  }
  return true;
}

namespace {

void AppendPadded(std::wstring& out, std::wstring_view body, std::size_t width, bool left,
                  wchar_t pad) {
  const std::size_t fill = body.size() < width ? width - body.size() : 0;
  if (!left) {
    // Zero padding goes after a sign, blank padding before it.
    if (pad == L'0' && !body.empty() && body[0] == L'-') {
      out.push_back(L'-');
      out.append(fill, L'0');
      out.append(body.substr(1));
      return;
    }
    out.append(fill, pad);
    out.append(body);
  } else {
    out.append(body);
    out.append(fill, L' ');
  }
}

std::wstring ToDigits(std::uint64_t v, unsigned base, bool upper) {
  const wchar_t* digits = upper ? L"0123456789ABCDEF" : L"0123456789abcdef";
  std::wstring s;
  do {
    s.insert(s.begin(), digits[v % base]);
    v /= base;
  } while (v != 0);
  return s;
}

}  // namespace

std::wstring Format(std::wstring_view format, std::initializer_list<FormatArg> args,
                    std::size_t max_len) {
  std::wstring out;
  const FormatArg* next = args.begin();
  for (std::size_t i = 0; i < format.size() && out.size() < max_len;) {
    if (format[i] != L'%') {
      out.push_back(format[i++]);
      continue;
    }
    const std::size_t start = i++;
    if (i < format.size() && format[i] == L'%') {
      out.push_back(L'%');
      ++i;
      continue;
    }
    bool left = false;
    wchar_t pad = L' ';
    for (; i < format.size() && (format[i] == L'-' || format[i] == L'0'); ++i) {
      if (format[i] == L'-')
        left = true;
      if (format[i] == L'0')
        pad = L'0';
    }
    std::size_t width = 0;
    for (; i < format.size() && format[i] >= L'0' && format[i] <= L'9'; ++i) {
      width = std::min<std::size_t>(width * 10 + static_cast<std::size_t>(format[i] - L'0'), 512);
    }
    // Length modifiers carry no meaning here: every argument already knows its width.
    if (format.substr(i, 3) == L"I64") {
      i += 3;
    } else {
      while (i < format.size() && (format[i] == L'l' || format[i] == L'h'))
        ++i;
    }
    if (i >= format.size()) {
      out.append(format.substr(start));
      break;
    }
    const wchar_t conv = format[i++];
    const FormatArg* arg = next != args.end() ? next : nullptr;
    std::wstring body;
    bool ok = arg != nullptr;
    if (ok) {
      switch (conv) {
        case L's':
          if (const auto* s = std::get_if<std::wstring_view>(arg)) {
            body = *s;
          } else {
            ok = false;
          }
          break;
        case L'c':
          if (const auto* v = std::get_if<std::int64_t>(arg)) {
            body.assign(1, static_cast<wchar_t>(*v));
          } else if (const auto* u = std::get_if<std::uint64_t>(arg)) {
            body.assign(1, static_cast<wchar_t>(*u));
          } else {
            ok = false;
          }
          break;
        case L'd':
        case L'i':
          if (const auto* v = std::get_if<std::int64_t>(arg)) {
            body = *v < 0 ? L"-" + ToDigits(0ULL - static_cast<std::uint64_t>(*v), 10, false)
                          : ToDigits(static_cast<std::uint64_t>(*v), 10, false);
          } else if (const auto* u = std::get_if<std::uint64_t>(arg)) {
            body = ToDigits(*u, 10, false);
          } else {
            ok = false;
          }
          break;
        case L'u':
        case L'x':
        case L'X': {
          std::uint64_t v = 0;
          if (const auto* s = std::get_if<std::int64_t>(arg)) {
            // A negative int printed with %u or %x shows its 32-bit two's complement, as in C.
            v = *s < 0 ? static_cast<std::uint32_t>(*s) : static_cast<std::uint64_t>(*s);
          } else if (const auto* u = std::get_if<std::uint64_t>(arg)) {
            v = *u;
          } else {
            ok = false;
          }
          body = ToDigits(v, conv == L'u' ? 10 : 16, conv == L'X');
          break;
        }
        default:
          ok = false;
      }
    }
    if (!ok) {
      out.append(format.substr(start, i - start));
      continue;
    }
    ++next;
    AppendPadded(out, body, width, left, pad);
  }
  if (out.size() > max_len)
    out.resize(max_len);
  return out;
}

std::uint32_t WcsToU32InBase(std::wstring_view text, int base) {
  std::size_t i = 0;
  while (i < text.size() && std::iswspace(static_cast<wint_t>(text[i])))
    ++i;
  std::wstring_view rest = text.substr(i);
  std::wstring sign;
  if (!rest.empty() && (rest[0] == L'+' || rest[0] == L'-')) {
    sign.assign(1, rest[0]);
    rest.remove_prefix(1);
  }
  // A "0x" prefix is skipped here because ParseNumber only detects it for base 0.
  if (base == 16 && rest.size() > 2 && rest[0] == L'0' && (rest[1] == L'x' || rest[1] == L'X') &&
      std::iswxdigit(static_cast<wint_t>(rest[2]))) {
    rest.remove_prefix(2);
  }
  const ParsedNumber n = ParseNumber(sign + std::wstring(rest), base);
  if (n.overflow || n.magnitude > UINT32_MAX)
    return UINT32_MAX;
  const auto v = static_cast<std::uint32_t>(n.magnitude);
  return n.negative ? static_cast<std::uint32_t>(0U - v) : v;
}

}  // namespace tvkutil
