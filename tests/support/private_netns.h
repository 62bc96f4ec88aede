// Runs a piece of a test inside a network namespace of its own, so that addresses which must
// stay silent can be pinged without any packet leaving the machine. The namespace lives in a
// forked child and disappears with it. Needs root (CAP_SYS_ADMIN and CAP_NET_ADMIN).
#pragma once

#include <sched.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace testing_support {

struct NetnsRun {
  std::string skip_reason;  // set when the namespace could not be made
  std::string error;        // set when it was made but the set-up or the child failed
  std::string output;       // what the body returned
};

// In a fresh namespace: lo up, an interface d0 that swallows everything (dummy, else ifb) with
// 198.18.0.1/24 and 2001:db8:18::1/64, then body(). Only lo and d0 exist in there, so
// nothing can reach the outside.
inline NetnsRun RunInPrivateNetns(const std::function<std::string()>& body) {
  NetnsRun run;
  int fds[2];
  if (::pipe(fds) != 0) {
    run.error = "pipe failed";
    return run;
  }
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::close(fds[0]);
    std::string out;
    int code = 0;
    if (::unshare(CLONE_NEWNET) != 0) {
      out = "cannot create a network namespace (needs root)";
      code = 77;
    } else {
      const char* const setup[] = {
          "ip link set lo up",
          "ip link add d0 type dummy 2>/dev/null || ip link add d0 type ifb",
          "ip addr add 198.18.0.1/24 dev d0",
          "ip -6 addr add 2001:db8:18::1/64 dev d0 nodad",
          "ip link set d0 up",
      };
      for (const char* cmd : setup) {
        if (std::system(cmd) != 0) {
          out = std::string("set-up failed: ") + cmd;
          code = 78;
          break;
        }
      }
      if (code == 0)
        out = body();
    }
    std::size_t done = 0;
    while (done < out.size()) {
      const ssize_t n = ::write(fds[1], out.data() + done, out.size() - done);
      if (n <= 0)
        break;
      done += static_cast<std::size_t>(n);
    }
    ::_exit(code);
  }
  ::close(fds[1]);
  if (pid < 0) {
    ::close(fds[0]);
    run.error = "fork failed";
    return run;
  }
  std::string out;
  char buf[4096];
  for (ssize_t n; (n = ::read(fds[0], buf, sizeof buf)) > 0;)
    out.append(buf, static_cast<std::size_t>(n));
  ::close(fds[0]);
  int status = 0;
  ::waitpid(pid, &status, 0);
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  if (code == 77) {
    run.skip_reason = out;
  } else if (code != 0) {
    run.error = out.empty() ? "child failed" : out;
  } else {
    run.output = out;
  }
  return run;
}

}  // namespace testing_support
