// ping's exit statuses and lines, sweeps in text and csv, Ctrl+C ending a sweep with what it found,
// all inside a private namespace; a user outside ping_group_range pings with cap_net_raw only.
#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "cli/cli_process.h"
#include "support/private_netns.h"
#include "support/recorders.h"

namespace {

using sondara_test::Cli;
using sondara_test::ProcessResult;

TEST(CliPingAndSweep, FindExactlyTheAnsweringAddressesInAPrivateNetwork) {
  const auto run = testing_support::RunInPrivateNetns([] {
    // 198.18.0.1 is the namespace's own address; 198.18.0.12 has no name.
    const std::string error =
        testing_support::UseHostsFile("198.18.0.1 alpha.test\n198.18.0.7 bravo.test\n");
    if (!error.empty())
      return error;
    if (!testing_support::AddAnsweringAddresses({"198.18.0.7", "198.18.0.12", "198.18.0.30"}))
      return std::string("no answering addresses");
    Cli cli;
    std::string out;
    for (const char* args :
         {"ping|bravo.test", "ping|198.18.0.9", "ping|10.0.0.300", "ping|nosuch.test",
          "sweep|198.18.0.1|198.18.0.14|--fast|--format|csv"}) {
      const ProcessResult r = cli.Run(sondara_test::Args(std::string(args) + "|-t|300|-r|0"));
      out += std::to_string(r.status) + " " + r.out + r.err;
    }
    // Stopped once .12 has been printed, 17 silent addresses before .30.
    const auto sweep = cli.Start({"sweep", "198.18.0.1", "198.18.0.254", "-t", "300", "-r", "0"});
    testing_support::WaitUntil(
        [&] { return sweep->OutputSoFar().find("198.18.0.12\n") != std::string::npos; },
        std::chrono::seconds(20));
    sweep->Signal(SIGINT);
    const ProcessResult r = sweep->Wait(10000);
    return out + std::to_string(r.status) + " " + r.out;
  });
  SONDARA_REQUIRE_NETNS(run);
  const std::string started = "sondara-cli: Device discovery started.\n";
  std::smatch ping;
  ASSERT_TRUE(std::regex_match(
      run.output, ping,
      std::regex(
          "0 Ping command sent to IP 198\\.18\\.0\\.7\\.\n"
          "Reply from 198\\.18\\.0\\.7: bytes=14 time=[0-9]+ms\\.\n"
          "3 Ping command sent to IP 198\\.18\\.0\\.9\\.\n"
          "Reply from 198\\.18\\.0\\.9 not received\\.\n"
          "2 sondara-cli: Invalid IPv4 address '10\\.0\\.0\\.300'\\.\n"
          "4 sondara-cli: Unable to resolve IPv4 host 'nosuch\\.test': [A-Za-z ]+\n([\\s\\S]*)")))
      << run.output;
  EXPECT_EQ(ping[1].str(),
            "0 No.,IP,Description\n\"1\",\"198.18.0.1\",\"alpha.test\",\n"
            "\"2\",\"198.18.0.7\",\"bravo.test\",\n\"3\",\"198.18.0.12\",\"\",\n" +
                started +
                "sondara-cli: Device discovery complete. No. of devices discovered '3'.\n" +
                "130 " + started + "198.18.0.1 alpha.test\n198.18.0.7 bravo.test\n198.18.0.12\n" +
                "sondara-cli: Device discovery stopped. No. of devices discovered '3'.\n");
}

// ping_group_range and ip_unprivileged_port_start are per namespace: in a private one that lets
// nobody open an ICMP datagram socket, a copy of sondara-cli run as nobody pings and listens on
// port 162 only once the package's postinst, pointed at the copy, has given it its capabilities.
TEST(CliPingAndSweep, CapNetRawLetsAUserOutsidePingGroupRangePing) {
  if (::geteuid() != 0)
    GTEST_SKIP() << "needs root: setcap, setpriv and a private network namespace";
#ifndef SONDARA_POSTINST
  GTEST_SKIP() << "a build without packaging has no postinst";
#else
  const auto run = testing_support::RunInPrivateNetns([] {
    if (!(std::ofstream("/proc/sys/net/ipv4/ping_group_range") << "1 0" << std::flush))
      return std::string("cannot set ping_group_range");
    const sondara_test::TempFolder dir;
    const std::string copy = dir / "sondara-cli";
    std::filesystem::permissions(dir.Path(), std::filesystem::perms(0755));
    std::filesystem::copy_file(SONDARA_CLI, copy);
    std::string out;
    for (const bool cap : {false, true}) {
      const std::string postinst = "sed 's#/usr/bin/#" + dir.Path() +
                                   "/#g' " SONDARA_POSTINST " | sh -s configure 2>/dev/null";
      if (cap && std::system(postinst.c_str()) != 0)
        return std::string("the postinst failed");
      for (const char* args : {"ping|-r|0|127.0.0.1", "listen|--port|162|-t|1"}) {
        const std::vector<std::string> argv = sondara_test::Args(
            "/usr/bin/setpriv|--reuid=nobody|--regid=nogroup|--clear-groups|" + copy + "|" + args);
        const ProcessResult r =
            sondara_test::RunningProcess(argv, {"HOME=" + dir.Path(), "SONDARA_HOME=" + dir.Path()})
                .Wait();
        out += std::to_string(r.status) + " " + r.out + r.err;
      }
    }
    return out;
  });
  SONDARA_REQUIRE_NETNS(run);
  EXPECT_TRUE(std::regex_match(
      run.output,
      std::regex("4 sondara-cli: Unable to open an ICMP socket\\. [^\n]+\n"
                 "2 sondara-cli: Unable to listen on UDP port 162: ports below 1024 need a "
                 "privilege [^\n]+ip_unprivileged_port_start=162[^\n]+port above 1023\\.\n"
                 "0 Ping command sent to IP 127\\.0\\.0\\.1\\.\n"
                 "Reply from 127\\.0\\.0\\.1: bytes=14 time=[0-9]+ms\\.\n"
                 "3 sondara-cli: Listening for notifications on UDP port 162\\.\n"
                 "sondara-cli: Stopped listening on UDP port 162: 0 notifications, [^\n]+\n")))
      << run.output;
#endif
}

}  // namespace
