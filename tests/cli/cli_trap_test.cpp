// sondara-cli trap against a real net-snmp snmptrapd: the options and bindings as typed arrive
// (each binding type's encoding in v1 and v2c traps is the trap operation's test).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/cli_process.h"
#include "support/snmptrapd_process.h"

namespace {

using sondara_test::Cli;
using sondara_test::ProcessResult;

// Type names as typed (any case, several spellings), a hex value, Null's "-" and an empty last
// VALUE, as snmptrapd prints them.
const std::vector<std::string> kBindings = sondara_test::Args(
    ".1.3.6.1.4.1.59871.1.1|octet string|door 3 open|.1.3.6.1.4.1.59871.1.4|Object Identifier|"
    ".1.3.6.1.4.1.59871.2|.1.3.6.1.4.1.59871.1.5|Gauge32|0x4D|.1.3.6.1.4.1.59871.1.9|Null|-|"
    ".1.3.6.1.4.1.59871.1.11|Octet String|");
const std::vector<std::string> kArrived = {
    ".1.3.6.1.4.1.59871.1.1 = STRING: \"door 3 open\"",
    ".1.3.6.1.4.1.59871.1.4 = OID: .1.3.6.1.4.1.59871.2", ".1.3.6.1.4.1.59871.1.5 = Gauge32: 77",
    ".1.3.6.1.4.1.59871.1.9 = NULL", ".1.3.6.1.4.1.59871.1.11 = \"\""};

// A v1 trap's own fields from the options, a v2c trap's --trap-oid and printed time, the typed
// bindings in a v3 trap (an authPriv user), and the most bindings a trap may carry; one more
// is refused.
TEST(CliTrap, OptionsAndBindingsArriveAsTyped) {
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
  std::vector<std::string> v3 = sondara_test::Args(
      "-v|3|-u|ops|-l|authPriv|-a|SHA-256|-A|ops-password|-x|AES|-X|ops-privacy");
  v3.insert(v3.end(), kBindings.begin(), kBindings.end());
  const std::vector<ProcessResult> runs = {
      trap(sondara_test::Args("-v|1|-c|trapcom|--enterprise|.1.3.6.1.4.1.59871.7|"
                              "--agent-address|10.20.30.40|--generic|linkUp|--specific|0"),
           manager),
      trap(sondara_test::Args("--trap-oid|.1.3.6.1.6.3.1.1.5.4|--format|json"), manager),
      trap(most, manager), trap(v3, v3_manager)};
  for (const ProcessResult& r : runs)
    ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(runs[3].err, "");
  // What was sent is printed as the get prints what it read.
  EXPECT_NE(runs[3].out.find(".1.3.6.1.4.1.59871.1.9 = Null: \n"), std::string::npos);

  std::vector<std::vector<std::string>> traps = manager.TrapFields(3);
  ASSERT_EQ(traps.size(), 3U);
  ASSERT_EQ(traps[0].size(), 5U);
  EXPECT_LT(std::stoul(traps[0][4]), 6000UL);  // counts from the start of the run
  traps[0].pop_back();
  EXPECT_EQ(traps[0], (std::vector<std::string>{".1.3.6.1.4.1.59871.7", "10.20.30.40", "3", "0"}));
  // v2c: sysUpTime.0 and snmpTrapOID.0 first; the printed sysUpTime.0 is the one that went.
  ASSERT_EQ(traps[1].size(), 7U);
  const std::string sent = traps[1][5];
  EXPECT_EQ(sent.rfind(".1.3.6.1.2.1.1.3.0 = Timeticks: (", 0), 0U) << sent;
  const std::string ticks = sent.substr(sent.find('(') + 1, sent.find(')') - sent.find('(') - 1);
  EXPECT_TRUE(runs[1].out.starts_with(
      "{\"oid\":\".1.3.6.1.2.1.1.3.0\",\"type\":\"Timeticks\",\"value\":\"" + ticks +
      "\"}\n{\"oid\":\".1.3.6.1.6.3.1.1.4.1.0\""))
      << runs[1].out;
  EXPECT_EQ(traps[1][6], ".1.3.6.1.6.3.1.1.4.1.0 = OID: .1.3.6.1.6.3.1.1.5.4");
  ASSERT_EQ(traps[2].size(), 5U + 64U);  // five fields, then the two fixed entries and 62 more
  EXPECT_EQ(traps[2].back(), ".1.3.6.1.4.1.59871.1.62 = INTEGER: 1");
  // v3: the v2c notification, read by the user of our engine.
  std::vector<std::vector<std::string>> v3_traps = v3_manager.TrapFields(1);
  ASSERT_EQ(v3_traps.size(), 1U);
  ASSERT_GE(v3_traps[0].size(), 6U);
  v3_traps[0].erase(v3_traps[0].begin() + 5);
  std::vector<std::string> expected = {".", "0.0.0.0", "0",
                                       "0", "0",       ".1.3.6.1.6.3.1.1.4.1.0 = OID: .1.3.6.1"};
  expected.insert(expected.end(), kArrived.begin(), kArrived.end());
  EXPECT_EQ(v3_traps[0], expected);
}

}  // namespace
