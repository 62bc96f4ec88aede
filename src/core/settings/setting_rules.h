// Ranges of the network settings that the settings loader and the Options share; the tests on
// SNMP values are in snmp/snmp_rules.h.
#pragma once

#include <cstdint>
#include <string_view>

namespace tvkutil {
class CIniFile;
}

namespace app {

// The network values the Options accept. The profile loader keeps the same ranges, so a value
// that passed the dialog is never replaced by a default at the next start.
inline constexpr int kMinConnectTimeoutS = 1;
inline constexpr int kMaxConnectTimeoutS = 30;
inline constexpr int kMinRequestTimeoutMs = 100;
inline constexpr int kMaxRequestTimeoutMs = 30000;
inline constexpr int kMinRetries = 0;  // sondara-cli -r 0 asks for it too
inline constexpr int kMaxRetries = 10;
inline constexpr int kMinWalkBulkRepetitions = 0;
inline constexpr int kMaxWalkBulkRepetitions = 999;
// Requests a walk keeps outstanding at once.
inline constexpr int kMinWalkInFlight = 1;
inline constexpr int kMaxWalkInFlight = 8;

// A stored number as the window and sondara-cli both read it: an optional sign and decimal
// digits only, within lo..hi, else def ("abc", "3x", an empty value and a missing key give
// def, so that text never turns into 0 retries).
std::int32_t StoredNumber(const tvkutil::CIniFile& ini, std::wstring_view section,
                          std::wstring_view key, std::int32_t def, std::int32_t lo,
                          std::int32_t hi);

// The low 16 bits of an int read from a settings store: 65697 is 161, -1 is 65535.
inline std::uint16_t Low16(std::int32_t value) {
  return static_cast<std::uint16_t>(static_cast<std::uint32_t>(value) & 0xFFFFu);
}

}  // namespace app
