// sondara-cli refuses bad command lines before anything is sent, takes its time-out and retries
// from the program's settings, and carries no Qt.
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "cli/cli_process.h"
#include "support/ber_builder.h"
#include "support/fake_agent.h"
#include "support/hex_bytes.h"
#include "support/recorders.h"
#include "support/request_reader.h"
#include "support/small_filesystem.h"

namespace {

using namespace testing_support;
using sondara_test::Cli;
using namespace std::string_literals;
using sondara_test::ProcessResult;

// Listens and never answers.
FakeAgent::Script Silent() {
  return [](const auto&, int) { return std::vector<FakeAgent::Reply>{}; };
}

TEST(CliUsage, BadInputOrAnUnwritableFileExitsWithOneLineAndSendsNothing) {
  FakeAgent agent(Silent());
  const std::string port = std::to_string(agent.Port());
  const std::string oid = ".1.3.6.1.2.1.1.4.0";
  struct Case {
    std::vector<std::string> args;
    std::string says;
    int status = 2;
  };
  std::vector<Case> cases = {
      {{"frob", "127.0.0.1", oid}, "unknown command 'frob'"},
      {{}, "missing COMMAND"},
      {{"get", "-p", port}, "get: missing HOST"},
      {{"get", "127.0.0.1", "-p", port}, "get: missing OID"},
      {{"get", "127.0.0.1", "-p", port, ".1.3.6.1.2.1.1.1.0", "1.3."}, "bad OID '1.3.'"},
      {{"set", "127.0.0.1", "-p", port, oid, "Null", "x"}, "unknown TYPE 'Null'"},
      {{"set", "127.0.0.1", "-p", port, oid, "integer32", "2147483648"},
       "'2147483648' does not fit Integer32"},
      {{"set", "127.0.0.1", "-p", port, oid, "IPAddress", "300.1.1.1"},
       "'300.1.1.1' does not fit IPAddress"},
      {{"set", "127.0.0.1", "-p", port, oid, "Octet String"}, "needs a VALUE"},
      {{"get", "127.0.0.1", "-p", "70000", oid}, "bad port '70000'"},
      {{"get", "127.0.0.1", "-p", "0", oid}, "bad port '0'"},
      {{"get", "127.0.0.1", "-p", port, "-t", "0", oid}, "bad time-out '0'"},
      {{"get", "127.0.0.1", "-p", port, "-r", "11", oid}, "bad retries '11'"},
      {{"get", "127.0.0.1", "-p", port, "-v", "4", oid}, "bad SNMP version '4' (1, 2c or 3)"},
      {{"get", "127.0.0.1", "-p", port, "-v", "3", oid}, "get: -v 3 needs -u USER"},
      {{"get", "127.0.0.1", "-p", port, "-u", "ops", oid}, "are for -v 3"},
      {{"get", "127.0.0.1", "-p", port, "-v", "3", "-u", "ops", "-l", "authpriv", oid},
       "-l authPriv needs -a PROTOCOL"},
      {{"get", "127.0.0.1", "-p", port, "-v", "3", "-u", "ops", "-l", "auth", oid},
       "bad -l 'auth' (noAuthNoPriv, authNoPriv or authPriv)"},
      {{"get", "127.0.0.1", "-p", port, "-v3", "-uops", "-lauthPriv", "-aSHA", oid},
       "-l authPriv needs -x PROTOCOL"},
      {{"get", "127.0.0.1", "-p", port, "-v3", "-uops", "-aSHA", oid},
       "-a, -A, -x and -X need -l authNoPriv or authPriv"},
      {{"get", "127.0.0.1", "-p", port, "-v3", "-uops", "-lauthNoPriv", "-aSHA", "-xAES", oid},
       "-x and -X need -l authPriv"},
      {{"get", "127.0.0.1", "-p", port, "-v3", "-uops", "-lauthNoPriv", "-aSHA-1024", oid},
       "bad -a 'SHA-1024'"},
      {{"get", "127.0.0.1", "-p", port, "-v3", "-uops", "-E", "80001f88", oid},
       "bad -E '80001f88'"},
      {{"get", "127.0.0.1", "-p", port, "-v3", "-uops", "-lauthNoPriv", "-aMD5", "-A", "short",
        oid},
       "get: bad -A: at least 8 characters"},
      {{"walk", "127.0.0.1", "-p", port, "-v3", "-uops", "--key-extension", "cisco"},
       "bad --key-extension 'cisco'"},
      {{"trap", "127.0.0.1", "-p", port, "-v3"}, "-v 3 needs -u USER"},
      {{"trap", "127.0.0.1", "-p", port, "-uops"}, "are for -v 3"},
      {{"get", "127.0.0.1", "-p", port, "--format", "xml", oid}, "bad format 'xml'"},
      {{"get", "127.0.0.1", "-p", port, "--bogus", oid}, "unknown option '--bogus'"},
      {{"walk", "127.0.0.1", "-p", port, "-v", "1", "--bulk", "10"}, "--bulk needs -v 2c"},
      {{"trap", "127.0.0.1", "-p", port, "--generic", "linkUp"}, "are for -v 1 traps"},
      {{"trap", "127.0.0.1", "-p", port, "-v", "1", "--specific", "65536"},
       "bad --specific '65536' (0 to 65535)"},
      {{"trap", "127.0.0.1", "-p", port, "-v", "1", oid, "Counter64", "5"},
       "A version 1 trap cannot carry a Counter64 value"},
      {{"trap", "127.0.0.1", "-p", port, "-v", "1", ".1.3.6.1.2.1.1.3.0", "Timeticks", "5",
        ".1.3.6.1.6.3.1.1.4.1.0", "Object Identifier", ".1.3.6.1"},
       "carries sysUpTime.0 and snmpTrapOID.0 in its own fields"},
      {{"get", "127.0.0.1", "-p", port, "1.3.6.4294967296"},
       "bad OID '1.3.6.4294967296' (each number at most 4294967295)"},
      {{"walk", "127.0.0.1", "-p", port, "1.40"}, "bad OID '1.40' (first number 0, 1 or 2"},
      {{"sweep", "10.0.0.1"}, "sweep: missing END"},
      {{"sweep", "10.0.0.1", "10.0.0.256"}, "bad END '10.0.0.256'"},
      {{"sweep", "10.0.0.x", "10.0.0.2"}, "bad START '10.0.0.x'"},
      {{"walk", "127.0.0.1", "-p", port, ".1.3", ".1.4"}, "unexpected argument '.1.4'"},
      {{"walk", "127.0.0.1", "-p", port, "--bulk", "0"}, "bad --bulk '0'"},
      {{"trap", "127.0.0.1", "-p", port, "--trap-oid", "1.3."}, "bad --trap-oid '1.3.'"},
      {{"trap", "127.0.0.1", "-p", port, "-v", "1", "--trap-oid", ".1.3"}, "for -v 2c traps"},
      {{"trap", "127.0.0.1", "-p", port, "-v", "1", "--enterprise", "x"}, "bad --enterprise 'x'"},
      {{"trap", "127.0.0.1", "-p", port, "-v", "1", "--agent-address", "10.0.0"},
       "bad --agent-address '10.0.0'"},
      {{"trap", "127.0.0.1", "-p", port, "-v", "1", "--generic", "linkSideways"},
       "bad --generic 'linkSideways'"},
      {{"ping", "--pcapng", "x.pcapng", "127.0.0.1"}, "ping: option --pcapng does not apply"},
      {{"get", "127.0.0.1", "-p", port, oid, "--pcapng"}, "--pcapng needs FILE"},
  };
  // A file that cannot be made is found out before anything goes, and the reason is said.
  testing_support::SmallFileSystem read_only(true);
  std::vector<std::pair<std::string, std::string>> files = {
      {"/nonexistent/f", "No such file or directory"}};
  if (read_only.Why().empty())
    files.emplace_back(read_only / "f", "Read-only file system");
  for (const auto& [path, reason] : files) {
    for (const char* option : {"--log", "--pcapng"})
      cases.push_back({{"walk", "127.0.0.1", "-p", port, option, path},
                       "unable to write " + path + ": " + reason,
                       4});
  }
  Cli cli;
  for (const Case& c : cases) {
    const ProcessResult r = cli.Run(c.args);
    EXPECT_EQ(r.status, c.status) << c.says;
    EXPECT_EQ(r.out, "") << c.says;
    EXPECT_EQ(r.err.rfind("sondara-cli: ", 0), 0U) << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line: " << r.err;
  }
  EXPECT_TRUE(agent.Received().empty());
}

// A disk that fills during the run: the old files stay as they were and nothing else is left.
TEST(CliUsage, OutputFilesThatCannotBeFinishedKeepTheOldOnes) {
  testing_support::SmallFileSystem fs;
  if (!fs.Why().empty())
    GTEST_SKIP() << fs.Why();
  sondara_test::WriteFile(fs / "old.log", "old log");
  sondara_test::WriteFile(fs / "old.pcapng", "old capture");
  fs.Fill();
  FakeAgent agent(Silent());
  const ProcessResult r =
      Cli().Run({"get", "127.0.0.1", "-p", std::to_string(agent.Port()), "-t", "200", "-r", "0",
                 "--log", fs / "old.log", "--pcapng", fs / "old.pcapng", ".1.3.6.1.2.1.1.4.0"});
  EXPECT_EQ(r.status, 3);  // no answer, as without the files
  EXPECT_NE(r.err.find("unable to write " + fs / "old.log" + ": No space left on device\n"),
            std::string::npos)
      << r.err;
  EXPECT_EQ(sondara_test::ReadFile(fs / "old.log"), "old log");
  EXPECT_EQ(sondara_test::ReadFile(fs / "old.pcapng"), "old capture");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(fs / ""), {}), 3);
}

