// Small tests on setting values that the settings loader and the pages share.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace app {

// Longest OID text the program accepts, and the most numbers it may hold.
inline constexpr std::size_t kMaxOidTextLen = 1408;
inline constexpr int kMaxOidArcs = 128;

// The network values the Options accept. The profile loader keeps the same ranges, so a value
// that passed the dialog is never replaced by a default at the next start.
inline constexpr int kMinConnectTimeoutS = 1;
inline constexpr int kMaxConnectTimeoutS = 30;
inline constexpr int kMinRequestTimeoutMs = 100;
inline constexpr int kMaxRequestTimeoutMs = 30000;
inline constexpr int kMinRetries = 1;
inline constexpr int kMaxRetries = 10;
inline constexpr int kMinWalkBulkRepetitions = 0;
inline constexpr int kMaxWalkBulkRepetitions = 999;

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

// 1 when the version text is "2c" (without regard to case), 0 for "1" and for anything else.
int VersionIndex(std::wstring_view version);

// True when the text is one of the value type names ("Integer32", "Octet String", ...),
// without regard to case.
bool IsDataTypeName(std::wstring_view name);

// The low 16 bits of an int read from a settings store: 65697 is 161, -1 is 65535.
inline std::uint16_t Low16(std::int32_t value) {
  return static_cast<std::uint16_t>(static_cast<std::uint32_t>(value) & 0xFFFFu);
}

}  // namespace app
