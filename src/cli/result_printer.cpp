#include "cli/result_printer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "mib/mib_set.h"
#include "mib/mib_value.h"
#include "ops/results_file.h"
#include "snmp/octet_string.h"
#include "snmp/oid.h"
#include "snmp/type_names.h"
#include "util/string_table.h"
#include "util/text.h"

namespace cli {

namespace {

std::string Utf8(std::wstring_view text) {
  return tvkutil::ToUtf8(text);
}

bool NeedsEscape(wchar_t ch) {
  return ch < 0x20 || (ch >= 0x7F && ch <= 0x9F) || ch == 0x061C || ch == 0x200E || ch == 0x200F ||
         (ch >= 0x2028 && ch <= 0x202E) || (ch >= 0x2066 && ch <= 0x2069);
}

std::string Header(int first, int second, int third) {
  using tvkutil::LoadString;
  return Utf8(LoadString(first) + L"," + LoadString(second) + L"," + LoadString(third));
}

// TerminalText onto the end of `out`.
void AppendTerminalText(std::string& out, std::wstring_view text) {
  // A walk prints every object through here: runs of plain ASCII are copied at once.
  const auto plain = [](wchar_t ch) { return ch >= 0x20 && ch < 0x7F && ch != L'\\'; };
  for (std::size_t i = 0; i < text.size();) {
    std::size_t end = i;
    while (end < text.size() && plain(text[end]))
      ++end;
    if (end != i) {
      const std::size_t at = out.size();
      out.resize(at + (end - i));
      std::transform(text.begin() + static_cast<std::ptrdiff_t>(i),
                     text.begin() + static_cast<std::ptrdiff_t>(end),
                     out.begin() + static_cast<std::ptrdiff_t>(at),
                     [](wchar_t ch) { return static_cast<char>(ch); });
      i = end;
      continue;
    }
    const wchar_t ch = text[i++];
    if (ch == L'\\') {
      out += "\\\\";
    } else if (!NeedsEscape(ch)) {
      out += Utf8(std::wstring_view(&ch, 1));
    } else if (ch == L'\r') {
      out += "\\r";
    } else if (ch == L'\n') {
      out += "\\n";
    } else if (ch == L'\t') {
      out += "\\t";
    } else {
      out += Utf8(tvkutil::FormatN(ch <= 0xFF ? L"\\x%02x" : L"\\u%04x", SIZE_MAX,
                                   static_cast<unsigned>(ch)));
    }
  }
}

}  // namespace

std::string CsvField(std::wstring_view value, bool always_quoted) {
  return Utf8(pages::CsvField(value, always_quoted));
}

std::string TerminalText(std::wstring_view text) {
  std::string out;
  AppendTerminalText(out, text);
  return out;
}

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

void CResultPrinter::ReadNamesMeanwhile() {
  if (names_)
    names_read_ = std::async(std::launch::async, [] { (void)mib::CMibSet::Builtin(); });
}

void CResultPrinter::PrintHeld() {
  if (names_read_.valid())
    names_read_.get();
  for (; !held_.empty(); held_.pop_front())
    PrintBinding(held_.front());
}

void CResultPrinter::PrintBinding(const snmp::CVarBind& bind) {
  if (names_read_.valid()) {
    if (names_read_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
      if (bind.CopyTo(held_.emplace_back()))
        return;
      held_.pop_back();  // does not copy: printed now, after those before it
    }
    PrintHeld();
  }
  std::wstring text;
  std::uint32_t tag = 0;
  (void)bind.ValueText(text, tag);  // Null and the exception values read as empty text
  std::optional<std::span<const std::uint8_t>> octets;
  if (const snmp::CASNDataType* value = bind.Value(); value && tag == snmp::kTagOctetString)
    octets = static_cast<const snmp::COctetString*>(value)->Bytes();
  std::wstring_view name;
  std::wstring_view shown = text;
  if (names_ && bind.Name() != nullptr) {
    const auto& arcs = bind.Name()->Arcs();
    const std::span<const std::uint32_t> oid(arcs.data(), arcs.size());
    const mib::MibNode* node = nullptr;
    // A walk goes down a column object by object: under a node with nothing known below it,
    // the node is the match without a search.
    if (named_leaf_ && oid.size() >= named_node_->oid.size() &&
        std::equal(named_node_->oid.begin(), named_node_->oid.end(), oid.begin())) {
      node = named_node_;
    } else if (const mib::OidMatch match = mib::CMibSet::Builtin().Match(oid); match.node) {
      node = match.node;
      named_leaf_ = match.leaf;
    }
    if (node != nullptr) {
      // A walk meets one column many times over: its "MODULE::name" is made once, and the
      // object's name is written into the same buffer each time.
      if (node != named_node_) {
        named_node_ = node;
        node_name_ = tvkutil::FromUtf8Lenient(node->module + "::" + node->name);
      }
      name_.assign(node_name_);
      snmp::AppendArcsText(name_, oid.subspan(node->oid.size()));
      name = name_;
    }
    // A column often holds one value over and over (every process's hrSWRunID, a column of
    // up(1), the date most packages were installed on): named once for the run. Numbers and
    // OIDs are told by their text, which is exact; strings by their bytes, as their text
    // need not be.
    const bool exact = tag == snmp::kTagInteger32 || tag == snmp::kTagOid ||
                       tag == snmp::kTagCounter32 || tag == snmp::kTagGauge32;
    const bool kept = exact || octets.has_value();
    const bool same = kept && node == shown_node_ && tag == shown_tag_ &&
                      (octets ? std::ranges::equal(*octets, shown_octets_) : text == shown_from_);
    if (bind.Value() != nullptr && !same) {
      const auto named = mib::NamedValueText(*bind.Value(), node);
      shown_node_ = kept ? node : nullptr;
      shown_tag_ = kept ? tag : 0;
      if (octets)
        shown_octets_.assign(octets->begin(), octets->end());
      else
        shown_from_ = text;
      shown_as_ = named ? std::optional(tvkutil::FromUtf8Lenient(*named)) : std::nullopt;
    }
    if (bind.Value() != nullptr && shown_as_)
      shown = *shown_as_;
  }
  // Text output shows the name alone where there is one.
  const bool dotted = bind.Name() != nullptr && (format_ != OutputFormat::kText || name.empty());
  PrintBinding(dotted ? bind.Name()->Text() : std::wstring(), name, snmp::TypeNameOfTag(tag), shown,
               octets);
}

void CResultPrinter::PrintBinding(std::wstring_view oid, std::wstring_view name,
                                  std::wstring_view type_name, std::wstring_view value,
                                  std::optional<std::span<const std::uint8_t>> octets) {
  using namespace tvkutil::ids;
  switch (format_) {
    case OutputFormat::kText:
      // One write a line, from a buffer kept from line to line.
      line_.clear();
      AppendTerminalText(line_, name.empty() ? oid : name);
      line_ += " = ";
      AppendTerminalText(line_, type_name);
      line_ += ": ";
      AppendTerminalText(line_, value);
      line_ += '\n';
      out_.write(line_.data(), static_cast<std::streamsize>(line_.size()));
      break;
    case OutputFormat::kCsv:
      if (!header_written_ && names_)
        out_ << Utf8(tvkutil::LoadString(kColumnOid)) << ",Name,"
             << Utf8(tvkutil::LoadString(kColumnDataType)) << ","
             << Utf8(tvkutil::LoadString(kColumnValue)) << "\n";
      else if (!header_written_)
        out_ << Header(kColumnOid, kColumnDataType, kColumnValue) << "\n";
      header_written_ = true;
      out_ << CsvField(oid, false) << ",";
      if (names_)
        out_ << CsvField(name, false) << ",";
      out_ << CsvField(type_name, false) << "," << CsvField(value, true) << ",\n";
      break;
    case OutputFormat::kJson:
      out_ << "{\"oid\":" << JsonString(oid);
      if (names_)
        out_ << ",\"name\":" << JsonString(name);
      out_ << ",\"type\":" << JsonString(type_name) << ",\"value\":" << JsonString(value);
      if (octets)
        out_ << ",\"hex\":\"" << Utf8(snmp::HexPairsText(*octets)) << "\"";
      out_ << "}\n";
      break;
  }
}

void CResultPrinter::PrintDevice(std::wstring_view address, std::wstring_view name) {
  using namespace tvkutil::ids;
  ++devices_;
  switch (format_) {
    case OutputFormat::kText:
      out_ << TerminalText(address) << (name.empty() ? "" : " ") << TerminalText(name) << "\n";
      break;
    case OutputFormat::kCsv:
      if (!header_written_)
        out_ << Header(kColumnNumber, kColumnIp, kColumnDescription) << "\n";
      header_written_ = true;
      out_ << CsvField(std::to_wstring(devices_), true) << "," << CsvField(address, true) << ","
           << CsvField(name, true) << ",\n";
      break;
    case OutputFormat::kJson:
      out_ << "{\"address\":" << JsonString(address) << ",\"name\":" << JsonString(name) << "}\n";
      break;
  }
}

}  // namespace cli
