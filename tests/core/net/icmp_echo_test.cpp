// ICMP echo inside a private network namespace: loopback and extra addresses answer, silent
// addresses do not, refusing routes are told in words (the sweep's matching of answers is the
// device discovery's test).
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

#include "support/private_netns.h"
#include "support/registered_transaction_log.h"
#include "util/text.h"

namespace {

// One ping as "address ok echoes waited-a-time-out-per-echo: first row | last row up to its
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
  const std::wstring first = rows.empty() ? L"" : rows.front(),
                     last = rows.empty() ? L"" : rows.back();
  std::ostringstream out;
  out << address << ' ' << ok << ' ' << echoes << ' ' << waited << ": " << tvkutil::ToUtf8(first)
      << " | " << tvkutil::ToUtf8(last.substr(0, last.find(L"time="))) << '\n';
  return out.str();
}

// Silent addresses get retries + 1 echoes, loopback stops them at its first reply, a route that
// refuses is reported in a ping tool's words at once, and a stop ends the wait without a retry.
// ping_group_range decides whether the datagram socket may be used; closed, we fall back to a raw
// socket. Both run.
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
      "2001:db8:51::7: Destination host unreachable.\n"
      "198.18.0.98 0 1 0: Ping command sent to IP 198.18.0.98. | Reply from 198.18.0.98 not "
      "received.\n";
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
  SONDARA_REQUIRE_NETNS(run);
  EXPECT_EQ(run.output, "0001 127.0.0.1 0 0 0:  | \n::1 0 0 0:  | \n");
}

}  // namespace
