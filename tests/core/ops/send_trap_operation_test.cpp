// The trap operation against a real snmptrapd.
#include "ops/send_trap_operation.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "ops/var_bind_list_rules.h"
#include "settings/sondara_utility_app.h"
#include "snmp/asn_data_type.h"
#include "snmp/snmp_message.h"
#include "snmp/type_names.h"
#include "support/recorders.h"
#include "support/snmptrapd_process.h"

namespace {

using pages::SendTrapForm;
using pages::TrapOutcome;

using testing_support::RecordingUi;

struct RecordingSinks : testing_support::EventLines, logs::ITransactionSink {
  void LogDatagram(std::int32_t direction, std::wstring_view source, std::span<const std::uint8_t>,
                   const logs::DatagramEnds&) override {
    sent.emplace_back(direction, source);
  }
  void LogText(std::int32_t, std::wstring_view, std::string_view) override {}
  std::vector<std::pair<std::int32_t, std::wstring>> sent;
};

constexpr std::uint32_t kNow = 123456;  // 0:20:34.56 since the start
const std::string kTrapOid = ".1.3.6.1.6.3.1.1.4.1.0 = OID: ";

// Sender IP and OID, community, trap type, VarBind# and specific type as the page shows them.
std::vector<std::wstring> Fields(const SendTrapForm& f) {
  return {f.sender_ip, f.sender_oid,       f.community,
          f.trap_type, f.varbind_num_text, f.specific_type_text};
}

// A real snmptrapd of its own for each test, so each test counts only its own traps.
class SendTrap : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(manager_.Start(), ""); }
  testing_support::SnmptrapdProcess manager_;
};

// A v1 trap to the manager at `port` that passes every check, over `list`.
struct Operation {
  Operation(snmp::CVarBindList& list, std::uint16_t port, app::SendTrapSettings stored = {})
      : op(
            stored, list, [] { return kNow; }, sinks, sinks) {
    SendTrapForm& f = op.Form();
    f.host = L"127.0.0.1";
    f.version = L"1";
    f.port_text = std::to_wstring(port);
    f.use_default = false;
    f.sender_ip = L"10.20.30.40";
    f.sender_oid = L".1.3.6.1.4.1.59871.7";
    f.community = L"trapcom";
    f.varbind_num_text = std::to_wstring(list.Count());
    f.trap_type = L"enterpriseSpecific";
    f.specific_type_text = L"3";
  }
  TrapOutcome Send() {
    return op.SendTrap({.request_timeout_ms = 300, .retries = 0, .adapter = {}}, ui);
  }
  RecordingSinks sinks;
  RecordingUi ui;
  pages::CSendTrapOperation op;
};

// One binding of every type, as listed and as snmptrapd prints it.
const std::vector<std::tuple<std::wstring, std::uint32_t, std::wstring, std::string>> kEveryType = {
    {L".1.3.6.1.2.1.2.2.1.1.1", snmp::kTagInteger32, L"-42", "INTEGER: -42"},
    {L".1.3.6.1.4.1.59871.1.8", snmp::kTagCounter64, L"18446744073709551615",
     "Counter64: 18446744073709551615"},  // not in a version 1 trap (RFC 1157)
    {L".1.3.6.1.4.1.59871.1.1", snmp::kTagOctetString, L"door 3 open", "STRING: \"door 3 open\""},
    {L".1.3.6.1.4.1.59871.1.2", snmp::kTagIpAddress, L"192.0.2.17", "IpAddress: 192.0.2.17"},
    {L".1.3.6.1.4.1.59871.1.3", snmp::kTagCounter32, L"4000000000", "Counter32: 4000000000"},
    {L".1.3.6.1.4.1.59871.1.4", snmp::kTagOid, L".1.3.6.1.4.1.59871.2",
     "OID: .1.3.6.1.4.1.59871.2"},
    {L".1.3.6.1.4.1.59871.1.5", snmp::kTagGauge32, L"77", "Gauge32: 77"},
    {L".1.3.6.1.4.1.59871.1.6", snmp::kTagTimeTicks, L"999", "Timeticks: (999) 0:00:09.99"},
    {L".1.3.6.1.4.1.59871.1.7", snmp::kTagUnsigned32, L"7", "7"},  // printed without a name
    {L".1.3.6.1.4.1.59871.1.9", snmp::kTagNull, L"", "NULL"},
    {L".1.3.6.1.4.1.59871.1.10", snmp::kTagOpaque, L"ab", "OPAQUE: 61 62 "},
    {L".1.3.6.1.4.1.59871.1.11", snmp::kTagOctetString, L"", "\"\""},
};

