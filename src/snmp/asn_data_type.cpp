#include "snmp/asn_data_type.h"

namespace snmp {

bool CASNDataType::Encode(CBerWriter& out) {
  return EncodeContent(out) && out.PutLength(content_len_) && out.PutTag(tag_);
}

int CASNDataType::Decode(CBerReader& in) {
  if (const int r = in.ExpectTag(tag_); r != kBerOk)
    return r;
  if (const int r = in.GetLength(content_len_); r != kBerOk)
    return r;
  return DecodeContent(in);
}

}  // namespace snmp
