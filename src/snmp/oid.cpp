#include "snmp/oid.h"

#include <iterator>

#include "util/text.h"

namespace snmp {

void COid::SetFromText(const std::wstring& text) {
  arcs_.clear();
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find(L'.', start);
    if (end == std::wstring::npos)
      end = text.size();
    if (end > start) {
      arcs_.push_back(static_cast<std::uint32_t>(
          tvkutil::Wtoi(std::wstring_view(text.data() + start, end - start))));
    }
    start = end + 1;
  }
}

bool COid::ToText(std::wstring& out_text) const {
  if (arcs_.size() < 2)
    return false;
  // Digit by digit into room for the longest arcs, cut to size once: std::to_wstring goes
  // through swprintf, which made this text the most expensive step of a walk.
  constexpr std::size_t kLongestArc = 12;  // ".-2147483648"
  std::wstring text(arcs_.size() * kLongestArc, L'\0');
  wchar_t* out = text.data();
  for (std::uint32_t arc : arcs_) {
    const auto value = static_cast<std::int32_t>(arc);
    std::uint32_t rest = value < 0 ? 0u - arc : arc;
    wchar_t digits[10];
    wchar_t* first = std::end(digits);
    do {
      *--first = static_cast<wchar_t>(L'0' + rest % 10);
      rest /= 10;
    } while (rest != 0);
    *out++ = L'.';
    if (value < 0)
      *out++ = L'-';
    while (first != std::end(digits))
      *out++ = *first++;
  }
  text.resize(static_cast<std::size_t>(out - text.data()));
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

int COid::DecodeContent(CBerReader& in) {
  return DecodeOidContent(in, ContentLength(), arcs_);
}

}  // namespace snmp
