// Builds the bytes a saved log must hold, independently of the product's writer.
#pragma once

#include <string>
#include <string_view>

namespace logs_test {

// UTF-16LE of ASCII text.
inline std::string Utf16le(std::string_view ascii) {
  std::string out;
  for (char c : ascii) {
    out.push_back(c);
    out.push_back('\0');
  }
  return out;
}

inline std::string Narrow(const std::wstring& text) {
  return std::string(text.begin(), text.end());
}

inline const std::string kBom = "\xFF\xFE";

}  // namespace logs_test
