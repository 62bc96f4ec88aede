// walk: the walkMIB operation on this thread, each object printed as it is found and not kept
// (memory stays flat however long the walk); Ctrl+C stops it as the page's St&op does.
#include <string>

#include "cli/commands.h"
#include "ops/walk_mib_operation.h"
#include "snmp/snmp_rules.h"

namespace cli {

int RunWalk(CliContext& context) {
  const CommandLine& line = context.line;
  CCliEventLines events(context);
  pages::CWalkMIBOperation walk(app::WalkMibSettings{}, events, context.transactions);
  const pages::WalkRequest request{line.host,         snmp::VersionIndex(line.snmp_version),
                                   line.port,         line.community,
                                   line.oids.front(), line.security};
  pages::WalkOptions options;
  options.udp = context.udp;
  // GetNext unless --bulk: a script walks the same way whatever the Options say.
  options.bulk_repetitions = line.bulk.value_or(0);
  options.in_flight = line.parallel.value_or(1);
  options.progress = [&context](const pages::ProgressSnapshot& progress) {
    context.progress.Show(pages::WalkProgressLine(progress));
  };

  context.printer.ReadNamesMeanwhile();  // the first requests need no names
  const bool walked = walk.RunWalk(request, options, context.stop,
                                   [&context](const pages::COidInfo&, const snmp::CVarBind& bind) {
                                     context.progress.Clear();  // stdout may share the terminal
                                     context.printer.PrintBinding(bind);
                                   });
  context.progress.Clear();
  context.printer.PrintHeld();
  if (!walked)
    return kExitFailure;
  switch (walk.FinalStatus()) {
    case pages::WalkStatus::kStopped:
      return kExitStopped;
    case pages::WalkStatus::kFailed:
      switch (walk.LastFailure()) {
        case pages::WalkFailure::kAgentError:
          return kExitAgentError;
        case pages::WalkFailure::kNoAnswer:
          return kExitNoAnswer;
        default:
          return kExitFailure;
      }
    default:
      return kExitDone;
  }
}

}  // namespace cli
