#include "snmp/unsigned32.h"

#include "util/text.h"

namespace snmp {

CUnsigned32::CUnsigned32(AsnTag tag, std::wstring_view text)
    : CASNDataType(tag), value_(tvkutil::WcsToU32(text)) {}

bool CUnsigned32::EncodeContent(CBerWriter& out) {
  std::uint32_t len = 0;
  if (!EncodeUnsignedContent(out, value_, len))
    return false;
  SetContentLength(len);
  return true;
}

BerStatus CUnsigned32::DecodeContent(CBerReader& in) {
  return DecodeUnsignedContent(in, ContentLength(), value_);
}

}  // namespace snmp
