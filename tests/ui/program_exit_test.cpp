// Ended as a desktop ends it (SIGTERM at log-out, Ctrl+C), the program still writes its stores.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <sstream>
#include <thread>
#include <vector>

#include "support/temp_folder.h"

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

// Starts the program on the folder, waits for its window and ends it with the signal.
void RunAndEnd(const sondara_test::TempFolder& dir, int sig) {
  std::vector<std::string> env = {"SONDARA_HOME=" + dir.Path(), "XDG_CONFIG_HOME=" + dir.Path(),
                                  "QT_QPA_PLATFORM=offscreen", "HOME=" + dir.Path()};
  std::vector<char*> envp{env[0].data(), env[1].data(), env[2].data(), env[3].data(), nullptr};
  std::string exe = SONDARA_EXE;
  char* argv[] = {exe.data(), nullptr};
  pid_t pid = 0;
  ASSERT_EQ(::posix_spawn(&pid, exe.c_str(), nullptr, nullptr, argv, envp.data()), 0);
  // Up to 30 s for the program to catch the signal (it does so once its window exists).
  for (int i = 0; i < 600 && !Catches(pid, sig); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  ::kill(pid, sig);
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
}

// Ctrl+C from no settings writes both stores; SIGTERM (log-out) over a settings file of any
// size and encoding writes back one it can read with every key, and one it cannot not at all.
TEST(ProgramExit, SignalsWriteBothStoresAndKeepEveryKeyOfAnySettingsFile) {
  sondara_test::TempFolder dir;
  RunAndEnd(dir, SIGINT);
  EXPECT_NE(
      sondara_test::ReadFile(dir / "Tarvik Technologies/Sondara Utility.ini").find("[Main Window]"),
      std::string::npos);
  const std::string ours = sondara_test::ReadFile(dir / "sondara.ini");  // the defaults
  ASSERT_NE(ours.find("[walkMIB]"), std::string::npos);
  std::string big = ours + "\n[Big]\n";
  for (int n = 0; big.size() < (100u << 20); ++n)
    big += "key" + std::to_string(n) + "=" + std::string(100, 'v') + "\n";
  big += "[Mine]\nkeep=at the end\n";
  const std::string small = ours + "\n[Mine]\nkeep=yes\n";
  const std::string latin1 = small + "name=M\xFCller\n";
  // Our own sections come first and are written anew (the walk page's two default communities
  // change places at every run); everything after them must come back byte for byte.
  const struct {
    const char* what;
    std::string file;
    const std::string& after;
    std::size_t ours_end;
  } cases[] = {
      {"100 MB, own section at the end", big, big, ours.size()},
      {"UTF-16LE without a mark, rewritten as UTF-8", sondara_test::Utf16(small), small,
       ours.size()},
      {"not text: left as it is", latin1, latin1, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    sondara_test::WriteFile(dir / "sondara.ini", c.file);
    RunAndEnd(dir, SIGTERM);
    const std::string after = sondara_test::ReadFile(dir / "sondara.ini");
    ASSERT_EQ(after.size(), c.after.size());
    EXPECT_TRUE(after.compare(c.ours_end, std::string::npos, c.after, c.ours_end) == 0);
    EXPECT_NE(after.find("[walkMIB]"), std::string::npos);
  }
}

}  // namespace
