// Names and values by the built-in table: OIDs to names and back, module precedence, and
// values by DISPLAY-HINT and enumeration against hand-written bytes (RFC 2579's examples).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "mib/mib_set.h"
#include "mib/mib_value.h"
#include "snmp/integer32.h"
#include "snmp/octet_string.h"
#include "snmp/unsigned32.h"
#include "support/temp_folder.h"

namespace {

const mib::CMibSet& Table() {
  static mib::CMibSet* table = [] {
    auto* set = new mib::CMibSet;
    EXPECT_TRUE(set->LoadTable(SONDARA_MIB_TABLE_DIR));
    return set;
  }();
  return *table;
}

TEST(MibSet, NamesAndNumbersBothWays) {
  struct Case {
    std::string typed, numbers, shown;
  };
  for (const Case& c : std::vector<Case>{
           {"sysDescr.0", "1.3.6.1.2.1.1.1.0", "SNMPv2-MIB::sysDescr.0"},
           // IF-MIB wins over RFC1213-MIB, which defines the same objects.
           {"ifDescr.1", "1.3.6.1.2.1.2.2.1.2.1", "IF-MIB::ifDescr.1"},
           {"IF-MIB::ifDescr.12", "1.3.6.1.2.1.2.2.1.2.12", "IF-MIB::ifDescr.12"},
           {"ipAdEntAddr.127.0.0.1", "1.3.6.1.2.1.4.20.1.1.127.0.0.1",
            "IP-MIB::ipAdEntAddr.127.0.0.1"},
           {"ifOperStatus", "1.3.6.1.2.1.2.2.1.8", "IF-MIB::ifOperStatus"},
           {".1.3.6.1.4.1.99999.7", "1.3.6.1.4.1.99999.7", "SNMPv2-SMI::enterprises.99999.7"},
       }) {
    mib::Arcs arcs;
    std::string error;
    ASSERT_TRUE(Table().ToOid(c.typed, arcs, error)) << c.typed << ": " << error;
    std::string numbers;
    for (std::uint32_t arc : arcs)
      numbers.append(numbers.empty() ? "" : ".").append(std::to_string(arc));
    EXPECT_EQ(numbers, c.numbers) << c.typed;
    EXPECT_EQ(Table().NameOf(arcs), c.shown) << c.typed;
  }
  EXPECT_EQ(Table().Find("", "ifXEntry")->augments, "ifEntry");  // pysnmp keeps it on ifEntry
  for (const auto& [typed, why] : std::vector<std::pair<std::string, std::string>>{
           {"ifDescrr.1", "no object named 'ifDescrr'"},
           {"NO-MIB::ifDescr", "no object named 'NO-MIB::ifDescr'"},
           {"ifDescr.1.x", "bad instance '.1.x' after 'ifDescr' (digits and dots)"}}) {
    mib::Arcs arcs;
    std::string error;
    EXPECT_FALSE(Table().ToOid(typed, arcs, error));
    EXPECT_EQ(error, why);
  }
}

// The index is checked against the table first: a damaged or stale one gives no names, no crash.
TEST(MibTable, ADamagedIndexGivesNoTable) {
  const std::string built = SONDARA_MIB_TABLE_DIR;
  const std::string tab = sondara_test::ReadFile(built + "builtin.tab");
  const std::string idx = sondara_test::ReadFile(built + "builtin.idx");
  ASSERT_GT(idx.size(), 40u);
  std::string wide_row = idx;
  wide_row[20 + 7] = '\x7f';  // the first row's line runs far past the table
  std::uint32_t rows = 0;
  std::memcpy(&rows, idx.data() + 12, 4);  // little-endian, as the build writes it
  std::string reordered = idx;  // the second row and a middle one swapped: sorted when read
  std::swap_ranges(reordered.begin() + 40, reordered.begin() + 60,
                   reordered.begin() + 20 + rows / 2 * 20);
  for (const auto& [what, tab_bytes, idx_bytes, loads] :
       std::vector<std::tuple<const char*, std::string, std::string, bool>>{
           {"intact", tab, idx, true},
           {"cut short", tab, idx.substr(0, idx.size() - 4), false},
           {"stale", tab + "\n", idx, false},
           {"row past the table", tab, wide_row, false},
           {"rows out of order", tab, reordered, true},
           {"no index", tab, "", false}}) {
    sondara_test::TempFolder dir;
    sondara_test::WriteFile(dir / "builtin.tab", tab_bytes);
    if (!idx_bytes.empty())
      sondara_test::WriteFile(dir / "builtin.idx", idx_bytes);
    mib::CMibSet set;
    EXPECT_EQ(set.LoadTable(dir.Path() + "/"), loads) << what;
    EXPECT_EQ(set.Size(), loads ? Table().Size() : 0U) << what;
    EXPECT_EQ(set.NameOf(std::vector<std::uint32_t>{1, 3, 6, 1, 2, 1, 1, 1, 0}),
              loads ? "SNMPv2-MIB::sysDescr.0" : "")
        << what;
  }
}

// A module read from a file replaces the built-in one of its name, in names and by OID.
TEST(MibSet, ModuleOfTheUserReplacesTheBuiltInOne) {
  mib::CMibSet set;
  ASSERT_TRUE(set.LoadTable(SONDARA_MIB_TABLE_DIR));
  mib::MibNode mine;
  mine.oid = {1, 3, 6, 1, 2, 1, 2, 2, 1, 2};
  mine.module = "IF-MIB";
  mine.name = "ifLabel";
  set.AddModules({mine});
  EXPECT_EQ(set.NameOf(std::vector<std::uint32_t>{1, 3, 6, 1, 2, 1, 2, 2, 1, 2, 4}),
            "IF-MIB::ifLabel.4");
  EXPECT_EQ(set.Find("IF-MIB", "ifOperStatus"), nullptr);
  EXPECT_EQ(set.Description(*set.Find("", "ifLabel")), "");
  EXPECT_NE(set.Description(*set.Find("", "sysDescr")).find("textual description"),
            std::string::npos);
}

TEST(MibValue, HintsEnumsBitsAndUnits) {
  struct Case {
    const char* hint;
    std::vector<std::uint8_t> bytes;
    const char* shown;
  };
  for (const Case& c : std::vector<Case>{
           {"1x:", {0x00, 0x1b, 0x21, 0x3a, 0x4f, 0x10}, "00:1b:21:3a:4f:10"},
           {"1x", {0xde, 0xad}, "dead"},
           {"2x:", {0x12, 0x34, 0x05}, "1234:05"},
           {"1d.1d.1d.1d", {192, 168, 1, 200}, "192.168.1.200"},
           {"255a", {'a', 'b'}, "ab"},
           {"2d-1d-1d,1d:1d:1d.1d,1a1d:1d",
            {0x07, 0xe8, 11, 24, 13, 5, 9, 3, '+', 1, 30},
            "2024-11-24,13:5:9.3,+1:30"},
           {"2d-1d-1d,1d:1d:1d.1d,1a1d:1d",
            {0x07, 0xe8, 11, 24, 13, 5, 9, 3},
            "2024-11-24,13:5:9.3"},
           // RFC 2579 3.1: a repeat count first, separator between, terminator after.
           {"*1x:/1x", {2, 0xaa, 0xbb, 0xcc}, "aa:bb/cc"},
           {"1q", {1}, nullptr},
       }) {
    const auto shown = mib::OctetsByHint(c.hint, c.bytes);
    EXPECT_EQ(shown.value_or("-"), c.shown ? c.shown : "-") << c.hint;
  }
  EXPECT_EQ(mib::IntegerByHint("d-2", 1234), "12.34");
  EXPECT_EQ(mib::IntegerByHint("d-2", -5), "-0.05");

  const auto value = [](const char* name, const snmp::CASNDataType& v) {
    return mib::ValueText(*Table().Find("", name), v).value_or("-");
  };
  EXPECT_EQ(value("ifOperStatus", snmp::CInteger32(2)), "down(2)");
  EXPECT_EQ(value("ifOperStatus", snmp::CInteger32(7)), "lowerLayerDown(7)");
  EXPECT_EQ(value("ifOperStatus", snmp::CInteger32(9)), "-");  // no label: as without names
  EXPECT_EQ(value("ifPhysAddress", snmp::COctetString(std::wstring(L"\x00\x1b\x7f", 3))),
            "00:1b:7f");
  EXPECT_EQ(value("ifDescr", snmp::COctetString(L"eth0")), "-");  // text shows as text
  EXPECT_EQ(value("dot3PauseAdminMode", snmp::CInteger32(3)), "enabledRcv(3)");
  // BITS: U+0080 is sent as C2 80, bit 0 (pause) set, no other named one.
  EXPECT_EQ(value("dot3ControlFunctionsSupported", snmp::COctetString(L"\x80")), "pause(0)");
  EXPECT_EQ(value("dot3ControlFunctionsSupported", snmp::COctetString(L"@")), "");
  EXPECT_EQ(value("ifStackLastChange", snmp::CTimeTicks(5)), "-");
  EXPECT_EQ(value("ipReasmTimeout", snmp::CInteger32(60)), "60 seconds");
}

}  // namespace
