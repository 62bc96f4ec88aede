#include "snmp/oid.h"

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
  std::wstring text;
  text.reserve(arcs_.size() * 4);
  for (std::uint32_t arc : arcs_) {
    text.push_back(L'.');
    text += std::to_wstring(static_cast<std::int32_t>(arc));
  }
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
