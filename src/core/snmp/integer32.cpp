#include "snmp/integer32.h"

#include "util/text.h"

namespace snmp {

CInteger32::CInteger32(std::wstring_view text)
    : CASNDataType(kTagInteger32), value_(tvkutil::Wtoi(text)) {}

bool CInteger32::EncodeContent(CBerWriter& out) {
  std::uint32_t len = 0;
  if (!EncodeSignedContent(out, value_, len))
    return false;
  SetContentLength(len);
  return true;
}

BerStatus CInteger32::DecodeContent(CBerReader& in) {
  return DecodeSignedContent(in, ContentLength(), value_);
}

}  // namespace snmp
