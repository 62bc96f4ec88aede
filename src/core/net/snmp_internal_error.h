// The one exception of the request exchange and the message a page shows for each code.
#pragma once

#include <string>

namespace net {

enum SNMPINTERNALERROR : int {
  kSnmpBindError = -1,      // "Unable to bind to local adapter"
  kSnmpResolveError = -2,   // "Unable to resolve IPv4 host '%s'" / "... IPv6 host '%s'"
  // -3 was "Unable to connect to remote host": UDP never connects, and nothing threw it.
  kSnmpBuildError = -4,     // "Unable to build message for transmit"
  kSnmpTransmitError = -5,  // "Unable to transmit message to remote host"
  kSnmpTimeoutError = -6,   // "Timed out while waiting for response from remote host"
  kSnmpUnknownError = -7,   // socket could not be made; "Unknown error"
};

// The message for a thrown code; any code outside the table reads "Unknown error". The host
// text fills the resolve message, which names the family by use_ipv6 and ends with this
// thread's LastLookupFailure.
std::wstring SnmpInternalErrorText(int code, const std::wstring& host, bool use_ipv6);

// "Unable to resolve IPv4 host 'name'" or "... IPv6 host ..." by use_ipv6, then ": " and the
// resolver's reason when there is one; an IPv6 address with IPv6 off is told where IPv6 is
// switched on.
std::wstring UnresolvedHostText(const std::wstring& host, bool use_ipv6,
                                const std::wstring& lookup_failure);

}  // namespace net
