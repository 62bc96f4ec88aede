// The varbind editor's rules without its dialogs.
#include "ops/var_bind_list_rules.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <string>
#include <vector>

#include "ops/operation_common.h"
#include "snmp/asn_data_type.h"
#include "snmp/type_names.h"
#include "support/recorders.h"

namespace {

using pages::CVarBindListRules;
using pages::VarBindText;

using testing_support::RecordingUi;

const std::wstring kSysUpTime = L".1.3.6.1.2.1.1.3.0", kTrapOid = L".1.3.6.1.6.3.1.1.4.1.0",
                   kIfIndex = L".1.3.6.1.2.1.2.2.1.1.1";

// n Integer32 bindings .1.3.6.1.9.<i> = i, i from 0.
struct Numbered : snmp::CVarBindList {
  explicit Numbered(int n) {
    for (int i = 0; i < n; ++i)
      Add(L".1.3.6.1.9." + std::to_wstring(i), snmp::kTagInteger32, std::to_wstring(i));
  }
};

// The last arc of every binding: which of Numbered's bindings are left, in order.
std::vector<int> Left(const CVarBindListRules& rules) {
  std::vector<int> left;
  for (int i = 0; i < rules.Count(); ++i)
    left.push_back(std::stoi(rules.Item(i).value));
  return left;
}

TEST(VarBindListRules, AddStopsAtSixtyFourWithTheLimitMessage) {
  for (const auto& [count, may] : {std::pair{63, true}, {64, false}}) {
    Numbered list(count);
    std::mutex lock;
    CVarBindListRules rules(list, false, lock);
    RecordingUi ui;
    EXPECT_EQ(rules.MayAdd(ui), may) << count;
    EXPECT_EQ(ui.shown.empty(), may);
    if (!may) {
      EXPECT_EQ(ui.shown.front().text, L"A maximum of '64' varbinds can only be created.");
    }
  }
}

TEST(VarBindListRules, DeleteRefusesProtectedEntriesAndSelectsTheItemAfterTheLastSelected) {
  const std::wstring kNone, kUpTime = L"Cannot delete this sysUpTime varbind. ",
                            kTrapOidText = L"Cannot delete this snmpTrapOID varbind. ";
  const bool v2c = true, v1 = false;
  const struct {
    bool v2c;
    std::vector<int> selected;
    std::wstring message;
    std::vector<int> left;
    std::optional<int> select;
  } cases[] = {
      {v2c, {1, 2}, kTrapOidText, {0, 1, 2, 3, 4}, std::nullopt},
      {v2c, {2, 0}, kUpTime, {0, 1, 2, 3, 4}, std::nullopt},
      {v2c, {0, 1}, kUpTime, {0, 1, 2, 3, 4}, std::nullopt},  // the first refusal only
      {v2c, {4}, kNone, {0, 1, 2, 3}, 3},
      {v2c, {2, 3}, kNone, {0, 1, 4}, 2},  // the one that followed moves up
      {v1, {3, 4}, kNone, {0, 1, 2}, 2},   // the last two: the new last item
      {v1, {3, 1}, kNone, {0, 2, 4}, 2},   // 3 - 2 + 1
      {v1, {0, 1, 2, 3, 4}, kNone, {}, std::nullopt},
      {v1, {}, kNone, {0, 1, 2, 3, 4}, std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE((c.v2c ? "2c " : "1 ") + testing::PrintToString(c.selected));
    Numbered list(5);
    std::mutex lock;
    CVarBindListRules rules(list, c.v2c, lock);
    RecordingUi ui;
    EXPECT_EQ(rules.Delete(c.selected, ui), c.select);
    EXPECT_EQ(Left(rules), c.left);
    EXPECT_EQ(ui.shown.empty() ? kNone : ui.shown.front().text, c.message);
    EXPECT_LE(ui.shown.size(), 1U);
    EXPECT_EQ(rules.Modified(), c.left.size() < 5);
    EXPECT_EQ(rules.ActionsEnabled(), !c.left.empty());
  }
}

// A v1 list over a v2c one neither shows nor loses the fixed entries.
TEST(VarBindListRules, EditAndDeleteAllKeepTheTwoFixedEntriesOfAV2cList) {
  for (const auto& [v2c, fixed] : {std::pair{true, false}, {false, false}, {false, true}}) {
    SCOPED_TRACE(v2c ? "2c" : fixed ? "1 over 2c" : "1");
    Numbered list(5);
    if (fixed)
      pages::PutFixedTrapEntries(list, 0);
    std::mutex lock;
    CVarBindListRules rules(list, v2c, lock);
    RecordingUi ui;
    EXPECT_EQ(rules.MayEdit(0, ui), !v2c);
    EXPECT_EQ(ui.Said(), (v2c ? decltype(ui.Said()){{L"Cannot edit this sysUpTime varbind. ", -1}}
                              : decltype(ui.Said()){}));
    EXPECT_TRUE(rules.MayEdit(1, ui));
    EXPECT_EQ(rules.LocksNameAndType(1), v2c);  // snmpTrapOID.0: the value alone may change
    EXPECT_FALSE(rules.LocksNameAndType(2));
    rules.Replace(2, {L".1.3.6.1.9.20", L"Counter32", L"0x10"});
    EXPECT_EQ(rules.Item(2), (VarBindText{L".1.3.6.1.9.20", L"Counter32", L"16"}));

    EXPECT_EQ(rules.Delete({3}, ui), 3);
    EXPECT_EQ(Left(rules), (std::vector<int>{0, 1, 16, 4}));
    rules.DeleteAll();
    EXPECT_EQ(Left(rules), (v2c ? std::vector<int>{0, 1} : std::vector<int>{}));
    EXPECT_EQ(list.Count(), v2c || fixed ? 2 : 0);
    EXPECT_EQ(pages::TrapListLength(list, v2c), v2c ? 4 : 0);  // Numbered 0 and 1 are not fixed
  }
}

TEST(VarBindListRules, ChangesWaitForTheLockTheTrapReadsUnder) {
  Numbered list(3);
  std::mutex lock;
  CVarBindListRules rules(list, false, lock);
  std::future<void> deleting;
  {
    const std::lock_guard sending(lock);
    deleting = std::async(std::launch::async, [&rules] { rules.DeleteAll(); });
    EXPECT_EQ(deleting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(list.Count(), 3);
  }
  deleting.get();
  EXPECT_EQ(list.Count(), 0);
}

TEST(VarBindListRules, OneBindingIsCheckedOidTypeValueInThatOrder) {
  using namespace pages;
  const std::wstring kFirstArcs =
      L"An OID must begin with 0, 1 or 2, and after 0 or 1 its second number must be below 40.";
  const auto kUnknown = [](std::wstring typed, std::wstring name) {
    return L"'" + typed + L"' is not an OID this program can read: no object named '" + name +
           L"'. Type the OID in numbers, or add the MIB module that defines it to a MIB folder "
           L"(Tools > Options).";
  };
  const struct {
    VarBindText bind;
    std::wstring message;
    int field;
    bool yes = false;  // the answer to a question; a Yes lets the binding pass
  } cases[] = {
      {{L"1.3.", L"", L""}, L"Please enter a valid OID.", kFieldVarBindOid},
      {{L"1", L"Integer32", L"1"}, L"Please enter a valid OID.", kFieldVarBindOid},
      {{L"1.3.6", L"", L""}, L"Please select a datatype.", kFieldVarBindDataType},
      {{L"noSuchObject9.1", L"Integer32", L"1"},
       kUnknown(L"noSuchObject9.1", L"noSuchObject9"),
       kFieldVarBindOid},
      {{L"1.3.6", L"Object Identifier", L"X::t"}, kUnknown(L"X::t", L"X::t"), kFieldVarBindValue},
      {{L"1.3.6", L"IPAddress", L"300.1.1.1"}, L"Please enter a valid value.", kFieldVarBindValue},
      {{L"1.3.6", L"Octet String", L""},
       L"The Octet String value is empty. Send it empty?",
       kFieldVarBindValue},
      {{L"1.3.6", L"Opaque", L""},
       L"The Opaque value is empty. Send it empty?",
       kFieldVarBindValue,
       true},
      {{L"1.3.4294967296", L"Integer32", L"1"},
       L"Each number of an OID must be between 0 and 4294967295.",
       kFieldVarBindOid},
      {{L"1.3.6", L"Object Identifier", L"1.40.1"}, kFirstArcs, kFieldVarBindValue},
      {{L"3.1", L"Integer32", L"1"}, kFirstArcs, kFieldVarBindOid},
      {{L"2.999.4294967295", L"Object Identifier", L"1.3.4294967295"}, L"", -1},
      {{L"..1.3", L"Counter64", L"18446744073709551615"}, L"", -1},
  };
  for (auto c : cases) {
    SCOPED_TRACE(
        testing::PrintToString(c.bind.oid + L" " + c.bind.type_name + L" " + c.bind.value));
    RecordingUi ui;
    ui.answer = c.yes;
    EXPECT_EQ(ValidateVarBind(c.bind, ui), c.field < 0 || c.yes);
    EXPECT_EQ(ui.Said(),
              (c.field < 0 ? decltype(ui.Said()){} : decltype(ui.Said()){{c.message, c.field}}));
  }
}

TEST(VarBindListRules, FixedV2cEntriesGoFirstUnlessTheyStandThereAlready) {
  const VarBindText up{kSysUpTime, L"Timeticks", L"1234"},
      trap{kTrapOid, L"Object Identifier", L".1.3.6.1"}, if_index{kIfIndex, L"Integer32", L"7"};
  const VarBindText old_up{kSysUpTime, L"Timeticks", L"99"},
      wrong_up{kSysUpTime, L"Integer32", L"5"},
      linkdown{kTrapOid, L"Object Identifier", L".1.3.6.1.6.3.1.1.5.3"};
  const struct {
    std::vector<VarBindText> before, after;
  } cases[] = {
      {{}, {up, trap}},
      // A v1 list switched to 2c: sysUpTime.0 before its first entry, snmpTrapOID.0 after it.
      {{if_index}, {up, trap, if_index}},
      {{old_up, linkdown, if_index}, {old_up, linkdown, if_index}},  // kept as they stand
      {{old_up, if_index}, {old_up, trap, if_index}},
      {{wrong_up, linkdown}, {up, trap, wrong_up, linkdown}},  // same name, other type
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.before.size());
    snmp::CVarBindList list;
    for (const VarBindText& b : c.before)
      list.Add(b.oid, snmp::TagOfTypeName(b.type_name), b.value);
    // A v1 trap leaves out only both fixed entries in place, which this rule keeps as they are.
    EXPECT_EQ(pages::TrapListLength(list, false), list.Count() - (c.before == c.after ? 2 : 0));
    pages::PutFixedTrapEntries(list, 1234);
    ASSERT_EQ(list.Count(), static_cast<int>(c.after.size()));
    std::mutex lock;
    const CVarBindListRules rules(list, true, lock);
    for (int i = 0; i < rules.Count(); ++i)
      EXPECT_EQ(rules.Item(i), c.after[i]) << i;
  }
}

// The value text test that every operation and the varbind editor share: "010" is decimal
// ten for Integer32 but octal eight for Unsigned32.
TEST(ValueText, NumbersMustBeWholeAndFitTheirType) {
  const struct {
    std::uint32_t tag;
    std::vector<const wchar_t*> valid, invalid;
  } cases[] = {
      {snmp::kTagInteger32,
       {L"-2147483648", L"2147483647", L"010"},
       {L"-2147483649", L"2147483648", L"0x1F", L"-"}},
      {snmp::kTagCounter32, {L"0", L"4294967295"}, {L"4294967296", L"-1"}},
      {snmp::kTagGauge32, {L"0x1F", L"0xFFFFFFFF"}, {L"0x100000000", L"0x"}},
      {snmp::kTagUnsigned32, {L"010", L"037777777777"}, {L"040000000000", L"08"}},
      {snmp::kTagCounter64, {L"18446744073709551615"}, {L"18446744073709551616", L"0x1F"}},
      {snmp::kTagOid, {L".1.3.6.1"}, {L"1.3."}},
      {snmp::kTagIpAddress, {L"10.0.0.1"}, {L"300.1.1.1"}},
      {snmp::kTagOctetString, {L" any text "}, {}},
      {snmp::kTagNull, {L"x"}, {}},
      {snmp::kTagNoSuchObject, {}, {L"x"}},
  };
  for (const auto& c : cases)
    for (const bool valid : {true, false})
      for (const wchar_t* text : valid ? c.valid : c.invalid)
        EXPECT_EQ(pages::IsValidValueText(c.tag, text), valid) << c.tag << " '" << text << "'";
  // What no number of any type may look like.
  for (std::uint32_t tag : {snmp::kTagInteger32, snmp::kTagCounter32, snmp::kTagGauge32,
                            snmp::kTagUnsigned32, snmp::kTagTimeTicks, snmp::kTagCounter64})
    for (const wchar_t* bad : {L"", L"abc", L"12x", L"1.5", L" 7", L"7 ", L"+7"})
      EXPECT_FALSE(pages::IsValidValueText(tag, bad)) << tag << " '" << bad << "'";
}

}  // namespace
