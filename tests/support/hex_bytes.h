// Test inputs written as hex text ("30 26 02 01 00"), independent of the product's encoder.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace testing_support {

inline std::vector<std::uint8_t> Hex(std::string_view text) {
  std::vector<std::uint8_t> out;
  int hi = -1;
  for (char c : text) {
    int v;
    if (c >= '0' && c <= '9') {
      v = c - '0';
    } else if (c >= 'a' && c <= 'f') {
      v = c - 'a' + 10;
    } else if (c >= 'A' && c <= 'F') {
      v = c - 'A' + 10;
    } else {
      continue;  // blanks and separators
    }
    if (hi < 0) {
      hi = v;
    } else {
      out.push_back(static_cast<std::uint8_t>(hi * 16 + v));
      hi = -1;
    }
  }
  if (hi >= 0)
    throw std::invalid_argument("odd number of hex digits");
  return out;
}

inline std::string ToHex(std::span<const std::uint8_t> bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string s;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i != 0)
      s.push_back(' ');
    s.push_back(kDigits[bytes[i] >> 4]);
    s.push_back(kDigits[bytes[i] & 0x0F]);
  }
  return s;
}

}  // namespace testing_support
