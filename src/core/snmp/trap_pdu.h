// CTrapPDU: the SNMPv1 Trap-PDU (RFC 1157, tag 0xA4): enterprise, agent-addr, generic-trap,
// specific-trap, time-stamp, variable-bindings.
#pragma once

#include "snmp/integer32.h"
#include "snmp/ip_address.h"
#include "snmp/oid.h"
#include "snmp/pdu.h"
#include "snmp/unsigned32.h"
#include "snmp/var_bind_list.h"

namespace snmp {

class CTrapPDU final : public CASNDataType {
 public:
  CTrapPDU() : CASNDataType(kPduTrapV1) {}

  COid& Enterprise() { return enterprise_; }
  const COid& Enterprise() const { return enterprise_; }
  CIPAddress& AgentAddress() { return agent_address_; }
  const CIPAddress& AgentAddress() const { return agent_address_; }
  CInteger32& GenericTrap() { return generic_trap_; }
  const CInteger32& GenericTrap() const { return generic_trap_; }
  CInteger32& SpecificTrap() { return specific_trap_; }
  const CInteger32& SpecificTrap() const { return specific_trap_; }
  CTimeTicks& TimeStamp() { return time_stamp_; }
  const CTimeTicks& TimeStamp() const { return time_stamp_; }
  CVarBindList& VarBinds() { return varbinds_; }
  const CVarBindList& VarBinds() const { return varbinds_; }

 protected:
  bool EncodeContent(CBerWriter& out) override;
  [[nodiscard]] BerStatus DecodeContent(CBerReader& in) override;

 private:
  COid enterprise_;
  CIPAddress agent_address_;
  CInteger32 generic_trap_;
  CInteger32 specific_trap_;
  CTimeTicks time_stamp_;
  CVarBindList varbinds_;
};

}  // namespace snmp
