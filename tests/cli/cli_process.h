// Runs sondara-cli (or a net-snmp tool) as a subprocess with a home and profile folder of the
// test's own, and collects its exit status and both outputs.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "util/temp_folder.h"

extern char** environ;

namespace sondara_test {

struct ProcessResult {
  int status = -1;  // exit status; -1 when killed or not started
  std::string out, err;
};

// `env` entries ("NAME=value") replace those of this process. The program is killed after
// `deadline_ms`, so a hanging run fails the test instead of blocking it.
inline ProcessResult RunProcess(const std::vector<std::string>& argv,
                                const std::vector<std::string>& env = {}, int deadline_ms = 30000) {
  TempFolder files;
  const std::string out_path = files / "out", err_path = files / "err";
  // Everything the child needs is made before fork: other threads of the test may hold locks.
  std::vector<std::string> env_text(env);
  for (char** e = environ; *e != nullptr; ++e) {
    const std::string entry(*e);
    const std::string name = entry.substr(0, entry.find('=') + 1);
    bool replaced = false;
    for (const std::string& mine : env)
      replaced = replaced || mine.rfind(name, 0) == 0;
    if (!replaced)
      env_text.push_back(entry);
  }
  std::vector<char*> args, envp;
  for (const std::string& a : argv)
    args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  for (const std::string& e : env_text)
    envp.push_back(const_cast<char*>(e.c_str()));
  envp.push_back(nullptr);
  const int out_fd = ::open(out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const int err_fd = ::open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);

  const pid_t pid = ::fork();
  if (pid == 0) {
    ::dup2(out_fd, 1);
    ::dup2(err_fd, 2);
    ::execve(args[0], args.data(), envp.data());
    ::_exit(127);
  }
  ::close(out_fd);
  ::close(err_fd);
  ProcessResult result;
  if (pid < 0)
    return result;
  int status = 0;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(deadline_ms);
  while (::waitpid(pid, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.out = ReadFile(out_path);
  result.err = ReadFile(err_path);
  return result;
}

// sondara-cli with a profile folder of its own (no user settings leak in).
class Cli {
 public:
  ProcessResult Run(const std::vector<std::string>& args) const {
    std::vector<std::string> argv{SONDARA_CLI};
    argv.insert(argv.end(), args.begin(), args.end());
    return RunProcess(argv, {"HOME=" + home_.Path(), "XDG_CONFIG_HOME=" + home_.Path(),
                             "SONDARA_HOME=" + home_.Path(), "LC_ALL=C.UTF-8"});
  }
  // The network settings the Options would have saved.
  void WriteNetworkSettings(const std::string& lines) const {
    std::filesystem::create_directories(home_ / "Tarvik Technologies");
    WriteFile(home_ / "Tarvik Technologies/Sondara Utility.ini",
              "[NetworkInterface Settings]\n" + lines);
  }

 private:
  TempFolder home_;
};

}  // namespace sondara_test
