// ping answers 0 on a reply and 3 without one; inside a private namespace only the addresses
// that exist answer a ping or a sweep.
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "cli/cli_process.h"
#include "net/icmp_echo.h"
#include "support/private_netns.h"

namespace {

using sondara_test::Cli;
using sondara_test::ProcessResult;

TEST(CliPing, ReplyAndSilenceInAPrivateNetwork) {
  const auto run = testing_support::RunInPrivateNetns([] {
    if (std::system("ip addr add 198.18.0.5/32 dev d0") != 0)
      return std::string("no answering address");
    Cli cli;
    std::string out;
    for (const char* host : {"127.0.0.1", "198.18.0.5", "198.18.0.7"}) {
      const ProcessResult r = cli.Run({"ping", "-t", "300", "-r", "0", host});
      out += std::to_string(r.status) + " " + r.out + r.err;
    }
    return out;
  });
  if (run.code == testing_support::kNoNetns)
    GTEST_SKIP() << run.output;
  ASSERT_EQ(run.code, 0) << run.output;
  const std::regex expected(
      "0 Ping command sent to IP 127\\.0\\.0\\.1\\.\n"
      "Reply from 127\\.0\\.0\\.1: bytes=14 time=[0-9]+ms\\.\n"
      "0 Ping command sent to IP 198\\.18\\.0\\.5\\.\n"
      "Reply from 198\\.18\\.0\\.5: bytes=14 time=[0-9]+ms\\.\n"
      "3 Ping command sent to IP 198\\.18\\.0\\.7\\.\n"
      "Reply from 198\\.18\\.0\\.7 not received\\.\n");
  EXPECT_TRUE(std::regex_match(run.output, expected)) << run.output;
}

TEST(CliSweep, FindsExactlyTheAnsweringAddressesInBothModes) {
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
    for (const std::vector<std::string>& extra :
         {std::vector<std::string>{}, {"--fast", "--format", "csv"}, {"--fast", "-r", "2"}}) {
      std::vector<std::string> args = {"sweep", "198.18.0.1", "198.18.0.14", "-t", "100",
                                       "-r",    "0"};
      args.insert(args.end(), extra.begin(), extra.end());
      const ProcessResult r = cli.Run(args);
      out += std::to_string(r.status) + "\n" + r.out + r.err;
    }
    return out;
  });
  if (run.code == testing_support::kNoNetns)
    GTEST_SKIP() << run.output;
  ASSERT_EQ(run.code, 0) << run.output;
  const std::string lines =
      "sondara-cli: Device discovery started.\n"
      "sondara-cli: Device discovery complete. No. of devices discovered '3'.\n";
  EXPECT_EQ(run.output,
            "0\n198.18.0.1 alpha.test\n198.18.0.7 bravo.test\n198.18.0.12\n" + lines +
                "0\nNo.,IP,Description\n\"1\",\"198.18.0.1\",\"alpha.test\",\n"
                "\"2\",\"198.18.0.7\",\"bravo.test\",\n\"3\",\"198.18.0.12\",\"\",\n" +
                lines + "0\n198.18.0.1 alpha.test\n198.18.0.7 bravo.test\n198.18.0.12\n" + lines);
}

TEST(CliSweep, CtrlCPrintsWhatWasFoundThenTheStoppedLine) {
  const auto run = testing_support::RunInPrivateNetns([] {
    const std::string error = testing_support::UseHostsFile("198.18.0.7 bravo.test\n");
    if (!error.empty())
      return error;
    if (!testing_support::AddAnsweringAddresses({"198.18.0.7"}))
      return std::string("no answering address");
    Cli cli;
    std::string out;
    // Sequential: stopped once bravo has been printed, long before .254. Fast: stopped while
    // it waits 20 s for the silent addresses, with every echo sent.
    for (const bool fast : {false, true}) {
      const long echoes = testing_support::EchoesSent(false);
      std::vector<std::string> args = {"sweep", "198.18.0.1", "198.18.0.254", "-t", "300",
                                       "-r",    "0"};
      if (fast)
        args = {"sweep", "198.18.0.1", "198.18.0.254", "-t", "20000", "-r", "0", "--fast"};
      const auto sweep = cli.Start(args);
      const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      while (std::chrono::steady_clock::now() < deadline &&
             (fast ? testing_support::EchoesSent(false) - echoes < 254
                   : sweep->OutputSoFar().find("bravo") == std::string::npos))
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      if (fast)  // the two answers and their names are in
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
      sweep->Signal(SIGINT);
      const ProcessResult r = sweep->Wait(10000);
      out += std::to_string(r.status) + "\n" + r.out;
    }
    return out;
  });
  if (run.code == testing_support::kNoNetns)
    GTEST_SKIP() << run.output;
  ASSERT_EQ(run.code, 0) << run.output;
  const std::string found =
      "sondara-cli: Device discovery started.\n198.18.0.1\n198.18.0.7 bravo.test\n"
      "sondara-cli: Device discovery stopped. No. of devices discovered '2'.\n";
  EXPECT_EQ(run.output, "130\n" + found + "130\n" + found);
}

TEST(CliPing, AnInvalidAddressIsAUsageError) {
  if (!net::LoadIcmp())
    GTEST_SKIP() << "no ICMP socket: needs CAP_NET_RAW or ping_group_range";
  const ProcessResult r = Cli().Run({"ping", "10.0.0.300"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "sondara-cli: Invalid IPv4 address '10.0.0.300'.\n");
}

}  // namespace
