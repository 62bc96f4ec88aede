// Fuzz target: any bytes fed to the message decoder and to the response checks must come back
// with a result code, never a crash, hang or out-of-bounds read; and whatever decodes cleanly
// must encode again into a message that decodes cleanly. (Not byte for byte: binary strings come
// back as their hex text, which is how the user sees and would resend them.)
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "snmp/response_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace snmp;
  const std::span<const std::uint8_t> bytes(data, size);
  static const std::uint32_t kTypes[] = {kPduGetRequest, kPduGetNextRequest, kPduResponse,
                                         kPduSetRequest, kPduTrapV1,         kPduTrapV2};
  for (std::uint32_t type : kTypes) {
    CSNMPMessage msg(type);
    if (msg.DecodeFrom(bytes) != kBerOk)
      continue;
    std::vector<std::uint8_t> buf(kMessageBufferLen);
    std::span<const std::uint8_t> out;
    if (!msg.EncodeInto(buf, out))
      std::abort();
    CSNMPMessage again(type);
    if (again.DecodeFrom(out) != kBerOk)
      std::abort();
  }
  for (std::uint32_t type : {kPduGetRequest, kPduGetNextRequest, kPduSetRequest}) {
    CSNMPMessage request(kSnmpVersion1, L"getcom", type);
    request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
    CSNMPMessage response(kPduResponse);
    const int result = ValidateResponse(bytes, response, request);
    (void)RequestFailureLine(result, L".1.3.6.1.2.1.1.1.0", request, response);
  }
  return 0;
}
