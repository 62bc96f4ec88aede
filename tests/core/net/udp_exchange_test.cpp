// The request exchange against scripted agents on loopback, its failures by stand-in calls.
#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "net/snmp_requester.h"
#include "snmp/message_tree.h"
#include "snmp/usm_key_book.h"
#include "support/ber_builder.h"
#include "support/fake_agent.h"
#include "support/hex_bytes.h"
#include "support/recorders.h"
#include "support/snmpd_process.h"

namespace {

using namespace testing_support;
using namespace std::chrono_literals;
using Replies = std::vector<FakeAgent::Reply>;
using Clock = std::chrono::steady_clock;

// The Get the tests send, as it must look on the wire: v2c, "getcom", id 7, sysDescr.0.
const Bytes kGetRequest =
    Hex("30 26 02 01 01 04 06 67 65 74 63 6f 6d a0 19 02 01 07 02 01 00 02 01 00"
        "30 0e 30 0c 06 08 2b 06 01 02 01 01 01 00 05 00");
const Bytes kSysDescr = Hex("2b 06 01 02 01 01 01 00");

Bytes GoodReply(std::uint32_t request_id = 7, std::string_view community = "getcom") {
  return Response(1, community, request_id, 0, 0, VarBind(kSysDescr, Str("hello")));
}
// Not the agent's answer: taking it would show in the value or, first, in the binding count.
Bytes StrayReply(std::uint32_t request_id = 7) {
  return Response(1, "getcom", request_id, 0, 0,
                  Cat({VarBind(kSysDescr, Str("stray")), VarBind(kSysDescr, Int(1))}));
}
// The stray at once (from another port, or from the agent's), the agent's answer 100 ms later.
Replies StrayFirst(std::uint32_t stray_id, bool other_port) {
  return {{StrayReply(stray_id), 0, other_port}, {GoodReply(), 100, false}};
}

FakeAgent Always(const Replies& replies, int family = AF_INET) {
  return FakeAgent([replies](const auto&, int) { return replies; }, family);
}

in_port_t FromPort(const FakeAgent::Datagram& d) {
  return reinterpret_cast<const sockaddr_in&>(d.from).sin_port;
}

net::UdpSettings Settings(int retries, int timeout_ms, bool ipv6 = false) {
  return {.use_ipv6 = ipv6, .request_timeout_ms = timeout_ms, .retries = retries, .adapter = {}};
}

// Every datagram the exchange hands over, as it comes (one thread: the requester's).
struct RecordingSink : logs::ITransactionSink {
  struct Entry {
    std::int32_t direction;
    Bytes bytes;
    logs::DatagramEnds ends;
  };
  void LogDatagram(std::int32_t direction, std::wstring_view, std::span<const std::uint8_t> bytes,
                   const logs::DatagramEnds& ends) override {
    entries.push_back({direction, Bytes(bytes.begin(), bytes.end()), ends});
  }
  void LogText(std::int32_t, std::wstring_view, std::string_view) override {}
  std::size_t Count(std::int32_t direction) const {
    return static_cast<std::size_t>(std::ranges::count(entries, direction, &Entry::direction));
  }
  std::vector<Entry> entries;
};

// User "ops" with "ops-password" (and, given a privacy password, AES-128).
snmp::usm::UserSecurity Ops(snmp::usm::AuthProtocol auth, const std::string& privacy = "") {
  using namespace snmp::usm;
  UserSecurity user;
  user.user_name = "ops";
  user.auth = auth;
  user.auth_password = "ops-password";
  user.level = privacy.empty() ? SecurityLevel::kAuthNoPriv : SecurityLevel::kAuthPriv;
  user.priv = privacy.empty() ? PrivProtocol::kNone : PrivProtocol::kAes128;
  user.priv_password = privacy;
  return user;
}

constexpr snmp::ResponseCheck kOk{};
constexpr auto kCommunityMismatch =
    snmp::ResponseCheck::Failed(snmp::CheckFailure::kCommunityMismatch);
constexpr auto kIdMismatch = snmp::ResponseCheck::Failed(snmp::CheckFailure::kRequestIdMismatch);

using Failure = net::ExchangeFailure;

struct Outcome {
  std::optional<snmp::ResponseCheck> result;  // none when no answer was checked
  Failure failure = Failure::kNone;
  long ms = 0;
  std::wstring value;  // of the first binding when the result is ok
  int bindings = 0;
  RecordingSink sink;
};
Outcome RunGet(std::uint16_t port, const net::UdpSettings& settings,
               net::IUdpSocketOps* ops = nullptr) {
  snmp::CSNMPMessage request(snmp::kSnmpVersion2c, L"getcom", snmp::kPduGetRequest),
      response(snmp::kPduResponse);
  request.SetRequestId(7);
  request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  Outcome o;
  const auto start = Clock::now();
  const net::ExchangeResult r =
      net::ExchangeRequest(settings.use_ipv6 ? L"::1" : L"127.0.0.1", port, settings, L"Get",
                           request, response, o.sink, ops);
  o.failure = r.failure;
  if (r.failure == Failure::kNone || r.failure == Failure::kCheck ||
      r.failure == Failure::kAgentError) {
    o.result = r.check;
  }
  o.ms = static_cast<long>((Clock::now() - start) / 1ms);
  o.bindings = response.VarBinds().Count();
  std::uint32_t tag = 0;
  if (o.result == kOk && o.bindings > 0)
    response.GetVarBind(1)->ValueText(o.value, tag);
  return o;
}

// Over IPv4, IPv6 and from a chosen adapter's address: every try goes out alike from one socket,
// only the agent's address and port answer, and the log keeps both ends as the agent saw them.
TEST(RequestExchange, OnlyTheAnswerFromTheAgentsPortWithTheRequestsIdIsTaken) {
  net::UdpSettings from_adapter = Settings(0, 1000);
  from_adapter.adapter = {L"lo[127.0.0.2]", L"127.0.0.2", 1, ::inet_addr("127.0.0.2"), 0xFFFFFFFF};
  const struct {
    const char* what;
    Replies replies;
    snmp::ResponseCheck result;
    long min_ms;         // how long the exchange must have waited at least
    std::size_t logged;  // datagrams received and logged: only the agent's
    net::UdpSettings settings = Settings(0, 300);
  } cases[] = {
      {"another community", {{GoodReply(7, "public")}}, kCommunityMismatch, 0, 1},
      // Waited past within its try; with nothing else by the end, the mismatch is the result.
      {"another request id only", {{GoodReply(8)}}, kIdMismatch, 300, 1},
      {"another request id first", StrayFirst(6, false), kOk, 100, 2},
      {"stray from another port", StrayFirst(7, true), kOk, 100, 1},
      {"over IPv6", StrayFirst(7, true), kOk, 100, 1, Settings(0, 1000, true)},
      {"from a chosen adapter", StrayFirst(7, true), kOk, 100, 1, from_adapter},
      // Taken while the retry waits: both tries go from the same socket.
      {"an answer to the first try", {{GoodReply(), 400}}, kOk, 400, 1, Settings(1, 300)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const bool v6 = c.settings.use_ipv6;
    const FakeAgent agent = Always(c.replies, v6 ? AF_INET6 : AF_INET);
    const Outcome o = RunGet(agent.Port(), c.settings);
    EXPECT_EQ(o.failure == Failure::kNone, o.result == kOk);
    EXPECT_EQ(o.result, c.result);
    EXPECT_GE(o.ms, c.min_ms - 10);
    if (c.result.Ok()) {
      EXPECT_EQ(o.value, L"hello");
      EXPECT_EQ(o.bindings, 1);
    }
    // The agent may still be taking the last try in when the answer to the first is taken.
    ASSERT_TRUE(WaitUntil([&] { return agent.Received().size() == 1U + c.settings.retries; }));
    const auto got = agent.Received();
    for (const auto& d : got) {
      EXPECT_EQ(d.bytes, kGetRequest);
      EXPECT_EQ(FromPort(d), FromPort(got[0]));
    }
    if (!c.settings.adapter.IsDefault()) {
      EXPECT_EQ(reinterpret_cast<const sockaddr_in&>(got[0].from).sin_addr.s_addr,
                ::inet_addr("127.0.0.2"));
    }
    const sockaddr_in agent4{AF_INET, htons(agent.Port()), {htonl(INADDR_LOOPBACK)}, {}};
    const sockaddr_in6 agent6{AF_INET6, htons(agent.Port()), 0, in6addr_loopback, 0};
    for (const auto& e : o.sink.entries) {
      EXPECT_EQ(std::memcmp(&e.ends.local, &got[0].from, got[0].from_len), 0);
      EXPECT_EQ(std::memcmp(&e.ends.remote, v6 ? static_cast<const void*>(&agent6) : &agent4,
                            v6 ? sizeof agent6 : sizeof agent4),
                0);
    }
    EXPECT_EQ(o.sink.Count(logs::kDirectionSent), got.size());
    EXPECT_EQ(o.sink.Count(logs::kDirectionReceived), c.logged);
  }
}

// Answers to other requests never move a try's deadline: unanswered, a request ends after
// (R + 1) x time-out (a flood from another port is the never-empty socket's test).
TEST(RequestExchange, AFloodNeverStretchesTheWait) {
  const int retries = 2, timeout_ms = 300, expected_ms = (retries + 1) * timeout_ms;
  // From the first datagram on, two answers to other requests every millisecond for 4 s.
  const FakeAgent agent([](const auto&, int n) {
    Replies flood;
    for (int ms = 0; n == 0 && ms < 4000; ++ms)
      flood.insert(flood.end(), {{GoodReply(8), ms, false}, {GoodReply(6), ms, false}});
    return flood;
  });
  const Outcome o = RunGet(agent.Port(), Settings(retries, timeout_ms));
  EXPECT_EQ(o.failure, Failure::kCheck);
  EXPECT_EQ(o.result, kIdMismatch);
  EXPECT_GE(o.ms, expected_ms - 10);
  EXPECT_LT(o.ms, expected_ms + 2000);  // a wait restarted by the flood lasts past its 4 s
  EXPECT_EQ(o.sink.Count(logs::kDirectionSent), 3U);
}

TEST(RequestExchange, EmptyOrTruncatedReplyIsJudgedAtOnceAndNeverCrashes) {
  const Bytes full = GoodReply();
  for (std::size_t cut = 0; cut <= full.size(); ++cut) {
    SCOPED_TRACE(cut);
    const FakeAgent agent = Always({{Bytes(full.begin(), full.begin() + static_cast<long>(cut))}});
    const Outcome o = RunGet(agent.Port(), Settings(2, 30000));
    EXPECT_EQ(o.failure == Failure::kNone, o.result == kOk);
    EXPECT_EQ(o.result != kOk, cut < full.size());
    EXPECT_EQ(o.sink.Count(logs::kDirectionSent), 1U);  // an empty reply is no reason to resend
    EXPECT_LT(o.ms, 15000);                             // judged, not waited out
  }
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
  ASSERT_TRUE(WaitUntil([&] { return agent.RepliesSent() == 2; }));  // the stale one waits now
  ASSERT_EQ(session.Send(&ping, 1), 1);
  EXPECT_EQ(session.Receive(buffer, sizeof buffer, net::kReceiveOne), 3);
  EXPECT_EQ(buffer[0], 0xCC);
}

// The real socket calls, with one made to fail.
struct FaultyOps : net::IUdpSocketOps {
  enum Fault { kNone, kSocket, kBind, kSendFails, kSendStopsShort, kWaitFails };
  explicit FaultyOps(Fault f) : fault(f) {}
  static int Fail(int error) {
    errno = error;
    return -1;
  }
  int Socket(int family) override {
    ++sockets;
    return fault == kSocket ? Fail(EMFILE) : real.Socket(family);
  }
  int Bind(int fd, const sockaddr* a, socklen_t n) override {
    return fault == kBind ? Fail(EADDRNOTAVAIL) : real.Bind(fd, a, n);
  }
  ssize_t SendTo(int fd, const void* d, std::size_t n, const sockaddr* to, socklen_t l) override {
    ++sends;
    if (fault == kSendFails || (fault == kSendStopsShort && sends > 1))
      return Fail(ENOBUFS);
    if (fault == kSendStopsShort)
      return static_cast<ssize_t>(n) - 1;  // all but the last byte, as far as we are told
    return real.SendTo(fd, d, n, to, l);
  }
  ssize_t RecvFrom(int fd, void* d, std::size_t n, sockaddr* from, socklen_t* l) override {
    ++receives;
    return real.RecvFrom(fd, d, n, from, l);
  }
  int WaitReadable(int fd, int timeout_ms) override {
    return fault == kWaitFails ? Fail(EBADF) : real.WaitReadable(fd, timeout_ms);
  }
  void Close(int fd) override {
    ++closes;
    real.Close(fd);
  }
  net::IUdpSocketOps& real = net::PosixUdpSocketOps();
  Fault fault;
  int sockets = 0, sends = 0, closes = 0, receives = 0;
};

// A failed wait ends its try at once; the next try goes from a new socket.
TEST(RequestExchange, EachFailureComesBackWithItsText) {
  const FakeAgent agent = Always({{GoodReply()}});
  const struct {
    FaultyOps::Fault fault;
    Failure failure;
    const wchar_t* text;
    std::size_t sent;  // and logged; the other failures come before anything goes out
  } cases[] = {
      {FaultyOps::kBind, Failure::kBind, L"Unable to bind to local adapter", 0},
      {FaultyOps::kSendFails, Failure::kTransmit, L"Unable to transmit message to remote host", 0},
      {FaultyOps::kSendStopsShort, Failure::kTransmit, L"Unable to transmit message to remote host",
       0},
      {FaultyOps::kWaitFails, Failure::kTimeout,
       L"Timed out while waiting for response from remote host", 4},
      {FaultyOps::kSocket, Failure::kSocket, L"Unknown error", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    FaultyOps ops(c.fault);
    const Outcome o = RunGet(agent.Port(), Settings(3, 30000), &ops);
    EXPECT_EQ(o.failure, c.failure);
    net::ExchangeResult r;
    r.failure = o.failure;
    EXPECT_EQ(net::ExchangeFailureText(r, L"h", false), c.text);
    EXPECT_EQ(o.sink.entries.size(), c.sent);
    EXPECT_LT(o.ms, 15000);
    EXPECT_EQ(ops.sockets, c.sent > 0 ? 4 : ops.sockets);
    EXPECT_EQ(ops.closes, c.fault == FaultyOps::kSocket ? 0 : ops.sockets);  // none left open
  }
  // A message too long for the 65535-byte buffer cannot be built.
  snmp::CSNMPMessage set(snmp::kSnmpVersion2c, L"setcomm", snmp::kPduSetRequest),
      response(snmp::kPduResponse);
  for (int i = 0; i < 20; ++i)
    set.AddVarBind(L".1.3.6.1.2.1.1.4.0", snmp::kTagOctetString, std::wstring(4000, L'x'));
  RecordingSink sink;
  const net::ExchangeResult built = net::ExchangeRequest(
      L"127.0.0.1", agent.Port(), Settings(0, 100), L"Set", set, response, sink);
  EXPECT_EQ(built.failure, Failure::kBuild);
  EXPECT_EQ(net::ExchangeFailureText(built, L"h", false), L"Unable to build message for transmit");
  EXPECT_EQ(sink.entries.size(), 0U);
  // An IPv6 address with IPv6 off: the text says where IPv6 is switched on.
  const auto unresolved = net::ExchangeResult::Thrown(net::kSnmpResolveError);
  EXPECT_EQ(net::ExchangeFailureText(unresolved, L"::1", false),
            L"Unable to resolve IPv4 host '::1': an IPv6 address needs Tools > Options > \"Use "
            L"IPv6\".");
  EXPECT_EQ(net::ExchangeFailureText(unresolved, L"::1", true),
            L"Unable to resolve IPv6 host '::1'");
}

// A socket never empty for 3 s: the stale datagrams drained before a send are bounded.
struct EndlessQueueOps : FaultyOps {
  EndlessQueueOps() : FaultyOps(kNone) {}
  bool Flooding() const { return Clock::now() - start < 3s; }
  ssize_t RecvFrom(int fd, void* d, std::size_t n, sockaddr* from, socklen_t* l) override {
    ++receives;
    if (!Flooding())
      return real.RecvFrom(fd, d, n, from, l);
    sockaddr_in other{AF_INET, htons(9), {htonl(INADDR_LOOPBACK)}, {}};
    std::memcpy(from, &other, sizeof other);
    *l = sizeof other;
    return 1;
  }
  int WaitReadable(int fd, int timeout_ms) override {
    receives = 0;  // what is read from here on is waited for, not drained
    return Flooding() ? 1 : real.WaitReadable(fd, timeout_ms);
  }
  ssize_t SendTo(int fd, const void* d, std::size_t n, const sockaddr* to, socklen_t l) override {
    receives_before_send.push_back(receives);
    receives = 0;
    return FaultyOps::SendTo(fd, d, n, to, l);
  }
  Clock::time_point start = Clock::now();
  std::vector<int> receives_before_send;
};

TEST(RequestExchange, ASocketThatIsNeverEmptyHoldsNeitherTheSendNorTheWait) {
  const FakeAgent agent = Always({});
  EndlessQueueOps ops;
  const Outcome o = RunGet(agent.Port(), Settings(1, 200), &ops);
  EXPECT_EQ(o.failure, Failure::kTimeout);
  EXPECT_GE(o.ms, 400 - 10);
  EXPECT_LT(o.ms, 2500);  // held by the queue, it would last its 3 s
  ASSERT_EQ(ops.receives_before_send.size(), 2U);
  for (int drained : ops.receives_before_send)
    EXPECT_LE(drained, net::kMaxStaleDrained + 1);
}

}  // namespace

TEST(SnmpRequester, OneSocketAndAQuickAnswerWaitThatTakesOnlyThePeerAndStopsSpinningWhenSlow) {
  for (int delay_ms : {0, 5}) {
    SCOPED_TRACE(testing::Message() << "answers after " << delay_ms << " ms");
    // A stray answer from another port comes first; whoever takes it gets -9.
    const FakeAgent agent([delay_ms](const FakeAgent::Datagram& d, int) {
      return Replies{{StrayReply(d.bytes[17]), 0, true}, {GoodReply(d.bytes[17]), delay_ms, false}};
    });
    FaultyOps ops(FaultyOps::kNone);
    net::CSnmpRequester requester(L"127.0.0.1", agent.Port(), Settings(0, 1000), L"walkMIB",
                                  logs::TransactionLogSink(), &ops);
    requester.SetQuickAnswerWait(true);
    snmp::CSNMPMessage request(snmp::kSnmpVersion2c, L"getcom", snmp::kPduGetRequest);
    request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
    for (std::int32_t id = 0; id < 12; ++id) {
      request.SetRequestId(id);
      snmp::CSNMPMessage response(snmp::kPduResponse);
      ops.receives = 0;
      EXPECT_TRUE(requester.Request(request, response).Ok()) << id;
    }
    // A slow agent's answers are slept for: the drain, the stray, the answer.
    if (delay_ms > 0) {
      EXPECT_LE(ops.receives, 4);
    }
    // Every request went from the requester's one socket (its stop test is the walk's).
    const auto got = agent.Received();
    ASSERT_EQ(got.size(), 12U);
    for (const auto& d : got)
      EXPECT_EQ(FromPort(d), FromPort(got[0]));
  }
}

// SNMPv3 against snmpd: the engine is discovered once, the keys kept; after a restart (one more
// boot) the requester takes the clock from the notInTimeWindow report once and goes through.
TEST(SnmpRequester, Version3DiscoversOnceAndFollowsTheAgentsClockAcrossARestart) {
  testing_support::SnmpdProcess snmpd;
  ASSERT_EQ(snmpd.Start("createUser ops SHA-256 ops-password AES ops-privacy\nrouser ops priv\n"),
            "");
  RecordingSink sink;
  net::CSnmpRequester requester(L"127.0.0.1", snmpd.Port(), Settings(1, 2000), L"Get", sink);
  requester.SetSecurity(Ops(snmp::usm::AuthProtocol::kSha256, "ops-privacy"));
  snmp::CSNMPMessage request(snmp::kSnmpVersion3, L"", snmp::kPduGetRequest);
  request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
  const auto get = [&](std::int32_t id) {
    request.SetRequestId(id);
    snmp::CSNMPMessage response(snmp::kPduResponse);
    const net::ExchangeResult r = requester.Request(request, response);
    std::wstring value;
    std::uint32_t tag = 0;
    if (r.Ok())
      (void)response.GetVarBind(1)->ValueText(value, tag);
    EXPECT_EQ(r.failure, Failure::kNone) << id << " " << net::ExchangeFailureText(r, L"", false);
    EXPECT_EQ(value, L"Sondara test agent") << id;
  };
  get(1);
  get(2);
  EXPECT_EQ(sink.Count(logs::kDirectionSent), 3U);  // the discovery and two Gets
  ASSERT_EQ(snmpd.Restart(), "");
  get(3);
  EXPECT_EQ(sink.Count(logs::kDirectionSent), 5U);  // refused as out of time, then taken
  get(4);
  EXPECT_EQ(sink.Count(logs::kDirectionSent), 6U);
  // The decoded view reads both ways with the requester's keys, across the restart (same keys).
  std::size_t decrypted = 0;
  for (const RecordingSink::Entry& e : sink.entries) {
    const snmp::MessageTree tree =
        snmp::DecodeMessageTree(e.bytes, snmp::usm::DecryptWithRememberedKey);
    if (tree.plaintext.empty())
      continue;
    ++decrypted;
    EXPECT_EQ(tree.Damage(), nullptr);
    EXPECT_TRUE(std::ranges::any_of(tree.nodes, [](const snmp::MessageNode& n) {
      return n.decrypted && n.value == L".1.3.6.1.2.1.1.1.0";
    }));
  }
  // Five Gets (one refused as out of time) and four answers; discovery and report go unencrypted.
  EXPECT_EQ(decrypted, 9U);
}

// An agent that answers the discovery as RFC 3414 4 says, then answers the signed Get with a
// digest that is not the message's, or with none: neither answer is believed or shown.
TEST(SnmpRequester, Version3AnswerWhoseDigestDoesNotVerifyIsNotBelieved) {
  const Bytes engine = Hex("80 00 1f 88 04 61 62 63 64");
  // msgID of a request: the first INTEGER of msgGlobalData, after "02 01 03 30 LL".
  const auto msg_id = [](const Bytes& request) {
    const std::size_t at = request[1] >= 0x80 ? 3 + (request[1] & 0x7f) : 2;
    return Bytes(request.begin() + static_cast<std::ptrdiff_t>(at + 5),
                 request.begin() + static_cast<std::ptrdiff_t>(at + 7 + request[at + 6]));
  };
  const auto message = [&](const Bytes& id, std::uint8_t flags, const Bytes& digest,
                           const Bytes& pdu) {
    return Tlv(
        0x30,
        Cat({Int(3), Tlv(0x30, Cat({id, Int(65507), Tlv(0x04, {flags}), Int(3)})),
             Tlv(0x04, Tlv(0x30, Cat({Tlv(0x04, engine), Int(1), Int(100),
                                      Str(flags != 0 ? "ops" : ""), Tlv(0x04, digest), Str("")}))),
             Tlv(0x30, Cat({Tlv(0x04, engine), Str(""), pdu}))}));
  };
  const Bytes report =
      Tlv(0xA8, Cat({Int(0), Int(0), Int(0),
                     Tlv(0x30, VarBind(Hex("2b 06 01 06 03 0f 01 01 04 00"), Hex("41 01 01")))}));
  const Bytes answer =
      Tlv(0xA2, Cat({Int(7), Int(0), Int(0), Tlv(0x30, VarBind(kSysDescr, Str("forged")))}));
  for (const Bytes& digest : {Bytes(12, 0x5a), Bytes{}}) {
    const FakeAgent agent([&](const FakeAgent::Datagram& d, int n) {
      return Replies{{message(msg_id(d.bytes), n == 0 ? 0 : (digest.empty() ? 0 : 1),
                              n == 0 ? Bytes{} : digest, n == 0 ? report : answer)}};
    });
    const snmp::usm::UserSecurity user = Ops(snmp::usm::AuthProtocol::kMd5);
    snmp::CSNMPMessage request(snmp::kSnmpVersion3, L"", snmp::kPduGetRequest),
        response(snmp::kPduResponse);
    request.SetRequestId(7);
    request.AddNullVarBind(L".1.3.6.1.2.1.1.1.0");
    RecordingSink sink;
    const net::ExchangeResult r =
        net::ExchangeRequest(L"127.0.0.1", agent.Port(), Settings(0, 2000), L"Get", request,
                             response, sink, nullptr, {}, user);
    EXPECT_EQ(r.failure, Failure::kBadDigest) << digest.size();
    EXPECT_EQ(response.VarBinds().Count(), 0);
    EXPECT_EQ(net::ExchangeFailureText(r, L"h", false),
              L"The answer's digest does not verify: it was not believed (check the "
              L"authentication password and protocol)");
    EXPECT_EQ(sink.Count(logs::kDirectionSent), 2U);
  }
}
