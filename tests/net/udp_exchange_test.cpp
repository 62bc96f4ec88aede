// The request exchange against a scripted agent on loopback.
#include <gtest/gtest.h>

#include <chrono>
#include <string_view>
#include <thread>
#include <vector>

#include "net/request_exchange.h"
#include "net/snmp_requester.h"
#include "support/ber_builder.h"
#include "support/fake_agent.h"
#include "support/hex_bytes.h"

namespace {

using namespace testing_support;
using Replies = std::vector<FakeAgent::Reply>;
using Clock = std::chrono::steady_clock;

// The Get the tests send, as it must look on the wire: v2c, "getcom", id 7, sysDescr.0.
const Bytes kGetRequest =
    Hex("30 26 02 01 01 04 06 67 65 74 63 6f 6d a0 19 02 01 07 02 01 00 02 01 00"
        "30 0e 30 0c 06 08 2b 06 01 02 01 01 01 00 05 00");

Bytes GoodReply(std::uint32_t request_id = 7, std::string_view community = "getcom") {
  return Response(1, community, request_id, 0, 0,
                  VarBind(Hex("2b 06 01 02 01 01 01 00"), Str("hello")));
}

FakeAgent Always(const Replies& replies) {
  return FakeAgent([replies](const auto&, int) { return replies; });
}

long Ms(Clock::time_point a, Clock::time_point b) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(b - a).count());
}

net::UdpSettings Settings(int retries, int timeout_ms) {
  return {.use_ipv6 = false, .request_timeout_ms = timeout_ms, .retries = retries, .adapter = {}};
}

struct Outcome {
  int result = 99;
  int thrown = 0;  // the SNMPINTERNALERROR, if one was thrown
};
Outcome RunGet(const FakeAgent& agent, int retries, int timeout_ms) {
  snmp::CSNMPMessage request(snmp::kSnmpVersion2c, L"getcom", snmp::kPduGetRequest),
      response(snmp::kPduResponse);
  request.SetRequestId(7);
  request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  Outcome o;
  try {
    o.result = net::ExchangeRequest(L"127.0.0.1", agent.Port(), Settings(retries, timeout_ms),
                                    L"Get", request, response, logs::TransactionLogSink());
  } catch (net::SNMPINTERNALERROR e) {
    o.thrown = e;
  }
  return o;
}

TEST(RequestExchange, SilentAgentGetsRetriesPlusOneIdenticalDatagramsEachAfterAFullWait) {
  const FakeAgent agent = Always({});
  const auto start = Clock::now();
  const Outcome o = RunGet(agent, 2, 150);
  EXPECT_GE(Ms(start, Clock::now()), 3 * 150);
  EXPECT_EQ(o.thrown, -6);
  EXPECT_EQ(net::SnmpInternalErrorText(o.thrown, L"h", false),
            L"Timed out while waiting for response from remote host");
  const auto got = agent.Received();
  ASSERT_EQ(got.size(), 3U);
  for (const auto& d : got)
    EXPECT_EQ(d.bytes, kGetRequest);
  for (std::size_t i = 1; i < got.size(); ++i)
    EXPECT_GE(Ms(got[i - 1].at, got[i].at), 140);  // agent-side clock slack
}

