// Test bytes written as hex text ("30 26 02 01 00"), independent of the product's encoder.
#pragma once

#include <cctype>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace testing_support {

// Anything that is not a hex digit separates.
inline std::vector<std::uint8_t> Hex(std::string_view text) {
  std::string digits(text);
  std::erase_if(digits, [](unsigned char c) { return std::isxdigit(c) == 0; });
  if (digits.size() % 2 != 0)
    throw std::invalid_argument("odd number of hex digits");
  std::vector<std::uint8_t> out;
  for (std::size_t i = 0; i < digits.size(); i += 2)
    out.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  return out;
}

inline std::string ToHex(std::span<const std::uint8_t> bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string s;
  for (std::uint8_t b : bytes)
    s += {' ', kDigits[b >> 4], kDigits[b & 0x0F]};
  return s.empty() ? s : s.substr(1);
}

}  // namespace testing_support
