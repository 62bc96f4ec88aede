// CIniFile: the settings file and the per-user profile share this store.
//
// It behaves like the classic profile functions the settings were designed around: section and
// key names compare without regard to case, a missing key gives the caller's default, a string
// is cut to the caller's maximum length, an integer reads like atoi, and a section can be
// emptied before it is written again. A file edited by hand is read the way its author meant
// it: blanks around names and values, blank lines, ';' and '#' comments, CR LF line ends, a
// byte-order mark (UTF-8 or UTF-16), UTF-16 without one and a missing ']' are all fine. Of
// duplicate keys the first wins. Lines that make no sense are skipped, never fatal, and survive a
// save untouched.
//
// The store works on a copy in memory: Load() reads the file, the Write/Clear calls change the
// copy, Save() replaces the file in one step (a new file renamed over the old), so a crash or a
// full disk never leaves half a settings file behind.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tvkutil {

class CIniFile {
 public:
  CIniFile() = default;
  // Remembers the path; nothing is read until Load().
  explicit CIniFile(std::string path) : path_(std::move(path)) {}

  const std::string& Path() const { return path_; }

  // Reads the whole file into memory, replacing what was held. False (and an empty store) when
  // the file does not exist or cannot be read.
  bool Load();
  // Writes the store to the file (see ReplaceFile). The system's reason when the file or its
  // temporary twin cannot be written; the old file is then left as it was. The folder must
  // exist. A file that was loaded but is not text is never written.
  [[nodiscard]] std::error_code Save() const;

  // Parses file bytes (any of the encodings above) instead of reading the file. Bytes that are
  // neither UTF-16 (with or without a byte-order mark) nor valid UTF-8 give an empty store
  // that NotText() reports.
  void Parse(std::string_view bytes);
  bool NotText() const { return not_text_; }
  // The file as Save() writes it: UTF-8 without a byte-order mark, "\n" line ends.
  std::string Serialize() const;

  // The value of a key, or def when the key is missing; cut to max_len characters. A key that
  // is present with an empty value gives the empty text, not the default.
  std::wstring GetString(std::wstring_view section, std::wstring_view key, std::wstring_view def,
                         std::size_t max_len = SIZE_MAX) const;
  // The value read as a decimal int (see tvkutil::Wtoi: "12abc" is 12, "abc" is 0); def when
  // the key is missing or its value is empty.
  std::int32_t GetInt(std::wstring_view section, std::wstring_view key, std::int32_t def) const;
  bool HasKey(std::wstring_view section, std::wstring_view key) const;

  // Sets a key, replacing its first occurrence or adding it after the last key of the section;
  // the section is added at the end when it does not exist. Line breaks in the value become
  // blanks; a value that would not read back as it is (blanks at either end, enclosing
  // quotes) is written in double quotes.
  void WriteString(std::wstring_view section, std::wstring_view key, std::wstring_view value);
  // "%d".
  void WriteInt(std::wstring_view section, std::wstring_view key, std::int32_t value);
  // Removes every key of the section but keeps the section itself (it is created when
  // missing), so that keys written afterwards start from nothing. Comments and blank lines at
  // the end of the section stay: they introduce the next one.
  void ClearSection(std::wstring_view section);

  // Section names in file order (duplicates once) and the keys of one section in order.
  std::vector<std::wstring> SectionNames() const;
  std::vector<std::wstring> KeyNames(std::wstring_view section) const;

 private:
  enum class LineKind { kKey, kComment, kBlank, kOther };
  struct Line {
    LineKind kind = LineKind::kOther;
    std::wstring text;  // the line as it stands in the file
    // kKey only: where the key and the value stand in the text, so that a large file is not
    // held twice over.
    std::size_t key_at = 0;
    std::size_t key_len = 0;
    std::size_t value_at = 0;
    std::size_t value_len = 0;
    std::wstring_view Key() const { return std::wstring_view(text).substr(key_at, key_len); }
    std::wstring_view Value() const { return std::wstring_view(text).substr(value_at, value_len); }
  };
  struct Section {
    bool has_header = false;  // false only for lines before the first header
    std::wstring name;
    std::wstring header_text;
    std::vector<Line> lines;
  };

  const Line* FindKey(std::wstring_view section, std::wstring_view key) const;
  Section& SectionForWrite(std::wstring_view section);

  std::string path_;
  std::vector<Section> sections_;
  bool not_text_ = false;
};

}  // namespace tvkutil