TEST(RequestExchange, OnlyTheMatchingReplyFromTheAgentsPortIsTaken) {
  const struct {
    const char* what;
    Replies replies;
    int result;
  } cases[] = {
      {"another request id", {{GoodReply(8)}}, -8},
      {"another community", {{GoodReply(7, "public")}}, -7},
      // Taking the stray one would give -8; the real one comes after the first wait would have
      // ended, but within the restarted one.
      {"stray from another port", {{GoodReply(99), 100, true}, {GoodReply(), 350, false}}, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const FakeAgent agent = Always(c.replies);
    const Outcome o = RunGet(agent, 0, 300);
    EXPECT_EQ(o.thrown, 0);
    EXPECT_EQ(o.result, c.result);
    EXPECT_EQ(agent.Received().size(), 1U);
  }
}

TEST(RequestExchange, ReplyTruncatedAtAnyByteGivesACodeAndNeverCrashes) {
  const Bytes full = GoodReply();
  // The n-th request gets the first n bytes of the reply.
  const FakeAgent agent([&](const auto&, int n) {
    return Replies{{Bytes(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(n))}};
  });
  EXPECT_EQ(RunGet(agent, 0, 100).thrown, -6);  // an empty datagram is no answer
  for (std::size_t cut = 1; cut < full.size(); ++cut) {
    SCOPED_TRACE(cut);
    const Outcome o = RunGet(agent, 0, 100);
    EXPECT_EQ(o.thrown, 0);
    EXPECT_LT(o.result, 0);
  }
  EXPECT_EQ(RunGet(agent, 0, 100).result, 0);  // the whole reply, last
}

TEST(RequestExchange, StaleAnswerIsDrainedBeforeTheNextSend) {
  // The first datagram is answered twice: at once (taken) and a little later (stale).
  const FakeAgent agent([](const auto&, int n) {
    return n == 0 ? Replies{{Hex("aa"), 0}, {Hex("bb bb"), 20}} : Replies{{Hex("cc cc cc"), 0}};
  });
  net::CUdpSession session(L"127.0.0.1", agent.Port(), Settings(0, 300), true);
  session.SetPeer();
  const std::uint8_t ping = 1;
  std::uint8_t buffer[64];
  ASSERT_EQ(session.Send(&ping, 1), 1);
  ASSERT_EQ(session.Receive(buffer, sizeof buffer, net::kReceiveOne), 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the stale one is waiting now
  ASSERT_EQ(session.Send(&ping, 1), 1);
  EXPECT_EQ(session.Receive(buffer, sizeof buffer, net::kReceiveOne), 3);
  EXPECT_EQ(buffer[0], 0xCC);
}

TEST(RequestExchange, TrapIsSentOnceAndNeverWaitedFor) {
  const FakeAgent agent = Always({});
  snmp::CSNMPMessage trap(snmp::kSnmpVersion2c, L"getcom", snmp::kPduTrapV2),
      unused(snmp::kPduResponse);
  trap.AddVarBind(L".1.3.6.1.2.1.1.3.0", snmp::kTagTimeTicks, L"100");
  const auto start = Clock::now();
  EXPECT_EQ(net::ExchangeRequest(L"127.0.0.1", agent.Port(), Settings(3, 5000), L"sendTrap", trap,
                                 unused, logs::TransactionLogSink()),
            0);
  EXPECT_LT(Ms(start, Clock::now()), 1000);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(agent.Received().size(), 1U);
}

}  // namespace

TEST(SnmpRequester, OneSocketForEveryRequestAndAStopTestAfterEachSilentTry) {
  // Answers the first two datagrams, then falls silent.
  const FakeAgent agent([](const FakeAgent::Datagram& d, int n) {
    return n < 2 ? Replies{{GoodReply(d.bytes[17])}} : Replies{};
  });
  net::CSnmpRequester requester(L"127.0.0.1", agent.Port(), Settings(3, 100), L"walkMIB",
                                logs::TransactionLogSink());
  snmp::CSNMPMessage request(snmp::kSnmpVersion2c, L"getcom", snmp::kPduGetRequest);
  request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  for (std::int32_t id : {7, 8}) {
    request.SetRequestId(id);
    snmp::CSNMPMessage response(snmp::kPduResponse);
    EXPECT_EQ(requester.Request(request, response), std::optional<int>(0));
  }
  int tests = 0;
  const auto start = Clock::now();
  snmp::CSNMPMessage response(snmp::kPduResponse);
  EXPECT_EQ(requester.Request(request, response, [&] { return ++tests == 2; }), std::nullopt);
  EXPECT_EQ(tests, 2);
  EXPECT_GE(Ms(start, Clock::now()), 2 * 100);
  const auto got = agent.Received();
  ASSERT_EQ(got.size(), 4U);  // two answered, then two tries before the stop
  const auto port = [](const FakeAgent::Datagram& d) {
    return reinterpret_cast<const sockaddr_in&>(d.from).sin_port;
  };
  EXPECT_EQ(port(got[0]), port(got[1]));  // the answered ones share the requester's socket
}

// The real socket calls, counted.
struct CountingOps : net::IUdpSocketOps {
  int Socket(int family) override { return real.Socket(family); }
  int Bind(int fd, const sockaddr* a, socklen_t n) override { return real.Bind(fd, a, n); }
  ssize_t SendTo(int fd, const void* d, std::size_t n, const sockaddr* to, socklen_t l) override {
    return real.SendTo(fd, d, n, to, l);
  }
  ssize_t RecvFrom(int fd, void* d, std::size_t n, sockaddr* from, socklen_t* l) override {
    ++receives;
    return real.RecvFrom(fd, d, n, from, l);
  }
  int WaitReadable(int fd, int timeout_ms) override { return real.WaitReadable(fd, timeout_ms); }
  void Close(int fd) override { real.Close(fd); }
  net::IUdpSocketOps& real = net::PosixUdpSocketOps();
  int receives = 0;
};

TEST(SnmpRequester, QuickAnswerWaitTakesOnlyThePeerAndStopsSpinningForASlowAgent) {
  for (int delay_ms : {0, 5}) {
    SCOPED_TRACE(testing::Message() << "answers after " << delay_ms << " ms");
    // A stray answer from another port comes first; whoever takes it gets -8.
    const FakeAgent agent([delay_ms](const FakeAgent::Datagram& d, int) {
      return Replies{{GoodReply(99), 0, true}, {GoodReply(d.bytes[17]), delay_ms, false}};
    });
    CountingOps ops;
    net::CSnmpRequester requester(L"127.0.0.1", agent.Port(), Settings(0, 1000), L"walkMIB",
                                  logs::TransactionLogSink(), &ops);
    requester.SetQuickAnswerWait(true);
    snmp::CSNMPMessage request(snmp::kSnmpVersion2c, L"getcom", snmp::kPduGetRequest);
    request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
    for (std::int32_t id = 0; id < 12; ++id) {
      request.SetRequestId(id);
      snmp::CSNMPMessage response(snmp::kPduResponse);
      ops.receives = 0;
      EXPECT_EQ(requester.Request(request, response), std::optional<int>(0)) << id;
    }
    // A slow agent's answers are slept for: the drain, the stray, the answer.
    if (delay_ms > 0) {
      EXPECT_LE(ops.receives, 4);
    }
  }
}
