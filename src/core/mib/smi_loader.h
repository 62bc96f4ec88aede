// MIB module files of the user's, read through libsmi. Modules are found by the name a file
// declares ("ACME-MIB DEFINITIONS ::= BEGIN"), whatever the file is called, so a vendor module
// saved as "acme_v2.my" still satisfies an IMPORTS ... FROM ACME-MIB. What cannot be read is
// named, file and line; what can still be read is returned.
//
// libsmi keeps global state: calls are serialised, so several threads may call but only one
// reads at a time. Nothing here blocks except on reading files.
#pragma once

#include <string>
#include <vector>

#include "mib/mib_node.h"

namespace mib {

struct MibProblem {
  std::string file;    // the file as found in its folder; empty when no file is concerned
  int line = 0;        // 1-based; 0 when the problem concerns the whole file
  std::string module;  // the module concerned, when known
  std::string message;

  bool operator==(const MibProblem&) const = default;
};

// "file:line: message", as compilers write it; the line is left out when it is 0.
std::string FormatProblem(const MibProblem& problem);

struct LoadedModule {
  std::string name;
  std::string file;
  std::size_t nodes = 0;  // how many of the returned nodes are this module's

  bool operator==(const LoadedModule&) const = default;
};

struct SmiLoadRequest {
  // Searched in this order: a module declared in two folders is taken from the first.
  std::vector<std::string> folders;
  // When not empty, only the modules these files declare are read (and what they import,
  // from the folders); they take precedence over the folders. When empty, every module in
  // the folders is read.
  std::vector<std::string> files;
  // The program's own SMI base modules, searched after every folder so a user's copy wins.
  std::string base_folder;
};

struct SmiLoadResult {
  std::vector<MibNode> nodes;  // of the modules read, not of the base modules
  // The modules read, in the order read; one with a problem is here too with what libsmi
  // could read of it.
  std::vector<LoadedModule> modules;
  std::vector<MibProblem> problems;  // in the order found
};

SmiLoadResult LoadMibModules(const SmiLoadRequest& request);

// The usual MIB folders, in precedence order: $XDG_DATA_HOME/sondara/mibs (else
// ~/.local/share/sondara/mibs), /usr/share/snmp/mibs and every folder in /usr/share/mibs.
// Folders that do not exist are left out. $SONDARA_MIB_FOLDERS, when set, replaces them all
// (colon-separated; empty: none).
std::vector<std::string> StandardMibFolders();

// Where the program's base modules are: share/sondara/mibs/base beside the installed
// program, else the source tree's data/mibs/base (a program run from its build folder).
std::string BaseMibFolder();

}  // namespace mib
