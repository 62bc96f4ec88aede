// Prints what a command found on standard output in the chosen format: text, one
// "OID = TypeName: value" line per binding, with control characters and bidirectional
// controls shown as escapes (TerminalText); csv, the rows of the walk and discovery files under
// their header (pages::CsvField); json, one object per line, an OCTET STRING's bytes in hex
// beside its text. Values come as the pages render them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <future>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/command_line.h"
#include "snmp/var_bind.h"

namespace mib {
struct MibNode;
}

namespace cli {

class CResultPrinter {
 public:
  // `names`: objects by their names in the built-in modules and values as their nodes
  // describe them; without, numbers only, as -On.
  CResultPrinter(std::ostream& out, OutputFormat format, bool names = false)
      : out_(out), format_(format), names_(names) {}

  // One binding: its OID text (and name), the type name of its value and the value's text.
  void PrintBinding(const snmp::CVarBind& bind);
  // Reads the MIB names on a second thread while the caller goes on sending: bindings to print
  // before they are read wait, in order, until then or until PrintHeld().
  void ReadNamesMeanwhile();
  void PrintHeld();
  // One device of a sweep: its address and host name (empty when it has none).
  void PrintDevice(std::wstring_view address, std::wstring_view name);

 private:
  // `octets`: the bytes of an OCTET STRING value, for json's "hex".
  void PrintBinding(std::wstring_view oid, std::wstring_view name, std::wstring_view type_name,
                    std::wstring_view value, std::optional<std::span<const std::uint8_t>> octets);

  std::ostream& out_;
  OutputFormat format_;
  bool names_;
  bool header_written_ = false;
  std::size_t devices_ = 0;
  std::future<void> names_read_;
  std::deque<snmp::CVarBind> held_;
  const mib::MibNode* named_node_ = nullptr;  // the node node_name_ names
  bool named_leaf_ = false;                   // nothing known lies below named_node_
  std::wstring node_name_;
  std::wstring name_;  // the last object's name
  std::string line_;   // the last line printed as text
  // The last value named: its node, tag and text (a number, an OID) or bytes (a string), and
  // what it was shown as.
  const mib::MibNode* shown_node_ = nullptr;
  std::uint32_t shown_tag_ = 0;
  std::wstring shown_from_;
  std::vector<std::uint8_t> shown_octets_;
  std::optional<std::wstring> shown_as_;
};

// A field of the results files' CSV, UTF-8.
std::string CsvField(std::wstring_view value, bool always_quoted = false);

// `text` as a JSON string, quotes included; UTF-8.
std::string JsonString(std::wstring_view text);

// `text` for a terminal, UTF-8: nothing a device sends may move the cursor, overwrite a line
// or turn the text around, and nothing is dropped. A backslash reads "\\"; CR, LF and tab
// "\r", "\n", "\t"; other C0 and C1 controls and DEL "\xHH"; the bidirectional marks, embeddings,
// overrides and isolates (U+061C, U+200E, U+200F, U+202A-U+202E, U+2066-U+2069) and the line and
// paragraph separators (U+2028, U+2029) "\uHHHH".
std::string TerminalText(std::wstring_view text);

}  // namespace cli
