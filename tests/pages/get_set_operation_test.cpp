// The Get/Set operation: its checks, request ids, failure lines and histories against a
// scripted agent, and whole Gets and Sets against a real snmpd.
#include "pages/get_set_operation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "logs/log_entry_points.h"
#include "logs/transaction_log.h"
#include "snmp/snmp_message.h"
#include "support/ber_builder.h"
#include "support/fake_agent.h"
#include "support/registered_transaction_log.h"
#include "support/snmpd_process.h"
#include "util/temp_folder.h"

namespace {

using pages::CGetSetOperation;
using pages::GetSetForm;
using pages::RequestOutcome;
using testing_support::FakeAgent;

struct RecordingUi : pages::IOperationUi {
  void ShowMessage(const std::wstring& text, pages::MessageIcon icon, int field) override {
    EXPECT_EQ(icon, pages::MessageIcon::kWarning);
    shown.emplace_back(text, field);
  }
  std::vector<std::pair<std::wstring, int>> shown;
};
struct RecordingSink : logs::IEventLineSink {
  void AddEventLine(const std::wstring& line) override { lines.push_back(line); }
  std::vector<std::wstring> lines;
};

const std::wstring kSysDescr = L".1.3.6.1.2.1.1.1.0";
const std::wstring kSysContact = L".1.3.6.1.2.1.1.4.0";

net::UdpSettings Fast(int retries = 1, int timeout_ms = 300) {
  net::UdpSettings s;
  s.retries = retries;
  s.request_timeout_ms = timeout_ms;
  return s;
}

// An operation aimed at 127.0.0.1:port with a Get and a Set that pass every check.
struct Operation {
  explicit Operation(std::uint16_t port, app::GetSetSettings stored = {}) : op(stored, &sink) {
    GetSetForm& f = op.Form();
    f.host = L"127.0.0.1";
    f.version = L"2c";
    f.port_text = std::to_wstring(port);
    f.get_oid = kSysDescr;
    f.get_community = L"getcom";
    f.set_oid = kSysContact;
    f.set_community = L"setcomm";
    f.set_data_type = L"Octet String";
    f.set_value = L"bench";
  }
  RequestOutcome Get(net::UdpSettings s = Fast()) { return op.Get(s, ui); }
  RequestOutcome Set(net::UdpSettings s = Fast()) { return op.Set(s, ui); }
  RecordingSink sink;
  RecordingUi ui;
  CGetSetOperation op;
};

// Answers every Get with sysDescr.0 = Integer32 7 and the request's id, community and version.
struct EchoAgent {
  EchoAgent()
      : agent([](const FakeAgent::Datagram& d, int) {
          using namespace testing_support;
          snmp::CSNMPMessage request(snmp::kPduGetRequest);
          if (request.DecodeFrom(d.bytes) != 0)
            return std::vector<FakeAgent::Reply>{};
          const std::string community(request.Community().begin(), request.Community().end());
          const Bytes bind = VarBind(Hex("2b 06 01 02 01 01 01 00"), Int(7));
          return std::vector<FakeAgent::Reply>{
              {Response(static_cast<std::uint32_t>(request.Version()), community,
                        static_cast<std::uint32_t>(request.RequestId()), 0, 0, bind)}};
        }) {}
  std::vector<std::int32_t> Ids() const {
    std::vector<std::int32_t> ids;
    for (const auto& d : agent.Received()) {
      snmp::CSNMPMessage m(snmp::kPduGetRequest);
      ids.push_back(m.DecodeFrom(d.bytes) == 0 ? m.RequestId() : -1);
    }
    return ids;
  }
  FakeAgent agent;
};

TEST(GetSetOperation, ChecksRunInOrderShowTheirMessageFocusTheFieldAndSendNothing) {
  using F = GetSetForm;
  using namespace pages;
  const std::map<int, std::wstring> messages = {
      {kFieldHost, L"Please enter a valid IP/Host address."},
      {kFieldVersion, L"Please select an SNMP version."},
      {kFieldPort, L"Please enter an integer between 0 and 65535."},
      {kFieldGetOid, L"Please enter a valid OID for the 'Get' request."},
      {kFieldGetCommunity, L"Please enter a community name for the 'Get' request."},
      {kFieldSetOid, L"Please enter a valid OID for the 'Set' request."},
      {kFieldSetCommunity, L"Please enter a community name for the 'Set' request."},
      {kFieldSetDataType, L"Please select datatype for the 'Set' request."},
      {kFieldSetValue, L"Please enter a valid value to write for the 'Set' request."}};
  const bool get = true, set = false;
  // Several changes in one case show which check comes first; -1: the check passes.
  const struct {
    bool get;
    std::vector<std::pair<std::wstring F::*, std::wstring>> changes;
    int field;
  } cases[] = {
      {get, {{&F::host, L""}, {&F::version, L""}, {&F::port_text, L""}}, kFieldHost},
      {set, {{&F::version, L""}, {&F::port_text, L"70000"}}, kFieldVersion},
      {get, {{&F::port_text, L"65536"}}, kFieldPort},
      {set, {{&F::port_text, L""}}, kFieldPort},
      {get, {{&F::get_oid, L"1.3."}, {&F::get_community, L""}}, kFieldGetOid},
      {get, {{&F::get_oid, L"1"}}, kFieldGetOid},
      {get, {{&F::get_oid, L"1.3" + std::wstring(1406, L'.')}}, kFieldGetOid},
      {get, {{&F::get_community, L""}, {&F::set_oid, L""}}, kFieldGetCommunity},
      {set, {{&F::set_oid, L"x"}, {&F::set_community, L""}}, kFieldSetOid},
      {set, {{&F::set_community, L""}, {&F::set_data_type, L""}}, kFieldSetCommunity},
      {set, {{&F::set_data_type, L""}, {&F::set_value, L""}}, kFieldSetDataType},
      {set, {{&F::set_data_type, L"IPAddress"}, {&F::set_value, L"300.1.1.1"}}, kFieldSetValue},
      {set, {{&F::set_data_type, L"object identifier"}, {&F::set_value, L"1.3."}}, kFieldSetValue},
      {set, {{&F::set_value, L""}}, kFieldSetValue},
      {get, {{&F::get_oid, L"..1.3"}, {&F::set_oid, L""}}, -1},  // the Set half is not looked at
  };
  EchoAgent echo;
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "field " << c.field);
    Operation o(echo.agent.Port());
    for (const auto& [member, value] : c.changes)
      o.op.Form().*member = value;
    const RequestOutcome outcome = c.get ? o.Get() : o.Set();
    EXPECT_EQ(o.op.Mode(), c.get ? GetSetMode::kGet : GetSetMode::kSet);
    EXPECT_EQ(outcome == RequestOutcome::kRefused, c.field >= 0);
    if (c.field < 0)
      continue;
    EXPECT_EQ(o.ui.shown,
              (std::vector<std::pair<std::wstring, int>>{{messages.at(c.field), c.field}}));
  }
  EXPECT_EQ(echo.agent.Received().size(), 1U);  // from the one case that passed
}

