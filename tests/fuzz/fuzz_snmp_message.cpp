// Fuzz target: message decoding and response checks end with a code and never crash. A clean
// decode re-encodes; decoding that encoding gives the same message, field by field, and encoding
// it again gives the same bytes. (The first encoding may differ from the input: lengths and
// integers come out in their shortest form.) An SNMPv3 envelope reads as far as it goes, its
// digest field inside the message.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "snmp/response_check.h"
#include "snmp/v3_message.h"

namespace {

using namespace snmp;

// Everything a decoded message holds, so that two messages compare in one step. Numbers stay
// numbers: wide number formatting would cost most of each run.
struct Fields {
  std::vector<std::int64_t> numbers;
  std::vector<std::wstring> texts;
  bool operator==(const Fields&) const = default;
};

Fields FieldsOf(const CSNMPMessage& msg) {
  Fields f;
  f.numbers = {msg.Version(),      msg.PduType(),    msg.RequestId(),
               msg.ErrorStatus(),  msg.ErrorIndex(), msg.GenericTrap(),
               msg.SpecificTrap(), msg.TimeStamp(),  msg.VarBinds().Count()};
  f.numbers.insert(f.numbers.end(), msg.CommunityBytes().begin(), msg.CommunityBytes().end());
  f.texts = {msg.Community(), msg.Enterprise(), msg.AgentAddress()};
  for (int i = 1; i <= msg.VarBinds().Count(); ++i) {
    const CVarBind* bind = msg.GetVarBind(i);
    if (const COid* name = bind->Name())
      f.numbers.insert(f.numbers.end(), name->Arcs().begin(), name->Arcs().end());
    f.numbers.push_back(-1);  // ends the name
    std::wstring text;
    std::uint32_t tag = 0;
    f.numbers.push_back(bind->ValueText(text, tag));
    f.numbers.push_back(tag);
    f.texts.push_back(std::move(text));
  }
  return f;
}

std::vector<std::uint8_t> Encoded(CSNMPMessage& msg) {
  static std::vector<std::uint8_t> buf(kMessageBufferLen);
  std::span<const std::uint8_t> out;
  if (!msg.EncodeInto(buf, out))
    std::abort();  // whatever decoded cleanly must encode
  return {out.begin(), out.end()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> bytes(data, size);
  for (std::uint32_t type :
       {kPduGetRequest, kPduGetNextRequest, kPduResponse, kPduSetRequest, kPduTrapV1, kPduTrapV2}) {
    CSNMPMessage msg(type);
    if (msg.DecodeFrom(bytes) != BerStatus::kOk) {
      (void)FieldsOf(msg);  // a partly filled message still reads
      continue;
    }
    const std::vector<std::uint8_t> first = Encoded(msg);
    CSNMPMessage again(type);
    if (again.DecodeFrom(first) != BerStatus::kOk || !(FieldsOf(again) == FieldsOf(msg)) ||
        Encoded(again) != first)
      std::abort();
  }
  for (std::uint32_t type :
       {kPduGetRequest, kPduGetNextRequest, kPduSetRequest, kPduGetBulkRequest}) {
    CSNMPMessage request(kSnmpVersion1, L"getcom", type), response(kPduResponse);
    request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
    const ResponseCheck result = ValidateResponse(bytes, response, request);
    (void)RequestFailureLine(result, L".1.3.6.1.2.1.1.1.0", request, response);
    // An accepted answer is a response to this very request.
    if (result.Ok() &&
        (response.RequestId() != request.RequestId() || response.Community() != L"getcom" ||
         (type != kPduGetBulkRequest && response.VarBinds().Count() != 1)))
      std::abort();
    // A walk asks on from the last name of an accepted answer; that request must encode.
    if (result.Ok() && response.VarBinds().KeepOnlyNameOf(response.VarBinds().Count())) {
      response.SetPduType(type);
      (void)Encoded(response);
    }
  }
  v3::Incoming in;
  if (v3::DecodeMessage(bytes, in) == BerStatus::kOk) {
    if (in.auth_offset + in.header.auth_params.size() > size)
      std::abort();  // the digest is zeroed in place for its check
    v3::ScopedPdu scoped;
    if (v3::DecodeScopedPdu(in.data, in.encrypted, scoped) == BerStatus::kOk) {
      (void)v3::ReadReport(scoped.pdu);
      CSNMPMessage request(kSnmpVersion3, L"", kPduGetRequest), response(kPduResponse);
      request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
      if (ValidateScopedResponse(scoped.pdu, response, request).Ok() &&
          (response.Version() != kSnmpVersion3 || response.VarBinds().Count() != 1))
        std::abort();
    }
  }
  return 0;
}
