// sondara-cli against a real net-snmp agent, checked against net-snmp's own tools: what each
// command's arguments ask for, how it prints it and its exit status (whole walks against
// snmpwalk are the walk operation's test).
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include "cli/cli_process.h"
#include "support/snmpd_process.h"
#include "support/snmpsim_process.h"
#include "support/temp_folder.h"
#include "support/tshark.h"

namespace {

using sondara_test::Cli;
using sondara_test::Lines;
using sondara_test::ProcessResult;
using namespace std::string_literals;

// net-snmp's -On lines in our text format ("OID = TypeName: value"): its type names turned
// into ours, strings unquoted and time ticks as their hundredths.
std::string AsOurs(const std::string& net_snmp) {
  static const std::map<std::string, std::string> kTypes = {
      {"STRING", "Octet String"}, {"INTEGER", "Integer32"},   {"OID", "Object Identifier"},
      {"Timeticks", "Timeticks"}, {"Counter32", "Counter32"}, {"Counter64", "Counter64"},
      {"Gauge32", "Gauge32"},     {"IpAddress", "IPAddress"}};
  std::string out;
  const std::regex line_re(R"(^(\.[0-9.]+) = ([A-Za-z0-9]+): (.*)$)");
  for (std::string line : Lines(net_snmp)) {
    std::smatch m;
    if (line.size() > 5 && line.ends_with(" = \"\""))
      line.insert(line.size() - 2, "STRING: ");  // net-snmp names no type for an empty string
    if (!std::regex_match(line, m, line_re) || !kTypes.count(m[2])) {
      ADD_FAILURE() << "net-snmp printed: " << line;
      continue;
    }
    std::string value = m[3];
    if (m[2] == "STRING" && value.size() >= 2) {
      value = value.substr(1, value.size() - 2);
      for (std::size_t at = 0; (at = value.find("\\\"", at)) != std::string::npos; ++at)
        value.erase(at, 1);  // net-snmp writes a quote inside the string as \"
    }
    if (m[2] == "Timeticks")
      value = value.substr(1, value.find(')') - 1);
    out += m[1].str() + " = " + kTypes.at(m[2]) + ": " + value + "\n";
  }
  return out;
}

// tshark's reading of a capture: per packet, the fields asked for ("-e snmp.data ...") with "|"
// between them.
std::vector<std::string> Tshark(const std::string& capture, const std::string& port,
                                const std::string& fields) {
  return sondara_test::TsharkLines(
      capture, "-d udp.port==" + port + ",snmp -T fields -E separator='|' " + fields);
}

class CliAgainstSnmpd : public testing::Test {
 protected:
  void SetUp() override {
    const std::string error = snmpd_.Start(ExtraConf());
    // CI installs snmpd; a missing one there must fail, not skip.
    ASSERT_TRUE(error.empty()) << error;
    port_ = std::to_string(snmpd_.Port());
  }

  virtual std::string ExtraConf() { return ""; }

  ProcessResult Ours(const std::string& command, std::vector<std::string> args) {
    args.insert(args.begin(), {command, "127.0.0.1", "-p", port_});
    return cli_.Run(args);
  }
  // A net-snmp tool's -On lines, without the line that says a walk's view ended, which our walk
  // does not print; `options` give version and community or user.
  std::string NetSnmp(const std::string& tool, const std::vector<std::string>& oids,
                      const std::vector<std::string>& options = {"-v", "2c", "-c", "getcom"}) {
    std::vector<std::string> argv{"/usr/bin/" + tool, "-On"};
    argv.insert(argv.end(), options.begin(), options.end());
    argv.push_back("127.0.0.1:" + port_);
    argv.insert(argv.end(), oids.begin(), oids.end());
    const ProcessResult r = sondara_test::RunningProcess(argv).Wait();
    EXPECT_EQ(r.status, 0) << r.err;
    if (const std::size_t end = r.out.find(" = No more variables"); end != std::string::npos)
      return r.out.substr(0, r.out.rfind('\n', end) + 1);
    return r.out;
  }

