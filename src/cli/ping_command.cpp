// ping: the ping toolbar's operation, its two transaction-log lines printed as they come.
#include <string>

#include "cli/commands.h"
#include "net/icmp_echo.h"
#include "ops/ping_operation.h"
#include "util/string_table.h"
#include "util/text.h"

namespace cli {

int RunPing(CliContext& context) {
  if (!net::LoadIcmp()) {
    context.Error(tvkutil::LoadString(tvkutil::ids::kIcmpUnavailable));
    return kExitFailure;
  }
  // An IPv4 adapter has no IPv6 scope: any interface, as the toolbar does it.
  pages::PingTarget target{context.line.host, context.udp.use_ipv6,
                           context.udp.adapter.is_ipv4 ? 0 : context.udp.adapter.ipv6_scope_id};
  // The toolbar's fixed time-out and retries unless the command line gives others.
  if (context.line.timeout_ms)
    target.timeout_ms = *context.line.timeout_ms;
  if (context.line.retries)
    target.retries = *context.line.retries;
  context.transactions.SetTextEcho([&out = context.out](std::string_view text) {
    out << TerminalText(tvkutil::FromUtf8Lenient(text)) << "\n" << std::flush;
  });
  CCliOperationUi ui(context);
  switch (pages::RunPing(target, ui, context.transactions, context.stop)) {
    case pages::PingOutcome::kRefused:
      return kExitUsage;
    case pages::PingOutcome::kUnresolved:
      return kExitFailure;
    case pages::PingOutcome::kNoReply:
      return context.stop.stop_requested() ? kExitStopped : kExitNoAnswer;
    case pages::PingOutcome::kReply:
      break;
  }
  return kExitDone;
}

}  // namespace cli
