#include "snmp/snmp_rules.h"

#include <cstdint>

#include "snmp/ber.h"
#include "snmp/type_names.h"
#include "util/text.h"

namespace snmp {

OidTextFault CheckOidText(std::wstring_view text) {
  if (text.empty() || text.size() > kMaxOidTextLen || text.back() == L'.')
    return OidTextFault::kForm;
  constexpr std::uint64_t kMaxArc = 0xFFFFFFFFu;
  int numbers = 0;
  bool in_number = false;
  bool too_large = false;
  std::uint64_t arc = 0;
  std::uint64_t first_arcs[2] = {};
  for (wchar_t c : text) {
    if (c == L'.') {
      in_number = false;
    } else if (c >= L'0' && c <= L'9') {
      if (!in_number) {
        ++numbers;
        arc = 0;
      }
      in_number = true;
      arc = arc > kMaxArc ? arc : arc * 10 + static_cast<std::uint64_t>(c - L'0');
      too_large = too_large || arc > kMaxArc;
      if (numbers <= 2)
        first_arcs[numbers - 1] = arc;
    } else {
      return OidTextFault::kForm;
    }
  }
  if (numbers < 2 || static_cast<std::size_t>(numbers) > kMaxOidArcs)
    return OidTextFault::kForm;
  if (too_large)
    return OidTextFault::kArcTooLarge;
  if (first_arcs[0] > 2 || (first_arcs[0] < 2 && first_arcs[1] >= 40))
    return OidTextFault::kFirstArcs;
  return OidTextFault::kNone;
}

int VersionIndex(std::wstring_view version) {
  if (version == L"3")
    return 3;
  return tvkutil::EqualsNoCase(version, L"2c") ? 1 : 0;
}

bool IsDataTypeName(std::wstring_view name) {
  // An unknown name maps to Octet String, so the round trip tells a real name from a guess.
  return tvkutil::EqualsNoCase(TypeNameOfTag(TagOfTypeName(name)), name);
}

}  // namespace snmp
