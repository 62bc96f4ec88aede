// Checks a received response against the request it answers, and the texts of every outcome.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "snmp/snmp_message.h"

namespace snmp {

// Why a response does not answer the request it was checked against.
enum class CheckFailure : std::uint8_t {
  kNone,
  kNotDecoded,  // the bytes are no SNMP message: ResponseCheck::decode says what stopped them
  kWrongForm,   // the request has no answer (a trap), or the status is negative, so no SNMP one
  kVersionMismatch,
  kCommunityMismatch,
  kRequestIdMismatch,
  kVarBindCountMismatch,
  kOidMismatch,
  kUnsupportedType,  // an SNMPv2 exception value in a version 1 answer
};

// What checking a response found: ok, the agent's non-zero error status, or one failure.
struct [[nodiscard]] ResponseCheck {
  CheckFailure failure = CheckFailure::kNone;
  BerStatus decode = BerStatus::kOk;  // the fault, when failure is kNotDecoded
  std::int32_t error_status = 0;      // the agent's (positive), when failure is kNone

  static constexpr ResponseCheck Failed(CheckFailure why) { return {why, BerStatus::kOk, 0}; }
  static constexpr ResponseCheck NotDecoded(BerStatus why) {
    return {CheckFailure::kNotDecoded, why, 0};
  }
  static constexpr ResponseCheck AgentError(std::int32_t status) {
    return {CheckFailure::kNone, BerStatus::kOk, status};
  }

  constexpr bool Ok() const { return failure == CheckFailure::kNone && error_status == 0; }
  // The answer fits the request, and the agent refused it with this status.
  constexpr bool IsAgentError() const {
    return failure == CheckFailure::kNone && error_status != 0;
  }
  friend constexpr bool operator==(const ResponseCheck&, const ResponseCheck&) = default;
};

// Decodes `bytes` into `response` (a fresh message of type kPduResponse) and compares it with
// `request` as it reads, stopping at the first difference. Order: trap request (kWrongForm),
// message header, version, community, PDU type must be Response (not decoded: kWrongTag),
// request id, error status (a non-zero status is the result; a negative one kWrongForm),
// bindings, their count (not for a GetBulk, whose answer holds as many as the agent chose), for
// get and set the names in order, bytes after the PDU (not decoded: kTrailing). Exception
// values in a version 1 answer are SNMPv2 only (kUnsupportedType). When it is Ok `response`
// holds the decoded bindings. When the bytes do not decode, `response` also keeps the decoded
// view's reason and offset (MalformedReason), which the failure line shows.
ResponseCheck ValidateResponse(std::span<const std::uint8_t> bytes, CSNMPMessage& response,
                               const CSNMPMessage& request);

// ValidateResponse for the PDU element of an SNMPv3 scoped PDU (its envelope was checked by
// the requester): `response` becomes a version 3 message without community.
ResponseCheck ValidateScopedResponse(std::span<const std::uint8_t> pdu, CSNMPMessage& response,
                                     const CSNMPMessage& request);

// "Unsupported value type", "OID mismatch in request/response message" ... for a failure;
// "Unknown internal application error" for the rest.
std::wstring InternalErrorText(const ResponseCheck& check);
// The text of an SNMP error status 1 to 18; "Unknown internal application error" otherwise.
std::wstring ErrorStatusText(int status);

// The damage the decoded message view finds in `bytes`, as "<what> at offset <n>"; empty when
// it finds none.
std::wstring MalformedMessageReason(std::span<const std::uint8_t> bytes);
// The event-log line for a failed get, set or get-next (a get-bulk reads as a get-next; empty
// when Ok, or for any other request type):
// "<Op> request failed for OID '<oid>'. Reason: '<text>'." for a failure (the response's
// MalformedReason when it has one, else InternalErrorText) and
// "<Op> request failed for OID '<oid>'. Error Code:<s>, Error Index:<i>. ('<text>')." for an
// error status. At most tvkutil::kMaxLogLineLen characters.
std::wstring RequestFailureLine(const ResponseCheck& result, const std::wstring& oid_text,
                                const CSNMPMessage& request, const CSNMPMessage& response);
// The first form with a reason text of the caller's, for failures the checks above do not know
// (the exchange's own: time-out, no route, ...).
std::wstring RequestFailureReasonLine(const CSNMPMessage& request, const std::wstring& oid_text,
                                      const std::wstring& reason);
}  // namespace snmp
