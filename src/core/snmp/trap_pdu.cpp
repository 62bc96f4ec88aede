#include "snmp/trap_pdu.h"

namespace snmp {

bool CTrapPDU::EncodeContent(CBerWriter& out) {
  const std::int32_t free_before = out.FreeCount();
  if (!varbinds_.Encode(out) || !time_stamp_.Encode(out) || !specific_trap_.Encode(out) ||
      !generic_trap_.Encode(out) || !agent_address_.Encode(out) || !enterprise_.Encode(out)) {
    return false;
  }
  SetContentLength(WrittenSince(out, free_before));
  return true;
}

BerStatus CTrapPDU::DecodeContent(CBerReader& in) {
  CBerReader content(nullptr, 0);
  if (const BerStatus r = in.Split(ContentLength(), content); r != BerStatus::kOk)
    return r;
  BerStatus r = enterprise_.Decode(content);
  if (r == BerStatus::kOk)
    r = agent_address_.Decode(content);
  if (r == BerStatus::kOk)
    r = generic_trap_.Decode(content);
  if (r == BerStatus::kOk)
    r = specific_trap_.Decode(content);
  if (r == BerStatus::kOk)
    r = time_stamp_.Decode(content);
  if (r == BerStatus::kOk)
    r = varbinds_.Decode(content);
  return r;
}

}  // namespace snmp
