// Time to read a folder of MIB modules through libsmi, as the program does when it starts or
// a MIB folder is added. Without arguments, 500 vendor-like modules (a textual convention, a
// table of six columns, scalars and a notification each, half of them importing another) are
// written to a temporary folder; with folders as arguments, those are read instead.
#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "mib/smi_loader.h"

namespace {

namespace fs = std::filesystem;

std::string Module(int i) {
  const std::string n = "vendor" + std::to_string(i);
  const std::string N = "VENDOR" + std::to_string(i) + "-MIB";
  std::string s = N +
                  " DEFINITIONS ::= BEGIN\nIMPORTS\n"
                  "    MODULE-IDENTITY, OBJECT-TYPE, NOTIFICATION-TYPE, Integer32, Counter32,\n"
                  "    Gauge32, enterprises FROM SNMPv2-SMI\n"
                  "    TEXTUAL-CONVENTION, DisplayString, RowStatus FROM SNMPv2-TC\n";
  const bool child = i % 2 == 1;
  if (child) {
    s += "    vendor" + std::to_string(i - 1) + " FROM VENDOR" + std::to_string(i - 1) + "-MIB";
  }
  s += ";\n\n" + n + " MODULE-IDENTITY\n    LAST-UPDATED \"202401010000Z\"\n" +
       "    ORGANIZATION \"Vendor\"\n    CONTACT-INFO \"support\"\n" +
       "    DESCRIPTION \"Objects of product line " + std::to_string(i) + ".\"\n" +
       "    REVISION \"202401010000Z\"\n    DESCRIPTION \"First release.\"\n    ::= { " +
       (child ? "vendor" + std::to_string(i - 1) + " 100"
              : "enterprises " + std::to_string(50000 + i)) +
       " }\n\n";
  const std::string tc = "V" + std::to_string(i) + "State";
  s += tc + " ::= TEXTUAL-CONVENTION\n    STATUS current\n    DESCRIPTION \"A state.\"\n" +
       "    SYNTAX INTEGER { ok(1), warning(2), failed(3) }\n\n";
  s += n +
       "Name OBJECT-TYPE\n    SYNTAX DisplayString (SIZE (0..64))\n    MAX-ACCESS read-write\n" +
       "    STATUS current\n    DESCRIPTION \"Name.\"\n    ::= { " + n + " 1 }\n\n";
  s += n + "Table OBJECT-TYPE\n    SYNTAX SEQUENCE OF " + tc + "Entry\n" +
       "    MAX-ACCESS not-accessible\n    STATUS current\n    DESCRIPTION \"Table.\"\n" +
       "    ::= { " + n + " 2 }\n\n";
  s += n + "Entry OBJECT-TYPE\n    SYNTAX " + tc + "Entry\n    MAX-ACCESS not-accessible\n" +
       "    STATUS current\n    DESCRIPTION \"Row.\"\n    INDEX { " + n + "Index }\n    ::= { " +
       n + "Table 1 }\n\n";
  s += tc + "Entry ::= SEQUENCE {\n    " + n + "Index Integer32,\n    " + n +
       "Descr DisplayString,\n    " + n + "State " + tc + ",\n    " + n + "In Counter32,\n    " +
       n + "Load Gauge32,\n    " + n + "Status RowStatus\n}\n\n";
  const char* cols[][3] = {{"Index", "Integer32 (1..65535)", "not-accessible"},
                           {"Descr", "DisplayString", "read-create"},
                           {"State", nullptr, "read-only"},
                           {"In", "Counter32", "read-only"},
                           {"Load", "Gauge32", "read-only"},
                           {"Status", "RowStatus", "read-create"}};
  int col = 1;
  for (const auto& c : cols) {
    s += n + c[0] + " OBJECT-TYPE\n    SYNTAX " + (c[1] ? std::string(c[1]) : tc) +
         "\n    MAX-ACCESS " + c[2] +
         "\n    STATUS current\n    DESCRIPTION \"Column.\"\n    ::= { " + n + "Entry " +
         std::to_string(col++) + " }\n\n";
  }
  s += n + "Alarm NOTIFICATION-TYPE\n    OBJECTS { " + n + "State }\n    STATUS current\n" +
       "    DESCRIPTION \"State changed.\"\n    ::= { " + n + " 3 }\n\nEND\n";
  return s;
}

}  // namespace

int main(int argc, char** argv) {
  mib::SmiLoadRequest request;
  request.base_folder = mib::BaseMibFolder();
  std::string temp;
  if (argc > 1) {
    request.folders.assign(argv + 1, argv + argc);
  } else {
    temp = (fs::temp_directory_path() / "mib-bench-XXXXXX").string();
    if (mkdtemp(temp.data()) == nullptr) {
      std::perror("mkdtemp");
      return 1;
    }
    for (int i = 0; i < 500; ++i) {
      // Saved under names that are not the modules', as vendors' downloads are.
      std::ofstream(fs::path(temp) / ("product_" + std::to_string(i) + ".my")) << Module(i);
    }
    request.folders.push_back(temp);
  }
  const auto start = std::chrono::steady_clock::now();
  const mib::SmiLoadResult r = mib::LoadMibModules(request);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  for (const mib::MibProblem& p : r.problems) {
    std::printf("%s\n", mib::FormatProblem(p).c_str());
  }
  std::printf("%zu modules, %zu nodes, %zu problems in %.2f s\n", r.modules.size(), r.nodes.size(),
              r.problems.size(), took.count());
  if (!temp.empty()) {
    fs::remove_all(temp);
  }
  return 0;
}