  testing_support::SnmpdProcess snmpd_;
  std::string port_;
  Cli cli_;
};

// The objects after prefixes, one of each type, in one request, in both versions (Get's lines
// against snmpget are the exact-values test's).
TEST_F(CliAgainstSnmpd, GetNextGivesWhatNetSnmpReads) {
  // Octet String, Object Identifier, Timeticks, Integer32, IPAddress and Counter32.
  const std::vector<std::string> prefixes = {".1.3.6.1.2.1.1.1",      ".1.3.6.1.2.1.1.2",
                                             ".1.3.6.1.2.1.1.8",      ".1.3.6.1.2.1.2.1",
                                             ".1.3.6.1.2.1.4.20.1.1", ".1.3.6.1.2.1.11.3"};
  for (const std::string version : {"1", "2c"}) {
    std::vector<std::string> args = prefixes;
    args.insert(args.end(), {"-v", version});
    const ProcessResult next = Ours("getnext", args);
    ASSERT_EQ(next.status, 0) << next.err;
    EXPECT_EQ(next.out, AsOurs(NetSnmp("snmpgetnext", prefixes, {"-v", version, "-c", "getcom"})))
        << version;
  }
}

// Names as an independent resolver (pysnmp's MibViewController over the same Debian modules)
// gives them, for every object of the agent, enumerations labelled; names typed are taken.
TEST_F(CliAgainstSnmpd, NamesAreThoseOfPysnmpAndNamesAreTaken) {
  cli_.names = true;
  cli_.env = {"SONDARA_MIB_FOLDERS="};  // the modules built in only, as pysnmp has them
  const ProcessResult get = Ours("get", {"sysUpTime.0", "IF-MIB::ifDescr.1"});
  ASSERT_EQ(get.status, 0) << get.err;
  EXPECT_TRUE(std::regex_match(get.out, std::regex("SNMPv2-MIB::sysUpTime.0 = Timeticks: [0-9]+\n"
                                                   "IF-MIB::ifDescr.1 = Octet String: lo\n")))
      << get.out;
  // A walk shorter than reading the names (a thousand modules) waits for them: every object
  // once, in order.
  sondara_test::TempFolder modules;
  for (int i = 0; i < 1000; ++i) {
    const std::string n = std::to_string(i), module = "M" + n + "-MIB DEFINITIONS ::= BEGIN\n";
    sondara_test::WriteFile(modules / ("M" + n), module +
                                                     "IMPORTS enterprises FROM SNMPv2-SMI;\nm" + n +
                                                     " OBJECT IDENTIFIER ::= { enterprises " +
                                                     std::to_string(90000 + i) + " }\nEND\n");
  }
  const auto oids = [&](bool names) {
    cli_.names = names;
    std::vector<std::string> out;
    for (const std::string& line : Lines(
             Ours("walk", {".1.3.6.1.6.3.16.1.5.2", "--format", "json", "--mibdir", modules / "."})
                 .out))
      out.push_back(line.substr(0, line.find("\",")));
    cli_.names = true;
    return out;
  };
  const std::vector<std::string> named = oids(true);
  EXPECT_GT(named.size(), 3U);
  EXPECT_EQ(named, oids(false));

  const ProcessResult walk = Ours("walk", {"--format", "json", "--bulk", "50"});
  ASSERT_EQ(walk.status, 0) << walk.err;
  const std::regex row_re(
      R"re(\{"oid":"([.0-9]+)","name":"([^"]*)","type":"([^"]*)","value":"((?:[^"\\]|\\.)*)")re"
      R"re((?:,"hex":"([0-9a-f ]*)")?\})re");
  const std::regex enum_re(R"((.*)\((-?[0-9]+)\))");
  sondara_test::TempFolder folder;
  std::string asked;
  std::vector<std::string> names, values, numbers;
  for (const std::string& line : Lines(walk.out)) {
    std::smatch m, e;
    ASSERT_TRUE(std::regex_match(line, m, row_re)) << line;
    const std::string value = m[4];
    const bool labelled = m[3] == "Integer32" && std::regex_match(value, e, enum_re);
    std::string hex = m[5];
    std::erase(hex, ' ');
    numbers.push_back(labelled              ? e[2].str()
                      : m[3] == "Integer32" ? value
                      : m[5].matched        ? "x" + hex
                                            : "-");
    asked += m[1].str() + " " + numbers.back() + "\n";
    names.push_back(m[2]);
    values.push_back(labelled || m[5].matched ? value : "");
  }
  ASSERT_GT(names.size(), 1000U);
  sondara_test::WriteFile(folder / "oids", asked);
  const ProcessResult pysnmp =
      sondara_test::RunningProcess(
          {"/usr/bin/python3", SONDARA_TEST_DATA_DIR "/cli/mib_names.py", folder / "oids"})
          .Wait(300000);  // pysnmp loads every module: about 20 s on a quiet machine
  ASSERT_EQ(pysnmp.status, 0) << pysnmp.err;
  const std::vector<std::string> expected = Lines(pysnmp.out);
  ASSERT_EQ(expected.size(), names.size());
  int labels = 0, hinted = 0;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::size_t tab = expected[i].find('\t');
    EXPECT_EQ(names[i], expected[i].substr(0, tab));
    const std::string label = expected[i].substr(tab + 1);
    if (!numbers[i].starts_with('x')) {
      EXPECT_EQ(values[i], label.empty() ? "" : label + "(" + numbers[i] + ")") << names[i];
    } else if (!label.empty()) {  // a string its DISPLAY-HINT renders
      EXPECT_EQ(values[i], label) << names[i];
      ++hinted;
    }
    labels += !label.empty();
  }
  EXPECT_GT(hinted, 10);
  EXPECT_GT(labels, 20);
}

// The files of a long walk and --bulk; on a terminal, a progress line that never reaches the
// results (CSV and JSON lines are the escape test's).
TEST_F(CliAgainstSnmpd, WalkWithAndWithoutGetBulkLogsAndCapturesEveryMessage) {
  sondara_test::TempFolder folder;
  const std::string log = folder / "walk.log", capture = folder / "walk.pcapng";
  const ProcessResult walk =
      Ours("walk", {".1.3.6.1.2.1.1", "-t", "5000", "--log", log, "--pcapng", capture});
  ASSERT_EQ(walk.status, 0) << walk.err;
  const std::size_t found = Lines(walk.out).size();
  ASSERT_GT(found, 1000U);
  EXPECT_EQ(walk.err,
            "sondara-cli: walkMIB started.\nsondara-cli: walkMIB complete. No. of OIDs found: '" +
                std::to_string(found) + "'.\n");
  // One request more than objects (the last answers endOfMibView), each with its answer, all
  // in the files, far beyond the window's 1024 rows.
  const std::string logged = sondara_test::ReadFile(log), row = "[\0w\0a\0l\0k\0M\0I\0B\0]\0"s;
  std::size_t rows = 0;
  for (std::size_t at = 0; (at = logged.find(row, at)) != std::string::npos; ++at)
    ++rows;
  EXPECT_EQ(rows, 2 * (found + 1));
  const auto packets = Tshark(capture, port_, "-e snmp.data");
  ASSERT_EQ(packets.size(), 2 * (found + 1));
  for (std::size_t i = 0; i < packets.size(); ++i)
    EXPECT_EQ(packets[i], i % 2 == 0 ? "1" : "2") << "packet " << i;

  // --bulk N: GetBulk requests of N repetitions, each answered with several objects.
  const std::string bulk_capture = folder / "bulk.pcapng";
  const ProcessResult bulk =
      Ours("walk", {".1.3.6.1.2.1.1", "--bulk", "25", "-t", "5000", "--pcapng", bulk_capture});
  ASSERT_EQ(bulk.status, 0) << bulk.err;
  ASSERT_EQ(Lines(bulk.out).size(), found);  // the objects are the walk operation's test
  const auto bulk_packets = Tshark(bulk_capture, port_, "-e snmp.data -e snmp.max_repetitions");
  EXPECT_LT(bulk_packets.size(), found / 5);
  for (std::size_t i = 0; i < bulk_packets.size(); i += 2)
    EXPECT_EQ(bulk_packets[i], "5|25") << "packet " << i;

  // Standard error on a terminal (script's): the progress line, written over in place, is
  // cleared before the closing line, whose count is this walk's own.
  const std::string results = folder / "tty.out";
  const ProcessResult tty =
      sondara_test::RunningProcess({"/usr/bin/script", "-qec",
                                    std::string(SONDARA_CLI) + " walk 127.0.0.1 -p " + port_ +
                                        " .1.3.6.1.2.1.1 -t 5000 >" + results,
                                    "/dev/null"},
                                   {"HOME=" + folder.Path(), "XDG_CONFIG_HOME=" + folder.Path(),
                                    "SONDARA_HOME=" + folder.Path()})
          .Wait();
  ASSERT_EQ(tty.status, 0) << tty.out;
  // How many objects the first tick saw depends on the machine's load.
  EXPECT_TRUE(std::regex_search(
      tty.out,
      std::regex("^sondara-cli: walkMIB started\\.\r\n\rwalkMIB: [0-9]+ objects? found, ")))
      << tty.out;
  const std::string written = sondara_test::ReadFile(results);
  EXPECT_TRUE(tty.out.ends_with("\r\x1b[Ksondara-cli: walkMIB complete. No. of OIDs found: '" +
                                std::to_string(Lines(written).size()) + "'.\r\n"));
  EXPECT_EQ(written.find('\r'), std::string::npos);
}

// SNMPv3 users of every level and the usual protocols; SHA with AES-256 stretches its key
// (net-snmp 5.9 the Blumenthal way), SHA-512 has enough key for it.
class CliV3 : public CliAgainstSnmpd {
 protected:
  std::string ExtraConf() override {
    return "createUser plain\n"
           "createUser md5des MD5 md5-password DES des-privacy\n"
           "createUser shaaes SHA sha-password AES aes-privacy\n"
           "createUser sha256aes SHA-256 sha256-password AES aes128-privacy\n"
           "createUser sha512aes256 SHA-512 sha512-password AES-256 aes256-privacy\n"
           "createUser shaaes256 SHA sha-password AES-256 aes256-privacy\n"
           "rouser plain noauth\nrouser md5des priv\nrouser shaaes priv\n"
           "rouser sha256aes priv\nrouser sha512aes256 priv\nrwuser shaaes256 auth\n";
  }
};

TEST_F(CliV3, EveryUserReadsWhatNetSnmpReads) {
  using sondara_test::Args;
  const std::vector<std::vector<std::string>> users = {
      Args("-v|3|-u|plain"),
      Args("-v|3|-u|md5des|-l|authPriv|-a|MD5|-A|md5-password|-x|DES|-X|des-privacy"),
      Args("-v|3|-u|shaaes|-l|authPriv|-a|SHA|-A|sha-password|-x|AES|-X|aes-privacy"),
      Args("-v|3|-u|sha256aes|-l|authPriv|-a|SHA-256|-A|sha256-password|-x|AES|-X|aes128-privacy"),
      Args("-v|3|-u|sha512aes256|-l|authPriv|-a|SHA-512|-A|sha512-password|-x|AES-256|-X|"
           "aes256-privacy"),
      Args("-v|3|-u|shaaes256|-l|authPriv|-a|SHA|-A|sha-password|-x|AES-256|-X|aes256-privacy"),
  };
  // The walk starts near the end of the agent's view, so it ends where snmpwalk's does.
  const std::string tail = ".1.3.6.1.6.3.16.1.5";
  sondara_test::TempFolder folder;
  for (const std::vector<std::string>& user : users) {
    std::vector<std::string> args = {".1.3.6.1.2.1.1.1.0", ".1.3.6.1.2.1.1.2.0"};
    args.insert(args.end(), user.begin(), user.end());
    const ProcessResult get = Ours("get", args);
    EXPECT_EQ(get.status, 0) << get.err;
    EXPECT_EQ(get.out, AsOurs(NetSnmp("snmpget", {args[0], args[1]}, user))) << user[3];
    const std::string walked = AsOurs(NetSnmp("snmpwalk", {tail}, user));
    ASSERT_GT(Lines(walked).size(), 3U);
    const std::string capture = folder / "v3.pcapng";
    args = {tail, "--bulk", "auto", "--parallel", "4", "--pcapng", capture};
    args.insert(args.end(), user.begin(), user.end());
    const ProcessResult walk = Ours("walk", args);
    EXPECT_EQ(walk.status, 0) << walk.err;
    EXPECT_EQ(walk.out, walked) << user[3];
    // One discovery (no engine ID) for all four requests in flight.
    const auto engines = Tshark(capture, port_, "-e snmp.msgAuthoritativeEngineID");
    EXPECT_EQ(std::ranges::count(engines, "<MISSING>"), 1) << user[3];
  }
  // A set as the read-write user at authNoPriv, read back.
  const ProcessResult set =
      Ours("set", {".1.3.6.1.2.1.1.4.0", "Octet String", "v3 contact", "-v", "3", "-u", "shaaes256",
                   "-l", "authNoPriv", "-a", "SHA", "-A", "sha-password"});
  EXPECT_EQ(set.status, 0) << set.err;
  EXPECT_EQ(NetSnmp("snmpget", {".1.3.6.1.2.1.1.4.0"}, users[0]),
            ".1.3.6.1.2.1.1.4.0 = STRING: \"v3 contact\"\n");
}

// Each way of being refused says which in its own words; silence says what likely caused it.
TEST_F(CliV3, EachRefusalSaysWhy) {
  struct Case {
    std::string user;  // -u USER and what follows
    std::string reason;
    int status = 1;
  };
  const std::string auth_failed =
      "Authentication failed: check the authentication password and protocol";
  const std::string no_answer =
      "Timed out while waiting for response from remote host (a wrong privacy password or "
      "protocol is a likely cause: some agents do not answer what they cannot decrypt)";
  const std::vector<Case> cases = {
      {"nobody", "The agent does not know the user 'nobody'"},
      {"shaaes|-l|authNoPriv|-a|SHA|-A|not-the-password", auth_failed},
      {"shaaes|-l|authNoPriv|-a|MD5|-A|sha-password", auth_failed},
      {"plain|-l|authNoPriv|-a|SHA|-A|sha-password",
       "The agent does not accept security level 'authNoPriv' for user 'plain'"},
      {"shaaes|-l|authPriv|-a|SHA|-A|sha-password|-x|AES|-X|not-the-privacy", no_answer, 3},
      // net-snmp stretches the Blumenthal way: the Reeder way alone is not understood.
      {"shaaes256|-l|authPriv|-a|SHA|-A|sha-password|-x|AES-256|-X|aes256-privacy|"
       "--key-extension|reeder",
       no_answer, 3},
  };
  for (const Case& c : cases) {
    const ProcessResult r =
        Ours("get", sondara_test::Args(".1.3.6.1.2.1.1.1.0|-v|3|-t|300|-r|0|-u|" + c.user));
    EXPECT_EQ(r.status, c.status) << c.reason;
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(
        r.err.starts_with("sondara-cli: Get request failed for OID '.1.3.6.1.2.1.1.1.0'. "
                          "Reason: '" +
                          c.reason))
        << r.err;
  }
}

// snmpsim's AES-256 stretches its key the Reeder way, as many switches do; net-snmp's the other.
TEST(CliV3Reeder, AutomaticKeyExtensionFindsTheReederWayAndSaysSo) {
  testing_support::SnmpsimProcess agent;
  const std::string error = agent.Start(
      "1.3.6.1.2.1.1.1.0|4|Reeder switch\n1.3.6.1.2.1.1.3.0|67|4200\n1.3.6.1.2.1.1.5.0|4|core-1\n",
      {"--v3-user=ops", "--v3-auth-proto=SHA", "--v3-auth-key=maplesyrup", "--v3-priv-proto=AES256",
       "--v3-priv-key=privsyrup"});
  ASSERT_TRUE(error.empty()) << error;  // CI installs snmpsim: a missing one fails
  const std::vector<std::string> user = sondara_test::Args(
      "-v|3|-u|ops|-l|authPriv|-a|SHA|-A|maplesyrup|-x|AES-256|-X|privsyrup|-t|2000|-r|0|-p|" +
      std::to_string(agent.Port()) + "|-n|" + testing_support::kSnmpsimContext);
  const auto run = [&](const std::string& command, const std::string& oid,
                       const std::string& extension) {
    std::vector<std::string> args = user;
    args.insert(args.begin(), {command, "127.0.0.1", oid, "--key-extension", extension});
    return Cli().Run(args);
  };
  const std::string note =
      "sondara-cli: The agent accepted AES-256 keys stretched the Reeder way.\n";
  const ProcessResult automatic = run("get", ".1.3.6.1.2.1.1.1.0", "auto");
  EXPECT_EQ(automatic.status, 0) << automatic.err;
  EXPECT_EQ(automatic.out, ".1.3.6.1.2.1.1.1.0 = Octet String: Reeder switch\n");
  EXPECT_EQ(automatic.err, note);
  const ProcessResult reeder = run("get", ".1.3.6.1.2.1.1.5.0", "reeder");
  EXPECT_EQ(reeder.status, 0) << reeder.err;
  EXPECT_EQ(reeder.out, ".1.3.6.1.2.1.1.5.0 = Octet String: core-1\n");
  EXPECT_EQ(reeder.err, "");
  EXPECT_EQ(run("get", ".1.3.6.1.2.1.1.1.0", "blumenthal").status, 3);
  // A walk finds it once and keeps it.
  const ProcessResult walk = run("walk", ".1.3.6.1.2.1.1", "auto");
  EXPECT_EQ(walk.status, 0) << walk.err;
  EXPECT_EQ(walk.out,
            ".1.3.6.1.2.1.1.1.0 = Octet String: Reeder switch\n"
            ".1.3.6.1.2.1.1.3.0 = Timeticks: 4200\n"
            ".1.3.6.1.2.1.1.5.0 = Octet String: core-1\n");
  EXPECT_TRUE(walk.err.starts_with("sondara-cli: walkMIB started.\n" + note +
                                   "sondara-cli: walkMIB complete."))
      << walk.err;
}

// Objects under .1.3.6.1.4.1.59871.9 served by a pass script from one file each (type line,
// value line), so they hold what a set wrote: values snmpd's own MIB has none of.
class CliExactValues : public CliAgainstSnmpd {
 protected:
  std::string ExtraConf() override {
    const std::string script = values_ / "pass.sh";
    sondara_test::WriteFile(script, "f=\"" + values_.Path() +
                                        "/$(echo \"$2\" | tr . _)\"\n"
                                        "case \"$1\" in\n"
                                        "  -g) [ -f \"$f\" ] && { echo \"$2\"; cat \"$f\"; } ;;\n"
                                        "  -s) printf '%s\\n%s\\n' \"$3\" \"$4\" > \"$f\" ;;\n"
                                        "esac\nexit 0\n");
    for (const auto& [oid, type, value] : {std::tuple{kCounter, "counter64", "37505809994"},
                                           {kWideArc, "objectid", ".1.3.6.1.4.1.4294967295.7"},
                                           {kArc2999, "objectid", ".2.999.3"},
                                           {kEmpty, "string", "x"}}) {
      std::string file = oid;
      std::replace(file.begin(), file.end(), '.', '_');
      sondara_test::WriteFile(values_ / file, std::string(type) + "\n" + value + "\n");
    }
    return "pass .1.3.6.1.4.1.59871.9 /bin/sh " + script + "\n";
  }

  static constexpr char kCounter[] = ".1.3.6.1.4.1.59871.9.1.0";
  static constexpr char kWideArc[] = ".1.3.6.1.4.1.59871.9.2.0";
  static constexpr char kArc2999[] = ".1.3.6.1.4.1.59871.9.3.0";
  static constexpr char kEmpty[] = ".1.3.6.1.4.1.59871.9.4.0";
  sondara_test::TempFolder values_;
};

TEST_F(CliExactValues, WideValuesReadAsSnmpgetReadsThemAndSetValuesOfOneRequestReadBack) {
  const ProcessResult get = Ours("get", {kCounter, kWideArc, kArc2999});
  ASSERT_EQ(get.status, 0) << get.err;
  EXPECT_EQ(get.out, AsOurs(NetSnmp("snmpget", {kCounter, kWideArc, kArc2999})));

  // What we set, snmpget reads back; an empty string too. snmpd hands a pass script no text
  // for a Counter64 that is set, so tshark reads that one, in the request and in the answer.
  const std::string set_capture = values_ / "set.pcapng";
  const std::string printed = std::string(kWideArc) +
                              " = Object Identifier: .1.3.4294967295.4294967295\n" + kArc2999 +
                              " = Object Identifier: .2.999.5\n" + kEmpty + " = Octet String: \n";
  const ProcessResult set = Ours(
      "set", {"-c", "setcomm", "--pcapng", set_capture, kCounter, "Counter64",
              "18446744073709551615", kWideArc, "Object Identifier", ".1.3.4294967295.4294967295",
              kArc2999, "Object Identifier", ".2.999.5", kEmpty, "Octet String", ""});
  ASSERT_EQ(set.status, 0) << set.err;
  EXPECT_EQ(set.out, std::string(kCounter) + " = Counter64: 18446744073709551615\n" + printed);
  EXPECT_EQ(AsOurs(NetSnmp("snmpget", {kWideArc, kArc2999, kEmpty})), printed);
  EXPECT_EQ(Tshark(set_capture, port_, "-e snmp.value.counter"),
            std::vector<std::string>(2, "18446744073709551615"));
}

}  // namespace
