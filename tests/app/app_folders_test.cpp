#include "app/app_folders.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

#include "app/sondara_utility_app.h"
#include "util/temp_folder.h"

namespace {

// Sets environment variables for one test and puts the old values back afterwards.
class ScopedEnv {
 public:
  void Set(const char* name, const std::optional<std::string>& value) {
    const char* old = std::getenv(name);
    saved_.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
    Put(name, value);
  }
  void Unset(const char* name) { Set(name, std::nullopt); }
  ~ScopedEnv() {
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it)
      Put(it->first.c_str(), it->second);
  }

 private:
  static void Put(const char* name, const std::optional<std::string>& value) {
    value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
  }
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST(AppFoldersTest, DataFolderComesFromTheEnvironment) {
  sondara_test::TempFolder dir;
  ScopedEnv env;
  env.Set("HOME", dir.Path());
  env.Set("XDG_CONFIG_HOME", dir / "cfg");
  env.Unset("SONDARA_HOME");
  env.Unset("XDG_DOCUMENTS_DIR");

  // Nothing configured: ~/Documents.
  EXPECT_EQ(app::ComputeAppFolders().data_folder, dir / "Documents/Sondara/");

  // The user-dirs file, as the desktop writes it.
  std::filesystem::create_directories(dir / "cfg");
  sondara_test::WriteFile(dir / "cfg/user-dirs.dirs",
                          "# comment\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\n"
                          "XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
  EXPECT_EQ(app::ComputeAppFolders().data_folder, dir / "Dokumente/Sondara/");

  env.Set("XDG_DOCUMENTS_DIR", dir / "docs");
  const app::AppFolders f = app::ComputeAppFolders();
  EXPECT_EQ(f.settings_file, dir / "docs/Sondara/sondara.ini");
  EXPECT_EQ(f.walk_mib_folder, dir / "docs/Sondara/walkMIB");
  EXPECT_EQ(f.transaction_log_folder, dir / "docs/Sondara/TransactionLog");
  EXPECT_EQ(f.profile_file, dir / "cfg/Tarvik Technologies/Sondara Utility.ini");
  EXPECT_EQ(f.readme_file, f.program_folder + "Sondara.txt");
  EXPECT_FALSE(std::filesystem::exists(f.data_folder));  // computing creates nothing

  // SONDARA_HOME replaces the data folder outright.
  env.Set("SONDARA_HOME", dir / "portable");
  EXPECT_EQ(app::ComputeAppFolders().data_folder, dir / "portable/");
}

TEST(AppFoldersTest, TheRunsFoldersAreCreatedOnFirstUse) {
  sondara_test::TempFolder dir;
  ScopedEnv env;
  env.Set("SONDARA_HOME", dir / "a/b/Sondara");
  env.Set("XDG_CONFIG_HOME", dir / "cfg");

  app::CSondaraUtilityApp a;  // the first use of this process's folders
  EXPECT_TRUE(std::filesystem::is_directory(dir / "a/b/Sondara"));
  EXPECT_EQ(a.SettingsFilePath(), dir / "a/b/Sondara/sondara.ini");
  a.SavePageSettings();
  a.SaveNetworkSettings();
  EXPECT_TRUE(std::filesystem::exists(a.SettingsFilePath()));
  EXPECT_TRUE(std::filesystem::exists(dir / "cfg/Tarvik Technologies/Sondara Utility.ini"));
}

}  // namespace
