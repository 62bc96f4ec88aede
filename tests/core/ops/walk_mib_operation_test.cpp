// The walk against scripted agents, and against a real snmpd.
#include "ops/walk_mib_operation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/ops/scripted_agents.h"
#include "ops/results_file.h"
#include "settings/sondara_utility_app.h"
#include "snmp/oid.h"
#include "support/recorders.h"
#include "support/snmpd_process.h"
#include "support/temp_folder.h"
#include "util/text.h"

namespace {

using namespace testing_support;
using pages::WalkStatus;

// sysDescr.0 (1.3.6.1.2.1.1.1.0) and its neighbours 1.3.6.1.2.1.1.n.0.
Bytes SystemOid(std::uint8_t n) {
  return Cat({Hex("2b 06 01 02 01 01"), Bytes{n, 0x00}});
}
const Bytes kNull = Hex("05 00"), kEndOfMibView = Hex("82 00");

using Mib = std::vector<std::pair<Bytes, Bytes>>;  // sorted names (OID content) and value TLVs
Mib SystemMib(int objects) {
  Mib mib;
  for (int n = 1; n <= objects; ++n)
    mib.emplace_back(SystemOid(static_cast<std::uint8_t>(n)), Int(static_cast<std::uint32_t>(n)));
  return mib;
}

// Answers GetNext and GetBulk from `mib` as a v1 (noSuchName) or v2c (endOfMibView) agent; a
// GetBulk above `too_big_above` repetitions (not 0) gets tooBig, or no answer at all with
// `drops_bulk`; answer `slow` waits 2 s, the first `late` answers 100 ms each.
FakeAgent MibAgent(Mib mib, std::uint32_t too_big_above = 0, int slow = -1, bool drops_bulk = false,
                   int late = 0) {
  return FakeAgent([mib, too_big_above, slow, drops_bulk, late](const FakeAgent::Datagram& d,
                                                                int n) {
    const ReadRequest r = ReadRequestFields(d.bytes);
    if (drops_bulk && r.pdu == 0xA5)
      return std::vector<FakeAgent::Reply>{};
    // std::ranges: g++ 12 at -O3 falsely warns about the memcmp that `<` on vectors becomes.
    const auto after = [&](const Bytes& oid) {
      return std::upper_bound(mib.begin(), mib.end(), oid, [](const Bytes& o, const auto& entry) {
        return std::ranges::lexicographical_compare(o, entry.first);
      });
    };
    std::uint32_t status = 0, index = 0;
    Bytes binds;
    if (r.pdu == 0xA1) {
      const auto it = after(r.oid);
      if (it != mib.end()) {
        binds = VarBind(it->first, it->second);
      } else if (r.version == 0) {
        status = 2;
        index = 1;
        binds = VarBind(r.oid, kNull);
      } else {
        binds = VarBind(r.oid, kEndOfMibView);
      }
    } else if (too_big_above != 0 && r.third > too_big_above) {
      status = 1;
      binds = VarBind(r.oid, kNull);
    } else {
      Bytes last = r.oid;
      for (std::uint32_t k = 0; k < r.third; ++k) {
        const auto it = after(last);
        if (it == mib.end()) {
          binds = Cat({binds, VarBind(last, kEndOfMibView)});
        } else {
          binds = Cat({binds, VarBind(it->first, it->second)});
          last = it->first;
        }
      }
    }
    return std::vector<FakeAgent::Reply>{
        {Response(r.version, r.community, r.id, status, index, binds),
         n == slow ? 2000 : (n < late ? 100 : 0)}};
  });
}

// The request ids sent and answered, in order, to count how many were outstanding at once.
struct InFlight : logs::ITransactionSink {
  void LogDatagram(std::int32_t direction, std::wstring_view, std::span<const std::uint8_t> bytes,
                   const logs::DatagramEnds&) override {
    const std::uint32_t id = ReadRequestFields({bytes.begin(), bytes.end()}).id;
    std::lock_guard lock(mutex);
    if (direction == logs::kDirectionSent) {
      ++sent;
      outstanding.insert(id);  // a retry is the same request
    } else {
      outstanding.erase(id);
    }
    most = std::max(most, outstanding.size());
  }
  void LogText(std::int32_t, std::wstring_view, std::string_view) override {}
  std::mutex mutex;
  std::set<std::uint32_t> outstanding;
  std::size_t most = 0;
  std::atomic<std::size_t> sent = 0;
};

struct Walk {
  explicit Walk(std::uint16_t port, const std::wstring& version = L"2c")
      : op(app::WalkMibSettings{}, sink, in_flight) {
    pages::WalkMibForm& f = op.Form();
    f.host = L"127.0.0.1";
    f.version = version;
    f.port_text = std::to_wstring(port);
    f.community = L"getcom";
    f.start_oid = L".1.3.6.1";
    options.udp = {.use_ipv6 = false, .request_timeout_ms = 1000, .retries = 1, .adapter = {}};
  }
  // Starts the walk and waits (bounded) until it has ended.
  WalkStatus Run() {
    if (!op.BeginWalk(options, ui))
      return WalkStatus::kNone;
    WaitEnded();
    return op.FinalStatus();
  }
  void WaitEnded() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (!op.WalkFinished() && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    op.EndWalk();
  }
  std::vector<std::wstring> Oids() const {
    return op.Results().WithAll([](const std::vector<pages::COidInfo>& all) {
      std::vector<std::wstring> oids;
      for (const auto& info : all)
        oids.push_back(info.oid);
      return oids;
    });
  }
  EventLines sink;
  InFlight in_flight;
  RecordingUi ui;
  pages::WalkOptions options;
  pages::CWalkMIBOperation op;
};

TEST(WalkMibOperation, ChecksRunInOrderAndRefuseBeforeAnythingIsSent) {
  using F = pages::WalkMibForm;
  const std::map<int, std::wstring> messages = {
      {pages::kWalkFieldPort, L"Please enter an integer between 0 and 65535."},
      {pages::kWalkFieldHost, L"Please enter a valid IP/Host address."},
      {pages::kWalkFieldVersion, L"Please select an SNMP version."},
      {pages::kWalkFieldCommunity, L"Please enter a community name."},
      {pages::kWalkFieldStartOid, L"Please enter a valid Start OID."},
      {pages::kWalkFieldUsmUser, L"Please enter the SNMPv3 user name."}};
  // Each case also breaks a later field, which shows the order.
  const struct {
    std::vector<std::pair<std::wstring F::*, std::wstring>> changes;
    int field;
  } cases[] = {
      {{{&F::port_text, L"65536"}, {&F::host, L""}}, pages::kWalkFieldPort},
      {{{&F::host, L""}, {&F::version, L""}}, pages::kWalkFieldHost},
      {{{&F::version, L""}, {&F::community, L""}}, pages::kWalkFieldVersion},
      {{{&F::community, L""}, {&F::start_oid, L""}}, pages::kWalkFieldCommunity},
      {{{&F::version, L"3"}, {&F::community, L""}, {&F::start_oid, L""}},
       pages::kWalkFieldUsmUser},  // the v3 user stands where the community does
      {{{&F::start_oid, L"1.3."}}, pages::kWalkFieldStartOid},
      {{{&F::start_oid, L"1"}}, pages::kWalkFieldStartOid},
  };
  FakeAgent agent = MibAgent(SystemMib(1));
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "field " << c.field);
    Walk w(agent.Port());
    for (const auto& [member, value] : c.changes)
      w.op.Form().*member = value;
    EXPECT_FALSE(w.op.BeginWalk(w.options, w.ui));
    EXPECT_EQ(w.ui.Said(), (decltype(w.ui.Said()){{messages.at(c.field), c.field}}));
    // "&Get SysObjectID" is held to the same checks.
    EXPECT_EQ(w.op.GetSysObjectId(w.options.udp, w.ui), pages::RequestOutcome::kRefused);
    EXPECT_TRUE(w.sink.Lines().empty());
  }
  EXPECT_TRUE(agent.Received().empty());
}

