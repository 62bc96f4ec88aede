// What a file in a MIB folder is, judged from its bytes before libsmi sees it: libsmi reads a
// PDF or a UTF-16 file as a flood of syntax errors, and finds modules only by file name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mib {

// Why these bytes are no MIB module text ("a PDF document"); empty when they may be one.
std::string NotAMibReason(std::string_view bytes);

struct ModuleImport {
  std::string module;
  std::vector<std::string> symbols;  // in the order imported
};

struct DeclaredModule {
  std::string name;
  int line = 0;  // of the module's name, 1-based
  std::vector<ModuleImport> imports;
};

// The modules the text declares ("IF-MIB DEFINITIONS ::= BEGIN"), in order, with what each
// IMPORTS from where; comments and strings are skipped, so a module named in a DESCRIPTION is
// not taken for one.
std::vector<DeclaredModule> DeclaredModules(std::string_view text);

}  // namespace mib
