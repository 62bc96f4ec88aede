// ICMP echo inside a private network namespace; the sweep's bookkeeping through a scripted port.
#include "net/icmp_echo.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "net/icmp_sweep.h"
#include "support/private_netns.h"
#include "support/registered_transaction_log.h"
#include "util/text.h"

namespace {

// One ping as "address ok echoes waited-a-time-out-per-echo sent-row-first: last row up to its
// time". `stopped`: over a sweep's socket, stopped during its first echo.
std::string PingCase(bool v6, const std::string& address, int retries, int timeout_ms,
                     bool stopped = false) {
  sondara_test::RegisteredTransactionLog tlog;
  const long before = testing_support::EchoesSent(v6);
  const auto start = std::chrono::steady_clock::now();
  const auto ping = [&] {
    if (v6) {
      return net::PingIPv6(tvkutil::FromUtf8Lenient(address), timeout_ms, retries, L"Ping",
                           logs::TransactionLogSink());
    }
    if (!stopped) {
      return net::PingIPv4(::inet_addr(address.c_str()), timeout_ms, retries, L"Ping",
                           logs::TransactionLogSink());
    }
    net::CIcmpEchoSocket socket;
    std::stop_source stop;
    stop.request_stop();
    return net::PingIPv4(socket, ::inet_addr(address.c_str()), timeout_ms, retries, L"Sweep",
                         logs::TransactionLogSink(), stop.get_token());
  };
  const bool ok = ping();
  const long echoes = testing_support::EchoesSent(v6) - before;
  const bool waited = std::chrono::steady_clock::now() - start >=
                      std::chrono::milliseconds(std::max(echoes, 1L) * timeout_ms);
  const auto rows = tlog.Messages();
  const std::wstring last = rows.empty() ? L"" : rows.back();
  const bool announced =
      !rows.empty() && tvkutil::ToUtf8(rows.front()) == "Ping command sent to IP " + address + ".";
  std::ostringstream out;
  out << address << ' ' << ok << ' ' << echoes << ' ' << waited << ' ' << announced << ": "
      << tvkutil::ToUtf8(last.substr(0, last.find(L"time="))) << '\n';
  return out.str();
}

// Silent addresses get retries + 1 echoes, loopback stops them at its first reply, a refusing
// route is told at once in a ping tool's words, a stop ends the wait without a retry; over the
// datagram socket and, with ping_group_range closed, over the raw one.
TEST(IcmpEcho, AnswersSilenceAndRefusingRoutesOverEitherSocket) {
  const auto run = testing_support::RunInPrivateNetns([] {
    if (std::system("ip route add unreachable 198.51.100.0/24 && ip route add prohibit "
                    "192.0.2.0/24 && ip -6 route add unreachable 2001:db8:51::/64") != 0)
      return std::string("cannot add the routes");
    std::string out;
    for (const char* range : {"1 0", "0 2147483647"}) {
      std::ofstream("/proc/sys/net/ipv4/ping_group_range") << range;
      if (!net::LoadIcmp())
        return std::string("ICMP not available in the namespace");
      out += PingCase(false, "198.18.0.77", 2, 150) + PingCase(true, "2001:db8:18::77", 2, 150) +
             PingCase(false, "127.0.0.1", 2, 300) + PingCase(true, "::1", 2, 300) +
             PingCase(false, "198.51.100.7", 2, 1000) + PingCase(false, "203.0.113.9", 2, 1000) +
             PingCase(false, "192.0.2.5", 1, 150) + PingCase(true, "2001:db8:51::7", 2, 1000) +
             PingCase(false, "198.18.0.98", 3, 5000, true);
    }
    return out;
  });
  SONDARA_REQUIRE_NETNS(run);
  // EACCES of a prohibit route is also what a broadcast address gets: no words for it.
  const std::string each =
      "198.18.0.77 0 3 1 1: Reply from 198.18.0.77 not received.\n"
      "2001:db8:18::77 0 3 1 1: Reply from 2001:db8:18::77 not received.\n"
      "127.0.0.1 1 1 0 1: Reply from 127.0.0.1: bytes=14 \n"
      "::1 1 1 0 1: Reply from ::1: \n"
      "198.51.100.7 0 0 0 1: Reply from 198.51.100.7: Destination host unreachable.\n"
      "203.0.113.9 0 0 0 1: Reply from 203.0.113.9: Destination net unreachable.\n"
      "192.0.2.5 0 0 0 1: Reply from 192.0.2.5 not received.\n"
      "2001:db8:51::7 0 0 0 1: Reply from 2001:db8:51::7: Destination host unreachable.\n"
      "198.18.0.98 0 1 0 1: Reply from 198.18.0.98 not received.\n";
  EXPECT_EQ(run.output, each + each);
}

// No datagram or raw socket (no capability): ICMP is unavailable; pings send and log nothing.
TEST(IcmpEcho, NoSocketThatOpensMeansNoIcmpAndSilentPings) {
  const auto run = testing_support::RunInPrivateNetns([] {
    std::ofstream("/proc/sys/net/ipv4/ping_group_range") << "1 0";
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none[2]{};
    if (::syscall(SYS_capset, &header, none) != 0)
      return std::string("cannot drop the capabilities");
    std::ostringstream out;
    const bool loaded = net::LoadIcmp();
    net::CIcmpEchoSocket sweep;
    std::uint16_t sequence = 0;
    out << loaded << net::IcmpLoaded() << sweep.IsOpen()
        << (sweep.Send(::inet_addr("127.0.0.1"), sequence) == net::kEchoGeneralFailure) << ' '
        << PingCase(false, "127.0.0.1", 0, 100) << PingCase(true, "::1", 0, 100);
    return out.str();
  });
  SONDARA_REQUIRE_NETNS(run);
  EXPECT_EQ(run.output, "0001 127.0.0.1 0 0 0 0: \n::1 0 0 0 0: \n");
}

// Never answers. Sequence numbers run modulo `sequences`; `refusal` is what Send says for .1.
struct CSilentPort : net::IEchoPort {
  CSilentPort(std::uint16_t sequences, std::int32_t refusal)
      : sequences_(sequences), refusal_(refusal) {}
  bool CanSend() const override { return true; }
  std::int32_t Send(std::uint32_t address, std::uint16_t& sequence) override {
    ++sends[ntohl(address) & 0xFF];
    sequence = static_cast<std::uint16_t>(next_++ % sequences_);
    return (ntohl(address) & 0xFF) == 1 ? refusal_ : net::kEchoSuccess;
  }
  std::vector<net::EchoAnswer> Receive(net::EchoClock::time_point until) override {
    std::this_thread::sleep_until(until);
    return {};
  }
  std::map<int, int> sends;  // by last number
  std::uint16_t sequences_, next_ = 0;
  std::int32_t refusal_;
};

// Each address gets all its attempts and one outcome, also as sequence numbers wrap or sends fail.
TEST(IcmpSweep, EveryAddressEndsOnceAfterItsAttempts) {
  const struct {
    std::uint16_t sequences;
    std::int32_t refusal;  // of .1
    int attempts;
    std::string want;  // "last number:sends:status" per outcome, in order
  } cases[] = {
      {1000, net::kEchoSuccess, 3, "1:3:11010 2:3:11010 3:3:11010 4:3:11010 "},
      {2, net::kEchoSuccess, 1, "1:1:11010 2:1:11010 3:1:11010 4:1:11010 "},
      {1000, net::kEchoGeneralFailure, 2, "1:2:11050 2:2:11010 3:2:11010 4:2:11010 "},
      {1000, net::kEchoDestNetUnreachable, 2, "1:1:11002 2:2:11010 3:2:11010 4:2:11010 "},
  };
  for (const auto& c : cases) {
    CSilentPort port(c.sequences, c.refusal);
    net::CIcmpSweep sweep(port, {std::chrono::milliseconds(20), c.attempts, {}});
    std::vector<net::EchoOutcome> outcomes;
    const auto end = sweep.Run(
        0x0A000001, 0x0A000004, {}, [](std::uint32_t) { return true; },
        [&](const net::EchoOutcome& o) {
          outcomes.push_back(o);
          return true;
        });
    std::string got;
    for (const auto& o : outcomes) {
      const int last = static_cast<int>(ntohl(o.address) & 0xFF);
      got += std::to_string(last) + ':' + std::to_string(port.sends[last]) + ':' +
             std::to_string(o.status) + ' ';
    }
    EXPECT_EQ(end, net::CIcmpSweep::End::kComplete);
    EXPECT_EQ(got, c.want) << c.sequences << ' ' << c.refusal;
  }
}

}  // namespace
