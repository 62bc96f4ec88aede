#include "net/exchange_result.h"

#include "net/address.h"
#include "util/string_table.h"
#include "util/text.h"

namespace net {

ExchangeResult ExchangeResult::Checked(const snmp::ResponseCheck& check) {
  ExchangeResult result;
  result.check = check;
  if (check.IsAgentError())
    result.failure = ExchangeFailure::kAgentError;
  else if (!check.Ok())
    result.failure = ExchangeFailure::kCheck;
  return result;
}

ExchangeResult ExchangeResult::Thrown(int code) {
  ExchangeResult result;
  switch (code) {
    case kSnmpBindError:
      result.failure = ExchangeFailure::kBind;
      break;
    case kSnmpResolveError:
      result.failure = ExchangeFailure::kResolve;
      result.lookup_failure = LastLookupFailure();
      break;
    case kSnmpBuildError:
      result.failure = ExchangeFailure::kBuild;
      break;
    case kSnmpTransmitError:
      result.failure = ExchangeFailure::kTransmit;
      break;
    case kSnmpTimeoutError:
      result.failure = ExchangeFailure::kTimeout;
      break;
    default:
      result.failure = ExchangeFailure::kSocket;
      break;
  }
  return result;
}

std::wstring ExchangeFailureText(const ExchangeResult& result, const std::wstring& host,
                                 bool use_ipv6) {
  using namespace tvkutil::ids;
  switch (result.failure) {
    case ExchangeFailure::kResolve:
      return UnresolvedHostText(host, use_ipv6, result.lookup_failure);
    case ExchangeFailure::kBind:
      return tvkutil::LoadString(kUnableToBind);
    case ExchangeFailure::kSocket:
      return tvkutil::LoadString(kUnknownError);
    case ExchangeFailure::kBuild:
      return tvkutil::LoadString(kUnableToBuild);
    case ExchangeFailure::kTransmit:
      return tvkutil::LoadString(kUnableToTransmit);
    case ExchangeFailure::kTimeout:
      return tvkutil::LoadString(kTimedOut);
    case ExchangeFailure::kNone:
    case ExchangeFailure::kStopped:
    case ExchangeFailure::kCheck:
    case ExchangeFailure::kAgentError:
      break;
  }
  return {};
}

std::wstring UnresolvedHostText(const std::wstring& host, bool use_ipv6,
                                const std::wstring& lookup_failure) {
  using namespace tvkutil::ids;
  const int id = use_ipv6                ? kUnableToResolveIPv6
                 : IsValidIPv6Text(host) ? kIPv6HostWithIPv6Off
                                         : kUnableToResolveIPv4;
  std::wstring text = tvkutil::FormatN(tvkutil::LoadString(id), tvkutil::kMaxLogLineLen, host);
  if (!lookup_failure.empty())
    text += L": " + lookup_failure;
  return text;
}

}  // namespace net
