// The Get/Set operation against a scripted agent (an agent's error status is the CLI's test).
#include "ops/get_set_operation.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/ops/scripted_agents.h"
#include "settings/settings.h"
#include "support/recorders.h"
#include "support/registered_transaction_log.h"
#include "support/request_reader.h"

namespace {

using pages::GetSetForm;
using pages::RequestOutcome;
using testing_support::FakeAgent;

using testing_support::RecordingUi;

const std::wstring kSysDescr = L".1.3.6.1.2.1.1.1.0";

// An operation aimed at 127.0.0.1:port with a Get and a Set that pass every check.
struct Operation {
  explicit Operation(std::uint16_t port, app::GetSetSettings stored = {}) : op(stored, sink) {
    GetSetForm& f = op.Form();
    f.host = L"127.0.0.1";
    f.version = L"2c";
    f.port_text = std::to_wstring(port);
    f.get_oid = kSysDescr;
    f.get_community = L"getcom";
    f.set_oid = L".1.3.6.1.2.1.1.4.0";
    f.set_community = L"setcomm";
    f.set_data_type = L"Octet String";
    f.set_value = L"bench";
  }
  RequestOutcome Get() { return Run(pages::GetSetMode::kGet); }
  RequestOutcome Set() { return Run(pages::GetSetMode::kSet); }
  // The page's three steps in a row.
  RequestOutcome Run(pages::GetSetMode mode) {
    const std::optional<pages::GetSetRequest> request = op.Prepare(mode, ui);
    if (!request)
      return RequestOutcome::kRefused;
    const pages::GetSetReply reply = op.Exchange(*request, fast);
    op.Apply(*request, reply);
    return reply.outcome;
  }
  net::UdpSettings fast{.request_timeout_ms = 300, .retries = 1, .adapter = {}};
  testing_support::EventLines sink;
  RecordingUi ui;
  pages::CGetSetOperation op;
};

// Answers sysDescr.0 = Integer32 7.
FakeAgent EchoAgent() {
  using namespace testing_support;
  return Answering(VarBind(Hex("2b 06 01 02 01 01 01 00"), Int(7)));
}

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
  // Each case also breaks a later field, which shows the order; -1: every check passes. The
  // value's own rules (an empty string asked about) are the varbind editor's, which shares them.
  const struct {
    bool get;
    std::vector<std::pair<std::wstring F::*, std::wstring>> changes;
    int field;
  } cases[] = {
      {get, {{&F::host, L""}, {&F::version, L""}}, kFieldHost},
      {set, {{&F::version, L""}, {&F::port_text, L"70000"}}, kFieldVersion},
      {get, {{&F::port_text, L"65536"}, {&F::get_oid, L""}}, kFieldPort},
      {get, {{&F::get_oid, L"1.3."}, {&F::get_community, L""}}, kFieldGetOid},
      {get, {{&F::get_community, L""}, {&F::set_oid, L""}}, kFieldGetCommunity},
      {set, {{&F::set_oid, L"1.x"}, {&F::set_community, L""}}, kFieldSetOid},
      {set, {{&F::set_community, L""}, {&F::set_data_type, L""}}, kFieldSetCommunity},
      {set, {{&F::set_data_type, L""}, {&F::set_value, L""}}, kFieldSetDataType},
      {set, {{&F::set_data_type, L"IPAddress"}, {&F::set_value, L"300.1.1.1"}}, kFieldSetValue},
      {set, {{&F::set_oid, L"1.3.6"}, {&F::set_data_type, L"Opaque"}, {&F::set_value, L"x"}}, -1},
      {get, {{&F::get_oid, L"..1.3"}, {&F::set_oid, L""}}, -1},  // the Set half is not looked at
  };
  FakeAgent agent = EchoAgent();
  sondara_test::RegisteredTransactionLog logged;
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "field " << c.field);
    Operation o(agent.Port());
    for (const auto& [member, value] : c.changes)
      o.op.Form().*member = value;
    EXPECT_EQ((c.get ? o.Get() : o.Set()) == RequestOutcome::kRefused, c.field >= 0);
    EXPECT_EQ(o.ui.shown,
              (c.field < 0 ? decltype(o.ui.shown){}
                           : decltype(o.ui.shown){
                                 {messages.at(c.field), app::MessageIcon::kWarning, c.field}}));
  }
  EXPECT_EQ(agent.Received().size(), 2U);   // from the two cases that passed
  EXPECT_EQ(logged.Messages().size(), 4U);  // their requests and the answers
}

