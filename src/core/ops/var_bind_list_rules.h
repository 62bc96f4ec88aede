// The rules of the trap's varbind list editor without its dialogs: the 64-binding limit, the
// two protected entries of a version 2c list, which item is selected after a delete, the checks
// of one binding, and the fixed sysUpTime.0 / snmpTrapOID.0 entries every v2c trap starts with.
// The dialogs only show what these say and pass the user's choices in.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "ops/operation_ui.h"
#include "snmp/var_bind_list.h"

namespace pages {

inline constexpr wchar_t kSysUpTimeOid[] = L".1.3.6.1.2.1.1.3.0";
inline constexpr wchar_t kSnmpTrapOid[] = L".1.3.6.1.6.3.1.1.4.1.0";
// The notification a v2c trap names when the user has not chosen one.
inline constexpr wchar_t kDefaultTrapOid[] = L".1.3.6.1";

// One binding as the editor shows and takes it.
struct VarBindText {
  std::wstring oid;
  std::wstring type_name;  // a name of snmp::TypeNameOfTag; empty when none is chosen
  std::wstring value;
  bool operator==(const VarBindText&) const = default;
};

// The fields of the single-binding dialog, as its checks name them for app::IOperationUi.
enum VarBindField : int { kFieldVarBindOid = 0, kFieldVarBindDataType, kFieldVarBindValue };

// The single-binding dialog's checks on OK, first failure wins: the OID text test, a type
// chosen, the value text test for that type. A name typed for the OID, or for an OID value, is
// replaced by its numbers first.
bool ValidateVarBind(VarBindText& bind, app::IOperationUi& ui);

// Puts sysUpTime.0 (TimeTicks, `time_stamp`) first and snmpTrapOID.0 (Object Identifier,
// ".1.3.6.1") second unless entries of that name and type stand there already; the rest of the
// list follows them. Names are compared as texts.
void PutFixedTrapEntries(snmp::CVarBindList& list, std::uint32_t time_stamp);

// 2 when the list starts with sysUpTime.0 and snmpTrapOID.0 as a v2c trap puts them, else 0.
// A v1 trap leaves those two out (RFC 3584 3.2): its list is the rest.
int FixedTrapEntriesAtStart(const snmp::CVarBindList& list);
// The bindings a trap of this version carries when VarBind# takes the whole list: a v2c list
// with its fixed entries in place, a v1 list without them.
int TrapListLength(const snmp::CVarBindList& list, bool version_2c);
// True when a v1 trap sending the first `count` bindings of `list` after its fixed entries
// would carry a Counter64 value, a type version 1 does not have (RFC 1157).
bool V1TrapCarriesCounter64(const snmp::CVarBindList& list, int count);

// "Edit Varbinds" over the page's list, which it changes in place. Item numbers are 0-based,
// as the dialog's rows are. A v1 list shows neither of a v2c trap's fixed entries; they stay in
// the list, hidden, for when the version is 2c again. Every change takes `lock`, the lock the
// trap takes while it reads the list.
class CVarBindListRules {
 public:
  CVarBindListRules(snmp::CVarBindList& list, bool version_2c, std::mutex& lock);

  int Count() const;
  // The row of an item: OID text, type name and value text.
  VarBindText Item(int item) const;
  // "&Edit", "&Delete" and "De&lete All" are offered only while the list holds something.
  bool ActionsEnabled() const { return Count() > 0; }
  // Set once something has been deleted.
  bool Modified() const { return modified_; }

  // "&Add": false, after the limit message, when the list is full.
  bool MayAdd(app::IOperationUi& ui) const;
  // Appends a binding that passed ValidateVarBind.
  void Add(const VarBindText& bind);

  // "&Edit": false, after its message, for the sysUpTime.0 entry of a 2c list.
  bool MayEdit(int item, app::IOperationUi& ui) const;
  // True for the snmpTrapOID.0 entry of a 2c list: only its value may change.
  bool LocksNameAndType(int item) const;
  void Replace(int item, const VarBindText& bind);

  // "&Delete" of the selected items. Refused, with nothing deleted, when a protected entry is
  // among them. Answers the item to select afterwards: the one that followed the last
  // selected item, or the new last one; nothing when nothing was deleted or nothing is left.
  std::optional<int> Delete(std::vector<int> selected, app::IOperationUi& ui);
  // "De&lete All": a 2c list keeps its two protected entries.
  void DeleteAll();

 private:
  bool Protected(int item) const { return version_2c_ && item < 2; }

  snmp::CVarBindList& list_;
  bool version_2c_;
  int hidden_;  // the fixed entries a v1 list does not show
  std::mutex& lock_;
  bool modified_ = false;
};

}  // namespace pages
