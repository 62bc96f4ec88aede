// Where the program keeps its files. Paths are file-system bytes (UTF-8 on our systems);
// folder paths end in "/" where noted.
//
//   data folder      $SONDARA_HOME when set, else the documents folder + "Sondara/"
//   documents        $XDG_DOCUMENTS_DIR, else its line in user-dirs.dirs, else ~/Documents
//   settings file    data folder + "sondara.ini"
//   results and logs data folder + "DeviceDiscovery", "walkMIB", "TransactionLog", "EventLog"
//   profile          $XDG_CONFIG_HOME (else ~/.config) + "/Tarvik Technologies/Sondara Utility.ini"
//   program folder   the folder of the running executable, with the readme "Sondara.txt"
#pragma once

#include <string>

namespace tvkutil {

struct AppFolders {
  std::string program_folder;  // ends in "/"
  std::string data_folder;     // ends in "/"
  std::string settings_file;
  std::string device_discovery_folder;
  std::string walk_mib_folder;
  std::string transaction_log_folder;
  std::string event_log_folder;
  std::string readme_file;
  std::string profile_file;
};

// Works the paths out from the environment now; creates nothing.
AppFolders ComputeAppFolders();

// The paths of this run: worked out on first use, when the data folder is also created with
// its parents, and kept for the rest of the run.
const AppFolders& Folders();

// Creates a folder and every missing parent. True when it exists afterwards.
bool CreateFolderWithParents(const std::string& path);

}  // namespace tvkutil