// A v3 user stands for the communities: its checks in order, each with its message and field.
TEST(GetSetOperation, V3ChecksRefuseWithTheirMessageAndField) {
  using namespace pages;
  const std::wstring eight = L"12345678", seven = L"1234567";
  const std::wstring id_5 = L"80 00 1f 88 80", id_32(64, L'a');
  const auto user = [](std::wstring name, std::wstring level, std::wstring auth_password,
                       std::wstring priv_password, std::wstring engine_id = L"") {
    return app::UsmSettings{name,          level,        L"SHA", auth_password, L"AES",
                            priv_password, L"Automatic", L"",    engine_id};
  };
  const GetSetMode get = GetSetMode::kGet, set = GetSetMode::kSet;
  const struct {
    GetSetMode mode;
    app::UsmSettings usm;
    int field;  // -1: passes
    std::wstring message = {};
  } cases[] = {
      {get, user(L"", L"noAuthNoPriv", L"", L""), kFieldUsmUser,
       L"Please enter the SNMPv3 user name."},
      {set, user(L"u", L"authNoPriv", seven, L""), kFieldUsmAuthPassword,
       L"Please enter an authentication password of at least 8 characters."},
      {get, user(L"u", L"authPriv", eight, seven), kFieldUsmPrivPassword,
       L"Please enter a privacy password of at least 8 characters."},
      {get, user(L"u", L"authNoPriv", eight, L""), -1},
      {set, user(L"u", L"noAuthNoPriv", L"", L""), -1},
      {get, user(L"u", L"authPriv", eight, eight, id_5), -1},
      {get, user(L"u", L"authPriv", eight, eight, id_32), -1},
      {get, user(L"u", L"noAuthNoPriv", L"", L"", L"80001f88"), kFieldUsmContextEngineId,
       L"Please enter the context engine ID as 5 to 32 bytes in hex (such as 80001f8880), or "
       L"leave it empty for the agent's own."},
      {get, user(L"u", L"noAuthNoPriv", L"", L"", id_32 + L"aa"), kFieldUsmContextEngineId},
      {get, user(L"u", L"noAuthNoPriv", L"", L"", L"80001f8880a"), kFieldUsmContextEngineId},
      {get, user(L"u", L"noAuthNoPriv", L"", L"", L"0x80001g8880"), kFieldUsmContextEngineId},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "field " << c.field << " " << c.usm.context_engine_id);
    Operation o(9);  // nothing is sent: Prepare only
    o.op.Form().version = L"3";
    o.op.Form().get_community = o.op.Form().set_community = L"";  // not asked for
    o.op.Form().usm = c.usm;
    EXPECT_EQ(o.op.Prepare(c.mode, o.ui).has_value(), c.field < 0);
    if (c.field >= 0) {
      ASSERT_EQ(o.ui.shown.size(), 1U);
      EXPECT_EQ(o.ui.shown[0].field, c.field);
      EXPECT_TRUE(c.message.empty() || o.ui.shown[0].text == c.message);
    }
  }
}

