// ICMP echo inside a private network namespace: loopback and extra addresses answer, silent
// addresses do not; a sweep's socket tells answers apart by sequence number.
#include "net/icmp_echo.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/private_netns.h"
#include "support/registered_transaction_log.h"
#include "util/text.h"

namespace {

// One ping as "address ok echoes waited-the-full-time: first row | last row up to its time".
std::string PingCase(bool v6, const std::string& address, int retries, int timeout_ms) {
  sondara_test::RegisteredTransactionLog tlog;
  const long before = testing_support::EchoesSent(v6);
  const auto start = std::chrono::steady_clock::now();
  const bool ok = v6 ? net::PingIPv6(tvkutil::FromUtf8Lenient(address), timeout_ms, retries,
                                     L"Ping", logs::TransactionLogSink())
                     : net::PingIPv4(::inet_addr(address.c_str()), timeout_ms, retries, L"Ping",
                                     logs::TransactionLogSink());
  const bool waited = std::chrono::steady_clock::now() - start >=
                      std::chrono::milliseconds((retries + 1) * timeout_ms);
  const auto rows = tlog.Messages();
  const std::wstring first = rows.empty() ? L"" : rows.front(),
                     last = rows.empty() ? L"" : rows.back();
  std::ostringstream out;
  out << address << ' ' << ok << ' ' << testing_support::EchoesSent(v6) - before << ' ' << waited
      << ": " << tvkutil::ToUtf8(first) << " | "
      << tvkutil::ToUtf8(last.substr(0, last.find(L"time="))) << '\n';
  return out.str();
}

// Silent addresses get retries + 1 echoes, loopback stops them at its first reply, and a route
// that refuses is reported in a ping tool's words at once. ping_group_range decides whether the
// datagram socket may be used; closed, we fall back to a raw socket. Both run.
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
             PingCase(false, "192.0.2.5", 1, 150) + PingCase(true, "2001:db8:51::7", 2, 1000);
    }
    return out;
  });
  if (run.code == testing_support::kNoNetns)
    GTEST_SKIP() << run.output;
  ASSERT_EQ(run.code, 0) << run.output;
  // EACCES of a prohibit route is also what a broadcast address gets: no words for it.
  const std::string each =
      "198.18.0.77 0 3 1: Ping command sent to IP 198.18.0.77. | Reply from 198.18.0.77 not "
      "received.\n"
      "2001:db8:18::77 0 3 1: Ping command sent to IP 2001:db8:18::77. | Reply from "
      "2001:db8:18::77 not received.\n"
      "127.0.0.1 1 1 0: Ping command sent to IP 127.0.0.1. | Reply from 127.0.0.1: bytes=14 \n"
      "::1 1 1 0: Ping command sent to IP ::1. | Reply from ::1: \n"
      "198.51.100.7 0 0 0: Ping command sent to IP 198.51.100.7. | Reply from 198.51.100.7: "
      "Destination host unreachable.\n"
      "203.0.113.9 0 0 0: Ping command sent to IP 203.0.113.9. | Reply from 203.0.113.9: "
      "Destination net unreachable.\n"
      "192.0.2.5 0 0 0: Ping command sent to IP 192.0.2.5. | Reply from 192.0.2.5 not received.\n"
      "2001:db8:51::7 0 0 0: Ping command sent to IP 2001:db8:51::7. | Reply from "
      "2001:db8:51::7: Destination host unreachable.\n";
  EXPECT_EQ(run.output, each + each);
}

// No datagram socket (ping_group_range closed) and no raw one (no capability left): ICMP is
// reported unavailable and pings send and log nothing.
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
  if (run.code == testing_support::kNoNetns)
    GTEST_SKIP() << run.output;
  ASSERT_EQ(run.code, 0) << run.output;
  EXPECT_EQ(run.output, "0001 127.0.0.1 0 0 0:  | \n::1 0 0 0:  | \n");
}

// A sweep's socket: echoes go out without waiting and each answer names the echo it belongs to;
// a ping over the same socket passes over another echo's reply and can be stopped.
TEST(IcmpEcho, SweepSocketMatchesAnswersBySequenceAndPingsCanBeStopped) {
  const auto run = testing_support::RunInPrivateNetns([] {
    if (!testing_support::AddAnsweringAddresses({"198.18.0.7", "198.18.0.12"}))
      return std::string("cannot add addresses");
    std::ostringstream out;
    for (const char* range : {"1 0", "0 2147483647"}) {
      std::ofstream("/proc/sys/net/ipv4/ping_group_range") << range;
      net::LoadIcmp();
      net::CIcmpEchoSocket socket;
      std::vector<std::pair<std::uint16_t, std::string>> sent;
      for (const char* a : {"198.18.0.12", "198.18.0.99", "198.18.0.7", "198.18.0.12"}) {
        std::uint16_t sequence = 0;
        if (socket.Send(::inet_addr(a), sequence) == net::kEchoSuccess)
          sent.emplace_back(sequence, a);
      }
      std::string answered;
      const auto until = net::EchoClock::now() + std::chrono::milliseconds(500);
      while (net::EchoClock::now() < until) {
        for (const net::EchoAnswer& a : socket.Receive(until)) {
          for (std::size_t i = 0; i < sent.size(); ++i) {
            if (sent[i].first == a.sequence && ::inet_addr(sent[i].second.c_str()) == a.address)
              answered += std::to_string(i) + (a.data_size == 14 ? "" : "?");
          }
        }
      }
      std::sort(answered.begin(), answered.end());
      // A reply to an echo sent just before must not answer the ping of a silent address.
      std::uint16_t ignored = 0;
      socket.Send(::inet_addr("198.18.0.7"), ignored);
      sondara_test::RegisteredTransactionLog tlog;
      const long before = testing_support::EchoesSent(false);
      const bool silent_ok = net::PingIPv4(socket, ::inet_addr("198.18.0.99"), 200, 0, L"Sweep",
                                           logs::TransactionLogSink());
      // Stopped during its first echo: no retry follows, and the wait ends long before 5 s.
      const auto asked = std::chrono::steady_clock::now();
      const bool stopped_ok = net::PingIPv4(socket, ::inet_addr("198.18.0.98"), 5000, 3, L"Sweep",
                                            logs::TransactionLogSink(), [] { return true; });
      out << sent.size() << " sent, answered " << answered << "; silent " << silent_ok
          << ", stopped " << stopped_ok << " promptly "
          << (std::chrono::steady_clock::now() - asked < std::chrono::seconds(4)) << " after "
          << testing_support::EchoesSent(false) - before
          << " echoes: " << tvkutil::ToUtf8(tlog.Messages().back()) << "\n";
    }
    return out.str();
  });
  if (run.code == testing_support::kNoNetns)
    GTEST_SKIP() << run.output;
  ASSERT_EQ(run.code, 0) << run.output;
  const std::string each =
      "4 sent, answered 023; silent 0, stopped 0 promptly 1 after 2 echoes: Reply from 198.18.0.98 "
      "not "
      "received.\n";
  EXPECT_EQ(run.output, each + each);
}

}  // namespace
