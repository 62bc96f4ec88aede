// The command lines the commands run with, and Ctrl+C turned into the stop event.
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "cli/cli_process.h"
#include "cli/command_line.h"
#include "cli/interrupt_stop.h"
#include "snmp/asn_data_type.h"
#include "util/runner.h"

namespace {

cli::CommandLine Accepted(const std::string& args) {
  cli::ParseResult r = cli::ParseCommandLine(sondara_test::Args(args));
  EXPECT_EQ(r.error, "") << args;
  return r.line;
}

// Defaults no run against an agent shows (they all give -p).
TEST(CliCommandLine, DefaultsDependOnTheCommand) {
  EXPECT_EQ(Accepted("get|h|.1.3").port, 161);
  EXPECT_EQ(Accepted("trap|h").port, 162);
  EXPECT_EQ(Accepted("walk|h").oids, std::vector<std::wstring>{L".1.3.6.1"});
}

// -v 3: net-snmp's options, and passwords from the command line, the environment or a prompt.
TEST(CliCommandLine, Version3TakesNetSnmpsOptionsAndFindsItsPasswords) {
  using snmp::usm::SecurityLevel;
  cli::CommandLine line = Accepted(
      "get|h|.1.3|-v|3|-u|ops|-l|authPriv|-a|SHA-256|-x|AES-256|-X|privpass1|-n|ctx|-E|"
      "0x80001f8880aabbccdd|--key-extension|reeder");
  // Protocols, context and key extension are the agent tests' to show; the engine ID is not.
  EXPECT_EQ(line.security.context_engine_id,
            (snmp::usm::Bytes{0x80, 0x00, 0x1f, 0x88, 0x80, 0xaa, 0xbb, 0xcc, 0xdd}));
  EXPECT_EQ(Accepted("walk|h|-v3|-uops|-l|noAuthNoPriv").security.level,
            SecurityLevel::kNoAuthNoPriv);
  // -X given, -A from the environment, nothing asked; then both asked for.
  ::setenv("SONDARA_AUTH_PASSWORD", "authpass1", 1);
  EXPECT_EQ(cli::FillPasswords(line, nullptr), "");
  EXPECT_EQ(line.security.auth_password, "authpass1");
  EXPECT_EQ(line.security.priv_password, "privpass1");
  ::unsetenv("SONDARA_AUTH_PASSWORD");
  line.security.auth_password.clear();
  line.security.priv_password.clear();
  EXPECT_EQ(cli::FillPasswords(line, nullptr), "get: -A needs PASS (or SONDARA_AUTH_PASSWORD)");
  EXPECT_EQ(cli::FillPasswords(
                line, [](const char*) -> std::optional<std::string> { return "asked-for"; }),
            "");
  EXPECT_EQ(line.security.priv_password, "asked-for");
}

// A VALUE is taken as written even when it looks like an option; after "--" everything is a
// binding; generic traps by name in any case or by number.
TEST(CliCommandLine, ValuesAndOptionsInAnyOrder) {
  const cli::CommandLine set = Accepted(
      "-t|250|set|h|.1.3.6.1.2.1.1.4.0|INTEGER32|-6|--format=json|.1.3.6.1.2.1.1.5.0|ipaddress|"
      "10.0.0.1|-r0|-6|.1.3.6.1.2.1.1.6.0|Octet String|--");
  ASSERT_EQ(set.bindings.size(), 3U);
  EXPECT_EQ(std::tuple(set.bindings[0].tag, set.bindings[0].value, set.bindings[1].tag,
                       set.bindings[2].value),
            std::tuple(snmp::kTagInteger32, std::wstring(L"-6"), snmp::kTagIpAddress,
                       std::wstring(L"--")));
  EXPECT_EQ(std::tuple(set.timeout_ms, set.retries, set.ipv6, set.format),
            std::tuple(250, 0, true, cli::OutputFormat::kJson));
  const cli::CommandLine trap =
      Accepted("trap|h|-v|1|--generic|LINKUP|--|.1.3.6.1.2.1.2.2.1.1.3|Null|-");
  EXPECT_EQ(trap.generic_trap, 3);
  ASSERT_EQ(trap.bindings.size(), 1U);
  EXPECT_EQ(trap.bindings[0].tag, snmp::kTagNull);
  EXPECT_EQ(Accepted("trap|h|--generic|6|-v1").generic_trap, 6);
}

TEST(CliInterrupt, CtrlCRequestsTheStopAndTheOldHandlerComesBack) {
  ::signal(SIGINT, SIG_IGN);
  std::stop_source stop;
  {
    cli::CInterruptStop interrupt(stop);
    ::raise(SIGINT);
    EXPECT_TRUE(tvkutil::SleepUnlessStopped(stop.get_token(), std::chrono::seconds(5)));
  }
  struct sigaction now {};
  ::sigaction(SIGINT, nullptr, &now);
  EXPECT_EQ(now.sa_handler, SIG_IGN);
  ::signal(SIGINT, SIG_DFL);
}

}  // namespace
