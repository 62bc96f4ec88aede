// The comma-separated results files of the walk and the sweep. Both have the same frame: the
// product banner, the line that started the run, 30 colons, a header, one row per record and,
// after another 30 colons, the line that ended the run. UTF-8, "\n" line ends, no final one.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace pages {

// The whole file: "<name> V<version> - <company>\n", started_line "\n", the colons "\n", the
// header (no line end), "\n" + row for each row, then "\n", the colons, "\n", status_line.
std::string ResultsFileText(std::wstring_view started_line, std::wstring_view header,
                            const std::vector<std::wstring>& rows, std::wstring_view status_line);

// Replaces the file with `text` in one step (see tvkutil::ReplaceFile); the system's reason
// when it cannot be written, the old file then left as it was.
[[nodiscard]] std::error_code WriteResultsFile(const std::filesystem::path& path,
                                               const std::string& text);

// One field of a results file or of sondara-cli's csv, as RFC 4180 has it: inside double
// quotes, with the quotes in it doubled, when `always_quoted` (the columns the files have always
// quoted) or when it holds a quote, a comma, a CR or an LF; line breaks stay inside the quotes.
// A field a spreadsheet would run as a formula is made text first (SpreadsheetText).
std::wstring CsvField(std::wstring_view value, bool always_quoted);

// `value` with a ' in front when a spreadsheet would run it as a formula: it starts with =, +,
// -, @, a tab or a CR. A plain number ("-5", "+3", "-12.5") is no formula and stays a number.
std::wstring SpreadsheetText(std::wstring_view value);

}  // namespace pages
