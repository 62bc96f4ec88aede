// Runs sondara-cli (or a net-snmp tool) as a subprocess with a home and profile folder of the
// test's own, and collects its exit status and both outputs.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/temp_folder.h"

extern char** environ;

namespace sondara_test {

struct ProcessResult {
  int status = -1;  // exit status; -1 when killed or not started
  std::string out, err;
};

// A subprocess the test can signal while it runs. `env` entries ("NAME=value") replace this
// process's; with `merge_err` standard error goes into `out` too, in the order written.
class RunningProcess {
 public:
  RunningProcess(const std::vector<std::string>& argv, const std::vector<std::string>& env = {},
                 bool merge_err = false)
      : out_path_(files_ / "out"), err_path_(files_ / "err") {
    std::vector<std::string> env_text(env);
    for (char** e = environ; *e != nullptr; ++e) {
      const std::string entry(*e), name = entry.substr(0, entry.find('=') + 1);
      if (std::ranges::none_of(env, [&](const auto& mine) { return mine.starts_with(name); }))
        env_text.push_back(entry);
    }
    std::vector<char*> args, envp;
    for (const std::string& a : argv)
      args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    for (const std::string& e : env_text)
      envp.push_back(const_cast<char*>(e.c_str()));
    envp.push_back(nullptr);
    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawn_file_actions_addopen(&files, 1, out_path_.c_str(), O_WRONLY | O_CREAT, 0600);
    if (merge_err)
      ::posix_spawn_file_actions_adddup2(&files, 1, 2);
    else
      ::posix_spawn_file_actions_addopen(&files, 2, err_path_.c_str(), O_WRONLY | O_CREAT, 0600);
    if (::posix_spawn(&pid_, args[0], &files, nullptr, args.data(), envp.data()) != 0)
      pid_ = -1;
    ::posix_spawn_file_actions_destroy(&files);
  }
  ~RunningProcess() {
    if (pid_ > 0) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, nullptr, 0);
    }
  }

  void Signal(int signal) const {
    if (pid_ > 0)  // never kill(-1, ...)
      ::kill(pid_, signal);
  }
  std::string OutputSoFar() const { return ReadFile(out_path_); }

  // Waits for the end; kills the program after `deadline_ms`: a hanging run fails the test.
  ProcessResult Wait(int deadline_ms = 30000) {
    if (pid_ < 0)
      return {};
    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(deadline_ms);
    while (::waitpid(pid_, &status, WNOHANG) == 0) {
      if (std::chrono::steady_clock::now() > deadline) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, &status, 0);
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    pid_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(out_path_), ReadFile(err_path_)};
  }

 private:
  TempFolder files_;
  std::string out_path_, err_path_;
  pid_t pid_ = -1;
};

// "a|b c|d" as {"a", "b c", "d"}: a long argument list in a few lines.
inline std::vector<std::string> Args(const std::string& text) {
  std::vector<std::string> args;
  for (std::size_t at = 0, bar = 0; bar != std::string::npos; at = bar + 1) {
    bar = text.find('|', at);
    args.push_back(text.substr(at, bar == std::string::npos ? bar : bar - at));
  }
  return args;
}

inline std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

// sondara-cli with a profile folder of its own (no user settings leak in). The commands that
// print bindings run with -On, as net-snmp's tools are run to compare, unless `names`.
class Cli {
 public:
  bool names = false;
  std::vector<std::string> env;  // more of the environment

  ProcessResult Run(const std::vector<std::string>& args) const {
    return RunningProcess(Argv(args), Env()).Wait();
  }
  // Standard error mixed into standard output.
  std::unique_ptr<RunningProcess> Start(const std::vector<std::string>& args) const {
    return std::make_unique<RunningProcess>(Argv(args), Env(), true);
  }
  void WriteNetworkSettings(const std::string& lines) const {
    std::filesystem::create_directories(home_ / "Tarvik Technologies");
    WriteFile(home_ / "Tarvik Technologies/Sondara Utility.ini",
              "[NetworkInterface Settings]\n" + lines);
  }

 private:
  std::vector<std::string> Argv(const std::vector<std::string>& args) const {
    std::vector<std::string> argv{SONDARA_CLI};
    argv.insert(argv.end(), args.begin(), args.end());
    static const std::set<std::string> kPrinting = {"get", "getnext", "set", "walk", "trap"};
    if (!names && args.size() > 1 && kPrinting.count(args[0]) != 0)
      argv.insert(argv.begin() + 2, "-On");
    return argv;
  }
  std::vector<std::string> Env() const {
    std::vector<std::string> all = {"HOME=" + home_.Path(), "XDG_CONFIG_HOME=" + home_.Path(),
                                    "SONDARA_HOME=" + home_.Path(), "LC_ALL=C.UTF-8"};
    all.insert(all.end(), env.begin(), env.end());
    return all;
  }

  TempFolder home_;
};

}  // namespace sondara_test