// VarBind# counts a v2c trap's two fixed entries, which go first: the last two of a full list
// stay behind. A list's own fixed entries stay where they stand; sysUpTime.0 takes the time of
// sending.
TEST_F(SendTrap, V1AndV2cTrapsArriveWithEveryFieldAndTheFirstVarBindNumBindings) {
  const std::string up_time = ".1.3.6.1.2.1.1.3.0 = Timeticks: (123456) 0:20:34.56";
  const struct {
    bool v1;
    std::size_t listed, varbind_num;
    bool own_fixed = false;
  } cases[] = {{true, kEveryType.size() - 1, kEveryType.size() - 2},
               {false, 0, 0},  // an empty list still carries the two fixed entries
               {false, kEveryType.size(), kEveryType.size()},
               {false, 3, 3, true},
               {true, 5, 3, true}};  // a v1 trap leaves out the fixed entries
  std::size_t sent = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.v1 << ", " << c.varbind_num << " bindings");
    snmp::CVarBindList list;
    if (c.own_fixed) {
      list.Add(L".1.3.6.1.2.1.1.3.0", snmp::kTagTimeTicks, L"5");
      list.Add(L".1.3.6.1.6.3.1.1.4.1.0", snmp::kTagOid, L".1.3.6.1.6.3.1.1.5.3");
    }
    const std::string trap_oid = kTrapOid + (c.own_fixed ? ".1.3.6.1.6.3.1.1.5.3" : ".1.3.6.1");
    std::vector<std::string> expected = {".", "0.0.0.0", "0", "0", "0", up_time, trap_oid};
    if (c.v1)
      expected = {".1.3.6.1.4.1.59871.7", "10.20.30.40", "6", ".3", "123456"};
    for (const auto& [oid, tag, value, arrived] : kEveryType) {
      if (c.v1 && tag == snmp::kTagCounter64)
        continue;
      if (static_cast<std::size_t>(list.Count()) == c.listed)
        break;
      list.Add(oid, tag, value);
      if (expected.size() < 5 + c.varbind_num)
        expected.push_back(std::string(oid.begin(), oid.end()) + " = " + arrived);
    }
    Operation o(list, manager_.Port());
    o.op.Form().version = c.v1 ? L"1" : L"2c";
    if (!c.v1)
      o.op.Form().sender_oid.clear();  // not looked at for a v2c trap
    o.op.Form().varbind_num_text = std::to_wstring(c.varbind_num);
    ASSERT_EQ(o.Send(), TrapOutcome::kSent) << testing::PrintToString(o.sinks.lines);
    const auto traps = manager_.TrapFields(++sent);
    ASSERT_EQ(traps.size(), sent);
    EXPECT_EQ(traps.back(), expected);
    EXPECT_EQ(o.sinks.sent, (decltype(o.sinks.sent){{logs::kDirectionSent, L"sendTrap"}}));
    EXPECT_EQ(o.op.Form().communities.front(), L"trapcom");
    if (c.v1) {
      EXPECT_EQ(o.op.Form().sender_oids.front(), L".1.3.6.1.4.1.59871.7");
      EXPECT_EQ(static_cast<std::size_t>(list.Count()), c.listed);  // left as it is
    } else {
      EXPECT_EQ(list.Get(1)->Name()->Text(), L".1.3.6.1.2.1.1.3.0");
      EXPECT_EQ(o.op.Form().sender_oids, app::History{});  // no OID was typed
    }
  }
}

