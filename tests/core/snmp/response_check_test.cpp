// Checking responses against their requests, the failure lines, and the request-id rule.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "snmp/request_id.h"
#include "snmp/response_check.h"
#include "snmp/type_names.h"
#include "support/ber_builder.h"
#include "support/hex_bytes.h"

namespace snmp {
namespace {

using namespace testing_support;

const char kSysDescr[] = "06 08 2b 06 01 02 01 01 01 00";
const char kSysContact[] = "06 08 2b 06 01 02 01 01 04 00";

// A reply built by hand, and the request (community getcom, request id 5) it answers.
struct Exchange {
  std::uint8_t version = 0;
  std::string community = "getcom";
  std::uint8_t pdu_tag = 0xa2;
  std::uint8_t request_id = 5;
  std::uint8_t status = 0;
  std::vector<const char*> names = {kSysDescr};
  std::string trailer = "";
  std::uint32_t request_type = kPduGetRequest;
  std::vector<const wchar_t*> asked = {L".1.3.6.1.2.1.1.1.0"};
  std::string value = "Linux box";
  std::string value_tlv = "";  // hex of a whole value element instead of the string `value`
  // Length octets after 0x8n on every constructed element and the value; 0: shortest form.
  std::size_t length_octets = 0;

  Bytes Tl(std::uint8_t tag, const Bytes& content) const {
    if (length_octets == 0)
      return Tlv(tag, content);
    Bytes head{tag, static_cast<std::uint8_t>(0x80 | length_octets)};
    for (std::size_t i = length_octets; i-- > 0;)
      head.push_back(static_cast<std::uint8_t>(content.size() >> (8 * i)));
    return Cat({head, content});
  }
  Bytes Reply() const {
    Bytes binds;
    for (const char* name : names)
      binds = Cat({binds, Tl(0x30, Cat({Hex(name), value_tlv.empty()
                                                       ? Tl(0x04, Bytes(value.begin(), value.end()))
                                                       : Hex(value_tlv)}))});
    Bytes pdu = Tl(pdu_tag, Cat({Int(request_id), Int(status), Int(1), Tl(0x30, binds)}));
    return Cat({Tl(0x30, Cat({Int(version), Str(community), pdu})), Hex(trailer)});
  }
  auto Request() const {
    auto m = std::make_unique<CSNMPMessage>(kSnmpVersion1, L"getcom", request_type);
    m->SetRequestId(5);
    for (const wchar_t* name : asked)
      m->AddNullVarBind(name);
    return m;
  }
};

const std::string kLong(300, 'x');  // a reply of 256 bytes or more: two length octets

constexpr ResponseCheck kOk{};
constexpr ResponseCheck Failed(CheckFailure why) {
  return ResponseCheck::Failed(why);
}
constexpr ResponseCheck Bad(BerStatus why) {
  return ResponseCheck::NotDecoded(why);
}

TEST(ResponseCheck, OrderOfChecks) {
  using enum CheckFailure;
  const std::pair<Exchange, ResponseCheck> cases[] = {
      {{}, kOk},
      // The agent's status wins over the bindings.
      {{.status = 2, .names = {}}, ResponseCheck::AgentError(2)},
      {{.version = 1, .community = "public"}, Failed(kVersionMismatch)},
      {{.community = "GETCOM", .request_id = 9}, Failed(kCommunityMismatch)},  // case counts
      {{.request_id = 6}, Failed(kRequestIdMismatch)},
      {{.pdu_tag = 0xa0}, Bad(BerStatus::kWrongTag)},
      {{.names = {kSysDescr, kSysDescr}}, Failed(kVarBindCountMismatch)},
      {{.names = {kSysContact}}, Failed(kOidMismatch)},
      {{.names = {kSysContact}, .request_type = kPduGetNextRequest}, kOk},  // get-next moves on
      {{.trailer = "00"}, Bad(BerStatus::kTrailing)},
      {{.request_type = kPduTrapV1}, Failed(kWrongForm)},  // a trap has no response
      {{.value_tlv = "45 00"}, Bad(BerStatus::kUnsupportedType)},
      {{.value_tlv = "80 00"}, Failed(kUnsupportedType)},  // SNMPv2 only
      {{.names = {kSysContact}, .request_type = kPduSetRequest}, Failed(kOidMismatch)},
      {{.names = {kSysDescr, kSysContact}, .asked = {L".1.3.6.1.2.1.1.1.0", L".1.3.6.1.2.1.1.1.0"}},
       Failed(kOidMismatch)},  // only the second name differs
      {{.names = {kSysDescr, kSysContact}, .asked = {L".1.3.6.1.2.1.1.1.0", L".1.3.6.1.2.1.1.4.0"}},
       kOk},
      {{.value = kLong}, kOk},
      {{.value = kLong, .length_octets = 3}, kOk},
      {{.length_octets = 1}, kOk},
  };
  for (const auto& [exchange, result] : cases) {
    SCOPED_TRACE(ToHex(exchange.Reply()));
    CSNMPMessage response(kPduResponse);
    EXPECT_EQ(ValidateResponse(exchange.Reply(), response, *exchange.Request()), result);
    if (result.Ok()) {
      std::wstring text;
      ASSERT_TRUE(ValueToText(*response.GetVarBind(1)->Value(), text));
      EXPECT_EQ(text, std::wstring(exchange.value.begin(), exchange.value.end()));
    }
  }
  // Every truncated reply runs out; the copies make overreads visible to the sanitizer.
  for (const Exchange& exchange : {Exchange{}, Exchange{.value = kLong, .length_octets = 3}}) {
    const Bytes full = exchange.Reply();
    for (std::size_t cut = 0; cut < full.size(); ++cut) {
      CSNMPMessage response(kPduResponse);
      const Bytes part(full.begin(), full.begin() + static_cast<long>(cut));
      EXPECT_EQ(ValidateResponse(part, response, *exchange.Request()), Bad(BerStatus::kExhausted))
          << cut;
    }
  }
}

TEST(ResponseCheck, MalformedRepliesAreRefusedWithOffsetAndCause) {
  const std::pair<const char*, std::wstring> values[] = {
      {"02 05 01 00 00 00 05", L"INTEGER wider than 32 bits"},
      {"41 05 01 00 00 00 05", L"Counter32 wider than 32 bits"},
      {"42 06 00 00 00 00 00 01", L"Gauge32 of 6 bytes (1 to 5 allowed)"},
      {"46 09 01 00 00 00 00 00 00 00 00", L"Counter64 wider than 64 bits"},
      {"40 05 7f 00 00 01 01", L"IpAddress of 5 bytes (4 expected)"},
      {"40 03 7f 00 01", L"IpAddress of 3 bytes (4 expected)"},
      // The last sub-identifier would run on into the element after it.
      {"06 02 2b 86 05 00",
       L"arc 3 of the OBJECT IDENTIFIER runs past its end (0x86 asks for one more byte)"},
      {"06 06 2b 90 80 80 80 00", L"arc 3 of the OBJECT IDENTIFIER does not fit in 32 bits"},
      {"82 00", L"endOfMibView in a version 1 message (SNMPv2 only)"},
      {"80 00", L"noSuchObject in a version 1 message (SNMPv2 only)"},
  };
  const auto request = Exchange{}.Request();
  for (const auto& [tlv, cause] : values) {
    const Bytes reply = Exchange{.value_tlv = tlv}.Reply();
    SCOPED_TRACE(ToHex(reply));
    CSNMPMessage response(kPduResponse);
    const ResponseCheck result = ValidateResponse(reply, response, *request);
    EXPECT_NE(result.failure, CheckFailure::kNone);
    EXPECT_EQ(RequestFailureLine(result, L".1.3.6.1.2.1.1.1.0", *request, response),
              L"Get request failed for OID '.1.3.6.1.2.1.1.1.0'. Reason: '" + cause +
                  L" at offset " + std::to_wstring(reply.size() - Hex(tlv).size()) + L"'.");
  }
  // The same exception values are an answer in version 2c.
  CSNMPMessage response(kPduResponse);
  const Exchange v2{.version = 1, .value_tlv = "82 00"};
  CSNMPMessage next(kSnmpVersion2c, L"getcom", kPduGetNextRequest);
  next.SetRequestId(5);
  next.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  EXPECT_EQ(ValidateResponse(v2.Reply(), response, next), kOk);
}

TEST(ResponseCheck, FailureLines) {
  CSNMPMessage get(kPduGetRequest), set(kPduSetRequest), next(kPduGetNextRequest);
  CSNMPMessage trap(kPduTrapV1), response(kPduResponse);
  response.SetErrorStatus(2);
  response.SetErrorIndex(1);
  const std::wstring oid = L".1.3.6.1.2.1.1.9.0";
  EXPECT_EQ(RequestFailureLine(ResponseCheck::AgentError(2), oid, get, response),
            L"Get request failed for OID '.1.3.6.1.2.1.1.9.0'. Error Code:2, Error Index:1. "
            L"('Requested OID not found in the MIB view').");
  EXPECT_EQ(RequestFailureLine(Failed(CheckFailure::kVersionMismatch), oid, set, response),
            L"Set request failed for OID '.1.3.6.1.2.1.1.9.0'. Reason: 'SNMP version mismatch in "
            L"request/response message'.");
  EXPECT_EQ(RequestFailureLine(Bad(BerStatus::kExhausted), oid, next, response),
            L"GetNext request failed for OID '.1.3.6.1.2.1.1.9.0'. Reason: 'Unknown internal "
            L"application error'.");
  EXPECT_EQ(RequestFailureLine(Failed(CheckFailure::kOidMismatch), oid, trap, response), L"");
  EXPECT_EQ(RequestFailureLine(kOk, oid, get, response), L"");  // success has no line
  EXPECT_EQ(
      RequestFailureLine(Bad(BerStatus::kBadLength), std::wstring(600, L'1'), get, response).size(),
      511u);
  using enum CheckFailure;
  const std::pair<ResponseCheck, std::wstring> texts[] = {
      {Failed(kCommunityMismatch), L"Community name mismatch in request/response message"},
      {Failed(kRequestIdMismatch), L"Request ID mismatch in request/response message"},
      {Failed(kVarBindCountMismatch), L"VarBind count mismatch in request/response message"},
      {Failed(kOidMismatch), L"OID mismatch in request/response message"},
      {Failed(kUnsupportedType), L"Unsupported value type"},
      {Bad(BerStatus::kUnsupportedType), L"Unsupported value type"},
      {Bad(BerStatus::kBadLength), L"Invalid BER encoding length"},
      {Bad(BerStatus::kWrongTag), L"Incorrect BER encoding type"},
      {Bad(BerStatus::kTrailing), L"Unknown internal application error"},
      {Failed(kWrongForm), L"Unknown internal application error"},
  };
  for (const auto& [check, text] : texts)
    EXPECT_EQ(InternalErrorText(check), text);
  EXPECT_EQ(ErrorStatusText(19), L"Unknown internal application error");
}

TEST(RequestId, RunsAndRestarts) {
  enum { kGet, kSet };
  const std::wstring oid = L".1.3.6.1.2.1.1.1.0", oid2 = oid + L"1";
  CRequestIdCounter ids;
  EXPECT_EQ(ids.Next(L"host", L"getcom", 161, kGet, oid), 0);
  EXPECT_EQ(ids.Next(L"HOST", L"GETCOM", 161, kGet, oid), 1);  // case does not matter
  EXPECT_EQ(ids.Next(L"host", L"public", 161, kGet, oid), 0);  // second target changed
  EXPECT_EQ(ids.Next(L"host", L"public", 162, kGet, oid), 0);  // port changed
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kGet, oid), 0);
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kGet, oid2), 0);  // the operation's OID changed
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kSet, oid), 0);   // first Set of its OID
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kGet, oid2), 1);
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kSet, oid), 2);
  for (int i = 3; i <= 255; ++i)
    ASSERT_EQ(ids.Next(L"other", L"public", 162, kSet, oid), i);
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kSet, oid), 0);  // restarts past 255
}

}  // namespace
}  // namespace snmp
