// A folder of its own for each test, removed afterwards, so no test touches the real home.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace sondara_test {

class TempFolder {
 public:
  TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "sondara-test-XXXXXX").string();
    path_ = ::mkdtemp(pattern.data()) != nullptr ? pattern : "";
  }
  ~TempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& Path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// ASCII text as UTF-16 without a byte-order mark, built independently of the product's writers.
inline std::string Utf16(std::string_view ascii, bool little_endian = true) {
  std::string out;
  for (char c : ascii)
    out += little_endian ? std::string{c, '\0'} : std::string{'\0', c};
  return out;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace sondara_test