// Ctrl+C ends a get at once: its old log stays and no temporary file is left.
// Ctrl+C ends a Get's wait at once, however long its time-out (15 s here, longer than the
// test waits for the process), and the log of what was sent replaces the old one.
TEST(CliUsage, CtrlCDuringAGetStopsItsWaitAndWritesTheLog) {
  sondara_test::TempFolder dir;
  sondara_test::WriteFile(dir / "get.log", "old log");
  FakeAgent agent(Silent());
  Cli cli;
  const auto get = cli.Start({"get", "127.0.0.1", "-p", std::to_string(agent.Port()), "-t", "15000",
                              "--log", dir / "get.log", ".1.3.6.1.2.1.1.4.0"});
  WaitUntil([&] { return !agent.Received().empty(); }, std::chrono::seconds(10));
  get->Signal(SIGINT);
  EXPECT_EQ(get->Wait(10000).status, 130);
  EXPECT_NE(sondara_test::ReadFile(dir / "get.log"), "old log");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);
  EXPECT_EQ(agent.Received().size(), 1U);  // no retry after the stop
}

TEST(CliUsage, TimeOutAndRetriesComeFromTheSettingsUnlessGiven) {
  FakeAgent agent(Silent());
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
  // Read as the window reads them: stored 0 retries are 0, text is the default 3.
  for (const auto& [retries, sent] : {std::pair{"0", 5U}, {"abc", 9U}}) {
    cli.WriteNetworkSettings("RequestTimeoutMS=150\nRetries=" + std::string(retries) + "\n");
    EXPECT_EQ(cli.Run(get).status, 3);
    EXPECT_EQ(agent.Received().size(), sent) << retries;
  }
}

