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

}  // namespace

std::string CsvField(std::wstring_view value, bool always_quoted) {
  return Utf8(pages::CsvField(value, always_quoted));
}

std::string TerminalText(std::wstring_view text) {
  // Written straight to UTF-8: a walk prints every object through here.
  std::string out;
  out.reserve(text.size());
  for (wchar_t ch : text) {
    if (ch == L'\\') {
      out += "\\\\";
    } else if (ch >= 0x20 && ch < 0x7F) {
      out.push_back(static_cast<char>(ch));
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
  std::wstring name;
  if (names_ && bind.Name() != nullptr) {
    const auto& arcs = bind.Name()->Arcs();
    const std::span<const std::uint32_t> oid(arcs.data(), arcs.size());
    mib::OidMatch match;
    // A walk goes down a column object by object: under a node with nothing known below it,
    // the node is the match without a search.
    if (named_leaf_ && oid.size() >= named_node_->oid.size() &&
        std::equal(named_node_->oid.begin(), named_node_->oid.end(), oid.begin())) {
      match = {
          named_node_,
          mib::Arcs(oid.begin() + static_cast<std::ptrdiff_t>(named_node_->oid.size()), oid.end()),
          true};
    } else {
      match = mib::CMibSet::Builtin().Match(oid);
    }
    if (match.node != nullptr) {
      // A walk meets one column many times over: its "MODULE::name" is made once.
      named_leaf_ = match.leaf;
      if (match.node != named_node_) {
        named_node_ = match.node;
        node_name_ = tvkutil::FromUtf8Lenient(match.node->module + "::" + match.node->name);
      }
      name = node_name_;
      snmp::AppendArcsText(name, match.suffix);
    }
    // A column often holds one number or OID over and over (every process's hrSWRunID, a
    // column of up(1)): named once for the run. Their text is exact; a string's need not be.
    const bool exact = tag == snmp::kTagInteger32 || tag == snmp::kTagOid ||
                       tag == snmp::kTagCounter32 || tag == snmp::kTagGauge32;
    if (bind.Value() != nullptr &&
        (!exact || match.node != shown_node_ || tag != shown_tag_ || text != shown_from_)) {
      const auto shown = mib::NamedValueText(*bind.Value(), match.node);
      shown_node_ = exact ? match.node : nullptr;
      shown_tag_ = exact ? tag : 0;
      shown_from_ = text;
      shown_as_ = shown ? std::optional(tvkutil::FromUtf8Lenient(*shown)) : std::nullopt;
    }
    if (bind.Value() != nullptr && shown_as_)
      text = *shown_as_;
  }
  // Text output shows the name alone where there is one.
  const bool dotted = bind.Name() != nullptr && (format_ != OutputFormat::kText || name.empty());
  PrintBinding(dotted ? bind.Name()->Text() : std::wstring(), name, snmp::TypeNameOfTag(tag), text,
               octets);
}

void CResultPrinter::PrintBinding(std::wstring_view oid, std::wstring_view name,
                                  std::wstring_view type_name, std::wstring_view value,
                                  std::optional<std::span<const std::uint8_t>> octets) {
  using namespace tvkutil::ids;
  switch (format_) {
    case OutputFormat::kText:
      out_ << TerminalText(name.empty() ? oid : name) << " = " << TerminalText(type_name) << ": "
           << TerminalText(value) << "\n";
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
