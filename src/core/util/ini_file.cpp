#include "util/ini_file.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <optional>

#include "util/file_replace.h"
#include "util/text.h"

namespace tvkutil {

namespace {

bool IsBlank(wchar_t c) {
  return c == L' ' || c == L'\t' || c == L'\v' || c == L'\f';
}

std::wstring_view Trim(std::wstring_view s) {
  while (!s.empty() && IsBlank(s.front()))
    s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back()))
    s.remove_suffix(1);
  return s;
}

std::wstring DecodeUtf16(std::string_view bytes, bool little_endian) {
  std::wstring out;
  out.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto b0 = static_cast<unsigned char>(bytes[i]);
    const auto b1 = static_cast<unsigned char>(bytes[i + 1]);
    const unsigned unit = little_endian ? (b0 | (b1 << 8)) : ((b0 << 8) | b1);
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 3 < bytes.size()) {
      const auto c0 = static_cast<unsigned char>(bytes[i + 2]);
      const auto c1 = static_cast<unsigned char>(bytes[i + 3]);
      const unsigned low = little_endian ? (c0 | (c1 << 8)) : ((c0 << 8) | c1);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        out.push_back(static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00)));
        i += 2;
        continue;
      }
    }
    out.push_back(static_cast<wchar_t>((unit >= 0xD800 && unit <= 0xDFFF) ? 0xFFFD : unit));
  }
  return out;
}

// Text without a byte-order mark that an editor saved as UTF-16: in the ASCII-heavy text of a
// settings file nearly every other byte is zero, and UTF-8 text has no zero bytes at all.
// Nullopt when the bytes do not look like UTF-16; else whether they are little-endian.
std::optional<bool> Utf16WithoutMark(std::string_view bytes) {
  std::size_t zero_even = 0;
  std::size_t zero_odd = 0;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    zero_even += bytes[i] == '\0' ? 1 : 0;
    zero_odd += bytes[i + 1] == '\0' ? 1 : 0;
  }
  const std::size_t units = bytes.size() / 2;
  if (units == 0)
    return std::nullopt;
  if (zero_odd * 2 > units && zero_even * 8 < units)
    return true;
  if (zero_even * 2 > units && zero_odd * 8 < units)
    return false;
  return std::nullopt;
}

// The file's text, or nullopt when it is not text in any encoding we know.
std::optional<std::wstring> DecodeText(std::string_view bytes) {
  if (bytes.size() >= 2 && bytes.substr(0, 2) == "\xFF\xFE")
    return DecodeUtf16(bytes.substr(2), true);
  if (bytes.size() >= 2 && bytes.substr(0, 2) == "\xFE\xFF")
    return DecodeUtf16(bytes.substr(2), false);
  if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF")
    bytes.remove_prefix(3);
  else if (const std::optional<bool> little_endian = Utf16WithoutMark(bytes))
    return DecodeUtf16(bytes, *little_endian);
  std::wstring text;
  if (!FromUtf8(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), text))
    return std::nullopt;
  return text;
}

// A value with blanks at either end, or one that is itself quoted, would not read back as it
// was written without quotes of its own.
std::wstring EncodeValue(std::wstring_view value) {
  std::wstring v(value);
  for (wchar_t& c : v) {
    if (c == L'\r' || c == L'\n' || c == L'\0')
      c = L' ';
  }
  const bool needs_quotes =
      !v.empty() && (IsBlank(v.front()) || IsBlank(v.back()) ||
                     (v.size() >= 2 && v.front() == L'"' && v.back() == L'"'));
  return needs_quotes ? L"\"" + v + L"\"" : v;
}

std::wstring_view DecodeValue(std::wstring_view raw) {
  std::wstring_view v = Trim(raw);
  if (v.size() >= 2 && v.front() == L'"' && v.back() == L'"')
    v = v.substr(1, v.size() - 2);
  return v;
}

// Where `part` stands inside `whole` (a view into it).
std::size_t OffsetIn(std::wstring_view whole, std::wstring_view part) {
  return static_cast<std::size_t>(part.data() - whole.data());
}

}  // namespace

