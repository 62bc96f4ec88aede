#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "net/request_exchange.h"
#include "snmp/response_check.h"
#include "support/ber_builder.h"
#include "support/fake_agent.h"
#include "support/hex_bytes.h"
#include "support/registered_transaction_log.h"

namespace {

using net::SNMPINTERNALERROR;
using testing_support::Bytes;
using testing_support::FakeAgent;
using testing_support::Hex;
using Clock = std::chrono::steady_clock;

// sysDescr.0 as an OID's content octets.
const Bytes kSysDescr = Hex("2b 06 01 02 01 01 01 00");
// The Get the tests send, as it must look on the wire: v2c, "getcom", id 7, sysDescr.0.
const Bytes kGetRequest =
    Hex("30 26 02 01 01 04 06 67 65 74 63 6f 6d a0 19 02 01 07 02 01 00 02 01 00"
        "30 0e 30 0c 06 08 2b 06 01 02 01 01 01 00 05 00");

Bytes GoodReply(std::uint32_t request_id = 7, std::string_view community = "getcom") {
  using namespace testing_support;
  return Response(1, community, request_id, 0, 0, VarBind(kSysDescr, Str("hello")));
}

std::unique_ptr<snmp::CSNMPMessage> GetRequest() {
  auto request =
      std::make_unique<snmp::CSNMPMessage>(snmp::kSnmpVersion2c, L"getcom", snmp::kPduGetRequest);
  request->SetRequestId(7);
  request->AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  return request;
}

net::UdpSettings Settings(int retries, int timeout_ms, bool ipv6 = false) {
  net::UdpSettings s;
  s.use_ipv6 = ipv6;
  s.retries = retries;
  s.request_timeout_ms = timeout_ms;
  return s;
}

// Runs a Get against the agent; the thrown code when it throws.
struct Outcome {
  int result = 99;
  int thrown = 0;
  long elapsed_ms = 0;
};
Outcome RunGet(const FakeAgent& agent, const net::UdpSettings& settings,
               net::IUdpSocketOps* ops = nullptr, const wchar_t* host = L"127.0.0.1") {
  auto request = GetRequest();
  snmp::CSNMPMessage response(snmp::kPduResponse);
  Outcome o;
  const auto start = Clock::now();
  try {
    o.result = net::ExchangeRequest(host, agent.Port(), settings, L"Get", *request, response, ops);
  } catch (SNMPINTERNALERROR e) {
    o.thrown = e;
  }
  o.elapsed_ms = static_cast<long>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
  return o;
}

long MsBetween(Clock::time_point a, Clock::time_point b) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(b - a).count());
}

TEST(RequestExchange, SilentAgentGetsRetriesPlusOneIdenticalDatagramsEachAfterAFullWait) {
  for (int retries : {0, 2}) {
    SCOPED_TRACE(retries);
    FakeAgent agent([](const auto&, int) { return std::vector<FakeAgent::Reply>{}; });
    const Outcome o = RunGet(agent, Settings(retries, 150));
    EXPECT_EQ(o.thrown, net::kSnmpTimeoutError);
    EXPECT_GE(o.elapsed_ms, (retries + 1) * 150);
    const auto got = agent.Received();
    ASSERT_EQ(got.size(), static_cast<std::size_t>(retries + 1));
    for (std::size_t i = 0; i < got.size(); ++i) {
      EXPECT_EQ(got[i].bytes, kGetRequest);
      if (i > 0) {
        EXPECT_GE(MsBetween(got[i - 1].at, got[i].at), 140);  // agent-side clock slack
      }
    }
  }
  EXPECT_EQ(net::SnmpInternalErrorText(net::kSnmpTimeoutError, L"h", false),
            L"Timed out while waiting for response from remote host");
}

