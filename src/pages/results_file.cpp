#include "pages/results_file.h"

#include "app/sondara_utility_app.h"
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

std::wstring QuotedOnOneLine(std::wstring_view value) {
  std::wstring out = L"\"";
  for (wchar_t ch : value) {
    if (ch != L'\n')
      out.push_back(ch);
  }
  out.push_back(L'"');
  return out;
}

}  // namespace pages
