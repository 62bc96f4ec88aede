#include "snmp/null.h"

namespace snmp {

bool CNull::EncodeContent(CBerWriter& /*out*/) {
  SetContentLength(0);
  return true;
}

BerStatus CNull::DecodeContent(CBerReader& /*in*/) {
  return BerStatus::kOk;
}

}  // namespace snmp
