// sondara-cli refuses bad command lines before anything is sent, takes its time-out and retries
// from the program's settings, and carries no Qt.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "cli/cli_process.h"
#include "support/fake_agent.h"

namespace {

using sondara_test::Cli;
using sondara_test::ProcessResult;

// Listens and never answers.
testing_support::FakeAgent::Script Silent() {
  return [](const auto&, int) { return std::vector<testing_support::FakeAgent::Reply>{}; };
}

TEST(CliUsage, BadInputExitsTwoWithOneLineAndSendsNothing) {
  testing_support::FakeAgent agent(Silent());
  const std::string port = std::to_string(agent.Port());
  const std::string oid = ".1.3.6.1.2.1.1.4.0";
  struct Case {
    std::vector<std::string> args;
    std::string says;
  };
  const std::vector<Case> cases = {
      {{"frob", "127.0.0.1", oid}, "unknown command 'frob'"},
      {{}, "missing COMMAND"},
      {{"get", "-p", port}, "get: missing HOST"},
      {{"get", "127.0.0.1", "-p", port}, "get: missing OID"},
      {{"get", "127.0.0.1", "-p", port, ".1.3.6.1.2.1.1.1.0", "1.3."}, "bad OID '1.3.'"},
      {{"getnext", "127.0.0.1", "-p", port, "1"}, "bad OID '1'"},
      {{"set", "127.0.0.1", "-p", port, oid, "String", "x"}, "unknown TYPE 'String'"},
      {{"set", "127.0.0.1", "-p", port, oid, "Null", "x"}, "unknown TYPE 'Null'"},
      {{"set", "127.0.0.1", "-p", port, oid, "integer32", "2147483648"},
       "'2147483648' does not fit Integer32"},
      {{"set", "127.0.0.1", "-p", port, oid, "IPAddress", "300.1.1.1"},
       "'300.1.1.1' does not fit IPAddress"},
      {{"set", "127.0.0.1", "-p", port, oid, "Counter32", "0x1FFFFFFFF"}, "does not fit Counter32"},
      {{"set", "127.0.0.1", "-p", port, oid, "Octet String"}, "needs a VALUE"},
      {{"get", "127.0.0.1", "-p", "70000", oid}, "bad port '70000'"},
      {{"get", "127.0.0.1", "-p", "0", oid}, "bad port '0'"},
      {{"get", "127.0.0.1", "-p", port, "-t", "0", oid}, "bad time-out '0'"},
      {{"get", "127.0.0.1", "-p", port, "-r", "11", oid}, "bad retries '11'"},
      {{"get", "127.0.0.1", "-p", port, "-v", "3", oid}, "bad SNMP version '3'"},
      {{"get", "127.0.0.1", "-p", port, "--format", "xml", oid}, "bad format 'xml'"},
      {{"get", "127.0.0.1", "-p", port, "--fast", oid}, "--fast does not apply"},
      {{"get", "127.0.0.1", "-p", port, "-c"}, "-c needs COMMUNITY"},
      {{"get", "127.0.0.1", "-p", port, "--bogus", oid}, "unknown option '--bogus'"},
      {{"ping", "-c", "3", "127.0.0.1"}, "ping: option -c does not apply"},
      {{"walk", "127.0.0.1", "-p", port, "-v", "1", "--bulk", "10"}, "--bulk needs -v 2c"},
      {{"trap", "127.0.0.1", "-p", port, "--generic", "linkUp"}, "are for -v 1 traps"},
      {{"trap", "127.0.0.1", "-p", port, "-v", "1", "--specific", "0"}, "bad --specific '0'"},
      {{"sweep", "10.0.0.1"}, "sweep: missing END"},
      {{"sweep", "10.0.0.1", "10.0.0.256"}, "bad END '10.0.0.256'"},
  };
  Cli cli;
  for (const Case& c : cases) {
    const ProcessResult r = cli.Run(c.args);
    EXPECT_EQ(r.status, 2) << c.says;
    EXPECT_EQ(r.out, "") << c.says;
    EXPECT_EQ(r.err.rfind("sondara-cli: ", 0), 0U) << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line: " << r.err;
  }
  EXPECT_TRUE(agent.Received().empty());
}

TEST(CliUsage, TimeOutAndRetriesComeFromTheSettingsUnlessGiven) {
  testing_support::FakeAgent agent(Silent());
  Cli cli;
  cli.WriteNetworkSettings("RequestTimeoutMS=150\nRetries=2\n");
  const std::vector<std::string> get = {"get", "127.0.0.1", "-p", std::to_string(agent.Port()),
                                        ".1.3.6.1.2.1.1.5.0"};
  EXPECT_EQ(cli.Run(get).status, 3);
  EXPECT_EQ(agent.Received().size(), 3U);  // the first try and two retries

  std::vector<std::string> once = get;
  once.insert(once.end(), {"-r", "0"});
  EXPECT_EQ(cli.Run(once).status, 3);
  const auto received = agent.Received();
  ASSERT_EQ(received.size(), 4U);
  EXPECT_EQ(received[3].bytes, received[0].bytes);
}

TEST(CliUsage, HelpDescribesEveryCommand) {
  Cli cli;
  const ProcessResult help = cli.Run({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* synopsis : {"get HOST OID...", "getnext HOST OID...", "set HOST OID TYPE VALUE",
                               "walk HOST [OID]", "trap HOST", "ping HOST", "sweep START END"})
    EXPECT_NE(help.out.find(synopsis), std::string::npos) << synopsis;
  // On a command, only the options it takes.
  const ProcessResult walk = cli.Run({"walk", "--help"});
  EXPECT_EQ(walk.status, 0);
  EXPECT_EQ(walk.out.rfind("Usage: sondara-cli walk HOST [OID] [--bulk N]", 0), 0U) << walk.out;
  EXPECT_EQ(walk.out.find("--trap-oid"), std::string::npos);
}

TEST(CliUsage, LinksNoQt) {
  FILE* ldd = ::popen("ldd " SONDARA_CLI, "r");
  ASSERT_NE(ldd, nullptr);
  std::string libraries;
  char buf[512];
  while (std::fgets(buf, sizeof buf, ldd) != nullptr)
    libraries += buf;
  EXPECT_EQ(::pclose(ldd), 0) << libraries;
  EXPECT_NE(libraries.find("libc.so"), std::string::npos) << libraries;
  EXPECT_EQ(libraries.find("Qt"), std::string::npos) << libraries;
}

}  // namespace
