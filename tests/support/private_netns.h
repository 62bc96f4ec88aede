// Runs body() in a forked child inside a fresh network namespace (needs root) holding only lo
// and d0, an interface that swallows everything (dummy, else ifb) with 198.18.0.1/24 and
// 2001:db8:18::1/64: addresses there stay silent and no packet leaves the machine.
#pragma once

#include <sched.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

namespace testing_support {

inline constexpr int kNoNetns = 77;  // the namespace could not be made

// The child's exit code (0: body ran) and body's output, else what went wrong.
struct NetnsRun {
  int code;
  std::string output;
};

inline NetnsRun RunInPrivateNetns(const std::function<std::string()>& body) {
  int fds[2];
  if (::pipe(fds) != 0)
    return {-1, "pipe failed"};
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid == 0) {
    std::string out;
    int code = 0;
    if (::unshare(CLONE_NEWNET) != 0) {
      out = "cannot create a network namespace (needs root)";
      code = kNoNetns;
    } else if (std::system("ip link set lo up && (ip link add d0 type dummy 2>/dev/null ||"
                           " ip link add d0 type ifb) && ip addr add 198.18.0.1/24 dev d0 &&"
                           " ip -6 addr add 2001:db8:18::1/64 dev d0 nodad && ip link set d0 up") !=
               0) {
      out = "set-up of the namespace failed";
      code = 78;
    } else {
      out = body();
    }
    if (::write(fds[1], out.data(), out.size()) != static_cast<ssize_t>(out.size()))
      code = 79;
    ::_exit(code);
  }
  ::close(fds[1]);
  std::string out;
  char buf[4096];
  for (ssize_t n; (n = ::read(fds[0], buf, sizeof buf)) > 0;)
    out.append(buf, static_cast<std::size_t>(n));
  ::close(fds[0]);
  int status = 0;
  if (pid < 0 || ::waitpid(pid, &status, 0) != pid)
    return {-1, "fork failed"};
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

}  // namespace testing_support