TEST(GetSetOperation, RequestIdsCountPerTargetAndCommunityAndWrapAfter255) {
  EchoAgent echo;
  Operation o(echo.agent.Port());
  for (int i = 0; i < 3; ++i)
    ASSERT_EQ(o.Get(), RequestOutcome::kDone);
  o.op.Form().get_community = L"GETCOM";  // letter case alone is the same community
  o.Get();
  o.op.Form().get_community = L"setcomm";
  o.Get();
  o.Get();
  o.op.Form().version = L"1";  // another target
  o.Get();
  EXPECT_EQ(echo.Ids(), (std::vector<std::int32_t>{0, 1, 2, 3, 0, 1, 0}));

  for (int i = 0; i < 256; ++i)
    o.Get();
  const std::vector<std::int32_t> ids = echo.Ids();
  EXPECT_EQ(*std::max_element(ids.begin(), ids.end()), 255);
  EXPECT_EQ(ids.back(), 0);  // the 257th request in a row to one target
  EXPECT_EQ(ids[ids.size() - 2], 255);
}

TEST(GetSetOperation, HistoriesFillReversedSkipCaseDuplicatesAndSurviveARestart) {
  EchoAgent echo;
  sondara_test::TempFolder dir;
  app::CSondaraUtilityApp first(dir / "sondara.ini", dir / "profile.ini");
  first.GetSet().get_oids = {L".1.3.6.1.2.1.1.1.0", L".1.3.6.1.2.1.1.5.0", L".1.3.6.1.2.1.1.6.0"};
  Operation o(echo.agent.Port(), first.GetSet());
  EXPECT_EQ(o.op.Form().get_oids,
            (app::History{L".1.3.6.1.2.1.1.6.0", L".1.3.6.1.2.1.1.5.0", L".1.3.6.1.2.1.1.1.0"}));
  EXPECT_EQ(o.op.Form().get_oid, L".1.3.6.1.2.1.1.1.0");

  o.op.Form().get_community = L"GetCom";
  ASSERT_EQ(o.Get(), RequestOutcome::kDone);
  EXPECT_EQ(o.op.Form().get_oids.size(), 3U);
  EXPECT_EQ(o.op.Form().get_communities, (app::History{L"setcomm", L"getcom"}));
  o.op.Form().set_community = L"private";
  o.op.StoreTo(first.GetSet());
  // The current entry goes first so it is the current one at the next start.
  EXPECT_EQ(first.GetSet().get_oids.front(), L".1.3.6.1.2.1.1.1.0");

  first.SavePageSettings();
  app::CSondaraUtilityApp second(dir / "sondara.ini", dir / "profile.ini");
  second.LoadPageSettings();
  EXPECT_EQ(second.GetSet().get_oids, first.GetSet().get_oids);
  EXPECT_EQ(second.GetSet().get_communities, first.GetSet().get_communities);
  EXPECT_EQ(second.GetSet().set_communities, first.GetSet().set_communities);
  EXPECT_EQ(second.GetSet().port, echo.agent.Port());
}