TEST_F(SendTrap, ChecksRunInOrderShowTheirMessageAndIconFocusTheFieldAndSendNothing) {
  using F = SendTrapForm;
  using namespace pages;
  const std::wstring too_many =
      L"VarBind# ('3') greater than the no. of varbinds in the VarBind list ('2').";
  const std::map<int, std::wstring> messages = {
      {kFieldTrapHost, L"Please enter a valid IP/Host address."},
      {kFieldTrapVersion, L"Please select an SNMP version."},
      {kFieldTrapPort, L"Please enter an integer between 0 and 65535."},
      {kFieldSenderIp, L"Please enter a valid sender IP address."},
      {kFieldSenderOid, L"Please enter a valid sender OID."},
      {kFieldTrapCommunity, L"Please enter a community name."},
      {kFieldVarBindNum, L"Please enter an integer between 0 and 64."},
      {kFieldTrapType, L"Please select a trap type."},
      {kFieldSpecificType, L"Please enter an integer between 0 and 65535."},
      {kFieldTrapUsmUser, L"Please enter the SNMPv3 user name."}};
  const std::wstring counter64 =
      L"A version 1 trap cannot carry a Counter64 value. Use version 2c, or another type.";
  const std::wstring left_out =
      L"VarBind# ('1') leaves 1 of the 2 varbinds in the VarBind list "
      L"out of the trap. Send it anyway?";
  // Each case also breaks a later field, which shows the order; -1: every check passes (and a
  // question, if any, is answered Yes; else No).
  const struct {
    std::vector<std::pair<std::wstring F::*, std::wstring>> changes;
    int field;
    std::wstring message = {};  // empty: the field's own
    bool counter64 = false;     // the second binding a Counter64
  } cases[] = {
      {{{&F::host, L""}, {&F::version, L""}}, kFieldTrapHost},
      {{{&F::version, L""}, {&F::port_text, L"x"}}, kFieldTrapVersion},
      {{{&F::port_text, L"65536"}, {&F::sender_ip, L""}}, kFieldTrapPort},
      {{{&F::sender_ip, L"10.0.0"}, {&F::sender_oid, L""}}, kFieldSenderIp},
      {{{&F::sender_oid, L"1.3."}, {&F::community, L""}}, kFieldSenderOid},
      {{{&F::sender_oid, L"acme"}, {&F::community, L""}},
       kFieldSenderOid,
       L"'acme' is not an OID this program can read: no object named 'acme'. Type the OID in "
       L"numbers, or add the MIB module that defines it to a MIB folder (Tools > Options)."},
      {{{&F::community, L""}, {&F::varbind_num_text, L"99"}}, kFieldTrapCommunity},
      // A v3 trap is a v2c one with a user instead of the community.
      {{{&F::version, L"3"},
        {&F::community, L""},
        {&F::sender_ip, L""},
        {&F::varbind_num_text, L"99"}},
       kFieldTrapUsmUser},
      {{{&F::varbind_num_text, L"65"}, {&F::trap_type, L""}}, kFieldVarBindNum},
      {{{&F::varbind_num_text, L"3"}, {&F::trap_type, L""}}, kFieldVarBindNum, too_many},
      {{{&F::trap_type, L""}, {&F::specific_type_text, L"x"}}, kFieldTrapType},
      {{{&F::specific_type_text, L"65536"}}, kFieldSpecificType},
      {{{&F::specific_type_text, L"0"}}, -1},
      {{{&F::varbind_num_text, L"2"}}, kFieldVarBindNum, counter64, true},
      {{{&F::varbind_num_text, L"1"}}, -1, left_out, true},  // only the bindings sent count
      {{{&F::varbind_num_text, L"1"}}, kFieldVarBindNum, left_out},
      // A v2c trap has no sender or trap type to check; VarBind# counts its fixed entries.
      {{{&F::version, L"2c"},
        {&F::sender_ip, L""},
        {&F::sender_oid, L""},
        {&F::trap_type, L""},
        {&F::varbind_num_text, L"4"}},
       -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.field);
    snmp::CVarBindList list;
    list.Add(L".1.3.6.1.2.1.2.2.1.1.1", snmp::kTagInteger32, L"1");
    list.Add(L".1.3.6.1.2.1.2.2.1.1.2", c.counter64 ? snmp::kTagCounter64 : snmp::kTagInteger32,
             L"2");
    Operation o(list, manager_.Port());
    for (const auto& [member, value] : c.changes)
      o.op.Form().*member = value;
    o.ui.answer = c.field < 0;
    const TrapOutcome outcome = o.Send();
    if (c.field < 0) {
      EXPECT_EQ(outcome, TrapOutcome::kSent);
      EXPECT_EQ(o.ui.Said(),
                (c.message.empty() ? decltype(o.ui.Said()){}
                                   : decltype(o.ui.Said()){{c.message, kFieldVarBindNum}}));
      continue;
    }
    EXPECT_EQ(outcome, TrapOutcome::kRefused);
    // The sender IP box alone has always come without the warning icon; a question has none.
    const auto icon = c.field == kFieldSenderIp || c.message == left_out
                          ? app::MessageIcon::kNone
                          : app::MessageIcon::kWarning;
    const std::wstring& message = c.message.empty() ? messages.at(c.field) : c.message;
    EXPECT_EQ(o.ui.shown, (decltype(o.ui.shown){{message, icon, c.field}}));
    EXPECT_EQ(o.sinks.sent.size(), 0U);
    EXPECT_EQ(list.Count(), 2);
  }
}

