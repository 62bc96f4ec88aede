// trap: the sendTrap operation with the command line in the page's fields, the bindings in its
// varbind list; prints the bindings the trap carried.
#include <chrono>
#include <string>

#include "cli/commands.h"
#include "net/adapter_table.h"
#include "ops/send_trap_operation.h"
#include "ops/var_bind_list_rules.h"
#include "settings/settings.h"
#include "snmp/type_names.h"

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

  // The trap's time stamp counts from the start of this run, as the window's does from its own.
  const app::StartTime start{std::chrono::system_clock::now()};
  CCliEventLines events(context);
  pages::CSendTrapOperation trap(
      app::SendTrapSettings{}, list, [start] { return pages::HundredthsSince(start); }, events,
      context.transactions);
  pages::SendTrapForm& form = trap.Form();
  form.host = line.host;
  form.version = line.snmp_version;
  form.port_text = std::to_wstring(line.port);
  form.use_default = false;
  form.community = line.community;
  form.varbind_num_text = std::to_wstring(list.Count());
  // A v1 trap's own fields; what "Use default" would put there unless given.
  form.sender_ip = line.agent_address.value_or(
      pages::SenderIpChoices(net::CAdapterTable::Instance().IPv4Adapters(), context.udp.adapter)
          .front());
  form.sender_oid = line.enterprise.value_or(app::DefaultSenderOid());
  form.trap_type = snmp::kGenericTrapNames[static_cast<std::size_t>(
      line.generic_trap.value_or(snmp::kEnterpriseSpecificTrap))];
  form.specific_type_text = std::to_wstring(line.specific_trap.value_or(1));

  CCliOperationUi ui(context);
  switch (trap.SendTrap(context.udp, ui)) {
    case pages::TrapOutcome::kRefused:
      return kExitUsage;
    case pages::TrapOutcome::kFailed:
      return kExitFailure;
    case pages::TrapOutcome::kSent:
      break;
  }
  for (int i = 1; const snmp::CVarBind* bind = list.Get(i); ++i)
    context.printer.PrintBinding(*bind);
  return kExitDone;
}

}  // namespace cli
