#include "net/icmp_echo.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "logs/log_entry_points.h"
#include "logs/transaction_log.h"
#include "support/private_netns.h"
#include "support/registered_transaction_log.h"
#include "util/text.h"

namespace {

using Clock = std::chrono::steady_clock;

using sondara_test::RegisteredTransactionLog;

std::uint32_t V4(const char* text) {
  in_addr a{};
  ::inet_pton(AF_INET, text, &a);
  return a.s_addr;
}

TEST(IcmpEcho, LoopbackAnswersOverIPv4AndIPv6ButNotWhileUnloaded) {
  if (!net::LoadIcmp())
    GTEST_SKIP() << "no ICMP socket: needs CAP_NET_RAW or ping_group_range";
  RegisteredTransactionLog tlog;
  EXPECT_TRUE(net::PingIPv4(V4("127.0.0.1"), 300, 0, L"Ping"));
  EXPECT_TRUE(net::PingIPv6(L"::1", 300, 0, L"Ping"));
  EXPECT_FALSE(net::PingIPv6(L"not-an-address", 300, 0, L"Ping"));  // no rows for it

  const auto messages = tlog.Messages();
  ASSERT_EQ(messages.size(), 4U);
  EXPECT_EQ(messages[0], L"Ping command sent to IP 127.0.0.1.");
  EXPECT_EQ(messages[1].rfind(L"Reply from 127.0.0.1: bytes=14 time=", 0), 0U) << messages[1];
  EXPECT_EQ(messages[2], L"Ping command sent to IP ::1.");
  EXPECT_EQ(messages[3].rfind(L"Reply from ::1: time=", 0), 0U) << messages[3];
  EXPECT_EQ(tlog.log.Shown(0).direction, logs::kDirectionSent);
  EXPECT_EQ(tlog.log.Shown(1).direction, logs::kDirectionReceived);

  // Nothing is sent or logged while ICMP is not loaded.
  net::UnloadIcmp();
  EXPECT_FALSE(net::PingIPv4(V4("127.0.0.1"), 100, 0, L"Ping"));
  EXPECT_EQ(tlog.Messages().size(), 4U);
  net::LoadIcmp();
}

// One kernel counter of echoes sent, per family. /proc/net/snmp has an "Icmp:" line of names
// followed by one of values; /proc/net/snmp6 has one "name value" pair a line.
long EchoesSent(bool v6) {
  std::ifstream in(v6 ? "/proc/net/snmp6" : "/proc/net/snmp");
  std::vector<std::string> names;
  for (std::string line; std::getline(in, line);) {
    std::istringstream fields(line);
    std::vector<std::string> f{std::istream_iterator<std::string>(fields), {}};
    if (v6 && f.size() == 2 && f[0] == "Icmp6OutEchos")
      return std::stol(f[1]);
    if (v6 || f.empty() || f[0] != "Icmp:")
      continue;
    if (names.empty()) {
      names = f;
      continue;
    }
    for (std::size_t i = 1; i < f.size() && i < names.size(); ++i) {
      if (names[i] == "OutEchos")
        return std::stol(f[i]);
    }
  }
  return -1;
}

// One ping inside the namespace, described on one line for the parent test to check.
std::string PingCase(const std::string& name, bool v6, const std::string& address, int retries,
                     int timeout_ms) {
  logs::CTransactionLog log;
  logs::RegisterTransactionLog(&log);
  const long before = EchoesSent(v6);
  const auto start = Clock::now();
  const bool ok =
      v6 ? net::PingIPv6(tvkutil::FromUtf8Lenient(address), timeout_ms, retries, L"Ping")
         : net::PingIPv4(V4(address.c_str()), timeout_ms, retries, L"Ping");
  const auto elapsed =
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  const long echoes = EchoesSent(v6) - before;
  logs::RegisterTransactionLog(nullptr);
  log.MovePending();
  const std::wstring last = log.ShownCount() > 0 ? log.Shown(log.ShownCount() - 1).text : L"";
  std::ostringstream out;
  out << name << ' ' << ok << ' ' << echoes << ' ' << elapsed << ' ' << tvkutil::ToUtf8(last)
      << '\n';
  return out.str();
}

TEST(IcmpEcho, SilentAddressGetsRetriesPlusOneEchoesAndNoReply) {
  // Both socket kinds: the system's ping_group_range decides whether the datagram socket may
  // be used; with it closed we fall back to raw sockets.
  const auto run = testing_support::RunInPrivateNetns([] {
    std::string out;
    for (const char* kind : {"raw", "dgram"}) {
      std::ofstream("/proc/sys/net/ipv4/ping_group_range")
          << (std::string(kind) == "raw" ? "1 0" : "0 2147483647");
      if (!net::LoadIcmp())
        return std::string("ICMP not available in the namespace");
      const std::string k = kind;
      out += PingCase(k + "-v4-silent-r2", false, "198.18.0.77", 2, 150);
      out += PingCase(k + "-v4-silent-r0", false, "198.18.0.77", 0, 150);
      out += PingCase(k + "-v6-silent-r2", true, "2001:db8:18::77", 2, 150);
      out += PingCase(k + "-v4-loopback-r2", false, "127.0.0.1", 2, 300);
      out += PingCase(k + "-v6-loopback-r2", true, "::1", 2, 300);
    }
    return out;
  });
  if (!run.skip_reason.empty())
    GTEST_SKIP() << run.skip_reason;
  ASSERT_TRUE(run.error.empty()) << run.error;

  struct Result {
    int ok;
    long echoes;
    long elapsed_ms;
    std::string last_row;
  };
  std::map<std::string, Result> results;
  std::istringstream lines(run.output);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream f(line);
    std::string name;
    Result r;
    f >> name >> r.ok >> r.echoes >> r.elapsed_ms >> std::ws;
    std::getline(f, r.last_row);
    results[name] = r;
  }
  ASSERT_EQ(results.size(), 10U) << run.output;
  for (const std::string kind : {"raw", "dgram"}) {
    SCOPED_TRACE(kind);
    const Result& v4r2 = results[kind + "-v4-silent-r2"];
    EXPECT_EQ(v4r2.ok, 0);
    EXPECT_EQ(v4r2.echoes, 3);
    EXPECT_GE(v4r2.elapsed_ms, 3 * 150);
    EXPECT_EQ(v4r2.last_row, "Reply from 198.18.0.77 not received.");
    EXPECT_EQ(results[kind + "-v4-silent-r0"].echoes, 1);
    EXPECT_GE(results[kind + "-v4-silent-r0"].elapsed_ms, 150);
    const Result& v6r2 = results[kind + "-v6-silent-r2"];
    EXPECT_EQ(v6r2.ok, 0);
    EXPECT_EQ(v6r2.echoes, 3);
    EXPECT_EQ(v6r2.last_row, "Reply from 2001:db8:18::77 not received.");
    // A host that answers stops the retries at the first reply.
    EXPECT_EQ(results[kind + "-v4-loopback-r2"].ok, 1);
    EXPECT_EQ(results[kind + "-v4-loopback-r2"].echoes, 1);
    EXPECT_EQ(results[kind + "-v6-loopback-r2"].ok, 1);
    EXPECT_EQ(results[kind + "-v6-loopback-r2"].echoes, 1);
  }
}

}  // namespace