// What a device sends can neither move the terminal's cursor nor turn text around, nor pass for
// other bytes: text escapes it, json gives an OCTET STRING's bytes beside its text (and no other
// type's), csv disarms a formula.
TEST(CliUsage, DeviceTextIsEscapedOnTheTerminalAndItsBytesGivenInJson) {
  // "ok\rEVIL\t\\" U+202E "x" U+2066 "\n" and a final zero; the bytes DE AD BE EF; the text "de ad
  // be ef"; a formula.
  const Bytes binds = Cat(
      {VarBind(Hex("2b 06 01 02 01 01 04 00"),
               Tlv(0x04, Hex("6f 6b 0d 45 56 49 4c 09 5c e2 80 ae 78 e2 81 a6 0a 00"))),
       VarBind(Hex("2b 06 01 02 01 01 05 00"), Hex("04 04 de ad be ef")),
       VarBind(Hex("2b 06 01 02 01 01 06 00"), Str("de ad be ef")),
       VarBind(Hex("2b 06 01 02 01 01 07 00"), Str("=HYPERLINK(\"http://x\",\"y\")")),
       VarBind(Hex("2b 06 01 02 01 01 02 00"), Tlv(0x06, Hex("2b 06 01 04 01 bf 08 03 02 0a")))});
  FakeAgent agent([&binds](const FakeAgent::Datagram& d, int) {
    return std::vector<FakeAgent::Reply>{
        {Response(1, "getcom", ReadRequestFields(d.bytes).id, 0, 0, binds)}};
  });
  const auto get = [&](const char* format) {
    return Cli().Run({"get", "127.0.0.1", "-p", std::to_string(agent.Port()), ".1.3.6.1.2.1.1.4.0",
                      ".1.3.6.1.2.1.1.5.0", ".1.3.6.1.2.1.1.6.0", ".1.3.6.1.2.1.1.7.0",
                      ".1.3.6.1.2.1.1.2.0", "--format", format});
  };
  EXPECT_EQ(get("text").out,
            ".1.3.6.1.2.1.1.4.0 = Octet String: ok\\rEVIL\\t\\\\\\u202ex\\u2066\\n\\x00\n"
            ".1.3.6.1.2.1.1.5.0 = Octet String: de ad be ef\n"
            ".1.3.6.1.2.1.1.6.0 = Octet String: de ad be ef\n"
            ".1.3.6.1.2.1.1.7.0 = Octet String: =HYPERLINK(\"http://x\",\"y\")\n"
            ".1.3.6.1.2.1.1.2.0 = Object Identifier: .1.3.6.1.4.1.8072.3.2.10\n");
  EXPECT_EQ(get("json").out,
            "{\"oid\":\".1.3.6.1.2.1.1.4.0\",\"type\":\"Octet String\",\"value\":"
            "\"ok\\rEVIL\\t\\\\\u202ex\u2066\\n\\u0000\",\"hex\":"
            "\"6f 6b 0d 45 56 49 4c 09 5c e2 80 ae 78 e2 81 a6 0a 00\"}\n"
            "{\"oid\":\".1.3.6.1.2.1.1.5.0\",\"type\":\"Octet String\",\"value\":\"de ad be ef\","
            "\"hex\":\"de ad be ef\"}\n"
            "{\"oid\":\".1.3.6.1.2.1.1.6.0\",\"type\":\"Octet String\",\"value\":\"de ad be ef\","
            "\"hex\":\"64 65 20 61 64 20 62 65 20 65 66\"}\n"
            "{\"oid\":\".1.3.6.1.2.1.1.7.0\",\"type\":\"Octet String\",\"value\":"
            "\"=HYPERLINK(\\\"http://x\\\",\\\"y\\\")\",\"hex\":"
            "\"3d 48 59 50 45 52 4c 49 4e 4b 28 22 68 74 74 70 3a 2f 2f 78 22 2c 22 79 22 29\"}\n"
            "{\"oid\":\".1.3.6.1.2.1.1.2.0\",\"type\":\"Object Identifier\",\"value\":\"."
            "1.3.6.1.4.1.8072.3.2.10\"}\n");
  EXPECT_EQ(get("csv").out,
            "OID,DataType,Value\n"
            ".1.3.6.1.2.1.1.4.0,Octet String,\"ok\rEVIL\t\\\u202ex\u2066\n\0\",\n"
            ".1.3.6.1.2.1.1.5.0,Octet String,\"de ad be ef\",\n"
            ".1.3.6.1.2.1.1.6.0,Octet String,\"de ad be ef\",\n"
            ".1.3.6.1.2.1.1.7.0,Octet String,\"'=HYPERLINK(\"\"http://x\"\",\"\"y\"\")\",\n"
            ".1.3.6.1.2.1.1.2.0,Object Identifier,\".1.3.6.1.4.1.8072.3.2.10\",\n"s);
}

