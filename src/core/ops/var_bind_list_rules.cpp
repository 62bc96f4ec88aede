#include "ops/var_bind_list_rules.h"

#include <algorithm>

#include "ops/operation_common.h"
#include "settings/setting_rules.h"
#include "settings/settings.h"
#include "snmp/type_names.h"
#include "util/string_table.h"
#include "util/text.h"

namespace pages {

namespace {

// True when the binding at the 1-based index has exactly this name text and value tag.
bool IsEntry(const snmp::CVarBindList& list, int index, const wchar_t* oid, std::uint32_t tag) {
  const snmp::CVarBind* bind = list.Get(index);
  return bind != nullptr && bind->Name() != nullptr && bind->Name()->Text() == oid &&
         bind->Value() != nullptr && bind->Value()->Tag() == tag;
}

}  // namespace

bool ValidateVarBind(VarBindText& bind, app::IOperationUi& ui) {
  using namespace tvkutil::ids;
  if (!TranslateOidName(ui, bind.oid, kFieldVarBindOid) ||
      !CheckOidField(ui, bind.oid, kEnterValidOid, kFieldVarBindOid))
    return false;
  if (bind.type_name.empty())
    return Refuse(ui, kSelectDataType, kFieldVarBindDataType);
  // An OID value (snmpTrapOID.0's trap OID) may be typed by name too.
  if (snmp::TagOfTypeName(bind.type_name) == snmp::kTagOid &&
      !TranslateOidName(ui, bind.value, kFieldVarBindValue))
    return false;
  return CheckValueField(ui, snmp::TagOfTypeName(bind.type_name), bind.value, kEnterValidValue,
                         kFieldVarBindValue);
}

void PutFixedTrapEntries(snmp::CVarBindList& list, std::uint32_t time_stamp) {
  if (!IsEntry(list, 1, kSysUpTimeOid, snmp::kTagTimeTicks))
    list.Insert(1, kSysUpTimeOid, snmp::kTagTimeTicks, std::to_wstring(time_stamp));
  if (!IsEntry(list, 2, kSnmpTrapOid, snmp::kTagOid))
    list.Insert(2, kSnmpTrapOid, snmp::kTagOid, kDefaultTrapOid);
}

int FixedTrapEntriesAtStart(const snmp::CVarBindList& list) {
  return IsEntry(list, 1, kSysUpTimeOid, snmp::kTagTimeTicks) &&
                 IsEntry(list, 2, kSnmpTrapOid, snmp::kTagOid)
             ? 2
             : 0;
}

int TrapListLength(const snmp::CVarBindList& list, bool version_2c) {
  if (!version_2c)
    return list.Count() - FixedTrapEntriesAtStart(list);
  snmp::CVarBindList with_fixed;
  with_fixed.CopyFrom(list);
  PutFixedTrapEntries(with_fixed, 0);
  return with_fixed.Count();
}

bool V1TrapCarriesCounter64(const snmp::CVarBindList& list, int count) {
  const int skipped = FixedTrapEntriesAtStart(list);
  for (int i = 1; i <= count; ++i) {
    const snmp::CVarBind* bind = list.Get(i + skipped);
    const snmp::CASNDataType* value = bind != nullptr ? bind->Value() : nullptr;
    if (value != nullptr && value->Tag() == snmp::kTagCounter64)
      return true;
  }
  return false;
}

CVarBindListRules::CVarBindListRules(snmp::CVarBindList& list, bool version_2c, std::mutex& lock)
    : list_(list),
      version_2c_(version_2c),
      hidden_(version_2c ? 0 : FixedTrapEntriesAtStart(list)),
      lock_(lock) {}

int CVarBindListRules::Count() const {
  return list_.Count() - hidden_;
}

VarBindText CVarBindListRules::Item(int item) const {
  VarBindText row;
  const snmp::CVarBind* bind = list_.Get(item + 1 + hidden_);
  if (bind == nullptr)
    return row;
  if (bind->Name() != nullptr)
    row.oid = bind->Name()->Text();
  std::uint32_t tag = 0;
  (void)bind->ValueText(row.value, tag);  // Null reads as the empty text
  row.type_name = snmp::TypeNameOfTag(tag);
  return row;
}

bool CVarBindListRules::MayAdd(app::IOperationUi& ui) const {
  // The hidden entries count too: the list is one, whichever version shows it.
  if (list_.Count() < app::kMaxTrapVarBinds)
    return true;
  ui.ShowMessage(tvkutil::FormatN(tvkutil::LoadString(tvkutil::ids::kMaxVarBindsReached), SIZE_MAX,
                                  app::kMaxTrapVarBinds),
                 app::MessageIcon::kWarning, app::kNoField);
  return false;
}

void CVarBindListRules::Add(const VarBindText& bind) {
  const std::lock_guard hold(lock_);
  list_.Add(bind.oid, snmp::TagOfTypeName(bind.type_name), bind.value);
}

bool CVarBindListRules::MayEdit(int item, app::IOperationUi& ui) const {
  if (version_2c_ && item == 0)
    return Refuse(ui, tvkutil::ids::kCannotEditSysUpTime, app::kNoField);
  return item >= 0 && item < Count();
}

bool CVarBindListRules::LocksNameAndType(int item) const {
  return version_2c_ && item == 1;
}

void CVarBindListRules::Replace(int item, const VarBindText& bind) {
  const std::lock_guard hold(lock_);
  list_.Replace(item + 1 + hidden_, bind.oid, snmp::TagOfTypeName(bind.type_name), bind.value);
}

std::optional<int> CVarBindListRules::Delete(std::vector<int> selected, app::IOperationUi& ui) {
  if (selected.empty())
    return std::nullopt;
  const std::lock_guard hold(lock_);
  std::sort(selected.begin(), selected.end());
  selected.erase(std::unique(selected.begin(), selected.end()), selected.end());
  if (Protected(0) && selected.front() == 0) {
    Refuse(ui, tvkutil::ids::kCannotDeleteSysUpTime, app::kNoField);
    return std::nullopt;
  }
  if (Protected(1) && std::find(selected.begin(), selected.end(), 1) != selected.end()) {
    Refuse(ui, tvkutil::ids::kCannotDeleteSnmpTrapOid, app::kNoField);
    return std::nullopt;
  }
  int deleted = 0;
  // From the highest down, so the items still to go keep their numbers.
  for (auto it = selected.rbegin(); it != selected.rend(); ++it) {
    if (list_.Remove(*it + 1 + hidden_))
      ++deleted;
  }
  modified_ = true;
  if (Count() == 0)
    return std::nullopt;
  return std::min(selected.back() - deleted + 1, Count() - 1);
}

void CVarBindListRules::DeleteAll() {
  const std::lock_guard hold(lock_);
  const int keep = version_2c_ ? 2 : 0;
  while (Count() > keep)
    list_.Remove(list_.Count());
  modified_ = true;
}

}  // namespace pages