TEST(RequestExchange, EveryDatagramGoesToTheTransactionLog) {
  FakeAgent agent([](const auto&, int n) {
    // The first try goes unanswered, the second is answered.
    return n == 0 ? std::vector<FakeAgent::Reply>{} : std::vector<FakeAgent::Reply>{{GoodReply()}};
  });
  sondara_test::RegisteredTransactionLog tlog;
  EXPECT_EQ(RunGet(agent, Settings(1, 150)).result, 0);
  ASSERT_EQ(tlog.Messages().size(), 3U);  // two sends and one reply, each shorter than a row
  std::vector<int> directions;
  for (std::size_t i = 0; i < 3; ++i)
    directions.push_back(tlog.log.Shown(i).direction);
  EXPECT_EQ(directions, (std::vector<int>{logs::kDirectionSent, logs::kDirectionSent,
                                          logs::kDirectionReceived}));
  EXPECT_EQ(tlog.log.Shown(0).text.substr(0, 12), L"30 26 02 01 ");
  EXPECT_EQ(tlog.log.Shown(2).source, L"Get");
}

TEST(RequestExchange, DatagramFromAnotherPortIsIgnoredAndRestartsTheWait) {
  // The stray one is a reply with another request id: taking it would give -8. The real one
  // comes after the first time-out would have ended but within the restarted wait.
  FakeAgent agent([](const auto&, int) {
    return std::vector<FakeAgent::Reply>{{GoodReply(99), 100, true}, {GoodReply(), 350, false}};
  });
  const Outcome o = RunGet(agent, Settings(0, 300));
  EXPECT_EQ(o.thrown, 0);
  EXPECT_EQ(o.result, 0);
  EXPECT_EQ(agent.Received().size(), 1U);
}