bool CIniFile::Load() {
  sections_.clear();
  not_text_ = false;
  std::ifstream in(path_, std::ios::binary);
  if (!in)
    return false;
  // The whole file, however large: what is not read would be lost at the next save.
  std::string bytes;
  in.seekg(0, std::ios::end);
  if (const std::streamoff size = in.tellg(); size > 0)
    bytes.reserve(static_cast<std::size_t>(size));
  in.seekg(0, std::ios::beg);
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (in.bad())
    return false;
  Parse(bytes);
  return true;
}

void CIniFile::Parse(std::string_view bytes) {
  sections_.clear();
  std::optional<std::wstring> decoded = DecodeText(bytes);
  not_text_ = !decoded.has_value();
  sections_.push_back(Section{});  // lines before the first header
  if (not_text_)
    return;
  std::wstring text = std::move(*decoded);
  decoded.reset();
  // An editor may add its byte-order mark before one that is already there; a mark left in
  // the text would hide the first section's header, and come back as the file's own mark.
  text.erase(0, text.find_first_not_of(L'\uFEFF'));
  std::size_t pos = 0;
  while (pos < text.size()) {
    // CR, LF, CR LF and stray zeros all end a line, so no line ends up glued to the next.
    std::size_t end = text.find_first_of(std::wstring_view(L"\r\n\0", 3), pos);
    if (end == std::wstring::npos)
      end = text.size();
    const std::wstring_view raw(text.data() + pos, end - pos);
    pos = end + 1;
    if (end < text.size() && text[end] == L'\r' && pos < text.size() && text[pos] == L'\n')
      ++pos;

    const std::wstring_view t = Trim(raw);
    Line line;
    line.text = std::wstring(raw);
    if (t.empty()) {
      line.kind = LineKind::kBlank;
    } else if (t.front() == L';' || t.front() == L'#') {
      line.kind = LineKind::kComment;
    } else if (t.front() == L'[') {
      Section s;
      s.has_header = true;
      const std::size_t close = t.find(L']');
      s.name =
          std::wstring(Trim(t.substr(1, close == std::wstring_view::npos ? close : close - 1)));
      s.header_text = std::wstring(raw);
      sections_.push_back(std::move(s));
      continue;
    } else if (const std::size_t eq = t.find(L'='); eq != std::wstring_view::npos) {
      const std::wstring_view key = Trim(t.substr(0, eq));
      const std::wstring_view value = DecodeValue(t.substr(eq + 1));
      line.key_at = OffsetIn(raw, key);
      line.key_len = key.size();
      line.value_at = OffsetIn(raw, value);
      line.value_len = value.size();
      line.kind = key.empty() ? LineKind::kOther : LineKind::kKey;
    }
    sections_.back().lines.push_back(std::move(line));
  }
}

std::string CIniFile::Serialize() const {
  // Line by line: a large file is not held as wide text a second time.
  std::string out;
  for (const Section& s : sections_) {
    if (s.has_header)
      out.append(ToUtf8(s.header_text)).push_back('\n');
    for (const Line& l : s.lines)
      out.append(ToUtf8(l.text)).push_back('\n');
  }
  return out;
}

std::error_code CIniFile::Save() const {
  if (path_.empty())
    return std::make_error_code(std::errc::invalid_argument);
  // A file we could not read as text is the user's to mend; writing our copy would lose it.
  if (not_text_)
    return std::make_error_code(std::errc::illegal_byte_sequence);
  return ReplaceFile(path_, Serialize());
}

const CIniFile::Line* CIniFile::FindKey(std::wstring_view section, std::wstring_view key) const {
  // A section that appears twice is read as one: the first occurrence of the key wins.
  for (const Section& s : sections_) {
    if (!s.has_header || !EqualsNoCase(s.name, section))
      continue;
    for (const Line& l : s.lines) {
      if (l.kind == LineKind::kKey && EqualsNoCase(l.Key(), key))
        return &l;
    }
  }
  return nullptr;
}

std::wstring CIniFile::GetString(std::wstring_view section, std::wstring_view key,
                                 std::wstring_view def, std::size_t max_len) const {
  const Line* l = FindKey(section, key);
  std::wstring value(l != nullptr ? l->Value() : def);
  if (value.size() > max_len)
    value.resize(max_len);
  return value;
}

std::int32_t CIniFile::GetInt(std::wstring_view section, std::wstring_view key,
                              std::int32_t def) const {
  const Line* l = FindKey(section, key);
  if (l == nullptr || l->Value().empty())
    return def;
  return Wtoi(l->Value());
}

