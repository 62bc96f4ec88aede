#include "snmp/pdu.h"

namespace snmp {

bool CPDU::EncodeContent(CBerWriter& out) {
  const std::int32_t free_before = out.FreeCount();
  if (!varbinds_.Encode(out) || !error_index_.Encode(out) || !error_status_.Encode(out) ||
      !request_id_.Encode(out)) {
    return false;
  }
  SetContentLength(WrittenSince(out, free_before));
  return true;
}

BerStatus CPDU::DecodeContent(CBerReader& in) {
  CBerReader content(nullptr, 0);
  if (const BerStatus r = in.Split(ContentLength(), content); r != BerStatus::kOk)
    return r;
  BerStatus r = request_id_.Decode(content);
  if (r == BerStatus::kOk)
    r = error_status_.Decode(content);
  if (r == BerStatus::kOk)
    r = error_index_.Decode(content);
  if (r == BerStatus::kOk)
    r = varbinds_.Decode(content);
  return r;
}

}  // namespace snmp
