#include "snmp/null.h"

namespace snmp {

bool CNull::EncodeContent(CBerWriter& /*out*/) {
  SetContentLength(0);
  return true;
}

int CNull::DecodeContent(CBerReader& /*in*/) {
  return kBerOk;
}

}  // namespace snmp
