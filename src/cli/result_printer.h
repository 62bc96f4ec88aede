// Prints what a command found on standard output in the chosen format: text, one
// "OID = TypeName: value" line per binding; csv, the rows of the walk and discovery files under
// their header, with quotes inside a value doubled; json, one object per line. Values come as
// the pages render them.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

#include "cli/command_line.h"

namespace cli {

class CResultPrinter {
 public:
  CResultPrinter(std::ostream& out, OutputFormat format) : out_(out), format_(format) {}

  // One binding: its OID text, the type name of its value and the value's text.
  void PrintBinding(std::wstring_view oid, std::wstring_view type_name, std::wstring_view value);
  // One device of a sweep: its address and host name (empty when it has none).
  void PrintDevice(std::wstring_view address, std::wstring_view name);

 private:
  std::ostream& out_;
  OutputFormat format_;
  bool header_written_ = false;
  std::size_t devices_ = 0;
};

// `text` as a JSON string, quotes included; UTF-8.
std::string JsonString(std::wstring_view text);

}  // namespace cli
