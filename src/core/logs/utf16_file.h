// Saved logs are UTF-16 little-endian text with a byte-order mark, as users' editors expect.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace logs {

class CUtf16Text {
 public:
  // Starts with the byte-order mark FF FE.
  CUtf16Text();
  // Appends text; characters beyond U+FFFF become surrogate pairs, invalid ones U+FFFD.
  void Append(std::wstring_view text);
  const std::string& Bytes() const { return bytes_; }
  // Hands over the bytes so far and goes on from empty (no second byte-order mark): a file
  // written piece by piece while it grows.
  std::string TakeBytes() { return std::exchange(bytes_, {}); }

 private:
  void Unit(char16_t unit);
  std::string bytes_;
};

// The folder a save dialog starts in: `stored` when it is not empty, else `default_folder`,
// which is created (one level) when missing. Empty when that creation fails, so the dialog
// opens at its own default.
std::filesystem::path InitialSaveFolder(const std::filesystem::path& stored,
                                        const std::filesystem::path& default_folder);

}  // namespace logs
