// The exchange against a real net-snmp agent.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "net/request_exchange.h"
#include "support/registered_transaction_log.h"
#include "support/snmpd_process.h"

namespace {

struct Answer {
  int result;
  std::wstring name, value;  // of the first binding
};

TEST(SnmpdExchange, GetGetNextWalkAndSetAreAnsweredAndEveryDatagramIsLogged) {
  testing_support::SnmpdProcess snmpd;
  const std::string start_error = snmpd.Start();
  // CI installs snmpd; a missing one there must fail, not skip.
  ASSERT_TRUE(start_error.empty()) << start_error;
  sondara_test::RegisteredTransactionLog tlog;
  std::int32_t next_id = 1;
  const auto run = [&](std::uint32_t pdu, const std::wstring& community, const std::wstring& oid,
                       std::uint32_t tag = snmp::kTagNull, const std::wstring& value = L"") {
    snmp::CSNMPMessage request(snmp::kSnmpVersion2c, community, pdu), response(snmp::kPduResponse);
    request.SetRequestId(next_id++);
    request.AddVarBind(oid, tag, value);
    Answer a{net::ExchangeRequest(L"127.0.0.1", snmpd.Port(), {}, L"Get", request, response,
                                  logs::TransactionLogSink()),
             L"", L""};
    const auto* bind = response.GetVarBind(1);
    if (bind != nullptr && bind->ValueText(a.value, tag))
      a.name = bind->Name()->Text();
    return a;
  };
  const Answer descr = run(snmp::kPduGetRequest, L"getcom", L".1.3.6.1.2.1.1.1.0");
  ASSERT_EQ(descr.result, 0);
  EXPECT_EQ(descr.value, L"Sondara test agent");

  const std::wstring prefix = L".1.3.6.1.2.1.1.";
  std::vector<std::wstring> walked;
  for (std::wstring oid = L".1.3.6.1.2.1.1"; walked.size() < 100;) {  // a few dozen objects
    const Answer next = run(snmp::kPduGetNextRequest, L"getcom", oid);
    ASSERT_EQ(next.result, 0);
    if (next.name.rfind(prefix, 0) != 0)
      break;
    walked.push_back(oid = next.name);
  }
  for (const wchar_t* leaf : {L"1.0", L"2.0", L"3.0", L"4.0", L"5.0", L"6.0"})
    EXPECT_NE(std::find(walked.begin(), walked.end(), prefix + leaf), walked.end()) << leaf;

  const std::wstring contact = L".1.3.6.1.2.1.1.4.0";
  const auto set =
      run(snmp::kPduSetRequest, L"setcomm", contact, snmp::kTagOctetString, L"me@x.test");
  ASSERT_EQ(set.result, 0);
  EXPECT_EQ(run(snmp::kPduGetRequest, L"getcom", contact).value, L"me@x.test");

  // One message sent and one received per request (a long reply spans several rows).
  const std::size_t requests = walked.size() + 4;
  EXPECT_EQ(tlog.Messages().size(), 2 * requests);
  std::size_t sent = 0;
  for (std::size_t i = 0; i < tlog.log.ShownCount(); ++i)
    sent += tlog.log.Shown(i).first_row && tlog.log.Shown(i).direction == logs::kDirectionSent;
  EXPECT_EQ(sent, requests);
}

}  // namespace
