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

BerStatus CCounter64::DecodeContent(CBerReader& in) {
  return DecodeUnsigned64Content(in, ContentLength(), value_);
}

}  // namespace snmp
