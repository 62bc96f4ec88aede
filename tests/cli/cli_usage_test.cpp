// sondara-cli's refusals, exit statuses, settings and output escapes, against scripted agents.
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "cli/cli_process.h"
#include "core/ops/scripted_agents.h"
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

TEST(CliUsage, BadInputOrAnUnwritableFileExitsWithOneLineAndSendsNothing) {
  FakeAgent agent = Silent();
  struct Case {
    std::string args;  // "|" between arguments; H is the agent's address and port, O an OID
    std::string says;
    int status = 2;
  };
  std::vector<Case> cases = {
      {"frob|127.0.0.1|O", "unknown command 'frob'"},
      {"", "missing COMMAND"},
      {"get|-p|1161", "get: missing HOST"},
      {"get|H", "get: missing OID"},
      {"get|H|.1.3.6.1.2.1.1.1.0|1.3.", "bad OID '1.3.'"},
      {"set|H|O|Null|x", "unknown TYPE 'Null'"},
      {"set|H|O|integer32|2147483648", "'2147483648' does not fit Integer32"},
      {"set|H|O|Octet String", "needs a VALUE"},
      {"get|127.0.0.1|-p|70000|O", "bad port '70000'"},
      {"get|127.0.0.1|-p|0|O", "bad port '0'"},
      {"get|H|-t|0|O", "bad time-out '0'"},
      {"get|H|-r|11|O", "bad retries '11'"},
      {"get|H|-v|4|O", "bad SNMP version '4' (1, 2c or 3)"},
      {"get|H|-v|3|O", "get: -v 3 needs -u USER"},
      {"get|H|-u|ops|O", "are for -v 3"},
      {"get|H|-v|3|-u|ops|-l|authpriv|O", "-l authPriv needs -a PROTOCOL"},
      {"get|H|-v|3|-u|ops|-l|auth|O", "bad -l 'auth' (noAuthNoPriv, authNoPriv or authPriv)"},
      {"get|H|-v3|-uops|-lauthPriv|-aSHA|O", "-l authPriv needs -x PROTOCOL"},
      {"get|H|-v3|-uops|-aSHA|O", "-a, -A, -x and -X need -l authNoPriv or authPriv"},
      {"get|H|-v3|-uops|-lauthNoPriv|-aSHA|-xAES|O", "-x and -X need -l authPriv"},
      {"get|H|-v3|-uops|-lauthNoPriv|-aSHA-1024|O", "bad -a 'SHA-1024'"},
      {"get|H|-v3|-uops|-E|80001f88|O", "bad -E '80001f88'"},
      {"get|H|-v3|-uops|-lauthNoPriv|-aMD5|-A|short|O", "get: bad -A: at least 8 characters"},
      {"walk|H|-v3|-uops|--key-extension|cisco", "bad --key-extension 'cisco'"},
      {"get|10.0.0.300|O", "Unable to resolve IPv4 host '10.0.0.300'", 4},
      {"get|H|--format|xml|O", "bad format 'xml'"},
      {"get|H|--bogus|O", "unknown option '--bogus'"},
      {"walk|H|-v|1|--bulk|10", "--bulk needs -v 2c"},
      {"trap|H|--generic|linkUp", "are for -v 1 traps"},
      {"trap|H|-v|1|--specific|65536", "bad --specific '65536' (0 to 65535)"},
      {"trap|H|-v|1|O|Counter64|5", "A version 1 trap cannot carry a Counter64 value"},
      {"trap|H|-v|1|.1.3.6.1.2.1.1.3.0|Timeticks|5|.1.3.6.1.6.3.1.1.4.1.0|Object Identifier|.1.3",
       "carries sysUpTime.0 and snmpTrapOID.0 in its own fields"},
      {"get|H|1.3.6.4294967296", "bad OID '1.3.6.4294967296' (each number at most 4294967295)"},
      {"walk|H|1.40", "bad OID '1.40' (first number 0, 1 or 2"},
      {"sweep|10.0.0.1", "sweep: missing END"},
      {"sweep|10.0.0.1|10.0.0.256", "bad END '10.0.0.256'"},
      {"sweep|10.0.0.x|10.0.0.2", "bad START '10.0.0.x'"},
      {"walk|H|.1.3|.1.4", "unexpected argument '.1.4'"},
      {"walk|H|--bulk|0", "bad --bulk '0' (1 to 65535, or auto)"},
      {"walk|H|--parallel|9", "bad --parallel '9' (1 to 8)"},
      {"get|H|O|--parallel|2", "get: option --parallel does not apply"},
      {"trap|H|-v|1|--trap-oid|.1.3", "for -v 2c traps"},
      {"trap|H|-v|1|--enterprise|1.x", "bad --enterprise '1.x'"},
      {"get|H|ifDescrr.1", "get: no object named 'ifDescrr'"},
      {"get|H|ifDescr.1x", "bad instance '.1x' after 'ifDescr'"},
      {"trap|H|-v|1|--agent-address|10.0.0", "bad --agent-address '10.0.0'"},
      {"trap|H|-v|1|--generic|linkSideways", "bad --generic 'linkSideways'"},
      {"get|H|O|--pcapng", "--pcapng needs FILE"},
      {"listen|-t|86401", "listen: bad time-out '86401' (1 to 86400) s"},
      {"listen|--count|0", "bad --count '0'"},
      {"listen|H", "listen: unexpected argument '127.0.0.1'"},
  };
  // A file that cannot be made is found out before anything goes, and the reason is said.
  testing_support::SmallFileSystem read_only(true);
  std::vector<std::pair<std::string, std::string>> files = {
      {"/nonexistent/f", "No such file or directory"}};
  if (read_only.Why().empty())
    files.emplace_back(read_only / "f", "Read-only file system");
  for (const auto& [path, reason] : files)
    for (const char* option : {"|--log|", "|--pcapng|"})
      cases.push_back({"walk|H"s + option + path, "unable to write " + path + ": " + reason, 4});
  Cli cli;
  for (const Case& c : cases) {
    std::vector<std::string> args;
    for (const std::string& a : sondara_test::Args(c.args)) {
      if (a == "H")
        args.insert(args.end(), {"127.0.0.1", "-p", std::to_string(agent.Port())});
      else if (!a.empty())
        args.push_back(a == "O" ? ".1.3.6.1.2.1.1.4.0" : a);
    }
    const ProcessResult r = cli.Run(args);
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
  FakeAgent agent = Silent();
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

// Read as the window reads them: stored 0 retries are 0, text is the default 3.
TEST(CliUsage, TimeOutAndRetriesComeFromTheSettingsUnlessGiven) {
  FakeAgent agent = Silent();
  Cli cli;
  std::size_t sent = 0;
  for (const auto& [retries, option, tries] :
       {std::tuple{"2", "", 3U}, {"2", "-r0", 1U}, {"0", "", 1U}, {"abc", "", 4U}}) {
    cli.WriteNetworkSettings("RequestTimeoutMS=150\nRetries=" + std::string(retries) + "\n");
    std::vector<std::string> get = {"get", "127.0.0.1", "-p", std::to_string(agent.Port()),
                                    ".1.3.6.1.2.1.1.5.0"};
    if (*option != '\0')
      get.push_back(option);
    EXPECT_EQ(cli.Run(get).status, 3);
    EXPECT_EQ(agent.Received().size(), sent += tries) << retries << option;
  }
}

// What a device sends can neither move the terminal's cursor nor turn text around, nor pass for
// other bytes: text escapes it, json gives an OCTET STRING's bytes beside its text (and no other
// type's), csv quotes it (the formulas a cell disarms are the results file's test).
TEST(CliUsage, DeviceTextIsEscapedOnTheTerminalAndItsBytesGivenInJson) {
  const Bytes binds = Cat(
      {VarBind(Hex("2b 06 01 02 01 01 04 00"),
               Tlv(0x04, Hex("6f 6b 0d 45 56 49 4c 09 5c e2 80 ae 78 e2 81 a6 0a 00"))),
       VarBind(Hex("2b 06 01 02 01 01 05 00"), Hex("04 04 de ad be ef")),
       VarBind(Hex("2b 06 01 02 01 01 06 00"), Str("de ad be ef")),
       VarBind(Hex("2b 06 01 02 01 01 02 00"), Tlv(0x06, Hex("2b 06 01 04 01 bf 08 03 02 0a")))});
  FakeAgent agent = Answering(binds);
  const auto get = [&](const char* format) {
    return Cli().Run({"get", "127.0.0.1", "-p", std::to_string(agent.Port()), ".1.3.6.1.2.1.1.4.0",
                      ".1.3.6.1.2.1.1.5.0", ".1.3.6.1.2.1.1.6.0", ".1.3.6.1.2.1.1.2.0", "--format",
                      format});
  };
  EXPECT_EQ(get("text").out,
            ".1.3.6.1.2.1.1.4.0 = Octet String: ok\\rEVIL\\t\\\\\\u202ex\\u2066\\n\\x00\n"
            ".1.3.6.1.2.1.1.5.0 = Octet String: de ad be ef\n"
            ".1.3.6.1.2.1.1.6.0 = Octet String: de ad be ef\n"
            ".1.3.6.1.2.1.1.2.0 = Object Identifier: .1.3.6.1.4.1.8072.3.2.10\n");
  EXPECT_EQ(get("json").out,
            "{\"oid\":\".1.3.6.1.2.1.1.4.0\",\"type\":\"Octet String\",\"value\":"
            "\"ok\\rEVIL\\t\\\\\u202ex\u2066\\n\\u0000\",\"hex\":"
            "\"6f 6b 0d 45 56 49 4c 09 5c e2 80 ae 78 e2 81 a6 0a 00\"}\n"
            "{\"oid\":\".1.3.6.1.2.1.1.5.0\",\"type\":\"Octet String\",\"value\":\"de ad be ef\","
            "\"hex\":\"de ad be ef\"}\n"
            "{\"oid\":\".1.3.6.1.2.1.1.6.0\",\"type\":\"Octet String\",\"value\":\"de ad be ef\","
            "\"hex\":\"64 65 20 61 64 20 62 65 20 65 66\"}\n"
            "{\"oid\":\".1.3.6.1.2.1.1.2.0\",\"type\":\"Object Identifier\",\"value\":\"."
            "1.3.6.1.4.1.8072.3.2.10\"}\n");
  EXPECT_EQ(get("csv").out,
            "OID,DataType,Value\n"
            ".1.3.6.1.2.1.1.4.0,Octet String,\"ok\rEVIL\t\\\u202ex\u2066\n\0\",\n"
            ".1.3.6.1.2.1.1.5.0,Octet String,\"de ad be ef\",\n"
            ".1.3.6.1.2.1.1.6.0,Octet String,\"de ad be ef\",\n"
            ".1.3.6.1.2.1.1.2.0,Object Identifier,\".1.3.6.1.4.1.8072.3.2.10\",\n"s);
}

// Ctrl+C wakes the wait however long its time-out (15 s, longer than the test waits for the
// process): a walk prints what it found, then the stopped line; the files replace the old ones.
TEST(CliUsage, CtrlCStopsTheWaitOfAWalkOrAGetAndTheirFilesAreWritten) {
  // Object n is .1.3.6.1.2.1.1.9.1.3.n = "object n"; from the fifth request on, silence.
  FakeAgent agent([](const FakeAgent::Datagram& d, int n) {
    const auto index = static_cast<std::uint8_t>(n + 1);
    if (index > 4)
      return std::vector<FakeAgent::Reply>{};
    const Bytes oid = Cat({Hex("2b 06 01 02 01 01 09 01 03"), Bytes{index}});
    return std::vector<FakeAgent::Reply>{
        {Response(1, "getcom", ReadRequestFields(d.bytes).id, 0, 0,
                  VarBind(oid, Str("object " + std::to_string(index))))}};
  });
  sondara_test::TempFolder dir;
  sondara_test::WriteFile(dir / "get.log", "old log");
  Cli cli;
  const auto stopped = [&](std::vector<std::string> args, std::size_t requests) {
    args.insert(args.begin() + 1, {"127.0.0.1", "-p", std::to_string(agent.Port()), "-t", "15000"});
    const auto run = cli.Start(args);
    WaitUntil([&] { return agent.Received().size() >= requests; }, std::chrono::seconds(10));
    run->Signal(SIGINT);
    const ProcessResult r = run->Wait(10000);
    EXPECT_EQ(r.status, 130) << r.out;
    EXPECT_EQ(agent.Received().size(), requests);  // no retry after the stop
    return r.out;
  };
  // Standard error is mixed in: the objects come before the line that ends the walk.
  std::string walked = "sondara-cli: walkMIB started.\n";
  for (int i = 1; i <= 4; ++i)
    walked += ".1.3.6.1.2.1.1.9.1.3." + std::to_string(i) + " = Octet String: object " +
              std::to_string(i) + "\n";
  EXPECT_EQ(stopped({"walk", ".1.3.6.1.2.1.1.9", "--pcapng", dir / "walk.pcapng"}, 5),
            walked + "sondara-cli: walkMIB stopped. No. of OIDs found: '4'.\n");
  EXPECT_NE(sondara_test::ReadFile(dir / "walk.pcapng").find("object 4"), std::string::npos);
  stopped({"get", "--log", dir / "get.log", ".1.3.6.1.2.1.1.4.0"}, 6);
  EXPECT_NE(sondara_test::ReadFile(dir / "get.log"), "old log");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 2);
}

// An agent error exits 1 (its line names the binding the index points at), silence 3, an answer
// that does not move a walk on 4.
TEST(CliUsage, AFailureSaysHowByItsStatus) {
  // The agent answers with the error status and sysDescr.0, unless silent.
  for (const auto& [command, error_status, silent, exit_status, line] :
       {std::tuple{"walk|.1.3.6.1.2.1.1", 5U, false, 1, "walkMIB failed. No. of OIDs found: '0'"},
        {"walk|.1.3.6.1.2.1.1", 0U, true, 3, "Timed out while waiting for response"},
        {"walk|.1.3.6.1.2.1.1", 0U, false, 4, "'.1.3.6.1.2.1.1.1.0'"},
        {"set|.1.3.6.1.2.1.1.1.0|Octet String|x", 17U, false, 1,
         "Set request failed for OID '.1.3.6.1.2.1.1.1.0'. Error Code:17"}}) {
    FakeAgent agent =
        silent ? Silent()
               : Answering(VarBind(Hex("2b 06 01 02 01 01 01 00"), Str("x")), error_status);
    std::vector<std::string> args = sondara_test::Args(command);
    args.insert(args.begin() + 1,
                {"127.0.0.1", "-p", std::to_string(agent.Port()), "-t", "200", "-r", "0"});
    const ProcessResult r = Cli().Run(args);
    EXPECT_EQ(r.status, exit_status) << r.err;
    EXPECT_NE(r.err.find(line), std::string::npos) << r.err;
  }
}

// A vendor module saved under another name is found by the module it declares, for typed names
// too; an import that is missing is named with file, line and cause.
TEST(CliUsage, MibFilesAreFoundByTheirModuleAndTheirFaultsNamed) {
  sondara_test::TempFolder dir;
  sondara_test::WriteFile(dir / "acme_v2.my", R"(ACME-SWITCH-MIB DEFINITIONS ::= BEGIN
IMPORTS OBJECT-TYPE, enterprises FROM SNMPv2-SMI
    frobRoot FROM FROB-MIB;
acmeSwitch OBJECT IDENTIFIER ::= { enterprises 59871 99 }
acmeFanState OBJECT-TYPE SYNTAX INTEGER { ok(1), failed(2) } MAX-ACCESS read-only
    STATUS current DESCRIPTION "The fan." ::= { acmeSwitch 1 }
lostThing OBJECT-TYPE SYNTAX INTEGER MAX-ACCESS read-only STATUS current DESCRIPTION "x"
    ::= { frobRoot 1 }
END
)");
  const Cli cli;
  const ProcessResult check = cli.Run({"mib", "check", dir / "acme_v2.my", "--mibdir", dir.Path()});
  EXPECT_EQ(check.status, 4);
  EXPECT_EQ(check.out, "ACME-SWITCH-MIB: 2 nodes from " + dir / "acme_v2.my" + "\n");
  EXPECT_EQ(check.err, "sondara-cli: mib: " + dir / "acme_v2.my" +
                           ":3: module 'FROB-MIB' not found; needed for frobRoot\n");
  const ProcessResult named =
      cli.Run({"mib", "translate", "acmeFanState.0", "--mibdir", dir.Path()});
  EXPECT_EQ(named.status, 0) << named.err;
  EXPECT_TRUE(
      named.out.starts_with("ACME-SWITCH-MIB::acmeFanState.0\n.1.3.6.1.4.1.59871.99.1.0\n"
                            "kind: scalar\nsyntax: INTEGER\nvalues: ok(1), failed(2)\n"))
      << named.out;
  EXPECT_EQ(cli.Run({"mib", "translate", "acmeFanState.0"}).status, 2);  // not without --mibdir
  // An option's name is read once every --mibdir is known, wherever it stands.
  const ProcessResult trap = cli.Run(
      {"trap", "127.0.0.1", "-p", "9", "--trap-oid", "acmeFanState", "--mibdir", dir.Path()});
  EXPECT_NE(trap.out.find("= Object Identifier: .1.3.6.1.4.1.59871.99.1\n"), std::string::npos)
      << trap.out << trap.err;
}

TEST(CliUsage, HelpDescribesEveryCommand) {
  Cli cli;
  const ProcessResult help = cli.Run({"--help"}), walk = cli.Run({"walk", "--help"});
  EXPECT_EQ(help.status + walk.status, 0);
  for (const char* synopsis : {"get HOST OID...", "getnext HOST OID...", "set HOST OID TYPE VALUE",
                               "walk HOST [OID]", "trap HOST", "ping HOST", "sweep START END"})
    EXPECT_NE(help.out.find(synopsis), std::string::npos) << synopsis;
  EXPECT_EQ(walk.out.rfind("Usage: sondara-cli walk HOST [OID] [--bulk N|auto] [--parallel N]", 0),
            0U)
      << walk.out;
  EXPECT_EQ(walk.out.find("--trap-oid"), std::string::npos);
}

}  // namespace
