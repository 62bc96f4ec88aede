// Fuzz target: message decoding and response checks end with a code, and clean decodes re-encode.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "snmp/response_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace snmp;
  const std::span<const std::uint8_t> bytes(data, size);
  static std::vector<std::uint8_t> buf(kMessageBufferLen);
  for (std::uint32_t type :
       {kPduGetRequest, kPduGetNextRequest, kPduResponse, kPduSetRequest, kPduTrapV1, kPduTrapV2}) {
    // Not byte for byte: binary strings come back as their hex text, which is then resent.
    CSNMPMessage msg(type), again(type);
    std::span<const std::uint8_t> out;
    if (msg.DecodeFrom(bytes) == kBerOk &&
        (!msg.EncodeInto(buf, out) || again.DecodeFrom(out) != kBerOk))
      std::abort();
  }
  for (std::uint32_t type :
       {kPduGetRequest, kPduGetNextRequest, kPduSetRequest, kPduGetBulkRequest}) {
    CSNMPMessage request(kSnmpVersion1, L"getcom", type), response(kPduResponse);
    request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
    const int result = ValidateResponse(bytes, response, request);
    (void)RequestFailureLine(result, L".1.3.6.1.2.1.1.1.0", request, response);
    // A walk asks on from the last name of an accepted answer; that request must encode.
    std::span<const std::uint8_t> out;
    if (result == kBerOk && response.VarBinds().KeepOnlyNameOf(response.VarBinds().Count())) {
      response.SetPduType(type);
      if (!response.EncodeInto(buf, out))
        std::abort();
    }
  }
  return 0;
}
