// What one exchange with an agent came to: the one result every operation gets back from the
// requester, and the reason texts of the exchange's own failures.
#pragma once

#include <cstdint>
#include <string>

#include "snmp/response_check.h"

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
};

struct [[nodiscard]] ExchangeResult {
  ExchangeFailure failure = ExchangeFailure::kNone;
  snmp::ResponseCheck check;    // of the answer, for kNone, kCheck and kAgentError
  std::wstring lookup_failure;  // the resolver's reason, for kResolve

  bool Ok() const { return failure == ExchangeFailure::kNone; }
  // kNone, kCheck or kAgentError by what the answer's check found.
  static ExchangeResult Checked(const snmp::ResponseCheck& check);
  // The failure a thrown code stands for; kResolve keeps this thread's LastLookupFailure.
  static ExchangeResult Thrown(int code);
};

// The reason text of the exchange's own failures (kResolve to kTimeout) as the pages show it:
// "Unable to bind to local adapter" ..., the resolve failure naming the host, the family by
// use_ipv6 and the resolver's reason. Empty for kNone, kStopped, kCheck and kAgentError.
std::wstring ExchangeFailureText(const ExchangeResult& result, const std::wstring& host,
                                 bool use_ipv6);

// "Unable to resolve IPv4 host 'name'" or "... IPv6 host ..." by use_ipv6, then ": " and the
// resolver's reason when there is one; an IPv6 address with IPv6 off is told where IPv6 is
// switched on.
std::wstring UnresolvedHostText(const std::wstring& host, bool use_ipv6,
                                const std::wstring& lookup_failure);

}  // namespace net
