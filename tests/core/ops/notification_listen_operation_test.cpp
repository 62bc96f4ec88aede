// The notification listener: what each kind of datagram becomes (hand-written bytes), the
// answer to an inform, and a flood that overruns the socket: every datagram is either received
// or counted as dropped by the kernel.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <optional>
#include <thread>

#include "ops/notification_listen_operation.h"
#include "support/ber_builder.h"
#include "support/recorders.h"

namespace {

using namespace testing_support;
using K = pages::NotificationKind;

const Bytes kSysUpTime0 = {0x2b, 6, 1, 2, 1, 1, 3, 0};
const Bytes kSnmpTrapOid0 = {0x2b, 6, 1, 6, 3, 1, 1, 4, 1, 0};
const Bytes kLinkDown = {0x2b, 6, 1, 6, 3, 1, 1, 5, 3};
const Bytes kEnterprise = {0x2b, 6, 1, 4, 1, 0xbf, 8, 2, 3};  // .1.3.6.1.4.1.8072.2.3
const Bytes kIfIndex2 = {0x2b, 6, 1, 2, 1, 2, 2, 1, 1, 2};

Bytes V1Trap(std::uint32_t generic, std::uint32_t specific) {
  return Tlv(0x30, Cat({Int(0), Str("public"),
                        Tlv(0xA4, Cat({Tlv(0x06, kEnterprise), Tlv(0x40, {10, 1, 2, 3}),
                                       Int(generic), Int(specific), Tlv(0x43, {0x30, 0x39}),
                                       Tlv(0x30, VarBind(kIfIndex2, Int(2)))}))}));
}

// A v2c trap or inform (or its Response) with the two fixed bindings and one more.
Bytes V2(std::uint8_t pdu, std::uint32_t request_id, std::uint32_t status = 0) {
  return Tlv(0x30, Cat({Int(1), Str("pub2"),
                        Tlv(pdu, Cat({Int(request_id), Int(status), Int(status),
                                      Tlv(0x30, Cat({VarBind(kSysUpTime0, Tlv(0x43, {0x03, 0x09})),
                                                     VarBind(kSnmpTrapOid0, Tlv(0x06, kLinkDown)),
                                                     VarBind(kIfIndex2, Int(7))}))}))}));
}

TEST(NotificationListen, EachDatagramBecomesOneRowAndAnInformIsAnswered) {
  struct Case {
    const char* what;
    Bytes bytes;
    K kind;
    std::wstring trap_oid = L"";
    std::optional<std::uint32_t> up = std::nullopt;
    std::optional<Bytes> answer = std::nullopt;
    std::wstring problem = L"";  // a part of it
    std::uint32_t offset = 0;
  };
  Bytes cut = V2(0xA7, 5);
  cut.pop_back();
  const Bytes response = Response(1, "x", 1, 0, 0, {});
  const Case cases[] = {
      {"coldStart", V1Trap(0, 0), K::kTrapV1, L".1.3.6.1.6.3.1.1.5.1", 12345},
      {"inform, error fields set", V2(0xA6, 9, 3), K::kInform, L".1.3.6.1.6.3.1.1.5.3", 777,
       V2(0xA2, 9, 0)},
      {"cut", cut, K::kMalformed, L"", {}, {}, L"runs past the end", 1},
      {"response", response, K::kOther, L"", {}, {}, L"not a notification: Response-PDU"},
  };
  for (const Case& c : cases) {
    std::optional<Bytes> answered;
    const pages::NotificationRow row =
        pages::CNotificationListenOperation::Judge(c.bytes, [&](std::span<const std::uint8_t> a) {
          answered = Bytes(a.begin(), a.end());
          return true;
        });
    EXPECT_EQ(row.kind, c.kind) << c.what;
    EXPECT_EQ(row.trap_oid, c.trap_oid) << c.what;
    EXPECT_EQ(row.sys_up_time, c.up) << c.what;
    EXPECT_NE(row.problem.find(c.problem), std::wstring::npos) << c.what;
    EXPECT_EQ(row.damage_offset, c.offset) << c.what;
    EXPECT_EQ(answered, c.answer) << c.what;
    EXPECT_EQ(row.answered, c.answer.has_value()) << c.what;
    if (c.kind == K::kTrapV1 || c.kind == K::kInform) {
      ASSERT_EQ(row.bindings.size(), 1U) << c.what;
      EXPECT_EQ(row.bindings[0].oid, L".1.3.6.1.2.1.2.2.1.1.2") << c.what;
    }
  }
}

// A socket buffer that holds a few datagrams, filled by a flood before anyone reads: what the
// kernel dropped is counted, so received and dropped add up to what was sent. Every datagram
// read is logged, and the list keeps its newest rows and counts the ones it let go.
TEST(NotificationListen, AFloodIsReceivedOrCountedAsDropped) {
  struct Sinks : EventLines, logs::ITransactionSink {
    void LogDatagram(std::int32_t, std::wstring_view, std::span<const std::uint8_t>,
                     const logs::DatagramEnds&) override {
      ++logged;
    }
    void LogText(std::int32_t, std::wstring_view, std::string_view) override {}
    std::atomic<int> logged{0};
  } sinks;
  constexpr std::size_t kRows = 4;
  pages::CNotificationListenOperation listen(sinks, sinks, kRows);
  const pages::ListenRequest request{
      .port = 0, .receive_buffer = 4096, .users = {}, .engine_id = {}};
  net::UdpSettings settings;
  ASSERT_EQ(listen.Open(request, settings), L"");

  constexpr int kSent = 2000;
  const int sender = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in to{AF_INET, htons(listen.Port()), {htonl(INADDR_LOOPBACK)}, {}};
  const Bytes trap = V2(0xA7, 1);
  for (int i = 0; i < kSent; ++i)
    ASSERT_EQ(
        ::sendto(sender, trap.data(), trap.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to),
        static_cast<ssize_t>(trap.size()));
  ::close(sender);

  std::stop_source stop;
  std::thread run([&] { listen.Run(request, settings, stop.get_token()); });
  const bool added_up = WaitUntil([&] { return listen.Received() + listen.KernelDrops() >= kSent; },
                                  std::chrono::seconds(30));
  stop.request_stop();
  run.join();
  EXPECT_TRUE(added_up);
  EXPECT_GT(listen.KernelDrops(), 0U);
  EXPECT_EQ(listen.Received() + listen.KernelDrops(), static_cast<std::uint64_t>(kSent));
  EXPECT_EQ(listen.Datagrams(), listen.Received());
  EXPECT_EQ(sinks.logged.load(), static_cast<int>(listen.Datagrams()));
  EXPECT_LE(listen.Rows().Count(), kRows);
  EXPECT_EQ(listen.Rows().Count() + listen.LetGo(), listen.Received());
}

}  // namespace
