// walk_memory_bench [SMALL LARGE]
//
// Peak memory of `sondara-cli walk` against a scripted agent on 127.0.0.1 that serves SMALL
// objects (default 4,000) and then LARGE (default 400,000), each a GetNext answer built by hand
// (tests/support/ber_builder.h, not our codec). Prints each walk's objects, time and the CLI's
// peak resident set (wait4's ru_maxrss), then their ratio: a walk that prints its objects as
// it goes must not keep them, so the ratio stays near 1.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "support/ber_builder.h"
#include "support/request_reader.h"

extern char** environ;

namespace {

using namespace testing_support;

// .1.3.6.1.4.1.9999.1.<i>, i from 1.
const Bytes kPrefix = {0x2b, 0x06, 0x01, 0x04, 0x01, 0xce, 0x0f, 0x01};

Bytes Arc(std::uint32_t v) {
  Bytes out{static_cast<std::uint8_t>(v & 0x7f)};
  while (v >>= 7)
    out.insert(out.begin(), static_cast<std::uint8_t>(0x80 | (v & 0x7f)));
  return out;
}

// The index after the one the request names: 1 before the first, 0 for anything else.
std::uint32_t NextIndex(const Bytes& oid) {
  if (oid.size() < kPrefix.size() || !std::equal(kPrefix.begin(), kPrefix.end(), oid.begin()))
    return oid < kPrefix ? 1 : 0;
  std::uint32_t k = 0;
  for (std::size_t i = kPrefix.size(); i < oid.size(); ++i)
    k = (k << 7) | (oid[i] & 0x7f);
  return k + 1;
}

// Answers GetNext requests until `stop`; objects 1..count, then endOfMibView.
void Serve(int fd, const std::atomic<std::uint32_t>& count, const std::atomic<bool>& stop) {
  std::vector<std::uint8_t> buf(65535);
  while (!stop) {
    pollfd p{fd, POLLIN, 0};
    if (::poll(&p, 1, 100) <= 0)
      continue;
    sockaddr_storage from{};
    socklen_t from_len = sizeof from;
    const ssize_t n =
        ::recvfrom(fd, buf.data(), buf.size(), 0, reinterpret_cast<sockaddr*>(&from), &from_len);
    if (n <= 0)
      continue;
    try {
      const ReadRequest r =
          ReadRequestFields(Bytes(buf.begin(), buf.begin() + static_cast<std::ptrdiff_t>(n)));
      const std::uint32_t next = NextIndex(r.oid);
      const Bytes bind =
          next >= 1 && next <= count
              ? VarBind(Cat({kPrefix, Arc(next)}),
                        Str("object " + std::to_string(next) + " of a long walk, with some text"))
              : VarBind(r.oid, Bytes{0x82, 0x00});
      const Bytes reply = Response(r.version, r.community, r.id, 0, 0, bind);
      ::sendto(fd, reply.data(), reply.size(), 0, reinterpret_cast<sockaddr*>(&from), from_len);
    } catch (const std::exception&) {
    }
  }
}

struct WalkRun {
  int status = -1;
  long max_rss_kib = 0;
  double seconds = 0;
};

WalkRun Walk(std::uint16_t port, const std::string& home) {
  const std::string cli = SONDARA_CLI, port_text = std::to_string(port);
  std::vector<std::string> args = {cli,  "walk",   "127.0.0.1", "-p",   port_text,
                                   "-c", "public", "-t",        "5000", ".1.3.6.1.4.1.9999.1"};
  std::vector<char*> argv;
  for (std::string& a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);
  std::vector<std::string> env_text = {"SONDARA_HOME=" + home, "XDG_CONFIG_HOME=" + home,
                                       "HOME=" + home, "PATH=/usr/bin:/bin"};
  std::vector<char*> env;
  for (std::string& e : env_text)
    env.push_back(e.data());
  env.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  WalkRun run;
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = 0;
  if (posix_spawn(&pid, cli.c_str(), &actions, nullptr, argv.data(), env.data()) == 0) {
    int status = 0;
    rusage usage{};
    if (::wait4(pid, &status, 0, &usage) == pid) {
      run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      run.max_rss_kib = usage.ru_maxrss;
    }
  }
  posix_spawn_file_actions_destroy(&actions);
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return run;
}

}  // namespace

int main(int argc, char** argv) {
  const std::uint32_t small = argc > 2 ? static_cast<std::uint32_t>(std::atol(argv[1])) : 4000;
  const std::uint32_t large = argc > 2 ? static_cast<std::uint32_t>(std::atol(argv[2])) : 400000;
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in local{};
  local.sin_family = AF_INET;
  local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof local;
  if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &len) != 0) {
    std::perror("agent socket");
    return 1;
  }
  char home_template[] = "/tmp/walk-memory-bench-XXXXXX";
  const char* home = ::mkdtemp(home_template);
  if (home == nullptr) {
    std::perror("mkdtemp");
    return 1;
  }
  std::atomic<std::uint32_t> count{small};
  std::atomic<bool> stop{false};
  std::thread agent(Serve, fd, std::cref(count), std::cref(stop));
  long rss[2] = {0, 0};
  int failed = 0;
  for (int i = 0; i < 2; ++i) {
    count = i == 0 ? small : large;
    const WalkRun run = Walk(ntohs(local.sin_port), home);
    rss[i] = run.max_rss_kib;
    failed |= run.status != 0;
    std::printf("objects %u: exit %d, %.1f s, peak RSS %ld KiB\n", count.load(), run.status,
                run.seconds, run.max_rss_kib);
  }
  stop = true;
  agent.join();
  ::close(fd);
  std::system(("rm -rf " + std::string(home)).c_str());
  if (rss[0] > 0)
    std::printf("ratio %.3f\n", static_cast<double>(rss[1]) / static_cast<double>(rss[0]));
  return failed;
}
