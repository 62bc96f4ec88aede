// listen: the notification listener on this thread, each notification printed (and flushed) as
// it comes and not kept; informs answered; --count, --timeout and Ctrl+C end it.
#include <chrono>
#include <cstdio>
#include <string>

#include "cli/commands.h"
#include "ops/notification_listen_operation.h"
#include "snmp/octet_string.h"
#include "snmp/type_names.h"
#include "util/date_time_format.h"
#include "util/text.h"

namespace cli {

namespace {

using pages::NotificationKind;
using pages::NotificationRow;

std::string Utf8(std::wstring_view text) {
  return tvkutil::ToUtf8(text);
}

// "2024-01-31 14:05:09.042", local time: the receiving order to the millisecond.
std::string TimeText(std::chrono::system_clock::time_point when) {
  const std::tm local = tvkutil::ToLocalTime(when);
  const auto ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch()).count() % 1000;
  char text[96];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", local.tm_year + 1900,
                local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(ms));
  return text;
}

std::wstring KindName(const NotificationRow& row) {
  switch (row.kind) {
    case NotificationKind::kTrapV1:
      return L"Trap";
    case NotificationKind::kTrapV2:
      return L"SNMPv2-Trap";
    case NotificationKind::kInform:
      return row.answered ? L"InformRequest answered" : L"InformRequest not answered";
    case NotificationKind::kOther:
      return L"ignored";
    default:
      return L"malformed";
  }
}

std::wstring BindingText(const pages::NotificationBinding& b) {
  return b.oid + L" = " + snmp::TypeNameOfTag(b.tag) + L": " + b.value;
}

void PrintText(std::ostream& out, const NotificationRow& row) {
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
  out << " community=" << TerminalText(row.community) << ' ' << TerminalText(KindName(row))
      << " notification=" << TerminalText(row.trap_oid);
  if (row.sys_up_time)
    out << " sysUpTime=" << *row.sys_up_time;
  if (row.kind == NotificationKind::kTrapV1)
    out << " enterprise=" << TerminalText(row.enterprise)
        << " agent-address=" << TerminalText(row.agent_address) << " generic=" << row.generic_trap
        << " specific=" << row.specific_trap;
  out << "\n";
  for (const pages::NotificationBinding& b : row.bindings)
    out << "  " << TerminalText(BindingText(b)) << "\n";
}

void PrintCsv(std::ostream& out, const NotificationRow& row) {
  std::wstring bindings;
  for (const pages::NotificationBinding& b : row.bindings)
    bindings += (bindings.empty() ? L"" : L"; ") + BindingText(b);
  std::wstring problem = row.problem;
  if (row.kind == NotificationKind::kMalformed)
    problem = L"offset " + std::to_wstring(row.damage_offset) + L": " + row.problem;
  out << CsvField(tvkutil::FromUtf8Lenient(TimeText(row.received))) << ',' << CsvField(row.source)
      << ',' << row.source_port << ',' << CsvField(row.version) << ',' << CsvField(row.community)
      << ',' << CsvField(KindName(row)) << ',' << CsvField(row.trap_oid) << ','
      << (row.sys_up_time ? std::to_string(*row.sys_up_time) : std::string()) << ','
      << CsvField(row.enterprise) << ',' << CsvField(row.agent_address) << ','
      << (row.generic_trap >= 0 ? std::to_string(row.generic_trap) : std::string()) << ','
      << (row.specific_trap >= 0 ? std::to_string(row.specific_trap) : std::string()) << ','
      << CsvField(bindings) << ',' << CsvField(problem) << "\n";
}

void PrintJson(std::ostream& out, const NotificationRow& row) {
  out << "{\"time\":\"" << TimeText(row.received) << "\",\"source\":" << JsonString(row.source)
      << ",\"port\":" << row.source_port << ",\"version\":" << JsonString(row.version)
      << ",\"type\":" << JsonString(KindName(row));
  if (row.kind == NotificationKind::kMalformed || row.kind == NotificationKind::kOther) {
    out << ",\"offset\":" << row.damage_offset << ",\"reason\":" << JsonString(row.problem)
        << "}\n";
    return;
  }
  out << ",\"community\":" << JsonString(row.community)
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
  if (!listen.Open(request, context.udp).empty())
    return kExitUsage;  // the sentence with the way out is on standard error
  if (line.format == OutputFormat::kCsv)
    context.out << "Time,Source,Port,Version,Community,Type,Notification,SysUpTime,Enterprise,"
                   "AgentAddress,Generic,Specific,Bindings,Problem\n";
  std::optional<std::chrono::steady_clock::time_point> until;
  if (line.listen_seconds)
    until = std::chrono::steady_clock::now() + std::chrono::seconds(*line.listen_seconds);
  std::uint32_t notifications = 0;
  const pages::ListenEnd end =
      listen.Run(request, context.udp, context.stop, until, [&](const NotificationRow& row) {
        switch (line.format) {
          case OutputFormat::kText:
            PrintText(context.out, row);
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
