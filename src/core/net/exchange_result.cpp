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

namespace {

const wchar_t* LevelName(snmp::usm::SecurityLevel level) {
  switch (level) {
    case snmp::usm::SecurityLevel::kAuthNoPriv:
      return L"authNoPriv";
    case snmp::usm::SecurityLevel::kAuthPriv:
      return L"authPriv";
    default:
      return L"noAuthNoPriv";
  }
}

std::wstring ReportText(const V3Outcome& v3) {
  using snmp::v3::ReportKind;
  const std::wstring user = tvkutil::FromUtf8Lenient(v3.user_name);
  switch (v3.report) {
    case ReportKind::kUnknownUserName:
      return L"The agent does not know the user '" + user + L"'";
    case ReportKind::kUnknownEngineId:
      return L"The agent does not know the engine ID the request was sent to";
    case ReportKind::kWrongDigest:
      return L"Authentication failed: check the authentication password and protocol";
    case ReportKind::kDecryptionError:
      return v3.priv == snmp::usm::PrivProtocol::kAes192 ||
                     v3.priv == snmp::usm::PrivProtocol::kAes256
                 ? L"Decryption failed: check the privacy password and protocol (AES-" +
                       std::wstring(v3.priv == snmp::usm::PrivProtocol::kAes192 ? L"192" : L"256") +
                       L": try the other key extension)"
                 : L"Decryption failed: check the privacy password and protocol";
    case ReportKind::kNotInTimeWindow:
      return L"The agent's clock and ours still disagree after a re-synchronisation (not in "
             L"time window)";
    case ReportKind::kUnsupportedSecLevel:
      return L"The agent does not accept security level '" + std::wstring(LevelName(v3.level)) +
             L"' for user '" + user + L"'";
    default:
      return L"The agent answered with a report: " + v3.report_oid;
  }
}

}  // namespace

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
      if (result.v3 && result.v3->level == snmp::usm::SecurityLevel::kAuthPriv)
        return tvkutil::LoadString(kTimedOut) +
               L" (a wrong privacy password or protocol is a likely cause: some agents do not "
               L"answer what they cannot decrypt)";
      return tvkutil::LoadString(kTimedOut);
    case ExchangeFailure::kReport:
      return result.v3 ? ReportText(*result.v3) : std::wstring();
    case ExchangeFailure::kBadDigest:
      return L"The answer's digest does not verify: it was not believed (check the "
             L"authentication password and protocol)";
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
