#include "logs/utf16_file.h"

#include <system_error>

namespace logs {

CUtf16Text::CUtf16Text() {
  Unit(0xFEFF);
}

void CUtf16Text::Unit(char16_t unit) {
  bytes_.push_back(static_cast<char>(unit & 0xFF));
  bytes_.push_back(static_cast<char>(unit >> 8));
}

void CUtf16Text::Append(std::wstring_view text) {
  for (wchar_t wc : text) {
    auto cp = static_cast<std::uint32_t>(wc);
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
      cp = 0xFFFD;
    if (cp < 0x10000) {
      Unit(static_cast<char16_t>(cp));
    } else {
      cp -= 0x10000;
      Unit(static_cast<char16_t>(0xD800 + (cp >> 10)));
      Unit(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    }
  }
}

std::filesystem::path InitialSaveFolder(const std::filesystem::path& stored,
                                        const std::filesystem::path& default_folder) {
  if (!stored.empty())
    return stored;
  std::error_code ec;
  if (std::filesystem::is_directory(default_folder, ec))
    return default_folder;
  // One level only: a missing data folder means something else is wrong, so let the dialog
  // choose rather than build a tree the user never asked for.
  if (std::filesystem::create_directory(default_folder, ec))
    return default_folder;
  return {};
}

}  // namespace logs
