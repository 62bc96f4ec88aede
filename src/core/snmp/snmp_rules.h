// Tests on the SNMP values a user types: OID text, version and type name. The settings loader,
// the operations, the command line and the windows share them.
#pragma once

#include <cstddef>
#include <string_view>

namespace snmp {

// Longest OID text the program accepts; the most numbers it may hold is kMaxOidArcs (ber.h).
inline constexpr std::size_t kMaxOidTextLen = 1408;

// What is wrong with an OID text, in the order it is tested.
enum class OidTextFault {
  kNone,
  kForm,         // empty, too long, a final ".", a character other than a digit or dot,
                 // fewer than 2 or more than 128 numbers
  kArcTooLarge,  // a number above 4294967295
  kFirstArcs,    // not 0, 1 or 2 first, or 40 or more after a first 0 or 1 (X.690 8.19.4)
};
OidTextFault CheckOidText(std::wstring_view text);

// An OID text: not empty, at most 1408 characters, not ending in ".", only digits and dots,
// 2 to 128 numbers between the dots (empty pieces do not count, so ".1.3" and "1..3" pass),
// each at most 4294967295, and first arcs that can be encoded.
inline bool IsValidOidText(std::wstring_view text) {
  return CheckOidText(text) == OidTextFault::kNone;
}

// The message version of a version text: 1 for "2c" (without regard to case), 3 for "3", 0 for
// "1" and for anything else.
int VersionIndex(std::wstring_view version);

// True when the text is one of the value type names ("Integer32", "Octet String", ...),
// without regard to case.
bool IsDataTypeName(std::wstring_view name);

}  // namespace snmp
