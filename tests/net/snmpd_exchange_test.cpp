// The exchange against a real net-snmp agent.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "logs/log_entry_points.h"
#include "logs/transaction_log.h"
#include "net/request_exchange.h"
#include "support/snmpd_process.h"

namespace {

class SnmpdExchange : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    agent_ = new testing_support::SnmpdProcess;
    start_error_ = agent_->Start();
  }
  static void TearDownTestSuite() {
    delete agent_;
    agent_ = nullptr;
  }
  void SetUp() override {
    // CI installs snmpd; a missing one there must fail, not skip.
    ASSERT_TRUE(start_error_.empty()) << start_error_;
    logs::RegisterTransactionLog(&tlog_);
  }
  void TearDown() override { logs::RegisterTransactionLog(nullptr); }

  // One request; returns the check result and leaves the answer in response.
  int Run(std::uint32_t pdu_type, const std::wstring& community, const std::wstring& oid,
          snmp::CSNMPMessage& response, std::uint32_t value_tag = snmp::kTagNull,
          const std::wstring& value = L"") {
    snmp::CSNMPMessage request(snmp::kSnmpVersion2c, community, pdu_type);
    request.SetRequestId(next_id_++);
    request.AddVarBind(oid, value_tag, value);
    net::UdpSettings settings;
    settings.request_timeout_ms = 1000;
    settings.retries = 1;
    return net::ExchangeRequest(L"127.0.0.1", agent_->Port(), settings, L"Get", request, response);
  }

  static std::wstring ValueOf(const snmp::CSNMPMessage& response) {
    std::wstring text;
    std::uint32_t tag = 0;
    if (response.GetVarBind(1) == nullptr || !response.GetVarBind(1)->ValueText(text, tag)) {
      return L"<none>";
    }
    return text;
  }

  static testing_support::SnmpdProcess* agent_;
  static std::string start_error_;
  logs::CTransactionLog tlog_;
  std::int32_t next_id_ = 1;
};

testing_support::SnmpdProcess* SnmpdExchange::agent_ = nullptr;
std::string SnmpdExchange::start_error_;

TEST_F(SnmpdExchange, GetReadsSysDescrAndEveryDatagramIsLogged) {
  snmp::CSNMPMessage response(snmp::kPduResponse);
  ASSERT_EQ(Run(snmp::kPduGetRequest, L"getcom", L".1.3.6.1.2.1.1.1.0", response), 0);
  EXPECT_EQ(ValueOf(response), L"Sondara test agent");
  tlog_.MovePending();
  ASSERT_EQ(tlog_.ShownCount(), 2U);
  EXPECT_EQ(tlog_.Shown(0).direction, logs::kDirectionSent);
  EXPECT_EQ(tlog_.Shown(1).direction, logs::kDirectionReceived);
}

TEST_F(SnmpdExchange, GetNextChainWalksTheSystemGroup) {
  const std::wstring prefix = L".1.3.6.1.2.1.1.";
  std::wstring oid = L".1.3.6.1.2.1.1";
  std::vector<std::wstring> names;
  for (int step = 0; step < 100; ++step) {  // the system group has a few dozen objects
    snmp::CSNMPMessage response(snmp::kPduResponse);
    ASSERT_EQ(Run(snmp::kPduGetNextRequest, L"getcom", oid, response), 0);
    ASSERT_NE(response.GetVarBind(1), nullptr);
    const std::wstring next = response.GetVarBind(1)->Name()->Text();
    if (next.rfind(prefix, 0) != 0)
      break;
    names.push_back(next);
    oid = next;
  }
  for (const wchar_t* expected :
       {L".1.3.6.1.2.1.1.1.0", L".1.3.6.1.2.1.1.2.0", L".1.3.6.1.2.1.1.3.0", L".1.3.6.1.2.1.1.4.0",
        L".1.3.6.1.2.1.1.5.0", L".1.3.6.1.2.1.1.6.0"}) {
    EXPECT_NE(std::find(names.begin(), names.end(), expected), names.end()) << expected;
  }
  // One message sent and one received per step (a long reply spans several rows).
  tlog_.MovePending();
  std::size_t sent = 0, received = 0;
  for (std::size_t i = 0; i < tlog_.ShownCount(); ++i) {
    if (!tlog_.Shown(i).first_row)
      continue;
    ++(tlog_.Shown(i).direction == logs::kDirectionSent ? sent : received);
  }
  EXPECT_EQ(sent, names.size() + 1);
  EXPECT_EQ(received, names.size() + 1);
}

TEST_F(SnmpdExchange, SetOfSysContactIsReadBack) {
  snmp::CSNMPMessage set_response(snmp::kPduResponse);
  ASSERT_EQ(Run(snmp::kPduSetRequest, L"setcomm", L".1.3.6.1.2.1.1.4.0", set_response,
                snmp::kTagOctetString, L"bench@sondara.test"),
            0);
  snmp::CSNMPMessage get_response(snmp::kPduResponse);
  ASSERT_EQ(Run(snmp::kPduGetRequest, L"getcom", L".1.3.6.1.2.1.1.4.0", get_response), 0);
  EXPECT_EQ(ValueOf(get_response), L"bench@sondara.test");

  // The read community may not write: the agent answers with an error status.
  snmp::CSNMPMessage refused(snmp::kPduResponse);
  EXPECT_GT(Run(snmp::kPduSetRequest, L"getcom", L".1.3.6.1.2.1.1.4.0", refused,
                snmp::kTagOctetString, L"x"),
            0);
}

}  // namespace
