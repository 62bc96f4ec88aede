#include "util/app_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace tvkutil {

namespace {

std::string Env(const char* name) {
  const char* v = std::getenv(name);
  return v != nullptr ? std::string(v) : std::string();
}

std::string WithSlash(std::string path) {
  if (!path.empty() && path.back() != '/')
    path.push_back('/');
  return path;
}

std::string HomeFolder() {
  std::string home = Env("HOME");
  if (!home.empty())
    return home;
  if (const passwd* pw = ::getpwuid(::getuid()); pw != nullptr && pw->pw_dir != nullptr) {
    return pw->pw_dir;
  }
  return {};
}

std::string ConfigFolder() {
  const std::string xdg = Env("XDG_CONFIG_HOME");
  // The base directory rules ignore a relative value.
  if (!xdg.empty() && xdg.front() == '/')
    return xdg;
  const std::string home = HomeFolder();
  return home.empty() ? std::string() : home + "/.config";
}

// The documents line of user-dirs.dirs: XDG_DOCUMENTS_DIR="$HOME/Documents".
std::string DocumentsFromUserDirs(const std::string& home) {
  const std::string config = ConfigFolder();
  if (config.empty())
    return {};
  std::ifstream in(config + "/user-dirs.dirs");
  std::string line;
  while (std::getline(in, line)) {
    const std::string key = "XDG_DOCUMENTS_DIR=";
    const std::size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line.compare(start, key.size(), key) != 0)
      continue;
    std::string value = line.substr(start + key.size());
    while (!value.empty() && (value.back() == '\r' || value.back() == ' '))
      value.pop_back();
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    if (value.rfind("$HOME", 0) == 0)
      value = home + value.substr(5);
    if (!value.empty() && value.front() == '/')
      return value;
  }
  return {};
}

std::string ProgramFolder() {
  std::error_code ec;
  const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (ec || !exe.has_parent_path())
    return "./";
  return WithSlash(exe.parent_path().string());
}

}  // namespace

bool CreateFolderWithParents(const std::string& path) {
  if (path.empty())
    return false;
  std::error_code ec;
  std::filesystem::create_directories(path, ec);
  return std::filesystem::is_directory(path, ec);
}

AppFolders ComputeAppFolders() {
  AppFolders f;
  f.program_folder = ProgramFolder();

  std::string data = Env("SONDARA_HOME");
  if (data.empty()) {
    const std::string home = HomeFolder();
    std::string documents = Env("XDG_DOCUMENTS_DIR");
    if (documents.empty() && !home.empty())
      documents = DocumentsFromUserDirs(home);
    if (documents.empty() && !home.empty())
      documents = home + "/Documents";
    // Without a home there is nowhere else to go but beside the program.
    data = documents.empty() ? f.program_folder : WithSlash(documents) + "Sondara";
  }
  f.data_folder = WithSlash(data);

  f.settings_file = f.data_folder + "sondara.ini";
  f.device_discovery_folder = f.data_folder + "DeviceDiscovery";
  f.walk_mib_folder = f.data_folder + "walkMIB";
  f.transaction_log_folder = f.data_folder + "TransactionLog";
  f.event_log_folder = f.data_folder + "EventLog";
  f.readme_file = f.program_folder + "Sondara.txt";

  const std::string config = ConfigFolder();
  f.profile_file = (config.empty() ? f.data_folder : WithSlash(config)) +
                   "Tarvik Technologies/Sondara Utility.ini";
  return f;
}

const AppFolders& Folders() {
  static const AppFolders folders = [] {
    AppFolders f = ComputeAppFolders();
    CreateFolderWithParents(f.data_folder);
    return f;
  }();
  return folders;
}

}  // namespace tvkutil
