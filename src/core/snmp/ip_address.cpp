#include "snmp/ip_address.h"

#include <algorithm>
#include <iterator>

#include "util/text.h"

namespace snmp {

void CIPAddress::SetFromText(std::wstring_view text) {
  octets_.clear();
  if (text.size() >= 16 || std::count(text.begin(), text.end(), L'.') != 3)
    return;
  std::uint8_t octets[4] = {};
  std::size_t start = 0;
  for (int part = 0; part < 4; ++part) {
    std::size_t end = text.find(L'.', start);
    if (end == std::wstring_view::npos)
      end = text.size();
    const std::wstring_view piece(text.data() + start, end - start);
    if (piece.empty() || piece.size() > 3)
      return;
    const std::int32_t n = tvkutil::Wtoi(piece);
    if (n < 0 || n > 255)
      return;
    octets[part] = static_cast<std::uint8_t>(n);
    start = end + 1;
  }
  octets_.assign(std::begin(octets), std::end(octets));
}

std::wstring CIPAddress::ToText() const {
  std::wstring text;
  for (std::size_t i = 0; i < octets_.size(); ++i) {
    if (i != 0)
      text.push_back(L'.');
    text += std::to_wstring(static_cast<unsigned>(octets_[i]));
  }
  return text;
}

bool CIPAddress::EncodeContent(CBerWriter& out) {
  // A decoded address keeps whatever length the peer sent, so it re-encodes as it came.
  const auto len = static_cast<std::uint32_t>(octets_.size());
  if (!out.PutBytes(octets_.data(), len))
    return false;
  SetContentLength(len);
  return true;
}

BerStatus CIPAddress::DecodeContent(CBerReader& in) {
  const std::uint32_t len = ContentLength();
  const std::uint8_t* bytes = in.Cursor();
  if (const BerStatus r = in.Skip(len); r != BerStatus::kOk)
    return r;
  if (len != 4)  // RFC 2578: an IpAddress is exactly four bytes
    return BerStatus::kBadLength;
  octets_.assign(bytes, bytes + len);
  return BerStatus::kOk;
}

}  // namespace snmp
