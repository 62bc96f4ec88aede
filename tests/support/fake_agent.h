// A scripted SNMP agent on 127.0.0.1 or ::1: records every datagram and answers from its own
// thread as the script says (late, twice, a flood, from another port; bytes the test wrote).
#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace testing_support {

class FakeAgent {
 public:
  struct Datagram {
    std::vector<std::uint8_t> bytes;
    sockaddr_storage from{};
    socklen_t from_len = sizeof from;
  };
  struct Reply {
    std::vector<std::uint8_t> bytes;
    int delay_ms = 0;  // after the datagram came; in order, and no datagram is taken meanwhile
    bool from_other_port = false;  // sent from a second socket on the same address
  };
  // Called for the n-th datagram received (n from 0); returns the replies to its sender.
  using Script = std::function<std::vector<Reply>(const Datagram&, int n)>;

  explicit FakeAgent(Script script, int family = AF_INET)
      : script_(std::move(script)), main_(OpenBound(family)), other_(OpenBound(family)) {
    sockaddr_in6 local{};  // sin_port and sin6_port share their offset
    socklen_t len = sizeof local;
    ::getsockname(main_, reinterpret_cast<sockaddr*>(&local), &len);
    port_ = ntohs(local.sin6_port);
    thread_ = std::thread([this] { Run(); });
  }
  ~FakeAgent() {
    stop_ = true;
    thread_.join();
    ::close(main_);
    ::close(other_);
  }

  std::uint16_t Port() const { return port_; }
  std::vector<Datagram> Received() const {
    std::lock_guard lock(mutex_);
    return received_;
  }
  // Replies sent so far; on loopback a sent reply already waits in the receiver's socket.
  int RepliesSent() const { return replies_sent_; }

 private:
  static int OpenBound(int family) {
    sockaddr_in a4{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    sockaddr_in6 a6{AF_INET6, 0, 0, in6addr_loopback, 0};
    const bool v4 = family == AF_INET;
    const int fd = ::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0 ||
        ::bind(fd, v4 ? reinterpret_cast<sockaddr*>(&a4) : reinterpret_cast<sockaddr*>(&a6),
               v4 ? sizeof a4 : sizeof a6) != 0)
      throw std::runtime_error("fake agent cannot bind to loopback");
    return fd;
  }

  void Run() {
    while (!stop_) {
      pollfd p{main_, POLLIN, 0};
      if (::poll(&p, 1, 10) <= 0)
        continue;
      Datagram d;
      d.bytes.resize(65535);
      const ssize_t n = ::recvfrom(main_, d.bytes.data(), d.bytes.size(), 0,
                                   reinterpret_cast<sockaddr*>(&d.from), &d.from_len);
      if (n < 0)
        continue;
      d.bytes.resize(static_cast<std::size_t>(n));
      const auto at = std::chrono::steady_clock::now();
      std::unique_lock lock(mutex_);
      received_.push_back(d);
      const int index = static_cast<int>(received_.size()) - 1;
      lock.unlock();
      for (const auto& r : script_(d, index)) {
        if (stop_)
          break;  // the rest of a long script is not waited for
        std::this_thread::sleep_until(at + std::chrono::milliseconds(r.delay_ms));
        ::sendto(r.from_other_port ? other_ : main_, r.bytes.data(), r.bytes.size(), 0,
                 reinterpret_cast<const sockaddr*>(&d.from), d.from_len);
        ++replies_sent_;
      }
    }
  }

  Script script_;
  int main_, other_;
  std::uint16_t port_ = 0;
  std::atomic<bool> stop_{false};
  mutable std::mutex mutex_;
  std::vector<Datagram> received_;
  std::atomic<int> replies_sent_{0};
  std::thread thread_;
};

}  // namespace testing_support
