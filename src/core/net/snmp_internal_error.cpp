#include "net/snmp_internal_error.h"

#include "net/address.h"
#include "util/string_table.h"
#include "util/text.h"

namespace net {

std::wstring SnmpInternalErrorText(int code, const std::wstring& host, bool use_ipv6) {
  switch (code) {
    case kSnmpBindError:
      return tvkutil::LoadString(tvkutil::ids::kUnableToBind);
    case kSnmpResolveError:
      return UnresolvedHostText(host, use_ipv6, LastLookupFailure());
    case kSnmpBuildError:
      return tvkutil::LoadString(tvkutil::ids::kUnableToBuild);
    case kSnmpTransmitError:
      return tvkutil::LoadString(tvkutil::ids::kUnableToTransmit);
    case kSnmpTimeoutError:
      return tvkutil::LoadString(tvkutil::ids::kTimedOut);
    default:
      return tvkutil::LoadString(tvkutil::ids::kUnknownError);
  }
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