bool CIniFile::HasKey(std::wstring_view section, std::wstring_view key) const {
  return FindKey(section, key) != nullptr;
}

CIniFile::Section& CIniFile::SectionForWrite(std::wstring_view section) {
  for (Section& s : sections_) {
    if (s.has_header && EqualsNoCase(s.name, section))
      return s;
  }
  if (sections_.empty())
    sections_.push_back(Section{});
  // A blank line before a new section keeps the file readable by eye.
  Section& last = sections_.back();
  const bool file_empty = sections_.size() == 1 && last.lines.empty();
  if (!file_empty && (last.lines.empty() || last.lines.back().kind != LineKind::kBlank)) {
    Line blank;
    blank.kind = LineKind::kBlank;
    last.lines.push_back(std::move(blank));
  }
  Section s;
  s.has_header = true;
  s.name = std::wstring(section);
  s.header_text = L"[" + s.name + L"]";
  sections_.push_back(std::move(s));
  return sections_.back();
}

void CIniFile::WriteString(std::wstring_view section, std::wstring_view key,
                           std::wstring_view value) {
  Line line;
  line.kind = LineKind::kKey;
  line.text = std::wstring(key) + L"=" + EncodeValue(value);
  line.key_len = key.size();
  const std::wstring_view decoded =
      DecodeValue(std::wstring_view(line.text).substr(key.size() + 1));
  line.value_at = OffsetIn(line.text, decoded);
  line.value_len = decoded.size();
  for (Section& s : sections_) {
    if (!s.has_header || !EqualsNoCase(s.name, section))
      continue;
    for (Line& l : s.lines) {
      if (l.kind == LineKind::kKey && EqualsNoCase(l.Key(), key)) {
        l = std::move(line);
        return;
      }
    }
  }
  Section& s = SectionForWrite(section);
  std::size_t insert_at = 0;
  for (std::size_t i = 0; i < s.lines.size(); ++i) {
    if (s.lines[i].kind == LineKind::kKey)
      insert_at = i + 1;
  }
  s.lines.insert(s.lines.begin() + static_cast<std::ptrdiff_t>(insert_at), std::move(line));
}

void CIniFile::WriteInt(std::wstring_view section, std::wstring_view key, std::int32_t value) {
  WriteString(section, key, std::to_wstring(value));
}

void CIniFile::ClearSection(std::wstring_view section) {
  bool first = true;
  for (auto it = sections_.begin(); it != sections_.end();) {
    if (!it->has_header || !EqualsNoCase(it->name, section)) {
      ++it;
      continue;
    }
    // Keep the trailing comments and blank lines: they belong to what follows.
    std::size_t keep_from = it->lines.size();
    while (keep_from > 0 && (it->lines[keep_from - 1].kind == LineKind::kBlank ||
                             it->lines[keep_from - 1].kind == LineKind::kComment)) {
      --keep_from;
    }
    it->lines.erase(it->lines.begin(), it->lines.begin() + static_cast<std::ptrdiff_t>(keep_from));
    if (first) {
      first = false;
      ++it;
    } else {
      // A repeated section folds into the first one; its trailing lines go to the one before.
      auto prev = std::prev(it);
      prev->lines.insert(prev->lines.end(), it->lines.begin(), it->lines.end());
      it = sections_.erase(it);
    }
  }
  if (first)
    SectionForWrite(section);
}

std::vector<std::wstring> CIniFile::SectionNames() const {
  std::vector<std::wstring> names;
  for (const Section& s : sections_) {
    if (!s.has_header)
      continue;
    bool seen = false;
    for (const std::wstring& n : names)
      seen = seen || EqualsNoCase(n, s.name);
    if (!seen)
      names.push_back(s.name);
  }
  return names;
}

std::vector<std::wstring> CIniFile::KeyNames(std::wstring_view section) const {
  std::vector<std::wstring> keys;
  for (const Section& s : sections_) {
    if (!s.has_header || !EqualsNoCase(s.name, section))
      continue;
    for (const Line& l : s.lines) {
      if (l.kind == LineKind::kKey)
        keys.emplace_back(l.Key());
    }
  }
  return keys;
}

}  // namespace tvkutil