TEST(GetSetOperation, AV3RequestCarriesTheUserAsTyped) {
  using snmp::usm::AuthProtocol;
  using snmp::usm::PrivProtocol;
  Operation o(9);
  o.op.Form().version = L"3";
  o.op.Form().usm = {L"t\u00e9chnicien", L"authPriv", L"SHA-512", L"auth-pass",       L"AES-192",
                     L"priv-pass",       L"Reeder",   L"ctx",     L"0x80:00:1F:88:80"};
  std::optional<pages::GetSetRequest> r = o.op.Prepare(pages::GetSetMode::kSet, o.ui);
  ASSERT_TRUE(r.has_value());
  const snmp::usm::UserSecurity& u = r->security;
  EXPECT_EQ(std::tuple(r->version, r->community), std::tuple(snmp::kSnmpVersion3, L""));
  EXPECT_EQ(
      (std::vector<std::string>{u.user_name, u.auth_password, u.priv_password, u.context_name}),
      (std::vector<std::string>{"t\u00e9chnicien", "auth-pass", "priv-pass", "ctx"}));
  EXPECT_EQ(std::tuple(u.level, u.auth, u.priv, u.extension),
            std::tuple(snmp::usm::SecurityLevel::kAuthPriv, AuthProtocol::kSha512,
                       PrivProtocol::kAes192, snmp::usm::KeyExtensionChoice::kReeder));
  EXPECT_EQ(u.context_engine_id, testing_support::Hex("80 00 1f 88 80"));
  // What the level does not use is not sent, however it was left on the page.
  o.op.Form().usm.level = L"authNoPriv";
  r = o.op.Prepare(pages::GetSetMode::kGet, o.ui);
  ASSERT_TRUE(r.has_value());
  EXPECT_EQ(std::tuple(r->security.auth, r->security.priv, r->security.priv_password),
            std::tuple(AuthProtocol::kSha512, PrivProtocol::kNone, std::string()));
  o.op.Form().usm.level = L"noAuthNoPriv";
  r = o.op.Prepare(pages::GetSetMode::kGet, o.ui);
  ASSERT_TRUE(r.has_value());
  EXPECT_EQ(std::tuple(r->security.auth, r->security.auth_password),
            std::tuple(AuthProtocol::kNone, std::string()));
}

// The counter itself (its restart past 255) is the codec's; here, what the Get counts by.
TEST(GetSetOperation, RequestIdsCountPerTargetAndCommunity) {
  FakeAgent agent = EchoAgent();
  Operation o(agent.Port());
  for (int i = 0; i < 3; ++i)
    ASSERT_EQ(o.Get(), RequestOutcome::kDone);
  o.op.Form().get_community = L"GETCOM";  // letter case alone is the same community
  o.Get();
  o.op.Form().get_community = L"setcomm";
  o.Get();
  o.op.Form().version = L"1";  // another target
  o.Get();
  o.Get();
  std::vector<std::uint32_t> ids;
  for (const auto& d : agent.Received())
    ids.push_back(testing_support::ReadRequestFields(d.bytes).id);
  EXPECT_EQ(ids, (std::vector<std::uint32_t>{0, 1, 2, 3, 0, 0, 1}));
}

TEST(GetSetOperation, AGetShowsTypeAndValueAndFillsTheHistoriesReversedWithoutCaseDuplicates) {
  FakeAgent agent = EchoAgent();
  app::GetSetSettings stored;
  stored.get_oids = {kSysDescr, L".1.3.6.1.2.1.1.5.0", L".1.3.6.1.2.1.1.6.0"};
  Operation o(agent.Port(), stored);
  EXPECT_EQ(o.op.Form().get_oids,
            (app::History{L".1.3.6.1.2.1.1.6.0", L".1.3.6.1.2.1.1.5.0", kSysDescr}));
  o.op.Form().get_community = L"GetCom";
  ASSERT_EQ(o.Get(), RequestOutcome::kDone);
  EXPECT_EQ(std::tuple(o.op.Form().get_data_type, o.op.Form().get_value),
            std::tuple(std::wstring(L"Integer32"), std::wstring(L"7")));
  EXPECT_EQ(o.op.Form().get_oids.size(), 3U);
  EXPECT_EQ(o.op.Form().get_communities, (app::History{L"setcomm", L"getcom"}));
  o.op.StoreTo(stored);
  EXPECT_EQ(stored.get_oids.front(), kSysDescr);  // the current entry goes first
}

}  // namespace
