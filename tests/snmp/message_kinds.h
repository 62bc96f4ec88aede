// One message of every kind the program sends, with the fields tshark must show for each.
#pragma once

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "snmp/snmp_message.h"
#include "snmp/type_names.h"

namespace snmp {

struct MessageKind {
  std::unique_ptr<CSNMPMessage> msg;
  std::string fields;  // "tshark.field=value ..."
};

using Bind = std::tuple<std::wstring, std::uint32_t, std::wstring>;  // name, value tag, text

inline auto MakeMessage(std::int32_t version, const wchar_t* community, std::uint32_t pdu,
                        std::int32_t id, const std::vector<Bind>& binds) {
  auto m = std::make_unique<CSNMPMessage>(version, community, pdu);
  m->SetRequestId(id);
  for (const auto& [name, tag, text] : binds)
    m->AddVarBind(name, tag, text);
  return m;
}

inline std::vector<MessageKind> MessageKinds() {
  std::vector<MessageKind> all;
  all.push_back({MakeMessage(kSnmpVersion1, L"getcom", kPduGetRequest, 17,
                             {{L".1.3.6.1.2.1.1.1.0", kTagNull, L""}}),
                 "snmp.version=0 snmp.community=getcom snmp.data=0 snmp.request_id=17 "
                 "snmp.name=1.3.6.1.2.1.1.1.0"});
  all.push_back({MakeMessage(kSnmpVersion2c, L"public", kPduGetNextRequest, 255,
                             {{L".1.3.6.1.2.1.1", kTagNull, L""}}),
                 "snmp.version=1 snmp.data=1 snmp.request_id=255 snmp.name=1.3.6.1.2.1.1"});
  auto bulk =
      MakeMessage(kSnmpVersion2c, L"getcom", kPduGetBulkRequest, 9, {{L".1.3.6.1", kTagNull, L""}});
  bulk->SetNonRepeaters(0);
  bulk->SetMaxRepetitions(50);
  all.push_back({std::move(bulk),
                 "snmp.version=1 snmp.data=5 snmp.request_id=9 snmp.non_repeaters=0 "
                 "snmp.max_repetitions=50 snmp.name=1.3.6.1"});
  // One Set for each type a user can set, with the field tshark shows its value in.
  const std::tuple<std::uint32_t, const wchar_t*, const char*> sets[] = {
      {kTagInteger32, L"-129", "snmp.value.int=-129"},
      {kTagOctetString, L"Rack 4 \u00e9", "snmp.value.octets=5261636b203420c3a9"},
      {kTagOid, L".1.3.6.1.4.1.8072.3.2.10", "snmp.value.oid=1.3.6.1.4.1.8072.3.2.10"},
      {kTagIpAddress, L"10.0.0.1", "snmp.value.ipv4=10.0.0.1"},
      {kTagCounter32, L"4294967295", "snmp.value.counter=4294967295"},
      {kTagGauge32, L"128", "snmp.value.g32=128"},
      {kTagTimeTicks, L"360000", "snmp.value.timeticks=360000"},
      {kTagOpaque, L"ab", "snmp.value.opaque=6162"},
      {kTagCounter64, L"18446744073709551615", "snmp.value.counter=18446744073709551615"},
      {kTagUnsigned32, L"65536", "snmp.value.u32=65536"},
  };
  int id = 100;
  for (const auto& [tag, text, field] : sets) {
    all.push_back({MakeMessage(kSnmpVersion2c, L"setcomm", kPduSetRequest, ++id,
                               {{L".1.3.6.1.2.1.1.4.0", tag, text}}),
                   "snmp.data=3 snmp.community=setcomm snmp.name=1.3.6.1.2.1.1.4.0 " +
                       ("snmp.request_id=" + std::to_string(id)) + " " + field});
  }
  auto trap = MakeMessage(kSnmpVersion1, L"trapcom", kPduTrapV1, 0,
                          {{L".1.3.6.1.4.1.99999.1.1", kTagOctetString, L"door open"}});
  trap->SetEnterprise(L".1.3.6.1.4.1.99999");
  trap->SetAgentAddress(L"192.0.2.10");
  trap->SetGenericTrap(6);
  trap->SetSpecificTrap(42);
  trap->SetTimeStamp(123456);
  all.push_back({std::move(trap),
                 "snmp.version=0 snmp.data=4 snmp.enterprise=1.3.6.1.4.1.99999 "
                 "snmp.agent_addr=192.0.2.10 snmp.generic_trap=6 snmp.specific_trap=42 "
                 "snmp.time_stamp=123456 snmp.value.octets=646f6f72206f70656e"});
  all.push_back({MakeMessage(kSnmpVersion2c, L"trapcom", kPduTrapV2, 3,
                             {{L".1.3.6.1.2.1.1.3.0", kTagTimeTicks, L"4711"},
                              {L".1.3.6.1.6.3.1.1.4.1.0", kTagOid, L".1.3.6.1.6.3.1.1.5.3"}}),
                 "snmp.version=1 snmp.data=7 snmp.request_id=3 "
                 "snmp.name=1.3.6.1.2.1.1.3.0,1.3.6.1.6.3.1.1.4.1.0 snmp.value.timeticks=4711 "
                 "snmp.value.oid=1.3.6.1.6.3.1.1.5.3"});
  all.push_back({MakeMessage(kSnmpVersion2c, L"public", kPduResponse, 4,
                             {{L".1.3.6.1.2.1.1.3.0", kTagNoSuchInstance, L""}}),
                 "snmp.data=2 snmp.request_id=4 snmp.name=1.3.6.1.2.1.1.3.0"});
  return all;
}

}  // namespace snmp
