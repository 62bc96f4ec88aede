// What the user's MIB folders gave when last read, kept in a file so that a program started
// again with the same files does not parse them again: libsmi takes most of the time a first
// name costs. The cache is used only while every file in every folder has the size and time
// it had; anything else reads the folders again and writes the cache anew.
#pragma once

#include <string>

#include "mib/smi_loader.h"

namespace mib {

// $XDG_CACHE_HOME/sondara, else ~/.cache/sondara; empty when there is no home to keep it in.
std::string MibCacheFolder();

// LoadMibModules(request), or what it gave last time, from a file in `cache_folder` of its own
// for each list of folders, so that programs run with other folders (--mibdir) keep theirs
// (an empty name: no cache). A request naming files is never cached. A cache that cannot be
// written is no fault: the modules are read again next time.
SmiLoadResult LoadMibModulesCached(const SmiLoadRequest& request, const std::string& cache_folder);

}  // namespace mib