class GetSetAgainstSnmpd : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    agent_ = new testing_support::SnmpdProcess;
    start_error_ = agent_->Start();
  }
  static void TearDownTestSuite() { delete agent_; }
  void SetUp() override { ASSERT_TRUE(start_error_.empty()) << start_error_; }

  static inline testing_support::SnmpdProcess* agent_ = nullptr;
  static inline std::string start_error_;
};

TEST_F(GetSetAgainstSnmpd, GetShowsValueAndTypeOfTheSystemObjects) {
  struct Case {
    std::wstring oid;
    std::wstring type;
    bool (*looks_right)(const std::wstring&);
  } cases[] = {
      {kSysDescr, L"Octet String",
       [](const std::wstring& v) { return v == L"Sondara test agent"; }},
      {L".1.3.6.1.2.1.1.3.0", L"Timeticks",
       [](const std::wstring& v) {
         return !v.empty() && v.find_first_not_of(L"0123456789") == v.npos;
       }},
      {L"1.3.6.1.2.1.1.2.0", L"Object Identifier",
       [](const std::wstring& v) { return v.rfind(L".1.3.6.1.", 0) == 0; }},
  };
  Operation o(agent_->Port());
  for (const Case& c : cases) {
    o.op.Form().get_oid = c.oid;
    ASSERT_EQ(o.Get(), RequestOutcome::kDone) << testing::PrintToString(o.sink.lines);
    EXPECT_EQ(o.op.Form().get_data_type, c.type);
    EXPECT_TRUE(c.looks_right(o.op.Form().get_value))
        << testing::PrintToString(o.op.Form().get_value);
  }
  EXPECT_EQ(o.op.Form().get_oids.size(), 3U);
}

TEST_F(GetSetAgainstSnmpd, SetIsReadBackAndRefusalsGoToTheEventLog) {
  Operation o(agent_->Port());
  o.op.Form().set_value = L"ops@sondara.test";
  ASSERT_EQ(o.Set(), RequestOutcome::kDone);
  EXPECT_EQ(o.op.Form().set_oids, app::History{kSysContact});
  o.op.Form().get_oid = kSysContact;
  ASSERT_EQ(o.Get(), RequestOutcome::kDone);
  EXPECT_EQ(o.op.Form().get_value, L"ops@sondara.test");

  o.op.Form().set_oid = kSysDescr;  // fixed by the agent's configuration
  EXPECT_EQ(o.Set(), RequestOutcome::kFailed);
  ASSERT_EQ(o.sink.lines.size(), 1U);
  EXPECT_EQ(o.sink.lines[0],
            L"Set request failed for OID '.1.3.6.1.2.1.1.1.0'. Error Code:17, Error Index:1. "
            L"('Unable to modify OID').");
  EXPECT_EQ(o.op.Form().get_value, L"ops@sondara.test");  // a Set leaves the Get result alone
}

TEST_F(GetSetAgainstSnmpd, WrongCommunityTimesOutAfterRetriesPlusOneSends) {
  sondara_test::RegisteredTransactionLog sent;
  Operation o(agent_->Port());
  o.op.Form().get_community = L"nosuch";
  o.op.Form().get_data_type = L"Integer32";
  EXPECT_EQ(o.Get(Fast(2, 150)), RequestOutcome::kFailed);
  EXPECT_EQ(sent.Messages().size(), 3U);  // only sends: nothing came back
  EXPECT_EQ(o.op.Form().get_value, L"<Failed: See Event Log>");
  EXPECT_EQ(o.op.Form().get_data_type, L"");
  EXPECT_EQ(o.sink.lines, std::vector<std::wstring>{
                              L"Get request failed for OID '.1.3.6.1.2.1.1.1.0'. Reason: 'Timed "
                              L"out while waiting for response from remote host'."});
  EXPECT_TRUE(o.op.Form().get_oids.empty());
}

}  // namespace
