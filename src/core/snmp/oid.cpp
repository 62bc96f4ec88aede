#include "snmp/oid.h"

#include <algorithm>
#include <iterator>

#include "util/text.h"

namespace snmp {

namespace {
constexpr std::uint64_t kMaxArc = 0xFFFFFFFFu;
}  // namespace

void COid::SetFromText(std::wstring_view text) {
  // Every arc takes a character and all but the last a dot, so this is room for all of them.
  arcs_.resize_uninitialized((text.size() + 1) / 2);
  std::uint32_t* out = arcs_.data();
  const wchar_t* p = text.data();
  const wchar_t* const end = p + text.size();
  while (p != end) {
    if (*p == L'.') {
      ++p;  // empty pieces are skipped
      continue;
    }
    // A one-digit arc, most of any well-known name: the digit and the dot after it in one step.
    if (const auto digit = static_cast<std::uint32_t>(*p) - L'0';
        digit <= 9 && (p + 1 == end || p[1] == L'.')) {
      *out++ = digit;
      p += p + 1 == end ? 1 : 2;
      continue;
    }
    const wchar_t* const start = p;
    std::uint64_t arc = 0;
    for (std::uint32_t digit = 0; p != end && (digit = static_cast<std::uint32_t>(*p) - L'0') <= 9;
         ++p) {
      // Saturates above 32 bits; the pages refuse such text before it gets here.
      arc = arc > kMaxArc ? arc : arc * 10 + digit;
    }
    if (p != end && *p != L'.') {
      // Blanks, a sign, other characters: the C library's reading rules.
      while (p != end && *p != L'.')
        ++p;
      arc = static_cast<std::uint32_t>(
          tvkutil::Wtoi(std::wstring_view(start, static_cast<std::size_t>(p - start))));
    }
    *out++ = static_cast<std::uint32_t>(arc > kMaxArc ? kMaxArc : arc);
  }
  arcs_.resize_uninitialized(static_cast<std::size_t>(out - arcs_.data()));
}

void AppendArcsText(std::wstring& text, std::span<const std::uint32_t> arcs) {
  // Digit by digit, each arc straight into its place in a buffer on the stack, appended sixteen
  // arcs at a time: std::to_wstring goes through swprintf, which made this text the most
  // expensive step of a walk.
  constexpr std::size_t kLongestArc = 11;  // ".4294967295"
  constexpr std::size_t kArcsAtOnce = 16;
  while (!arcs.empty()) {
    wchar_t buffer[kLongestArc * kArcsAtOnce];
    wchar_t* out = buffer;
    for (std::uint32_t rest : arcs.first(std::min(arcs.size(), kArcsAtOnce))) {
      *out++ = L'.';
      std::size_t digits = 1;
      for (std::uint64_t ten = 10; ten <= rest; ten *= 10)
        ++digits;
      out += digits;
      wchar_t* digit = out;
      do {
        *--digit = static_cast<wchar_t>(L'0' + rest % 10);
        rest /= 10;
      } while (rest != 0);
    }
    text.append(buffer, static_cast<std::size_t>(out - buffer));
    arcs = arcs.subspan(std::min(arcs.size(), kArcsAtOnce));
  }
}

bool COid::ToText(std::wstring& out_text) const {
  if (arcs_.size() < 2)
    return false;
  std::wstring text;
  AppendArcsText(text, std::span<const std::uint32_t>(arcs_.data(), arcs_.size()));
  out_text = std::move(text);
  return true;
}

std::wstring COid::Text() const {
  std::wstring text;
  (void)ToText(text);
  return text;
}

bool COid::EncodeContent(CBerWriter& out) {
  if (arcs_.size() > kMaxOidArcs)
    return false;
  std::uint32_t len = 0;
  if (!EncodeOidContent(out, arcs_, len))
    return false;
  SetContentLength(len);
  return true;
}

BerStatus COid::DecodeContent(CBerReader& in) {
  return DecodeOidContent(in, ContentLength(), arcs_);
}

}  // namespace snmp
