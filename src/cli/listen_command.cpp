// listen: the notification listener on this thread, each notification printed (and flushed) as
// it comes and not kept; informs answered; --count, --timeout and Ctrl+C end it.
#include <chrono>
#include <cstdio>
#include <string>

#include "cli/commands.h"
#include "mib/mib_set.h"
#include "mib/mib_value.h"
#include "ops/notification_listen_operation.h"
#include "settings/sondara_utility_app.h"
#include "snmp/integer32.h"
#include "snmp/octet_string.h"
#include "snmp/type_names.h"
#include "util/app_folders.h"
#include "util/text.h"

namespace cli {

namespace {

using pages::NotificationKind;
using pages::NotificationRow;

std::string Utf8(std::wstring_view text) {
  return tvkutil::ToUtf8(text);
}

// Names for the text output, as the other commands print them; numbers with -On.
class CNames {
 public:
  explicit CNames(bool shown) : shown_(shown) {}
  std::wstring Oid(const std::wstring& oid) const { return Name(oid).first; }
  std::wstring Binding(const pages::NotificationBinding& b) const {
    const auto [name, node] = Name(b.oid);
    std::wstring value = b.value;
    if (b.tag == snmp::kTagOid) {
      value = Oid(b.value);
    } else if (b.tag == snmp::kTagInteger32 && node != nullptr) {
      if (const auto named = mib::NamedValueText(snmp::CInteger32(b.value), node))
        value = tvkutil::FromUtf8Lenient(*named);
    }
    return name + L" = " + snmp::TypeNameOfTag(b.tag) + L": " + value;
  }

