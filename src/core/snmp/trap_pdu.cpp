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

int CTrapPDU::DecodeContent(CBerReader& in) {
  CBerReader content(nullptr, 0);
  if (const int r = in.Split(ContentLength(), content); r != kBerOk)
    return r;
  int r = enterprise_.Decode(content);
  if (r == kBerOk)
    r = agent_address_.Decode(content);
  if (r == kBerOk)
    r = generic_trap_.Decode(content);
  if (r == kBerOk)
    r = specific_trap_.Decode(content);
  if (r == kBerOk)
    r = time_stamp_.Decode(content);
  if (r == kBerOk)
    r = varbinds_.Decode(content);
  return r;
}

}  // namespace snmp
