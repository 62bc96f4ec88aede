// sondara-cli trap against a real net-snmp snmptrapd: the options and bindings as typed arrive.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "cli/cli_process.h"
#include "support/snmptrapd_process.h"

namespace {

using sondara_test::Cli;
using sondara_test::ProcessResult;

// Type names as typed (any case, several spellings), a hex value, Null's "-" and an empty last
// VALUE, as snmptrapd prints them; every type's encoding is the trap operation's to show.
const std::vector<std::string> kBindings = sondara_test::Args(
    ".1.3.6.1.4.1.59871.1.1|octet string|door 3 open|.1.3.6.1.4.1.59871.1.4|Object Identifier|"
    ".1.3.6.1.4.1.59871.2|.1.3.6.1.4.1.59871.1.5|Gauge32|0x4D|.1.3.6.1.4.1.59871.1.9|Null|-|"
    ".1.3.6.1.4.1.59871.1.11|Octet String|");
const std::vector<std::string> kArrived = {
    ".1.3.6.1.4.1.59871.1.1 = STRING: \"door 3 open\"",
    ".1.3.6.1.4.1.59871.1.4 = OID: .1.3.6.1.4.1.59871.2", ".1.3.6.1.4.1.59871.1.5 = Gauge32: 77",
    ".1.3.6.1.4.1.59871.1.9 = NULL", ".1.3.6.1.4.1.59871.1.11 = \"\""};

// One trap of each version (v3 as an authPriv user) and one with the most bindings a trap may
// carry, as snmptrapd reads them; one binding more is refused.
TEST(CliTrap, EachVersionArrivesWithEveryFieldAndBinding) {
  testing_support::SnmptrapdProcess manager, v3_manager;
  ASSERT_EQ(manager.Start(), "");
  // Writes only what the authPriv user of our engine sent: a v1 or v2c trap would not show.
  ASSERT_EQ(
      v3_manager.Start("createUser -e " + testing_support::OurEngineIdHex() +
                           " ops SHA-256 ops-password AES ops-privacy\nauthUser log ops priv\n",
                       false),
      "");
  const auto trap = [](std::vector<std::string> args, const testing_support::SnmptrapdProcess& to) {
    args.insert(args.begin(), {"trap", "127.0.0.1", "-p", std::to_string(to.Port())});
    return Cli().Run(args);
  };
  std::vector<std::string> most;
  for (int i = 1; i <= 63; ++i)
    most.insert(most.end(), {".1.3.6.1.4.1.59871.1." + std::to_string(i), "Integer32", "1"});
  const ProcessResult refused = trap(most, manager);  // 63 and the two fixed entries
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(refused.err,
            "sondara-cli: trap: too many bindings (at most 64, sysUpTime.0 and snmpTrapOID.0 "
            "included)\n");
  most.resize(3 * 62);
  std::vector<ProcessResult> runs;
  for (const auto& [options, to] :
       {std::pair<const char*, const testing_support::SnmptrapdProcess*>{
            "-v|1|-c|trapcom|--enterprise|.1.3.6.1.4.1.59871.7|--agent-address|10.20.30.40|"
            "--generic|linkUp|--specific|0",
            &manager},
        {"--trap-oid|.1.3.6.1.6.3.1.1.5.4|--format|json", &manager},
        {"-v|3|-u|ops|-l|authPriv|-a|SHA-256|-A|ops-password|-x|AES|-X|ops-privacy",
         &v3_manager}}) {
    std::vector<std::string> args = sondara_test::Args(options);
    args.insert(args.end(), kBindings.begin(), kBindings.end());
    runs.push_back(trap(args, *to));
  }
  runs.push_back(trap(most, manager));
  for (const ProcessResult& r : runs)
    ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(runs[0].err, "");
  // What was sent is printed as the get prints what it read.
  EXPECT_NE(runs[0].out.find(".1.3.6.1.4.1.59871.1.9 = Null: \n"), std::string::npos);

  std::vector<std::vector<std::string>> traps = manager.TrapFields(3);
  const std::vector<std::vector<std::string>> v3_trap = v3_manager.TrapFields(1);
  traps.insert(traps.begin() + std::min<std::ptrdiff_t>(2, std::ssize(traps)), v3_trap.begin(),
               v3_trap.end());
  ASSERT_EQ(traps.size(), 4U);
  for (std::vector<std::string>& f : traps)
    ASSERT_GE(f.size(), 6U);
  EXPECT_LT(std::stoul(traps[0][4]), 6000UL);  // counts from the start of the run
  traps[0].erase(traps[0].begin() + 4);
  const auto arrived = [](std::vector<std::string> fields) {
    fields.insert(fields.end(), kArrived.begin(), kArrived.end());
    return fields;
  };
  EXPECT_EQ(traps[0], arrived({".1.3.6.1.4.1.59871.7", "10.20.30.40", "3", "0"}));
  // v2c: sysUpTime.0 and snmpTrapOID.0 first; the printed sysUpTime.0 is the one that went.
  const std::string sent = traps[1][5];
  EXPECT_EQ(sent.rfind(".1.3.6.1.2.1.1.3.0 = Timeticks: (", 0), 0U) << sent;
  const std::string ticks = sent.substr(sent.find('(') + 1, sent.find(')') - sent.find('(') - 1);
  EXPECT_TRUE(runs[1].out.starts_with(
      "{\"oid\":\".1.3.6.1.2.1.1.3.0\",\"type\":\"Timeticks\",\"value\":\"" + ticks +
      "\"}\n{\"oid\":\".1.3.6.1.6.3.1.1.4.1.0\""))
      << runs[1].out;
  // v3: the v2c notification, read by the user of our engine.
  for (const auto& [i, trap_oid] : {std::pair{1, ".1.3.6.1.6.3.1.1.5.4"}, {2, ".1.3.6.1"}}) {
    traps[i].erase(traps[i].begin() + 5);
    EXPECT_EQ(traps[i], arrived({".", "0.0.0.0", "0", "0", "0",
                                 ".1.3.6.1.6.3.1.1.4.1.0 = OID: " + std::string(trap_oid)}));
  }
  ASSERT_EQ(traps[3].size(), 5U + 64U);  // five fields, then the two fixed entries and 62 more
  EXPECT_EQ(traps[3].back(), ".1.3.6.1.4.1.59871.1.62 = INTEGER: 1");
}

}  // namespace
