// ICMP echo inside a private network namespace: loopback answers, silent addresses do not.
#include "net/icmp_echo.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

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

TEST(IcmpEcho, LoopbackAnswersAndSilentAddressGetsRetriesPlusOneEchoes) {
  // ping_group_range decides whether the datagram socket may be used; closed, we fall back to
  // a raw socket. Both run.
  const auto run = testing_support::RunInPrivateNetns([] {
    std::string out;
    for (const char* range : {"1 0", "0 2147483647"}) {
      std::ofstream("/proc/sys/net/ipv4/ping_group_range") << range;
      if (!net::LoadIcmp())
        return std::string("ICMP not available in the namespace");
      out += PingCase(false, "198.18.0.77", 2, 150) + PingCase(true, "2001:db8:18::77", 2, 150) +
             PingCase(false, "127.0.0.1", 2, 300) + PingCase(true, "::1", 2, 300);
    }
    return out;
  });
  if (run.code == testing_support::kNoNetns)
    GTEST_SKIP() << run.output;
  ASSERT_EQ(run.code, 0) << run.output;
  // A host that answers stops the retries at the first reply.
  const std::string each =
      "198.18.0.77 0 3 1: Ping command sent to IP 198.18.0.77. | Reply from 198.18.0.77 not "
      "received.\n"
      "2001:db8:18::77 0 3 1: Ping command sent to IP 2001:db8:18::77. | Reply from "
      "2001:db8:18::77 not received.\n"
      "127.0.0.1 1 1 0: Ping command sent to IP 127.0.0.1. | Reply from 127.0.0.1: bytes=14 \n"
      "::1 1 1 0: Ping command sent to IP ::1. | Reply from ::1: \n";
  EXPECT_EQ(run.output, each + each);
}

}  // namespace
