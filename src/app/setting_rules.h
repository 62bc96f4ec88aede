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

// An OID text: not empty, at most 1408 characters, not ending in ".", only digits and dots,
// and 2 to 128 numbers between the dots (empty pieces do not count, so ".1.3" and "1..3" pass).
bool IsValidOidText(std::wstring_view text);

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
