#include "ops/results_file.h"

#include "settings/sondara_utility_app.h"
#include "util/file_replace.h"
#include "util/text.h"

namespace pages {

namespace {
constexpr wchar_t kSeparator[] = L"::::::::::::::::::::::::::::::";
}  // namespace

std::string ResultsFileText(std::wstring_view started_line, std::wstring_view header,
                            const std::vector<std::wstring>& rows, std::wstring_view status_line) {
  using app::CSondaraUtilityApp;
  std::wstring text =
      tvkutil::FormatN(L"%s V%s - %s\n", SIZE_MAX, CSondaraUtilityApp::ProductName(),
                       CSondaraUtilityApp::VersionText(), CSondaraUtilityApp::CompanyName());
  text.append(started_line).append(L"\n").append(kSeparator).append(L"\n").append(header);
  for (const std::wstring& row : rows)
    text.append(L"\n").append(row);
  text.append(L"\n").append(kSeparator).append(L"\n").append(status_line);
  return tvkutil::ToUtf8(text);
}

std::error_code WriteResultsFile(const std::filesystem::path& path, const std::string& text) {
  return tvkutil::ReplaceFile(path, text);
}

std::wstring SpreadsheetText(std::wstring_view value) {
  if (value.empty() ||
      std::wstring_view(L"=+-@\t\r").find(value.front()) == std::wstring_view::npos)
    return std::wstring(value);
  // Optional sign, digits, optional decimal part: a number, not a formula.
  std::size_t i = value.front() == L'+' || value.front() == L'-' ? 1 : 0;
  const auto digits = [&] {
    const std::size_t from = i;
    while (i < value.size() && value[i] >= L'0' && value[i] <= L'9')
      ++i;
    return i > from;
  };
  bool number = digits();
  if (number && i < value.size() && value[i] == L'.') {
    ++i;
    number = digits();
  }
  if (number && i == value.size())
    return std::wstring(value);
  return L"'" + std::wstring(value);
}

std::wstring CsvField(std::wstring_view value, bool always_quoted) {
  std::wstring text = SpreadsheetText(value);
  if (!always_quoted && text.find_first_of(L"\",\r\n") == std::wstring::npos)
    return text;
  std::wstring out = L"\"";
  for (wchar_t ch : text) {
    out.push_back(ch);
    if (ch == L'"')
      out.push_back(ch);
  }
  out.push_back(L'"');
  return out;
}

}  // namespace pages
