// What one exchange with an agent came to: the one result every operation gets back from the
// requester, and the reason texts of the exchange's own failures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "snmp/response_check.h"
#include "snmp/usm_user.h"
#include "snmp/v3_message.h"

namespace net {

// The exchange's own failures as the UDP session throws them; only the requester catches them
// and turns them into an ExchangeResult.
enum SNMPINTERNALERROR : int {
  kSnmpBindError = -1,     // "Unable to bind to local adapter"
  kSnmpResolveError = -2,  // "Unable to resolve IPv4 host '%s'" / "... IPv6 host '%s'"
  // -3 was "Unable to connect to remote host": UDP never connects, and nothing threw it.
  kSnmpBuildError = -4,     // "Unable to build message for transmit"
  kSnmpTransmitError = -5,  // "Unable to transmit message to remote host"
  kSnmpTimeoutError = -6,   // "Timed out while waiting for response from remote host"
  kSnmpUnknownError = -7,   // socket could not be made; "Unknown error"
};

enum class ExchangeFailure : std::uint8_t {
  kNone,
  kResolve,     // the host name or address did not resolve
  kBind,        // the local adapter's address could not be bound
  kSocket,      // no socket could be made
  kBuild,       // the request could not be encoded
  kTransmit,    // not all of it was sent
  kTimeout,     // no answer after every try
  kStopped,     // a stop was requested while it waited
  kCheck,       // the answer does not fit the request: `check` says how
  kAgentError,  // the agent refused it: `check.error_status`
  kReport,      // SNMPv3: the agent answered with a report, `v3.report` says which
  kBadDigest,   // SNMPv3: an answer whose digest does not verify; nothing of it is believed
};

// What an SNMPv3 failure line needs to say who was refused and how.
struct V3Outcome {
  snmp::v3::ReportKind report = snmp::v3::ReportKind::kNone;
  std::wstring report_oid;  // the counter, for ReportKind::kOther
  std::string user_name;
  snmp::usm::SecurityLevel level = snmp::usm::SecurityLevel::kNoAuthNoPriv;
  snmp::usm::PrivProtocol priv = snmp::usm::PrivProtocol::kNone;
};

struct [[nodiscard]] ExchangeResult {
  ExchangeFailure failure = ExchangeFailure::kNone;
  snmp::ResponseCheck check;    // of the answer, for kNone, kCheck and kAgentError
  std::wstring lookup_failure;  // the resolver's reason, for kResolve
  // SNMPv3: who spoke, for kReport, kBadDigest and a kTimeout at authPriv (which some agents
  // give for a wrong privacy key); set only for version 3 requests.
  std::optional<V3Outcome> v3;
  // A line worth keeping in the event log although the request succeeded (how AES keys were
  // stretched when the agent took the second way).
  std::wstring note;
  // The size of the datagram that answered, for a walk that sizes its GetBulk requests.
  std::size_t answer_bytes = 0;

  bool Ok() const { return failure == ExchangeFailure::kNone; }
  // kNone, kCheck or kAgentError by what the answer's check found.
  static ExchangeResult Checked(const snmp::ResponseCheck& check);
  // The failure a thrown code stands for; kResolve keeps this thread's LastLookupFailure.
  static ExchangeResult Thrown(int code);
};

// The reason text of the exchange's own failures (kResolve to kTimeout, kReport, kBadDigest) as
// the pages show it: "Unable to bind to local adapter" ..., the resolve failure naming the host,
// the family by use_ipv6 and the resolver's reason, an SNMPv3 report in words. Empty for kNone,
// kStopped, kCheck and kAgentError.
std::wstring ExchangeFailureText(const ExchangeResult& result, const std::wstring& host,
                                 bool use_ipv6);

// "Unable to resolve IPv4 host 'name'" or "... IPv6 host ..." by use_ipv6, then ": " and the
// resolver's reason when there is one; an IPv6 address with IPv6 off is told where IPv6 is
// switched on.
std::wstring UnresolvedHostText(const std::wstring& host, bool use_ipv6,
                                const std::wstring& lookup_failure);

}  // namespace net
