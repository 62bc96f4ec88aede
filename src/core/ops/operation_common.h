// What every operation shares without windows: the port box, refusals with the field to focus,
// the exchange's failures turned into their reason texts, the value text test, and the
// network settings of a request.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "net/snmp_internal_error.h"
#include "net/udp_session.h"
#include "ops/operation_ui.h"
#include "settings/settings.h"

namespace pages {

inline constexpr std::uint32_t kMaxPort = 65535;

// What a button ended with: refused by the checks (nothing sent), failed (one event-log line
// written) or done.
enum class RequestOutcome { kRefused, kFailed, kDone };

// The port box: one to five digits and at most 65535; anything else is refused with the range
// message.
bool ReadPort(std::wstring_view text, std::uint16_t& out_port);

// Shows the string table text `string_id` and names the field to focus. Always false, so a
// check reads `return Refuse(...)`.
bool Refuse(app::IOperationUi& ui, int string_id, int field,
            app::MessageIcon icon = app::MessageIcon::kWarning);
// "Please enter an integer between <low> and <high>." with the warning icon. Always false.
bool RefuseRange(app::IOperationUi& ui, long long low, long long high, int field);

// A value text for a value of type `tag`, as the pages and the varbind editor check it before
// anything is sent: empty only for Octet String and Opaque; a number must be a whole number that
// fits its type, read to its last character (Integer32 in decimal; Counter32, Gauge32, UInteger32
// and Timeticks with "0x" for hexadecimal and a leading 0 for octal; Counter64 in decimal); an
// Object Identifier must pass the OID text test and an IPAddress the IPv4 text test. Octet String,
// Opaque and Null take any text; the exception tags and unknown tags none.
bool IsValidValueText(std::uint32_t tag, std::wstring_view text);

// An OID field: true when the text passes the OID text test, else a refusal that says which
// rule it broke (a number above 4294967295, first numbers that cannot be sent) or, for any
// other fault, the text `string_id`.
bool CheckOidField(app::IOperationUi& ui, std::wstring_view text, int string_id, int field);
// A value field of type `tag`: an empty Octet String or Opaque asks the user to confirm it
// (false after No); an OID value as CheckOidField; anything else refused with `string_id`
// unless it passes IsValidValueText.
bool CheckValueField(app::IOperationUi& ui, std::uint32_t tag, std::wstring_view text,
                     int string_id, int field);

// The request settings of the Options (IPv6, time-out, retries, local adapter).
net::UdpSettings UdpSettingsFrom(const app::NetworkSettings& network);

// Runs `exchange` and returns the reason text of whatever it threw (SNMPINTERNALERROR by its
// code, anything else as "Unknown error"), or the empty text when it returned. `thrown`, when
// given, receives the code (kSnmpUnknownError for anything else), for callers that tell a
// time-out from other failures.
template <typename Fn>
std::wstring ExchangeFailureReason(Fn&& exchange, const std::wstring& host, bool use_ipv6,
                                   net::SNMPINTERNALERROR* thrown = nullptr) {
  try {
    exchange();
  } catch (net::SNMPINTERNALERROR code) {
    if (thrown != nullptr)
      *thrown = code;
    return net::SnmpInternalErrorText(code, host, use_ipv6);
  } catch (...) {
    if (thrown != nullptr)
      *thrown = net::kSnmpUnknownError;
    return net::SnmpInternalErrorText(net::kSnmpUnknownError, host, use_ipv6);
  }
  return {};
}

}  // namespace pages
