// get, getnext and set: the Get/Set page's operation, with one typed request carrying every OID
// of the command line, and the page's failure wording on standard error.
#include <memory>
#include <string>

#include "cli/commands.h"
#include "ops/get_set_operation.h"
#include "snmp/snmp_rules.h"

namespace cli {

namespace {

int RunRequest(CliContext& context, pages::GetSetMode mode) {
  const CommandLine& line = context.line;
  pages::GetSetRequest request;
  request.mode = mode;
  request.host = line.host;
  request.version = snmp::VersionIndex(line.snmp_version);
  request.port = line.port;
  request.community = line.community;
  request.security = line.security;
  if (mode == pages::GetSetMode::kSet) {
    for (const BindingArg& b : line.bindings)
      request.bindings.push_back({b.oid, b.tag, b.value});
  } else {
    for (const std::wstring& oid : line.oids)
      request.bindings.push_back({oid, snmp::kTagNull, {}});
  }
  // One request per run from a socket of its own: the first id a page would use.
  request.request_id = 0;

  CCliEventLines lines(context);
  const pages::CGetSetOperation operation(app::GetSetSettings{}, lines, context.transactions);
  const pages::GetSetReply reply = operation.Exchange(request, context.udp, context.stop);
  switch (reply.result.failure) {
    case net::ExchangeFailure::kNone:
      break;
    case net::ExchangeFailure::kStopped:
      return kExitStopped;
    case net::ExchangeFailure::kTimeout:
      return kExitNoAnswer;
    case net::ExchangeFailure::kAgentError:
    case net::ExchangeFailure::kReport:  // the agent refused the user: its error, in words
      return kExitAgentError;
    default:
      return kExitFailure;
  }
  for (int i = 1; const snmp::CVarBind* bind = reply.response->GetVarBind(i); ++i)
    context.printer.PrintBinding(*bind);
  return kExitDone;
}

}  // namespace

int RunGet(CliContext& context) {
  return RunRequest(context, pages::GetSetMode::kGet);
}

int RunGetNext(CliContext& context) {
  return RunRequest(context, pages::GetSetMode::kGetNext);
}

int RunSet(CliContext& context) {
  return RunRequest(context, pages::GetSetMode::kSet);
}

}  // namespace cli
