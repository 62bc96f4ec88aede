// Checking responses against their requests, the texts of every outcome, and the request-id rule.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "snmp/request_id.h"
#include "snmp/response_check.h"
#include "support/ber_builder.h"
#include "support/hex_bytes.h"

namespace snmp {
namespace {

using testing_support::Bytes;
using testing_support::Cat;
using testing_support::Hex;
using testing_support::Int;
using testing_support::Str;
using testing_support::Tlv;

const char kSysDescr[] = "06 08 2b 06 01 02 01 01 01 00";
const char kSysContact[] = "06 08 2b 06 01 02 01 01 04 00";

struct Reply {
  std::uint8_t version = 0;
  std::string community = "getcom";
  std::uint8_t pdu_tag = 0xa2;
  std::uint8_t request_id = 5;
  std::uint8_t status = 0;
  std::uint8_t index = 0;
  std::vector<const char*> names = {kSysDescr};
  std::string trailer = "";

  Bytes Build() const {
    Bytes binds;
    for (const char* name : names) {
      binds = Cat({binds, Tlv(0x30, Cat({Hex(name), Str("Linux box")}))});
    }
    Bytes pdu = Tlv(pdu_tag, Cat({Int(request_id), Int(status), Int(index), Tlv(0x30, binds)}));
    return Cat({Tlv(0x30, Cat({Int(version), Str(community), pdu})), Hex(trailer)});
  }
};

std::unique_ptr<CSNMPMessage> Request(std::uint32_t type, int binds = 1) {
  auto req = std::make_unique<CSNMPMessage>(kSnmpVersion1, L"getcom", type);
  req->SetRequestId(5);
  for (int i = 0; i < binds; ++i)
    req->AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  return req;
}

TEST(ResponseCheck, OrderOfChecks) {
  struct Case {
    const char* what;
    Reply reply;
    std::uint32_t request_type;
    int request_binds;
    int result;
  };
  const Case cases[] = {
      {"good get", {}, kPduGetRequest, 1, 0},
      {"good set", {}, kPduSetRequest, 1, 0},
      {"agent error status wins over bindings",
       {.status = 2, .index = 1, .names = {}},
       kPduGetRequest,
       1,
       2},
      {"version", {.version = 1}, kPduGetRequest, 1, kVersionMismatch},
      {"community, case counts", {.community = "GETCOM"}, kPduGetRequest, 1, kCommunityMismatch},
      {"community is checked before request id",
       {.community = "public", .request_id = 9},
       kPduGetRequest,
       1,
       kCommunityMismatch},
      {"request id", {.request_id = 6}, kPduGetRequest, 1, kRequestIdMismatch},
      {"not a response PDU", {.pdu_tag = 0xa0}, kPduGetRequest, 1, kBerWrongTag},
      {"binding count",
       {.names = {kSysDescr, kSysDescr}},
       kPduGetRequest,
       1,
       kVarBindCountMismatch},
      {"name differs on get", {.names = {kSysContact}}, kPduGetRequest, 1, kOidMismatch},
      {"second name differs", {.names = {kSysDescr, kSysContact}}, kPduGetRequest, 2, kOidMismatch},
      {"get-next names move on", {.names = {kSysContact}}, kPduGetNextRequest, 1, 0},
      {"byte after the message", {.trailer = "00"}, kPduGetRequest, 1, kBerTrailing},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const auto request = Request(c.request_type, c.request_binds);
    CSNMPMessage response(kPduResponse);
    EXPECT_EQ(ValidateResponse(c.reply.Build(), response, *request), c.result);
    if (c.result == 0) {
      std::wstring text;
      std::uint32_t tag = 0;
      ASSERT_TRUE(response.GetVarBind(1)->ValueText(text, tag));
      EXPECT_EQ(text, L"Linux box");
    }
  }

  CSNMPMessage response(kPduResponse);
  EXPECT_EQ(ValidateResponse(Reply{}.Build(), response, CSNMPMessage(kPduTrapV1)), kBerInternal);
}

TEST(ResponseCheck, TruncatedRepliesGiveACode) {
  const Bytes full = Reply{}.Build();
  const auto request = Request(kPduGetRequest);
  for (std::size_t cut = 0; cut < full.size(); ++cut) {
    const Bytes part(full.begin(), full.begin() + static_cast<long>(cut));
    CSNMPMessage response(kPduResponse);
    EXPECT_LT(ValidateResponse(part, response, *request), 0) << "cut at " << cut;
  }
}

struct RecordingSink : logs::IEventLineSink {
  std::vector<std::wstring> lines;
  void AddEventLine(const std::wstring& line) override { lines.push_back(line); }
};

TEST(ResponseCheck, FailureLines) {
  CSNMPMessage get(kPduGetRequest), set(kPduSetRequest), next(kPduGetNextRequest);
  CSNMPMessage trap(kPduTrapV1), response(kPduResponse);
  response.SetErrorStatus(2);
  response.SetErrorIndex(1);
  RecordingSink sink;
  const std::wstring oid = L".1.3.6.1.2.1.1.9.0";
  ReportRequestFailure(2, oid, get, response, &sink);
  ReportRequestFailure(-6, oid, set, response, &sink);
  ReportRequestFailure(-2, oid, next, response, &sink);
  ReportRequestFailure(-10, oid, trap, response, &sink);  // no wording for traps
  ReportRequestFailure(0, oid, get, response, &sink);     // success is not reported
  ReportRequestFailure(-6, oid, get, response, nullptr);  // no log yet: dropped
  ASSERT_EQ(sink.lines.size(), 3u);
  EXPECT_EQ(sink.lines[0],
            L"Get request failed for OID '.1.3.6.1.2.1.1.9.0'. Error Code:2, Error Index:1. "
            L"('Requested OID not found in the MIB view').");
  EXPECT_EQ(sink.lines[1],
            L"Set request failed for OID '.1.3.6.1.2.1.1.9.0'. Reason: 'SNMP version mismatch in "
            L"request/response message'.");
  EXPECT_EQ(sink.lines[2],
            L"GetNext request failed for OID '.1.3.6.1.2.1.1.9.0'. Reason: 'Unknown internal "
            L"application error'.");

  const std::wstring long_line = RequestFailureLine(-5, std::wstring(600, L'1'), get, response);
  EXPECT_EQ(long_line.size(), 511u);

  EXPECT_EQ(ErrorStatusText(19), L"Unknown internal application error");
  EXPECT_EQ(ErrorStatusText(18).substr(0, 24), L"The variable does not ex");
  EXPECT_EQ(InternalErrorText(-3), L"Unknown internal application error");
  EXPECT_EQ(InternalErrorText(-11), L"Unsupported value type");
}

TEST(RequestId, RunsAndRestarts) {
  enum { kGet, kSet };
  CRequestIdCounter ids;
  const std::wstring oid = L".1.3.6.1.2.1.1.1.0";
  EXPECT_EQ(ids.Next(L"host", L"getcom", 161, kGet, oid), 0);
  EXPECT_EQ(ids.Next(L"HOST", L"GETCOM", 161, kGet, oid), 1);  // case does not matter
  EXPECT_EQ(ids.Next(L"host", L"getcom", 161, kGet, oid), 2);
  EXPECT_EQ(ids.Next(L"host", L"public", 161, kGet, oid), 0);  // second target changed
  EXPECT_EQ(ids.Next(L"host", L"public", 162, kGet, oid), 0);  // port changed
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kGet, oid), 0);
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kGet, oid + L"1"), 0);  // OID changed
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kSet, oid), 0);         // first Set of its OID
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kGet, oid + L"1"), 1);
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kSet, oid), 2);
  int last = 0;
  for (int i = 0; i < 600; ++i) {
    last = ids.Next(L"other", L"public", 162, kGet, oid + L"1");
    ASSERT_LE(last, 255);
    ASSERT_GE(last, 0);
  }
  ids.Reset();
  EXPECT_EQ(ids.Next(L"other", L"public", 162, kGet, oid + L"1"), 0);
}

}  // namespace
}  // namespace snmp
