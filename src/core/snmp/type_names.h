// Names of the value types and of the generic traps, as the user sees and types them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "snmp/asn_data_type.h"

namespace snmp {

// "Integer32", "Octet String", ... "endOfMibView"; the empty text for an unknown tag.
std::wstring TypeNameOfTag(std::uint32_t tag);
// The tag of a type name, compared without regard to case; an unknown name gives Octet String.
std::uint32_t TagOfTypeName(std::wstring_view name);
// True for the tags that a binding can carry (2, 4, 5, 6, 64-68, 70, 71, 128-130).
bool IsValueTag(std::uint32_t tag);

// Creates the value object of a tag on the heap, empty or from the user's text; null for any
// other tag. (Bindings hold their values in place, see CAnyValue.)
std::unique_ptr<CASNDataType> CreateValue(std::uint32_t tag);
std::unique_ptr<CASNDataType> CreateValue(std::uint32_t tag, std::wstring_view text);

// A value as the pages and logs show it: "%d" for Integer32, the text for strings, ".1.3.6" for
// identifiers, dotted addresses, "%u" for the unsigned types. Null and the exception values
// give the empty text and false.
bool ValueToText(const CASNDataType& value, std::wstring& out_text);

// TimeTicks as net-snmp's tools show them, the number and the time beside it:
// "179788 (0:29:57.88)", "9000000 (1 day, 1:00:00.00)", "N days, ..." from two days on.
std::wstring TimeTicksText(std::uint32_t ticks);

// Generic trap names indexed by their number: "coldStart" (0) ... "enterpriseSpecific" (6).
inline constexpr std::array<std::wstring_view, 7> kGenericTrapNames = {
    L"coldStart",       L"warmStart",         L"linkDown", L"linkUp", L"authenticationFailure",
    L"egpNeighborLoss", L"enterpriseSpecific"};
inline constexpr std::int32_t kEnterpriseSpecificTrap = 6;

// True when the text is one of the seven names (without regard to case).
bool IsGenericTrapName(std::wstring_view name);
// The number of a name; any text that is not one of the first six counts as
// enterpriseSpecific (6).
std::int32_t GenericTrapNumber(std::wstring_view name);

}  // namespace snmp