TEST(RequestExchange, RepliesThatDoNotMatchTheRequestGiveTheirCheckCode) {
  using namespace testing_support;
  const struct {
    const char* what;
    Bytes reply;
    int expected;
  } cases[] = {
      {"another request id", GoodReply(8), snmp::kRequestIdMismatch},
      {"another community", GoodReply(7, "public"), snmp::kCommunityMismatch},
      {"both: community is checked first", GoodReply(8, "public"), snmp::kCommunityMismatch},
      {"error status 2", Response(1, "getcom", 7, 2, 1, VarBind(kSysDescr, Tlv(0x05, {}))), 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    FakeAgent agent([&](const auto&, int) { return std::vector<FakeAgent::Reply>{{c.reply}}; });
    const Outcome o = RunGet(agent, Settings(0, 300));
    EXPECT_EQ(o.thrown, 0);
    EXPECT_EQ(o.result, c.expected);
  }
}

TEST(RequestExchange, ReplyTruncatedAtAnyByteGivesACodeAndNeverCrashes) {
  const Bytes full = GoodReply();
  // The n-th request gets the first n bytes of the reply.
  FakeAgent agent([&](const auto&, int n) {
    return std::vector<FakeAgent::Reply>{
        {Bytes(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(n))}};
  });
  for (std::size_t cut = 0; cut < full.size(); ++cut) {
    SCOPED_TRACE(cut);
    const Outcome o = RunGet(agent, Settings(0, 100));
    if (cut == 0) {
      EXPECT_EQ(o.thrown, net::kSnmpTimeoutError);  // an empty datagram is no answer
    } else {
      EXPECT_EQ(o.thrown, 0);
      EXPECT_LT(o.result, 0);
    }
  }
  EXPECT_EQ(RunGet(agent, Settings(0, 100)).result, 0);  // the whole reply, last
}

TEST(RequestExchange, StaleAnswerIsDrainedBeforeTheNextSend) {
  // The agent answers the first datagram twice: once at once (taken) and once a little later
  // (stale). The second datagram's answer must be the one received for it.
  FakeAgent agent([](const auto&, int n) {
    if (n == 0)
      return std::vector<FakeAgent::Reply>{{Hex("aa"), 0}, {Hex("bb bb"), 20}};
    return std::vector<FakeAgent::Reply>{{Hex("cc cc cc"), 0}};
  });
  net::CUdpSession session(L"127.0.0.1", agent.Port(), Settings(0, 300), true);
  session.SetPeer();
  const Bytes ping = Hex("01");
  std::uint8_t buffer[64];
  ASSERT_EQ(session.Send(ping.data(), 1), 1);
  ASSERT_EQ(session.Receive(buffer, sizeof buffer, net::kReceiveOne), 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the stale one is waiting now
  ASSERT_EQ(session.Send(ping.data(), 1), 1);
  EXPECT_EQ(session.Receive(buffer, sizeof buffer, net::kReceiveOne), 3);
  EXPECT_EQ(buffer[0], 0xCC);
}

TEST(RequestExchange, TrapIsSentOnceAndNeverWaitedFor) {
  FakeAgent agent([](const auto&, int) { return std::vector<FakeAgent::Reply>{}; });
  snmp::CSNMPMessage trap(snmp::kSnmpVersion2c, L"getcom", snmp::kPduTrapV2);
  trap.SetRequestId(1);
  trap.AddVarBind(L".1.3.6.1.2.1.1.3.0", snmp::kTagTimeTicks, L"100");
  snmp::CSNMPMessage unused(snmp::kPduResponse);
  EXPECT_EQ(net::ExchangeRequest(L"127.0.0.1", agent.Port(), Settings(3, 5000), L"sendTrap", trap,
                                 unused),
            0);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(agent.Received().size(), 1U);
}

TEST(RequestExchange, IPv6LoopbackAnswersAndUnresolvableHostsThrow) {
  FakeAgent v6([](const auto&, int) { return std::vector<FakeAgent::Reply>{{GoodReply()}}; },
               AF_INET6);
  const Outcome o = RunGet(v6, Settings(0, 300, true), nullptr, L"::1");
  EXPECT_EQ(o.thrown, 0);
  EXPECT_EQ(o.result, 0);
  EXPECT_EQ(RunGet(v6, Settings(0, 100), nullptr, L"printer.local").thrown, net::kSnmpResolveError);
  EXPECT_EQ(net::SnmpInternalErrorText(net::kSnmpResolveError, L"printer.local", false),
            L"Unable to resolve IPv4 host 'printer.local'");
  EXPECT_EQ(net::SnmpInternalErrorText(net::kSnmpResolveError, L"x", true),
            L"Unable to resolve IPv6 host 'x'");
}

// Wraps the real socket calls and breaks the one a test names.
class FaultyOps : public net::IUdpSocketOps {
 public:
  enum Fault { kNone, kNoSocket, kNoBind, kShortSend, kDropFirstSend };
  explicit FaultyOps(Fault fault) : fault_(fault) {}
  int Socket(int family) override {
    return fault_ == kNoSocket ? (errno = EMFILE, -1) : real_.Socket(family);
  }
  int Bind(int fd, const sockaddr* a, socklen_t l) override {
    return fault_ == kNoBind ? (errno = EADDRNOTAVAIL, -1) : real_.Bind(fd, a, l);
  }
  ssize_t SendTo(int fd, const void* d, std::size_t n, const sockaddr* to, socklen_t l) override {
    ++sends_;
    if (fault_ == kShortSend)
      return errno = EMSGSIZE, -1;
    if (fault_ == kDropFirstSend && sends_ == 1)
      return static_cast<ssize_t>(n);
    return real_.SendTo(fd, d, n, to, l);
  }
  ssize_t RecvFrom(int fd, void* d, std::size_t n, sockaddr* f, socklen_t* l) override {
    return real_.RecvFrom(fd, d, n, f, l);
  }
  int WaitReadable(int fd, int ms) override { return real_.WaitReadable(fd, ms); }
  void Close(int fd) override { real_.Close(fd); }

 private:
  net::IUdpSocketOps& real_ = net::PosixUdpSocketOps();
  Fault fault_;
  int sends_ = 0;
};

TEST(RequestExchange, SocketFailuresBecomeTheirCodes) {
  const struct {
    FaultyOps::Fault fault;
    int thrown;
    int result;
  } cases[] = {
      {FaultyOps::kNoSocket, net::kSnmpUnknownError, 99},
      {FaultyOps::kNoBind, net::kSnmpBindError, 99},
      {FaultyOps::kShortSend, net::kSnmpTransmitError, 99},
      {FaultyOps::kDropFirstSend, 0, 0},  // lost on the way: the retry gets the answer
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fault);
    FakeAgent agent([](const auto&, int) { return std::vector<FakeAgent::Reply>{{GoodReply()}}; });
    FaultyOps ops(c.fault);
    const Outcome o = RunGet(agent, Settings(1, 150), &ops);
    EXPECT_EQ(o.thrown, c.thrown);
    EXPECT_EQ(o.result, c.result);
  }
}

}  // namespace
