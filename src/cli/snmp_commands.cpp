// get, getnext and set: one request carrying every OID of the command line, over the exchange
// the Get/Set page uses, with the page's failure wording.
#include <string>

#include "cli/commands.h"
#include "net/request_exchange.h"
#include "snmp/response_check.h"
#include "snmp/snmp_rules.h"
#include "snmp/type_names.h"

namespace cli {

namespace {

// The OID a failure line names: the one the agent's error index points at, else the first.
std::wstring FailedOid(const CommandLine& line, const snmp::CSNMPMessage& response,
                       bool agent_error) {
  const bool set = !line.bindings.empty();
  const std::size_t count = set ? line.bindings.size() : line.oids.size();
  const std::int32_t index = agent_error ? response.ErrorIndex() : 0;
  const std::size_t at = index >= 1 && static_cast<std::size_t>(index) <= count
                             ? static_cast<std::size_t>(index) - 1
                             : 0;
  return set ? line.bindings[at].oid : line.oids[at];
}

int RunRequest(CliContext& context, std::uint32_t pdu_type, const wchar_t* source) {
  const CommandLine& line = context.line;
  snmp::CSNMPMessage request(snmp::VersionIndex(line.snmp_version), line.community, pdu_type);
  // One request per run from a socket of its own: the first id a page would use.
  request.SetRequestId(0);
  if (pdu_type == snmp::kPduSetRequest) {
    for (const BindingArg& b : line.bindings)
      request.AddVarBind(b.oid, b.tag, b.value);
  } else {
    for (const std::wstring& oid : line.oids)
      request.AddNullVarBind(oid);
  }
  snmp::CSNMPMessage response(snmp::kPduResponse);

  snmp::ResponseCheck result;
  try {
    result = *net::ExchangeRequest(line.host, line.port, context.udp, source, request, response,
                                   context.transactions);
  } catch (net::SNMPINTERNALERROR code) {
    context.Error(snmp::RequestFailureReasonLine(
        request, FailedOid(line, response, false),
        net::SnmpInternalErrorText(code, line.host, context.udp.use_ipv6)));
    return code == net::kSnmpTimeoutError ? kExitNoAnswer : kExitFailure;
  } catch (...) {
    context.Error(snmp::RequestFailureReasonLine(
        request, FailedOid(line, response, false),
        net::SnmpInternalErrorText(net::kSnmpUnknownError, line.host, context.udp.use_ipv6)));
    return kExitFailure;
  }
  if (!result.Ok()) {
    context.Error(snmp::RequestFailureLine(result, FailedOid(line, response, result.IsAgentError()),
                                           request, response));
    // The agent's error status, or an answer that does not fit the request.
    return result.IsAgentError() ? kExitAgentError : kExitFailure;
  }

  for (int i = 1; const snmp::CVarBind* bind = response.GetVarBind(i); ++i)
    context.printer.PrintBinding(*bind);
  return kExitDone;
}

}  // namespace

int RunGet(CliContext& context) {
  return RunRequest(context, snmp::kPduGetRequest, L"Get");
}

int RunGetNext(CliContext& context) {
  return RunRequest(context, snmp::kPduGetNextRequest, L"GetNext");
}

int RunSet(CliContext& context) {
  return RunRequest(context, snmp::kPduSetRequest, L"Set");
}

}  // namespace cli
