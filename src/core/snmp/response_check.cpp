#include "snmp/response_check.h"

#include <algorithm>
#include <array>

#include "snmp/message_tree.h"
#include "util/text.h"

namespace snmp {

namespace {

constexpr wchar_t kUnknownError[] = L"Unknown internal application error";

// RFC 3416 error-status values 1 (tooBig) to 18 (inconsistentName).
constexpr std::array<const wchar_t*, 18> kStatusTexts = {
    L"The size of the GET-RESPONSE message is too big",
    L"Requested OID not found in the MIB view",
    L"Inappropriate set value",
    L"OID is read-only",
    L"General error",
    L"OID is not accessible",
    L"Incorrect datatype specified",
    L"Incorrect length specified",
    L"Incorrect ASN.1 encoding",
    L"The set value cannot be assigned to the OID",
    L"OID does not exist",
    L"The set value is inconsistent with values of other managed objects",
    L"Resources required for this set operation is not available",
    L"No validation errors occurred, but no variables were updated",
    L"No validation errors occurred. Some variables were updated because it was not possible to "
    L"undo their assignment",
    L"Authorization error",
    L"Unable to modify OID",
    L"The variable does not exist; the agent cannot create it because the named object instance "
    L"is inconsistent with the values of other managed objects",
};

}  // namespace

std::wstring InternalErrorText(const ResponseCheck& check) {
  switch (check.failure) {
    case CheckFailure::kUnsupportedType:
      return L"Unsupported value type";
    case CheckFailure::kOidMismatch:
      return L"OID mismatch in request/response message";
    case CheckFailure::kVarBindCountMismatch:
      return L"VarBind count mismatch in request/response message";
    case CheckFailure::kRequestIdMismatch:
      return L"Request ID mismatch in request/response message";
    case CheckFailure::kCommunityMismatch:
      return L"Community name mismatch in request/response message";
    case CheckFailure::kVersionMismatch:
      return L"SNMP version mismatch in request/response message";
    case CheckFailure::kNotDecoded:
      switch (check.decode) {
        case BerStatus::kBadLength:
          return L"Invalid BER encoding length";
        case BerStatus::kWrongTag:
          return L"Incorrect BER encoding type";
        case BerStatus::kUnsupportedType:
          return L"Unsupported value type";
        default:
          return kUnknownError;
      }
    default:
      return kUnknownError;
  }
}

std::wstring ErrorStatusText(int status) {
  if (status < 1 || status > static_cast<int>(kStatusTexts.size()))
    return kUnknownError;
  return kStatusTexts[static_cast<std::size_t>(status - 1)];
}

std::wstring MalformedMessageReason(std::span<const std::uint8_t> bytes) {
  const MessageTree tree = DecodeMessageTree(bytes);
  const MessageNode* damage = tree.Damage();
  if (damage == nullptr)
    return {};
  return damage->value + L" at offset " + std::to_wstring(damage->offset);
}

namespace {

// A version 1 message has no exception values (RFC 3416 / RFC 2576 4.1.2.3).
bool HasExceptionValue(const CVarBindList& binds) {
  for (int i = 1; i <= binds.Count(); ++i) {
    const CASNDataType* value = binds.Get(i)->Value();
    if (value != nullptr && value->Tag() >= kTagNoSuchObject)
      return true;
  }
  return false;
}

}  // namespace

// ValidateResponse without the reason; a friend of the message, as ValidateResponse is.
ResponseCheck CheckResponseFields(std::span<const std::uint8_t> bytes, CSNMPMessage& response,
                                  const CSNMPMessage& request);
// The checks from the PDU on, for v1/v2c after the community and for v3 in the scoped PDU.
ResponseCheck CheckPduFields(CBerReader& in, CSNMPMessage& response, const CSNMPMessage& request);

ResponseCheck ValidateScopedResponse(std::span<const std::uint8_t> pdu, CSNMPMessage& response,
                                     const CSNMPMessage& request) {
  response.malformed_reason_.clear();
  if (request.IsTrap() || response.Pdu() == nullptr ||
      pdu.size() > static_cast<std::size_t>(INT32_MAX))
    return ResponseCheck::Failed(CheckFailure::kWrongForm);
  response.version_.SetValue(kSnmpVersion3);
  response.community_.SetText(L"");
  response.community_text_made_ = false;
  CBerReader in(pdu.data(), static_cast<std::int32_t>(pdu.size()));
  return CheckPduFields(in, response, request);
}

ResponseCheck ValidateResponse(std::span<const std::uint8_t> bytes, CSNMPMessage& response,
                               const CSNMPMessage& request) {
  response.malformed_reason_.clear();
  const ResponseCheck result = CheckResponseFields(bytes, response, request);
  // Mismatches are about a well-formed message; everything else is told in the decoded view's
  // words, so the event log and the view agree.
  if (result.failure == CheckFailure::kNotDecoded ||
      result.failure == CheckFailure::kUnsupportedType)
    response.malformed_reason_ = MalformedMessageReason(bytes);
  return result;
}

ResponseCheck CheckResponseFields(std::span<const std::uint8_t> bytes, CSNMPMessage& response,
                                  const CSNMPMessage& request) {
  using Check = ResponseCheck;
  if (request.IsTrap())
    return Check::Failed(CheckFailure::kWrongForm);  // a trap has no response
  CPDU* pdu = response.Pdu();
  if (pdu == nullptr || bytes.size() > static_cast<std::size_t>(INT32_MAX))
    return Check::Failed(CheckFailure::kWrongForm);
  CBerReader in(bytes.data(), static_cast<std::int32_t>(bytes.size()));

  std::uint32_t len = 0;
  if (const BerStatus r = in.ExpectTag(kTagSequence); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  if (const BerStatus r = in.GetLength(len); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  if (ExceedsInput(len, in))
    return Check::NotDecoded(BerStatus::kExhausted);

  if (const BerStatus r = response.version_.Decode(in); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  if (response.Version() != request.Version())
    return Check::Failed(CheckFailure::kVersionMismatch);
  if (const BerStatus r = response.DecodeCommunity(in); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  if (!std::ranges::equal(response.CommunityBytes(), request.CommunityBytes()))
    return Check::Failed(CheckFailure::kCommunityMismatch);  // exact: byte for byte, so case counts
  return CheckPduFields(in, response, request);
}

ResponseCheck CheckPduFields(CBerReader& in, CSNMPMessage& response, const CSNMPMessage& request) {
  using Check = ResponseCheck;
  CPDU* pdu = response.Pdu();
  std::uint32_t len = 0;
  // The PDU is read member by member so that each can be compared as soon as it is known.
  if (const BerStatus r = in.ExpectTag(kPduResponse); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  if (const BerStatus r = in.GetLength(len); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  CBerReader content(nullptr, 0);
  if (const BerStatus r = in.Split(len, content); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  if (const BerStatus r = pdu->RequestId().Decode(content); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  if (response.RequestId() != request.RequestId())
    return Check::Failed(CheckFailure::kRequestIdMismatch);
  if (const BerStatus r = pdu->ErrorStatus().Decode(content); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  if (const BerStatus r = pdu->ErrorIndex().Decode(content); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  const std::int32_t status = response.ErrorStatus();
  // A negative status is no SNMP status at all.
  if (status < 0)
    return Check::Failed(CheckFailure::kWrongForm);
  if (status != 0)
    return Check::AgentError(status);

  if (const BerStatus r = pdu->VarBinds().Decode(content); r != BerStatus::kOk)
    return Check::NotDecoded(r);
  const CVarBindList& got = response.VarBinds();
  if (response.Version() == kSnmpVersion1 && HasExceptionValue(got))
    return Check::Failed(CheckFailure::kUnsupportedType);
  const CVarBindList& sent = request.VarBinds();
  // A GetBulk answer holds as many bindings as the agent chose to return (RFC 3416 4.2.3).
  if (request.PduType() != kPduGetBulkRequest && got.Count() != sent.Count())
    return Check::Failed(CheckFailure::kVarBindCountMismatch);
  // A get-next answer names the next object by design, so only get and set compare names.
  if (request.PduType() == kPduGetRequest || request.PduType() == kPduSetRequest) {
    for (int i = 1; i <= got.Count(); ++i) {
      const COid* a = got.Get(i)->Name();
      const COid* b = sent.Get(i)->Name();
      if (a == nullptr || b == nullptr || !(*a == *b))
        return Check::Failed(CheckFailure::kOidMismatch);
    }
  }
  return content.Empty() && in.Empty() ? Check{} : Check::NotDecoded(BerStatus::kTrailing);
}

namespace {

// "Get request failed for OID '%s'. " and the like; empty for a message that is no request.
std::wstring FailurePrefix(const CSNMPMessage& request) {
  switch (request.PduType()) {
    case kPduGetRequest:
      return L"Get request failed for OID '%s'. ";
    case kPduSetRequest:
      return L"Set request failed for OID '%s'. ";
    case kPduGetNextRequest:
    case kPduGetBulkRequest:  // the walk's faster GetNext; users know its failures by that name
      return L"GetNext request failed for OID '%s'. ";
    default:
      return {};
  }
}

}  // namespace

std::wstring RequestFailureReasonLine(const CSNMPMessage& request, const std::wstring& oid_text,
                                      const std::wstring& reason) {
  const std::wstring prefix = FailurePrefix(request);
  if (prefix.empty())
    return {};
  return tvkutil::FormatN(prefix + L"Reason: '%s'.", tvkutil::kMaxLogLineLen, oid_text, reason);
}

std::wstring RequestFailureLine(const ResponseCheck& result, const std::wstring& oid_text,
                                const CSNMPMessage& request, const CSNMPMessage& response) {
  if (result.failure != CheckFailure::kNone) {
    return RequestFailureReasonLine(request, oid_text,
                                    response.MalformedReason().empty()
                                        ? InternalErrorText(result)
                                        : response.MalformedReason());
  }
  const std::wstring prefix = FailurePrefix(request);
  if (result.error_status == 0 || prefix.empty())
    return {};
  const std::wstring code = tvkutil::FormatN(L"Error Code:%d, Error Index:%d", SIZE_MAX,
                                             response.ErrorStatus(), response.ErrorIndex());
  return tvkutil::FormatN(prefix + L"%s. ('%s').", tvkutil::kMaxLogLineLen, oid_text, code,
                          ErrorStatusText(result.error_status));
}

}  // namespace snmp