 private:
  std::pair<std::wstring, const mib::MibNode*> Name(const std::wstring& oid) const {
    if (!shown_ || oid.empty())
      return {oid, nullptr};
    const mib::CMibSet& set = mib::CMibSet::Builtin();
    mib::Arcs arcs;
    std::string error;
    if (!set.ToOid(Utf8(oid), arcs, error))
      return {oid, nullptr};
    const mib::OidMatch match = set.Match(arcs);
    const std::string name = mib::CMibSet::NameOf(match);
    return {name.empty() ? oid : tvkutil::FromUtf8Lenient(name), match.node};
  }
  bool shown_;
};

std::string TimeText(std::chrono::system_clock::time_point when) {
  return Utf8(pages::NotificationTimeText(when));
}

void PrintText(std::ostream& out, const NotificationRow& row, const CNames& names) {
  const bool v6 = row.source.find(L':') != std::wstring::npos;
  out << TimeText(row.received) << ' ' << (v6 ? "[" : "") << TerminalText(row.source)
      << (v6 ? "]:" : ":") << row.source_port;
  if (!row.version.empty())
    out << " v" << TerminalText(row.version);
  if (row.kind == NotificationKind::kMalformed) {
    out << " malformed at offset " << row.damage_offset << ": " << TerminalText(row.problem)
        << "\n";
    return;
  }
  if (row.kind == NotificationKind::kOther) {
    out << " ignored: " << TerminalText(row.problem) << "\n";
    return;
  }
  out << (row.version == L"3" ? " user=" : " community=") << TerminalText(row.community) << ' '
      << TerminalText(pages::NotificationTypeText(row))
      << " notification=" << TerminalText(names.Oid(row.trap_oid));
  if (row.sys_up_time)
    out << " sysUpTime=" << *row.sys_up_time;
  if (row.kind == NotificationKind::kTrapV1)
    out << " enterprise=" << TerminalText(names.Oid(row.enterprise))
        << " agent-address=" << TerminalText(row.agent_address) << " generic=" << row.generic_trap
        << " specific=" << row.specific_trap;
  out << "\n";
  for (const pages::NotificationBinding& b : row.bindings)
    out << "  " << TerminalText(names.Binding(b)) << "\n";
}

void PrintCsv(std::ostream& out, const NotificationRow& row) {
  out << Utf8(pages::NotificationCsvRow(row)) << "\n";
}

void PrintJson(std::ostream& out, const NotificationRow& row) {
  out << "{\"time\":\"" << TimeText(row.received) << "\",\"source\":" << JsonString(row.source)
      << ",\"port\":" << row.source_port << ",\"version\":" << JsonString(row.version)
      << ",\"type\":" << JsonString(pages::NotificationTypeText(row));
  if (row.kind == NotificationKind::kMalformed || row.kind == NotificationKind::kOther) {
    out << ",\"offset\":" << row.damage_offset << ",\"reason\":" << JsonString(row.problem)
        << "}\n";
    return;
  }
  out << (row.version == L"3" ? ",\"user\":" : ",\"community\":") << JsonString(row.community)
      << ",\"notification\":" << JsonString(row.trap_oid);
  if (row.sys_up_time)
    out << ",\"sysUpTime\":" << *row.sys_up_time;
  if (row.kind == NotificationKind::kTrapV1)
    out << ",\"enterprise\":" << JsonString(row.enterprise)
        << ",\"agentAddress\":" << JsonString(row.agent_address)
        << ",\"generic\":" << row.generic_trap << ",\"specific\":" << row.specific_trap;
  out << ",\"bindings\":[";
  for (std::size_t i = 0; i < row.bindings.size(); ++i) {
    const pages::NotificationBinding& b = row.bindings[i];
    out << (i == 0 ? "" : ",") << "{\"oid\":" << JsonString(b.oid)
        << ",\"type\":" << JsonString(snmp::TypeNameOfTag(b.tag))
        << ",\"value\":" << JsonString(b.value);
    if (b.tag == snmp::kTagOctetString)
      out << ",\"hex\":\"" << Utf8(snmp::HexPairsText(b.octets)) << "\"";
    out << "}";
  }
  out << "]}\n";
}

}  // namespace

int RunListen(CliContext& context) {
  const CommandLine& line = context.line;
  CCliEventLines events(context);
  pages::CNotificationListenOperation listen(events, context.transactions);
  pages::ListenRequest request;
  request.port = line.port;
  if (line.snmp_version == L"3") {
    request.users.push_back(line.security);
    request.engine_id = line.security.context_engine_id;
  }
  if (request.engine_id.empty()) {
    // The engine the window answers informs with, when it has kept one; read only.
    const tvkutil::AppFolders folders = tvkutil::ComputeAppFolders();
    app::CSondaraUtilityApp settings(folders.settings_file, folders.profile_file);
    request.engine_id = pages::NotificationEngineId(settings, false);
  }
  if (!listen.Open(request, context.udp).empty())
    return kExitUsage;  // the sentence with the way out is on standard error
  if (line.format == OutputFormat::kCsv)
    context.out << Utf8(pages::NotificationCsvHeader()) << "\n";
  std::optional<std::chrono::steady_clock::time_point> until;
  if (line.listen_seconds)
    until = std::chrono::steady_clock::now() + std::chrono::seconds(*line.listen_seconds);
  std::uint32_t notifications = 0;
  const CNames names(!line.numeric);
  const pages::ListenEnd end =
      listen.Run(request, context.udp, context.stop, until, [&](const NotificationRow& row) {
        switch (line.format) {
          case OutputFormat::kText:
            PrintText(context.out, row, names);
            break;
          case OutputFormat::kCsv:
            PrintCsv(context.out, row);
            break;
          case OutputFormat::kJson:
            PrintJson(context.out, row);
            break;
        }
        context.out.flush();  // a script reading the pipe sees each one as it comes
        if (row.kind != NotificationKind::kMalformed && row.kind != NotificationKind::kOther)
          ++notifications;
        return !line.count || notifications < *line.count;
      });
  switch (end) {
    case pages::ListenEnd::kSeenEnough:
      return kExitDone;
    case pages::ListenEnd::kTimedOut:
      return kExitNoAnswer;
    case pages::ListenEnd::kFailed:
      return kExitUsage;
    default:
      return kExitStopped;
  }
}

}  // namespace cli
