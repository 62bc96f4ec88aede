// trap: the sendTrap operation with the command line in the page's fields, the bindings in its
// varbind list; prints the bindings the trap carried.
#include <chrono>
#include <string>

#include "cli/commands.h"
#include "net/adapter_table.h"
#include "ops/send_trap_operation.h"
#include "ops/var_bind_list_rules.h"
#include "settings/settings.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"
#include "util/string_table.h"

namespace cli {

int RunTrap(CliContext& context) {
  const CommandLine& line = context.line;
  const bool v1 = line.snmp_version == L"1";
  snmp::CVarBindList list;
  for (const BindingArg& b : line.bindings)
    list.Add(b.oid, b.tag, b.value);
  if (!v1) {
    // The fixed entries now, as before the varbind editor opens, so --trap-oid can fill in
    // snmpTrapOID.0; the trap puts the time of sending into sysUpTime.0.
    pages::PutFixedTrapEntries(list, 0);
    if (line.trap_oid)
      list.Replace(2, pages::kSnmpTrapOid, snmp::kTagOid, *line.trap_oid);
  }
  // A version 1 trap carries the time and the trap's identity in its own fields (RFC 3584 3.2),
  // so it never sends these two as bindings: say so rather than leave them out unseen.
  if (v1 && pages::FixedTrapEntriesAtStart(list) > 0) {
    context.Error(
        L"trap: a version 1 trap carries sysUpTime.0 and snmpTrapOID.0 in its own "
        L"fields (--generic, --specific, --enterprise): leave them out of the bindings");
    return kExitUsage;
  }
  if (list.Count() > app::kMaxTrapVarBinds) {
    context.Error(L"trap: too many bindings (at most " + std::to_wstring(app::kMaxTrapVarBinds) +
                  (v1 ? L")" : L", sysUpTime.0 and snmpTrapOID.0 included)"));
    return kExitUsage;
  }

  // RFC 1157 has no 64-bit type, as the page says too.
  if (v1 && pages::V1TrapCarriesCounter64(list, list.Count())) {
    context.Error(tvkutil::LoadString(tvkutil::ids::kCounter64InV1Trap));
    return kExitUsage;
  }

  // The trap's time stamp counts from the start of this run, as the window's does from its own.
  const app::StartTime start{std::chrono::system_clock::now()};
  CCliEventLines events(context);
  pages::CSendTrapOperation trap(
      app::SendTrapSettings{}, list, [start] { return pages::HundredthsSince(start); }, events,
      context.transactions);
  // The command line is checked already: the typed request straight from it. A v1 trap's own
  // fields are what "Use default" would put there unless given.
  pages::TrapRequest request;
  request.host = line.host;
  request.port = line.port;
  request.version = snmp::VersionIndex(line.snmp_version);
  request.community = line.community;
  request.sender_oid = line.enterprise.value_or(app::DefaultSenderOid());
  request.sender_ip = line.agent_address.value_or(
      pages::SenderIpChoices(net::CAdapterTable::Instance().IPv4Adapters(), context.udp.adapter)
          .front());
  request.generic_trap = line.generic_trap.value_or(snmp::kEnterpriseSpecificTrap);
  request.specific_trap = static_cast<std::int32_t>(line.specific_trap.value_or(1));
  request.varbind_count = list.Count();
  request.security = line.security;
  if (trap.Send(request, context.udp) != pages::TrapOutcome::kSent)
    return kExitFailure;
  for (int i = 1; const snmp::CVarBind* bind = list.Get(i); ++i)
    context.printer.PrintBinding(*bind);
  return kExitDone;
}

}  // namespace cli
