// One message of every kind the program sends.
#pragma once

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "snmp/snmp_message.h"
#include "snmp/type_names.h"

namespace snmp {

using Bind = std::tuple<std::wstring, std::uint32_t, std::wstring>;  // name, value tag, text

inline auto MakeMessage(std::int32_t version, const wchar_t* community, std::uint32_t pdu,
                        std::int32_t id, const std::vector<Bind>& binds) {
  auto m = std::make_unique<CSNMPMessage>(version, community, pdu);
  m->SetRequestId(id);
  for (const auto& [name, tag, text] : binds)
    m->AddVarBind(name, tag, text);
  return m;
}

inline std::vector<std::unique_ptr<CSNMPMessage>> MessageKinds() {
  std::vector<std::unique_ptr<CSNMPMessage>> all;
  all.push_back(MakeMessage(kSnmpVersion1, L"getcom", kPduGetRequest, 17,
                            {{L".1.3.6.1.2.1.1.1.0", kTagNull, L""}}));
  all.push_back(MakeMessage(kSnmpVersion2c, L"public", kPduGetNextRequest, 255,
                            {{L".1.3.6.1.2.1.1", kTagNull, L""}}));
  all.push_back(MakeMessage(kSnmpVersion2c, L"getcom", kPduGetBulkRequest, 9,
                            {{L".1.3.6.1", kTagNull, L""}}));
  all.back()->SetNonRepeaters(0);
  all.back()->SetMaxRepetitions(50);
  // One Set for each type a user can set.
  const std::pair<std::uint32_t, const wchar_t*> sets[] = {
      {kTagInteger32, L"-129"},
      {kTagOctetString, L"Rack 4 \u00e9"},
      {kTagOid, L".1.3.6.1.4.1.8072.3.2.10"},
      {kTagIpAddress, L"10.0.0.1"},
      {kTagCounter32, L"4294967295"},
      {kTagGauge32, L"128"},
      {kTagTimeTicks, L"360000"},
      {kTagOpaque, L"ab"},
      {kTagCounter64, L"18446744073709551615"},
      {kTagUnsigned32, L"65536"},
  };
  int id = 100;
  for (const auto& [tag, text] : sets) {
    all.push_back(MakeMessage(kSnmpVersion2c, L"setcomm", kPduSetRequest, ++id,
                              {{L".1.3.6.1.2.1.1.4.0", tag, text}}));
  }
  auto trap = MakeMessage(kSnmpVersion1, L"trapcom", kPduTrapV1, 0,
                          {{L".1.3.6.1.4.1.99999.1.1", kTagOctetString, L"door open"}});
  trap->SetEnterprise(L".1.3.6.1.4.1.99999");
  trap->SetAgentAddress(L"192.0.2.10");
  trap->SetGenericTrap(6);
  trap->SetSpecificTrap(42);
  trap->SetTimeStamp(123456);
  all.push_back(std::move(trap));
  all.push_back(MakeMessage(kSnmpVersion2c, L"trapcom", kPduTrapV2, 3,
                            {{L".1.3.6.1.2.1.1.3.0", kTagTimeTicks, L"4711"},
                             {L".1.3.6.1.6.3.1.1.4.1.0", kTagOid, L".1.3.6.1.6.3.1.1.5.3"}}));
  all.push_back(MakeMessage(kSnmpVersion2c, L"public", kPduResponse, 4,
                            {{L".1.3.6.1.2.1.1.3.0", kTagNoSuchInstance, L""}}));
  return all;
}

}  // namespace snmp
