// A fresh network namespace (needs root) holding only lo and d0, an interface that swallows
// everything (dummy, else ifb) with 198.18.0.1/24 and 2001:db8:18::1/64: addresses there stay
// silent and no packet leaves the machine; /32 addresses added on d0 answer pings.
#pragma once

#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace testing_support {

inline constexpr int kNoNetns = 77;  // the namespace could not be made

// The child's exit code (0: body ran) and body's output, else what went wrong.
struct NetnsRun {
  int code;
  std::string output;
};

// Moves the calling process (still single-threaded) into the namespace: 0 when done, else
// kNoNetns (no permission) or another code, with the reason in `why`.
inline int EnterPrivateNetns(std::string& why) {
  if (::unshare(CLONE_NEWNET) != 0) {
    why = "cannot create a network namespace (needs root)";
    return kNoNetns;
  }
  if (std::system("ip link set lo up && (ip link add d0 type dummy 2>/dev/null ||"
                  " ip link add d0 type ifb) && ip addr add 198.18.0.1/24 dev d0 &&"
                  " ip -6 addr add 2001:db8:18::1/64 dev d0 nodad && ip link set d0 up") != 0) {
    why = "set-up of the namespace failed";
    return 78;
  }
  return 0;
}

// Inside the namespace: the addresses (dotted IPv4) answer pings from now on.
inline bool AddAnsweringAddresses(const std::vector<std::string>& addresses) {
  for (const std::string& a : addresses) {
    if (std::system(("ip addr add " + a + "/32 dev d0").c_str()) != 0)
      return false;
  }
  return true;
}

// A private mount namespace in which /etc/hosts reads `content`: empty when done, else why not.
inline std::string UseHostsFile(const std::string& content) {
  if (::unshare(CLONE_NEWNS) != 0)
    return "cannot create a mount namespace (needs root)";
  if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    return "cannot make / private";
  char path[] = "/tmp/sondara-hosts-XXXXXX";
  const int fd = ::mkstemp(path);
  if (fd < 0)
    return "cannot create the hosts file";
  ::close(fd);
  std::ofstream(path) << content;
  const bool mounted = ::mount(path, "/etc/hosts", nullptr, MS_BIND, nullptr) == 0;
  ::unlink(path);  // the mount keeps the file for as long as it is needed
  return mounted ? std::string() : "cannot mount the hosts file over /etc/hosts";
}

// The kernel's count of echoes sent: "Icmp6OutEchos <n>" in /proc/net/snmp6; in /proc/net/snmp
// an "Icmp:" line of names, then one of values.
inline long EchoesSent(bool v6) {
  std::ifstream in(v6 ? "/proc/net/snmp6" : "/proc/net/snmp");
  const std::vector<std::string> t{std::istream_iterator<std::string>(in), {}};
  const auto find = [&](const char* s, std::size_t from) {
    return static_cast<std::size_t>(
        std::find(t.begin() + static_cast<std::ptrdiff_t>(from), t.end(), s) - t.begin());
  };
  const std::size_t name = find(v6 ? "Icmp6OutEchos" : "OutEchos", 0);
  const std::size_t value = v6 ? name + 1 : find("Icmp:", name) + name - find("Icmp:", 0);
  return value < t.size() ? std::stol(t[value]) : -1;
}

// Runs body() in a forked child inside the namespace.
inline NetnsRun RunInPrivateNetns(const std::function<std::string()>& body) {
  int fds[2];
  if (::pipe(fds) != 0)
    return {-1, "pipe failed"};
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid == 0) {
    std::string out;
    int code = EnterPrivateNetns(out);
    if (code == 0)
      out = body();
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

// Skips the test when no namespace can be made; fails it when the body failed.
#define SONDARA_REQUIRE_NETNS(run)               \
  do {                                           \
    if ((run).code == testing_support::kNoNetns) \
      GTEST_SKIP() << (run).output;              \
    ASSERT_EQ((run).code, 0) << (run).output;    \
  } while (false)
