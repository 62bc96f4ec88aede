// Checks a received response against the request it answers, and the texts of every outcome.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "snmp/snmp_message.h"

namespace snmp {

// Decodes `bytes` into `response` (a fresh message of type kPduResponse) and compares it with
// `request` as it reads, stopping at the first difference. Order: trap request (-1), message
// header, version (-6), community (-7), PDU type must be Response (-4), request id (-8), error
// status (a non-zero status is the result), bindings, their count (-9; not for a GetBulk, whose
// answer holds as many as the agent chose), for get and set the names in order (-10), bytes
// after the PDU (-3). Exception values in a version 1 answer are SNMPv2 only (-11). Returns 0,
// the agent's positive error status, or a negative code; on 0 `response` holds the decoded
// bindings. When the bytes do not decode, `response` also keeps the decoded view's reason and
// offset (MalformedReason), which the failure line shows.
int ValidateResponse(std::span<const std::uint8_t> bytes, CSNMPMessage& response,
                     const CSNMPMessage& request);

// "Unsupported value type" ... for the negative codes; "Unknown internal application error"
// for -1 to -3 and anything unknown.
std::wstring InternalErrorText(int code);
// The text of an SNMP error status 1 to 18; "Unknown internal application error" otherwise.
std::wstring ErrorStatusText(int status);

// The damage the decoded message view finds in `bytes`, as "<what> at offset <n>"; empty when
// it finds none.
std::wstring MalformedMessageReason(std::span<const std::uint8_t> bytes);
// The event-log line for a failed get, set or get-next (a get-bulk reads as a get-next; empty
// for 0 or any other request type):
// "<Op> request failed for OID '<oid>'. Reason: '<text>'." for a negative code (the response's
// MalformedReason when it has one, else the code's text) and
// "<Op> request failed for OID '<oid>'. Error Code:<s>, Error Index:<i>. ('<text>')." for an
// error status. At most tvkutil::kMaxLogLineLen characters.
std::wstring RequestFailureLine(int result, const std::wstring& oid_text,
                                const CSNMPMessage& request, const CSNMPMessage& response);
// The first form with a reason text of the caller's, for failures the checks above do not know
// (the exchange's own: time-out, no route, ...).
std::wstring RequestFailureReasonLine(const CSNMPMessage& request, const std::wstring& oid_text,
                                      const std::wstring& reason);
}  // namespace snmp
