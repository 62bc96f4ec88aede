#include "snmp/counter64.h"

#include "util/text.h"

namespace snmp {

CCounter64::CCounter64(std::wstring_view text)
    : CASNDataType(kTagCounter64), value_(tvkutil::WcsToU64(text)) {}

bool CCounter64::EncodeContent(CBerWriter& out) {
  std::uint32_t len = 0;
  if (!EncodeUnsignedContent(out, value_, len))
    return false;
  SetContentLength(len);
  return true;
}

int CCounter64::DecodeContent(CBerReader& in) {
  std::uint32_t low = 0;
  const int r = DecodeUnsignedContent(in, ContentLength(), 9, low);
  if (r == kBerOk)
    value_ = low;
  return r;
}

}  // namespace snmp
