// What every operation shares without windows: the port box, refusals with the field to focus,
// the exchange's result turned into its event-log line, the value text test, and the
// network settings of a request.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "net/exchange_result.h"
#include "net/udp_session.h"
#include "ops/operation_ui.h"
#include "settings/settings.h"
#include "snmp/snmp_message.h"

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
// A name typed in an OID field ("sysDescr.0", "IF-MIB::ifDescr.1") replaced by its numbers, so
// that the OID checks and the request see numbers; dotted text stays as typed. False, with a
// box naming it, for a name no loaded MIB module has.
bool TranslateOidName(app::IOperationUi& ui, std::wstring& text, int field);
// A value field of type `tag`: an empty Octet String or Opaque asks the user to confirm it
// (false after No); an OID value as CheckOidField; anything else refused with `string_id`
// unless it passes IsValidValueText.
bool CheckValueField(app::IOperationUi& ui, std::uint32_t tag, std::wstring_view text,
                     int string_id, int field);

// The request settings of the Options (IPv6, time-out, retries, local adapter).
net::UdpSettings UdpSettingsFrom(const app::NetworkSettings& network);

// The event-log line of a request that did not succeed, for every page and sondara-cli alike:
// the exchange's own failure as "<Op> request failed for OID '<oid>'. Reason: '<text>'." (a
// trap: "Trap request failed. Reason: '<text>'."; `reason_line`, a string table text with the
// OID and the reason, where a page words it its own way), a failed check or the agent's error
// status as snmp::RequestFailureLine writes them. Empty when it succeeded or was stopped.
std::wstring RequestResultLine(const net::ExchangeResult& result, const std::wstring& oid_text,
                               const snmp::CSNMPMessage& request,
                               const snmp::CSNMPMessage& response, const std::wstring& host,
                               bool use_ipv6, int reason_line = 0);

}  // namespace pages
