// Started with no settings and ended as a desktop ends it (SIGTERM at log-out, Ctrl+C), the
// program still writes both stores.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>
#include <vector>

#include "util/temp_folder.h"

namespace {

// Whether the process has a handler for the signal, from the SigCgt mask in /proc.
bool Catches(pid_t pid, int sig) {
  std::istringstream status(sondara_test::ReadFile("/proc/" + std::to_string(pid) + "/status"));
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("SigCgt:"))
      return (std::stoull(line.substr(7), nullptr, 16) >> (sig - 1)) & 1U;
  }
  return false;
}

TEST(ProgramExit, SignalsCloseTheWindowAndWriteBothStores) {
  for (int sig : {SIGTERM, SIGINT}) {
    SCOPED_TRACE(sig);
    sondara_test::TempFolder dir;
    std::vector<std::string> env = {"SONDARA_HOME=" + dir.Path(), "XDG_CONFIG_HOME=" + dir.Path(),
                                    "QT_QPA_PLATFORM=offscreen", "HOME=" + dir.Path()};
    std::vector<char*> envp{env[0].data(), env[1].data(), env[2].data(), env[3].data(), nullptr};
    std::string exe = SONDARA_EXE;
    char* argv[] = {exe.data(), nullptr};
    pid_t pid = 0;
    ASSERT_EQ(::posix_spawn(&pid, exe.c_str(), nullptr, nullptr, argv, envp.data()), 0);
    // Up to 10 s for the program to catch the signal (it does so once its window exists).
    for (int i = 0; i < 200 && !Catches(pid, sig); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ::kill(pid, sig);
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_TRUE(std::filesystem::exists(dir / "sondara.ini"));
    const std::string profile = dir / "Tarvik Technologies/Sondara Utility.ini";
    EXPECT_NE(sondara_test::ReadFile(profile).find("[Main Window]"), std::string::npos);
  }
}

}  // namespace
