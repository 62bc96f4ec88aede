#include "app/setting_rules.h"

#include "snmp/type_names.h"
#include "util/text.h"

namespace app {

bool IsValidOidText(std::wstring_view text) {
  if (text.empty() || text.size() > kMaxOidTextLen || text.back() == L'.')
    return false;
  int numbers = 0;
  bool in_number = false;
  for (wchar_t c : text) {
    if (c == L'.') {
      in_number = false;
    } else if (c >= L'0' && c <= L'9') {
      if (!in_number)
        ++numbers;
      in_number = true;
    } else {
      return false;
    }
  }
  return numbers >= 2 && numbers <= kMaxOidArcs;
}

int VersionIndex(std::wstring_view version) {
  return tvkutil::EqualsNoCase(version, L"2c") ? 1 : 0;
}

bool IsDataTypeName(std::wstring_view name) {
  // An unknown name maps to Octet String, so the round trip tells a real name from a guess.
  return tvkutil::EqualsNoCase(snmp::TypeNameOfTag(snmp::TagOfTypeName(name)), name);
}

}  // namespace app
