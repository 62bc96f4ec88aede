#include "cli/result_printer.h"

#include <cstdio>

#include "util/string_table.h"
#include "util/text.h"

namespace cli {

namespace {

std::string Utf8(std::wstring_view text) {
  return tvkutil::ToUtf8(text);
}

// Text output keeps one line per binding, as the results files do: line feeds are dropped.
std::wstring OnOneLine(std::wstring_view value) {
  std::wstring out;
  for (wchar_t ch : value) {
    if (ch != L'\n')
      out.push_back(ch);
  }
  return out;
}

// A csv field: the results files' quoted text on one line, with quotes inside it doubled so
// that CSV readers take the value whole (the files have always left them single).
std::string CsvField(std::wstring_view value) {
  std::wstring out = L"\"";
  for (wchar_t ch : OnOneLine(value)) {
    out.push_back(ch);
    if (ch == L'"')
      out.push_back(ch);
  }
  return Utf8(out + L"\"");
}

std::string Header(int first, int second, int third) {
  using tvkutil::LoadString;
  return Utf8(LoadString(first) + L"," + LoadString(second) + L"," + LoadString(third));
}

}  // namespace

std::string JsonString(std::wstring_view text) {
  std::string out = "\"";
  for (wchar_t ch : text) {
    switch (ch) {
      case L'"':
        out += "\\\"";
        break;
      case L'\\':
        out += "\\\\";
        break;
      case L'\n':
        out += "\\n";
        break;
      case L'\r':
        out += "\\r";
        break;
      case L'\t':
        out += "\\t";
        break;
      default:
        if (ch < 0x20 || ch == 0x7F) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(ch));
          out += escaped;
        } else {
          out += Utf8(std::wstring_view(&ch, 1));
        }
    }
  }
  return out + "\"";
}

void CResultPrinter::PrintBinding(std::wstring_view oid, std::wstring_view type_name,
                                  std::wstring_view value) {
  using namespace tvkutil::ids;
  switch (format_) {
    case OutputFormat::kText:
      out_ << Utf8(oid) << " = " << Utf8(type_name) << ": " << Utf8(OnOneLine(value)) << "\n";
      break;
    case OutputFormat::kCsv:
      if (!header_written_)
        out_ << Header(kColumnOid, kColumnDataType, kColumnValue) << "\n";
      header_written_ = true;
      out_ << Utf8(oid) << "," << Utf8(type_name) << "," << CsvField(value) << ",\n";
      break;
    case OutputFormat::kJson:
      out_ << "{\"oid\":" << JsonString(oid) << ",\"type\":" << JsonString(type_name)
           << ",\"value\":" << JsonString(value) << "}\n";
      break;
  }
}

void CResultPrinter::PrintDevice(std::wstring_view address, std::wstring_view name) {
  using namespace tvkutil::ids;
  ++devices_;
  switch (format_) {
    case OutputFormat::kText:
      out_ << Utf8(address) << (name.empty() ? "" : " ") << Utf8(OnOneLine(name)) << "\n";
      break;
    case OutputFormat::kCsv:
      if (!header_written_)
        out_ << Header(kColumnNumber, kColumnIp, kColumnDescription) << "\n";
      header_written_ = true;
      out_ << "\"" << devices_ << "\"," << CsvField(address) << "," << CsvField(name) << ",\n";
      break;
    case OutputFormat::kJson:
      out_ << "{\"address\":" << JsonString(address) << ",\"name\":" << JsonString(name) << "}\n";
      break;
  }
}

}  // namespace cli
