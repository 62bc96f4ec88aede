// A scripted SNMP agent on loopback for the exchange tests: it records every datagram it gets
// and answers as the test's script says (nothing, late, twice, from another port, any bytes).
// Bound to 127.0.0.1 or ::1 only.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
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
  using Clock = std::chrono::steady_clock;
  struct Datagram {
    std::vector<std::uint8_t> bytes;
    sockaddr_storage from{};
    socklen_t from_len = 0;
    Clock::time_point at;
  };
  struct Reply {
    std::vector<std::uint8_t> bytes;
    int delay_ms = 0;
    bool from_other_port = false;  // sent from a second socket of the same host
  };
  // Called for the n-th datagram received (n from 0); returns the replies to send to its sender.
  using Script = std::function<std::vector<Reply>(const Datagram&, int n)>;

  explicit FakeAgent(Script script, int family = AF_INET) : script_(std::move(script)) {
    main_ = OpenBound(family);
    other_ = OpenBound(family);
    sockaddr_storage local{};
    socklen_t len = sizeof local;
    ::getsockname(main_, reinterpret_cast<sockaddr*>(&local), &len);
    port_ = ntohs(family == AF_INET ? reinterpret_cast<sockaddr_in&>(local).sin_port
                                    : reinterpret_cast<sockaddr_in6&>(local).sin6_port);
    thread_ = std::thread([this] { Run(); });
  }
  ~FakeAgent() {
    stop_ = true;
    thread_.join();
    ::close(main_);
    ::close(other_);
  }
  FakeAgent(const FakeAgent&) = delete;
  FakeAgent& operator=(const FakeAgent&) = delete;

  std::uint16_t Port() const { return port_; }
  std::vector<Datagram> Received() const {
    std::lock_guard lock(mutex_);
    return received_;
  }

 private:
  struct Scheduled {
    Clock::time_point due;
    Reply reply;
    sockaddr_storage to;
    socklen_t to_len;
  };

  static int OpenBound(int family) {
    const int fd = ::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_storage local{};
    socklen_t len;
    if (family == AF_INET) {
      auto& a = reinterpret_cast<sockaddr_in&>(local);
      a.sin_family = AF_INET;
      a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      len = sizeof a;
    } else {
      auto& a = reinterpret_cast<sockaddr_in6&>(local);
      a.sin6_family = AF_INET6;
      a.sin6_addr = in6addr_loopback;
      len = sizeof a;
    }
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&local), len) != 0) {
      throw std::runtime_error("fake agent cannot bind to loopback");
    }
    return fd;
  }

  void Run() {
    std::vector<Scheduled> scheduled;
    while (!stop_) {
      const auto now = Clock::now();
      for (auto it = scheduled.begin(); it != scheduled.end();) {
        if (it->due > now) {
          ++it;
          continue;
        }
        ::sendto(it->reply.from_other_port ? other_ : main_, it->reply.bytes.data(),
                 it->reply.bytes.size(), 0, reinterpret_cast<sockaddr*>(&it->to), it->to_len);
        it = scheduled.erase(it);
      }
      pollfd p{main_, POLLIN, 0};
      if (::poll(&p, 1, 5) <= 0)
        continue;  // short ticks keep delayed replies on time
      Datagram d;
      d.bytes.resize(65535);
      d.from_len = sizeof d.from;
      const ssize_t n = ::recvfrom(main_, d.bytes.data(), d.bytes.size(), 0,
                                   reinterpret_cast<sockaddr*>(&d.from), &d.from_len);
      if (n < 0)
        continue;
      d.bytes.resize(static_cast<std::size_t>(n));
      d.at = Clock::now();
      int index;
      {
        std::lock_guard lock(mutex_);
        received_.push_back(d);
        index = static_cast<int>(received_.size()) - 1;
      }
      for (auto& r : script_(d, index)) {
        scheduled.push_back({d.at + std::chrono::milliseconds(r.delay_ms), r, d.from, d.from_len});
      }
    }
  }

  Script script_;
  int main_ = -1;
  int other_ = -1;
  std::uint16_t port_ = 0;
  std::atomic<bool> stop_{false};
  mutable std::mutex mutex_;
  std::vector<Datagram> received_;
  std::thread thread_;
};

}  // namespace testing_support