TEST(CliUsage, CtrlCStopsAWalkThatPrintsWhatItFoundThenTheStoppedLine) {
  // Object n is .1.3.6.1.2.1.1.9.1.3.n = "object n"; the fifth request is never answered, and
  // its 15 s time-out would outlast the test's wait for the process: only a stop that wakes the
  // wait ends it in time.
  FakeAgent agent([](const FakeAgent::Datagram& d, int n) {
    const auto index = static_cast<std::uint8_t>(n + 1);
    const Bytes oid = Cat({Hex("2b 06 01 02 01 01 09 01 03"), Bytes{index}});
    if (index > 4)
      return std::vector<FakeAgent::Reply>{};
    return std::vector<FakeAgent::Reply>{
        {Response(1, "getcom", ReadRequestFields(d.bytes).id, 0, 0,
                  VarBind(oid, Str("object " + std::to_string(index))))}};
  });
  Cli cli;
  sondara_test::TempFolder dir;  // the capture is put in place at the stop as well
  const auto walk = cli.Start({"walk", "127.0.0.1", "-p", std::to_string(agent.Port()), "-t",
                               "15000", ".1.3.6.1.2.1.1.9", "--pcapng", dir / "walk.pcapng"});
  WaitUntil([&] { return agent.Received().size() >= 5; }, std::chrono::seconds(10));
  walk->Signal(SIGINT);
  const ProcessResult r = walk->Wait(10000);
  EXPECT_EQ(r.status, 130) << r.out;

  // Standard error is mixed in: the objects come before the line that ends the walk.
  const std::vector<std::string> lines = sondara_test::Lines(r.out);
  ASSERT_EQ(lines.size(), 6U) << r.out;
  EXPECT_EQ(lines.front(), "sondara-cli: walkMIB started.");
  for (std::size_t i = 1; i <= 4; ++i) {
    EXPECT_EQ(lines[i], ".1.3.6.1.2.1.1.9.1.3." + std::to_string(i) + " = Octet String: object " +
                            std::to_string(i));
  }
  EXPECT_EQ(lines.back(), "sondara-cli: walkMIB stopped. No. of OIDs found: '4'.");
  EXPECT_EQ(agent.Received().size(), 5U);  // no retry after the stop
  const std::string capture = sondara_test::ReadFile(dir / "walk.pcapng");
  EXPECT_NE(capture.find("object 4"), std::string::npos);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);
}