// "Use &default" fills everything but the bindings, and sets VarBind# to the whole list: a v2c
// trap carries its fixed entries and the user's, a v1 trap the user's alone.
TEST_F(SendTrap, UseDefaultFillsTheDefaultsAndSendsTheWholeList) {
  for (const bool v2c : {false, true}) {
    SCOPED_TRACE(v2c ? "2c" : "1");
    snmp::CVarBindList list;
    Operation o(list, manager_.Port());
    SendTrapForm& f = o.op.Form();
    f.version = v2c ? L"2c" : L"1";
    EXPECT_TRUE(o.op.V1FieldsEnabled() != v2c);
    pages::PutFixedTrapEntries(list, 0);  // as a v2c trap or its editor left them
    for (const auto& [oid, tag, value, arrived] : {kEveryType[0], kEveryType[2]})
      pages::CVarBindListRules(list, v2c, o.op.ListLock())
          .Add({oid, snmp::TypeNameOfTag(tag), value});
    f.use_default = true;
    EXPECT_FALSE(o.op.V1FieldsEnabled());
    o.op.SetSenderIpChoices({L"192.0.2.5", L"198.51.100.7"});
    f.varbind_num_text = L"1";
    o.op.ApplyDefaults();
    f.sender_oid.clear();  // never reported with "Use &default"
    f.community.clear();
    f.trap_type.clear();
    ASSERT_EQ(o.Send(), TrapOutcome::kSent);
    EXPECT_EQ(Fields(f),
              (std::vector<std::wstring>{L"192.0.2.5", L".1.3.6.1.4.1.59871", L"getcom",
                                         L"enterpriseSpecific", v2c ? L"4" : L"2", L"1"}));
  }
  // A v3 trap goes as the user typed, defaults or not; VarBind# counts the fixed entries.
  snmp::CVarBindList list;
  Operation o(list, manager_.Port());
  o.op.Form().version = L"3";
  o.op.Form().varbind_num_text = L"2";
  o.op.Form().usm.user_name = L"trapper";
  o.op.Form().usm.level = L"noAuthNoPriv";
  o.op.Form().use_default = true;
  const std::optional<pages::TrapRequest> r = o.op.Validate(o.ui);
  ASSERT_TRUE(r.has_value());
  EXPECT_EQ(std::tuple(r->version, r->community, r->security.user_name),
            std::tuple(snmp::kSnmpVersion3, std::wstring(), std::string("trapper")));
}

TEST_F(SendTrap, DefaultSenderIpIsTheChosenAdapterElseTheFirstElseLoopback) {
  const std::vector<net::_adapterinfo> table{
      net::MakeAdapterInfo(L"eth0", L"192.0.2.5", true, 0),
      net::MakeAdapterInfo(L"wlan0", L"198.51.100.7", true, 0)};
  EXPECT_EQ(pages::SenderIpChoices(table, {}),
            (std::vector<std::wstring>{L"192.0.2.5", L"198.51.100.7"}));
  EXPECT_EQ(pages::SenderIpChoices(table, table[1]),
            (std::vector<std::wstring>{L"198.51.100.7", L"192.0.2.5"}));
  EXPECT_EQ(pages::SenderIpChoices({}, {}), std::vector<std::wstring>{L"127.0.0.1"});

  app::StartTime start;
  start.utc = std::chrono::system_clock::now() - std::chrono::seconds(5);
  const std::uint32_t now = pages::HundredthsSince(start);
  EXPECT_GE(now, 500U);
  EXPECT_LT(now, 1500U);
}

// The settings file's side of this is the settings test's.
TEST_F(SendTrap, VarBindNumTrapTypeAndHistoriesAreStoredUnlessTheSendFails) {
  snmp::CVarBindList list;
  list.Add(L".1.3.6.1.2.1.2.2.1.1.1", snmp::kTagInteger32, L"-42");
  app::SendTrapSettings stored;
  Operation o(list, manager_.Port(), stored);
  o.op.Form().varbind_num_text = L"1";
  o.op.Form().trap_type = L"linkUp";
  o.op.Form().specific_type_text = L"12";
  ASSERT_EQ(o.Send(), TrapOutcome::kSent);
  // A failed v2c send writes its reason and changes no history, nor the list.
  SendTrapForm& f = o.op.Form();
  f.host = L"10.0.0.300";  // digits and dots: taken as an address, never looked up
  f.version = L"2c";
  f.community = L"other";
  EXPECT_EQ(o.Send(), TrapOutcome::kFailed);
  EXPECT_EQ(o.sinks.lines.back(),
            L"Trap request failed. Reason: 'Unable to resolve IPv4 host '10.0.0.300''.");
  EXPECT_EQ(list.Count(), 1);
  f.version = L"1";
  f.community = L"trapcom";
  o.op.StoreTo(stored);
  pages::CSendTrapOperation next(
      stored, list, [] { return 0u; }, o.sinks, o.sinks);
  EXPECT_FALSE(next.Form().use_default);
  EXPECT_EQ(Fields(next.Form()), (std::vector<std::wstring>{L"10.20.30.40", L".1.3.6.1.4.1.59871.7",
                                                            L"trapcom", L"linkUp", L"1", L"12"}));
  EXPECT_EQ(next.Form().communities,
            (app::History{L"getcom", L"setcomm", L"trapcom"}));  // shown reversed
}

}  // namespace