TEST(WalkMibOperation, EndsByVersionAndAgent) {
  using Lines = std::vector<std::wstring>;
  const std::wstring complete = L"walkMIB complete. No. of OIDs found: '2'.";
  const auto two = [] { return MibAgent(SystemMib(2)); };
  const auto gen_err = [] { return Answering({}, 5); };
  // Answers sysDescr.0 to everything: the second answer repeats the first.
  const auto repeats = [] { return Answering(VarBind(SystemOid(1), Int(7))); };
  // A GetBulk answer whose second binding goes back.
  const auto goes_back = [] {
    return Answering(Cat({VarBind(SystemOid(3), Int(3)), VarBind(SystemOid(1), Int(1))}));
  };
  const auto not_following = [](const wchar_t* asked) {
    return L"GetNext request failed for OID '" + std::wstring(asked) +
           L"'. Reason: 'The agent answered with OID '.1.3.6.1.2.1.1.1.0', which does not "
           L"follow the OID asked for'.";
  };
  const std::wstring failed0 = L"walkMIB failed. No. of OIDs found: '0'.",
                     failed1 = L"walkMIB failed. No. of OIDs found: '1'.",
                     asked = L"GetNext request failed for OID '.1.3.6.1'. ",
                     gen_err_line = asked + L"Error Code:5, Error Index:1. ('General error').",
                     timeout_line = asked +
                                    L"Reason: 'Timed out while waiting for response "
                                    L"from remote host'.",
                     repeated_line = not_following(L".1.3.6.1.2.1.1.1.0"),
                     back_line = not_following(L".1.3.6.1.2.1.1.3.0");
  using S = WalkStatus;
  const int kAuto = pages::kBulkAuto;
  const struct {
    const char* what;
    std::function<FakeAgent()> agent;
    std::wstring version;
    int bulk;
    WalkStatus status;
    Lines lines;  // after "walkMIB started."
    int in_flight;
  } cases[] = {
      {"v2c to endOfMibView", two, L"2c", 0, S::kComplete, {complete}, 1},
      {"v1: noSuchName, GetNext only", two, L"1", 50, S::kComplete, {complete}, 1},
      {"v1: Auto is GetNext, 3 in flight", two, L"1", kAuto, S::kComplete, {complete}, 3},
      {"v1 genErr", gen_err, L"1", 0, S::kFailed, {gen_err_line, failed0}, 1},
      {"an OID repeated", repeats, L"2c", 0, S::kFailed, {repeated_line, failed1}, 1},
      {"a GetBulk answer going back", goes_back, L"2c", 10, S::kFailed, {back_line, failed1}, 1},
      {"silence", Silent, L"2c", 0, S::kFailed, {timeout_line, failed0}, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    FakeAgent agent = c.agent();
    Walk w(agent.Port(), c.version);
    w.options.bulk_repetitions = c.bulk;
    w.options.in_flight = c.in_flight;
    w.options.udp.request_timeout_ms = 150;
    EXPECT_EQ(w.Run(), c.status);
    Lines lines = {L"walkMIB started."};
    lines.insert(lines.end(), c.lines.begin(), c.lines.end());
    EXPECT_EQ(w.sink.Lines(), lines);
    EXPECT_EQ(w.op.FinalStatusLine(), c.lines.back());  // it counts what the list holds
  }
}

TEST(WalkMibOperation, GetBulkHalvesOnTooBigAndWalksOnFromTheLastBinding) {
  FakeAgent agent = MibAgent(SystemMib(12), 4);
  Walk w(agent.Port());
  w.options.bulk_repetitions = 50;
  ASSERT_EQ(w.Run(), WalkStatus::kComplete);
  std::vector<std::wstring> expected;
  for (int n = 1; n <= 12; ++n)
    expected.push_back(L".1.3.6.1.2.1.1." + std::to_wstring(n) + L".0");
  EXPECT_EQ(w.Oids(), expected);
  std::vector<std::uint32_t> repetitions;
  for (const auto& d : agent.Received()) {
    const ReadRequest r = ReadRequestFields(d.bytes);
    EXPECT_EQ(std::tuple(r.pdu, r.second), std::tuple(std::uint8_t{0xA5}, 0u));  // non-repeaters
    repetitions.push_back(r.third);
    // One socket for the whole walk.
    EXPECT_EQ(std::memcmp(&d.from, &agent.Received().front().from, sizeof(sockaddr_in)), 0);
  }
  EXPECT_EQ(repetitions, (std::vector<std::uint32_t>{50, 25, 12, 6, 3, 3, 3, 3, 3}));
  // Asks on from the last name it got.
  EXPECT_EQ(ReadRequestFields(agent.Received().back().bytes).oid, SystemOid(12));
}

// Auto grows from 10 while answers come back whole, halves on tooBig and stays below it, falls
// back to GetNext for an agent that drops GetBulk, says so before the closing line, and starts
// the next walk of that agent where the last one settled.
TEST(WalkMibOperation, AutoRepetitionsSettleForEachAgent) {
  const struct {
    const char* what;
    bool drops_bulk;
    std::vector<std::uint32_t> first, second;  // max-repetitions sent by each walk (0: GetNext)
    std::wstring line;
  } cases[] = {
      {"tooBig above 20",
       false,
       {10, 20, 40, 20, 20, 20, 20},
       {20, 20, 20, 20, 20},
       L"GetBulk repetitions settled on 20 for 127.0.0.1:"},
      {"drops GetBulk", true, {10, 0}, {0}, L"The agent at 127.0.0.1:"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    FakeAgent agent = MibAgent(SystemMib(90), 20, -1, c.drops_bulk);
    Walk w(agent.Port());
    w.options.bulk_repetitions = pages::kBulkAuto;
    w.options.udp = {.use_ipv6 = false, .request_timeout_ms = 200, .retries = 0, .adapter = {}};
    std::size_t asked = 0;
    for (const auto& expected : {c.first, c.second}) {
      ASSERT_EQ(w.Run(), WalkStatus::kComplete);
      EXPECT_EQ(w.Oids().size(), 90U);
      std::vector<std::uint32_t> sent;
      const auto received = agent.Received();
      for (std::size_t i = asked; i < received.size(); ++i) {
        const ReadRequest r = ReadRequestFields(received[i].bytes);
        if (sent.empty() || r.pdu == 0xA5 || sent.back() != 0)  // GetNext: once for all
          sent.push_back(r.pdu == 0xA5 ? r.third : 0);
      }
      asked = received.size();
      EXPECT_EQ(sent, expected);
      const std::vector<std::wstring> lines = w.sink.Lines();
      ASSERT_GE(lines.size(), 2U);
      EXPECT_EQ(lines[lines.size() - 2].rfind(c.line + std::to_wstring(agent.Port()), 0), 0U)
          << tvkutil::ToUtf8(lines[lines.size() - 2]);
    }
  }
}

// Several requests in flight: the objects in order, never more outstanding than asked for.
TEST(WalkMibOperation, RequestsInFlightKeepTheOrderAndTheirNumber) {
  Mib mib;  // three subtrees that the walk can split at
  for (std::uint8_t group : {1, 2, 4})
    for (std::uint8_t n = 1; n <= 40; ++n)
      mib.emplace_back(Cat({Hex("2b 06 01 02 01"), Bytes{group, n, 0}}), Int(n));
  for (const int bulk : {0, pages::kBulkAuto}) {
    // The first answers come late, so the other requests go out meanwhile however fast or
    // busy this machine is.
    FakeAgent agent = MibAgent(mib, 0, -1, false, 4);
    Walk w(agent.Port());
    w.options.bulk_repetitions = bulk;
    w.options.in_flight = 3;
    ASSERT_EQ(w.Run(), WalkStatus::kComplete);
    std::vector<std::wstring> expected;
    for (int group : {1, 2, 4})
      for (int n = 1; n <= 40; ++n)
        expected.push_back(L".1.3.6.1.2.1." + std::to_wstring(group) + L"." + std::to_wstring(n) +
                           L".0");
    EXPECT_EQ(w.Oids(), expected);
    EXPECT_LE(w.in_flight.most, 3U) << bulk;
    EXPECT_GE(w.in_flight.most, 2U) << bulk;
  }
}

// A stop ends every wait for an answer at once, however long the time-out: nothing is waited
// out and no try follows.
TEST(WalkMibOperation, StopEndsTheWaitForAnAnswer) {
  const struct {
    const char* what;
    bool answers;  // three objects, then an answer that takes 2 s; else silence
    int in_flight;
    std::size_t asked;  // the requests sent when the stop comes
  } cases[] = {
      {"slow fourth answer", true, 1, 4}, {"silence", false, 1, 1}, {"8 in flight", false, 8, 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    FakeAgent agent = c.answers ? MibAgent(SystemMib(25), 0, 3) : Silent();
    Walk w(agent.Port());
    w.options.in_flight = c.in_flight;
    w.options.udp = {.use_ipv6 = false, .request_timeout_ms = 60000, .retries = 5, .adapter = {}};
    ASSERT_TRUE(w.op.BeginWalk(w.options, w.ui));
    ASSERT_TRUE(WaitUntil([&] { return agent.Received().size() >= c.asked; }));
    w.op.StopWalk();
    EXPECT_TRUE(WaitUntil([&] { return w.op.WalkFinished(); }, std::chrono::seconds(30)));
    w.WaitEnded();
    EXPECT_EQ(w.op.FinalStatus(), WalkStatus::kStopped);
    EXPECT_EQ(w.op.Results().Count(), c.answers ? 3U : 0U);
    if (c.in_flight == 1) {
      EXPECT_EQ(agent.Received().size(), c.asked);
    }
    EXPECT_LE(w.in_flight.most, static_cast<std::size_t>(c.in_flight));
    EXPECT_EQ(w.sink.Lines().back(), w.op.FinalStatusLine());
  }
}

// Stop at every step, up to the last answer where it races completion; no stop leaks onward.
// The stop is seen while an answer is awaited or at every tenth object, whichever comes first.
TEST(WalkMibOperation, AStopRacingCompletionEndsTheWalkEitherWay) {
  FakeAgent agent = MibAgent(SystemMib(25));
  Walk w(agent.Port());
  std::size_t asked = 0;  // requests of the walks before
  for (std::size_t step = 1; step <= 26; ++step) {
    SCOPED_TRACE(step);
    ASSERT_TRUE(w.op.BeginWalk(w.options, w.ui));
    for (int i = 0; i < 5000 && agent.Received().size() < asked + step; ++i)  // 26: the last
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    w.op.StopWalk();
    ASSERT_TRUE(w.op.WalkFinished());
    w.op.EndWalk();
    const std::size_t found = w.op.Results().Count();
    if (w.op.FinalStatus() == WalkStatus::kStopped) {
      EXPECT_GE(found + 1, step);
    } else {
      EXPECT_EQ(w.op.FinalStatus(), WalkStatus::kComplete);
      EXPECT_EQ(found, 25U);
    }
    EXPECT_EQ(w.sink.Lines().back(), w.op.FinalStatusLine());
    // A request sent just before the stop may still be on its way to the agent.
    ASSERT_TRUE(WaitUntil([&] { return agent.Received().size() >= w.in_flight.sent; }));
    asked = agent.Received().size();
  }
}

// sondara-cli's walk prints each object as it comes: the operation then keeps none of them.
TEST(WalkMibOperation, AWalkThatHandsOutItsObjectsKeepsNone) {
  FakeAgent agent = MibAgent(SystemMib(25));
  Walk w(agent.Port());
  std::vector<std::wstring> seen;
  std::uint64_t reported = 0;  // the progress counts what the results no longer keep
  w.options.progress = [&](const pages::ProgressSnapshot& p) { reported = p.done; };
  const pages::WalkMibForm& f = w.op.Form();
  const pages::WalkRequest request{f.host,      snmp::kSnmpVersion2c, agent.Port(),
                                   f.community, f.start_oid,          {}};
  ASSERT_TRUE(w.op.RunWalk(request, w.options, {},
                           [&seen](const pages::COidInfo& info, const snmp::CVarBind& bind) {
                             seen.push_back(info.oid + L" " + bind.Name()->Text());
                           }));
  ASSERT_EQ(seen.size(), 25U);
  EXPECT_EQ(seen[24], L".1.3.6.1.2.1.1.25.0 .1.3.6.1.2.1.1.25.0");
  EXPECT_EQ(w.op.Results().Count(), 0U);
  EXPECT_EQ(reported, 25U);
  EXPECT_EQ(w.op.Progress().done, 25U);
  EXPECT_EQ(w.sink.Lines().back(), L"walkMIB complete. No. of OIDs found: '25'.");
}

// RFC 4180 quoting, and no cell a spreadsheet would run as a formula; numbers stay numbers.
TEST(WalkMibOperation, ResultsFileQuotesFieldsAndDisarmsFormulas) {
  FakeAgent agent = MibAgent({{SystemOid(1), Str("line one\ntwo")},
                              {SystemOid(2), Hex("43 01 2a")},
                              {SystemOid(3), Str("a\",=1+1,\"b")},
                              {SystemOid(4), Str("=HYPERLINK(\"http://x\",\"y\")")},
                              {SystemOid(5), Hex("02 01 fb")},
                              {SystemOid(6), Str("-12.5")},
                              {SystemOid(7), Str("+1+2")},
                              {SystemOid(8), Str("@SUM(A1)\r")},
                              {SystemOid(9), Str("\t=1")}});
  Walk w(agent.Port());
  ASSERT_EQ(w.Run(), WalkStatus::kComplete);
  sondara_test::TempFolder dir;
  ASSERT_EQ(pages::WriteResultsFile(dir / "walk.csv", w.op.ResultsFileText()), std::error_code());
  EXPECT_EQ(sondara_test::ReadFile(dir / "walk.csv"),
            "Sondara Utility V" + tvkutil::ToUtf8(app::CSondaraUtilityApp::VersionText()) +
                " - Tarvik Technologies\n"
                "walkMIB started.\n"
                "::::::::::::::::::::::::::::::\n"
                "OID,DataType,Value\n"
                ".1.3.6.1.2.1.1.1.0,Octet String,\"line one\ntwo\",\n"
                ".1.3.6.1.2.1.1.2.0,Timeticks,\"42\",\n"
                ".1.3.6.1.2.1.1.3.0,Octet String,\"a\"\",=1+1,\"\"b\",\n"
                ".1.3.6.1.2.1.1.4.0,Octet String,\"'=HYPERLINK(\"\"http://x\"\",\"\"y\"\")\",\n"
                ".1.3.6.1.2.1.1.5.0,Integer32,\"-5\",\n"
                ".1.3.6.1.2.1.1.6.0,Octet String,\"-12.5\",\n"
                ".1.3.6.1.2.1.1.7.0,Octet String,\"'+1+2\",\n"
                ".1.3.6.1.2.1.1.8.0,Octet String,\"'@SUM(A1)\r\",\n"
                ".1.3.6.1.2.1.1.9.0,Octet String,\"'\t=1\",\n"
                "::::::::::::::::::::::::::::::\n"
                "walkMIB complete. No. of OIDs found: '9'.");
}

TEST(WalkMibOperation, CommunityJoinsTheHistoryWhenTheWalkEndsAndIsStoredFirst) {
  FakeAgent agent = MibAgent(SystemMib(1));
  Walk w(agent.Port());  // stored "getcom", "setcomm": shown reversed
  pages::WalkMibForm& f = w.op.Form();
  EXPECT_EQ(f.communities, (app::History{L"setcomm", L"getcom"}));
  for (const wchar_t* community : {L"public", L"PUBLIC", L"GetCom"}) {
    f.community = community;
    w.Run();
  }
  EXPECT_EQ(f.communities, (app::History{L"public", L"setcomm", L"getcom"}));
  f.port_text = L"65697";
  app::WalkMibSettings stored;
  w.op.StoreTo(stored);
  EXPECT_EQ(stored.communities, (app::History{L"getcom", L"public", L"setcomm"}));
  EXPECT_EQ(std::tuple(stored.host, stored.port), std::tuple(std::wstring(L"127.0.0.1"), 161));
}

TEST(WalkMibOperation, SysObjectIdFillsTheStartOidOrLogsWhyNot) {
  FakeAgent agent = Answering(
      VarBind(Hex("2b 06 01 02 01 01 02 00"), Tlv(0x06, Hex("2b 06 01 04 01 83 d3 5f 01"))));
  Walk w(agent.Port());
  EXPECT_EQ(w.op.GetSysObjectId(w.options.udp, w.ui), pages::RequestOutcome::kDone);
  EXPECT_EQ(w.op.Form().start_oid, L".1.3.6.1.4.1.59871.1");
  const ReadRequest sent = ReadRequestFields(agent.Received().at(0).bytes);
  EXPECT_EQ(std::tuple(sent.pdu, sent.oid),
            std::tuple(std::uint8_t{0xA0}, Hex("2b 06 01 02 01 01 02 00")));

  FakeAgent silent = Silent();
  w.op.Form().port_text = std::to_wstring(silent.Port());
  w.options.udp.request_timeout_ms = 100;
  EXPECT_EQ(w.op.GetSysObjectId(w.options.udp, w.ui), pages::RequestOutcome::kFailed);
  EXPECT_EQ(w.sink.Lines(), (std::vector<std::wstring>{
                                L"Get request failed for OID '.1.3.6.1.2.1.1.2.0' "
                                L"(RFC1213::SysObjectID). Reason: 'Timed out while waiting for "
                                L"response from remote host'."}));
  EXPECT_EQ(w.op.Form().start_oid, L".1.3.6.1.4.1.59871.1");
}

// A real agent's whole view, walked every way: the same objects each time, ascending, and never
// more requests outstanding than asked for (its values against net-snmp's are the CLI's test).
TEST(WalkMibOperation, AgainstSnmpdEveryWayListsTheSameObjectsInOrder) {
  SnmpdProcess snmpd;
  const std::string error = snmpd.Start();
  ASSERT_TRUE(error.empty()) << error;
  // Processes come and go between two walks; the system and interfaces groups stay.
  const auto stable = [](std::vector<std::wstring> oids) {
    std::erase_if(oids, [](const std::wstring& o) {
      return o.rfind(L".1.3.6.1.2.1.1.", 0) != 0 && o.rfind(L".1.3.6.1.2.1.2.", 0) != 0;
    });
    return oids;
  };
  std::vector<std::wstring> first;
  for (const auto& [bulk, in_flight] : {std::pair{0, 1}, {50, 1}, {pages::kBulkAuto, 4}, {0, 8}}) {
    SCOPED_TRACE(testing::Message() << "bulk " << bulk << ", in flight " << in_flight);
    Walk w(snmpd.Port());
    w.options.bulk_repetitions = bulk;
    w.options.in_flight = in_flight;
    ASSERT_EQ(w.Run(), WalkStatus::kComplete);
    const std::vector<std::wstring> got = w.Oids();
    ASSERT_GT(got.size(), 500U);
    if (first.empty())
      first = got;
    EXPECT_EQ(stable(got), stable(first));
    EXPECT_NEAR(static_cast<double>(got.size()), static_cast<double>(first.size()),
                first.size() * 0.03);
    // Ascending, and so without a duplicate.
    EXPECT_EQ(std::ranges::adjacent_find(got,
                                         [](const auto& a, const auto& b) {
                                           return !(snmp::COid(a).Arcs() < snmp::COid(b).Arcs());
                                         }),
              got.end());
    EXPECT_EQ(w.sink.Lines().back(), w.op.FinalStatusLine());
    EXPECT_LE(w.in_flight.most, static_cast<std::size_t>(in_flight));
    EXPECT_GT(w.in_flight.most, in_flight > 1 ? 1U : 0U);
  }
}

}  // namespace