TEST(CliUsage, AWalkThatFailsSaysHowByItsStatus) {
  const Bytes system = Hex("2b 06 01 02 01 01 01 00");  // sysDescr.0
  struct Case {
    std::string what;
    std::uint32_t error_status;  // answered with this status and sysDescr.0
    bool silent;
    int exit_status;
    std::string line;
  };
  const std::vector<Case> cases = {
      {"genErr", 5, false, 1, "Error Code:5, Error Index:1."},
      {"silence", 0, true, 3, "Timed out while waiting for response from remote host"},
      // The second answer names sysDescr.0 again: the walk would go round in circles.
      {"no progress", 0, false, 4, "'.1.3.6.1.2.1.1.1.0'"},
  };
  for (const Case& c : cases) {
    FakeAgent agent([&](const FakeAgent::Datagram& d, int) {
      if (c.silent)
        return std::vector<FakeAgent::Reply>{};
      return std::vector<FakeAgent::Reply>{
          {Response(1, "getcom", ReadRequestFields(d.bytes).id, c.error_status,
                    c.error_status != 0 ? 1 : 0, VarBind(system, Str("x")))}};
    });
    const ProcessResult r = Cli().Run({"walk", "127.0.0.1", "-p", std::to_string(agent.Port()),
                                       "-t", "200", "-r", "0", ".1.3.6.1.2.1.1"});
    EXPECT_EQ(r.status, c.exit_status) << c.what << "\n" << r.err;
    EXPECT_NE(r.err.find(c.line), std::string::npos) << c.what << "\n" << r.err;
    EXPECT_NE(r.err.find("sondara-cli: walkMIB failed. No. of OIDs found: '"), std::string::npos)
        << r.err;
  }
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

}  // namespace
