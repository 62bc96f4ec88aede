// delay_relay LISTEN_PORT AGENT_PORT DELAY_MS [LOSS_PERCENT] [SECONDS]
//
// A UDP relay on 127.0.0.1 that makes loopback look like a network: every datagram a client
// sends to LISTEN_PORT goes on to the agent at AGENT_PORT, and every answer back to that
// client, each DELAY_MS (fractions allowed: 0.5) later in each direction and dropped with
// LOSS_PERCENT (default 0) chance. Each client address gets a socket of its own towards the
// agent, so the agent sees as many peers as there are clients and answers find their way back.
// Loopback only; it ends after SECONDS (default 900) or on SIGTERM/SIGINT, and prints what it
// forwarded and dropped.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <queue>
#include <random>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

volatile sig_atomic_t stop_asked = 0;
void AskStop(int) {
  stop_asked = 1;
}

// Bounded: a relay left behind by a killed script must not run for ever, nor collect clients.
constexpr std::size_t kMostClients = 256;
constexpr std::size_t kMostQueued = 100000;

int BoundSocket(std::uint16_t port) {
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_port = htons(port);
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
    std::perror("delay_relay: bind");
    std::exit(2);
  }
  // Big buffers: a burst of GetBulk answers must wait in the relay's queue, not be dropped by
  // the kernel.
  const int size = 4 << 20;
  ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
  ::setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
  return fd;
}

struct Pending {
  Clock::time_point due;
  std::uint64_t order;  // equal delays keep the order datagrams came in
  int fd;               // sent from this socket
  sockaddr_in to;
  std::vector<std::uint8_t> bytes;
  bool operator>(const Pending& o) const { return due != o.due ? due > o.due : order > o.order; }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr,
                 "usage: delay_relay LISTEN_PORT AGENT_PORT DELAY_MS [LOSS_PERCENT] "
                 "[SECONDS]\n");
    return 2;
  }
  const auto listen_port = static_cast<std::uint16_t>(std::atoi(argv[1]));
  const auto agent_port = static_cast<std::uint16_t>(std::atoi(argv[2]));
  const auto delay = std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double, std::milli>(std::atof(argv[3])));
  const double loss = argc > 4 ? std::atof(argv[4]) / 100.0 : 0.0;
  const int seconds = argc > 5 ? std::atoi(argv[5]) : 900;
  ::signal(SIGTERM, AskStop);
  ::signal(SIGINT, AskStop);
  // Wake-ups within a microsecond of when asked, not the default 50 µs later.
  ::prctl(PR_SET_TIMERSLACK, 1000UL, 0, 0, 0);

  const int listener = BoundSocket(listen_port);
  sockaddr_in agent{};
  agent.sin_family = AF_INET;
  agent.sin_port = htons(agent_port);
  agent.sin_addr.s_addr = htonl(INADDR_LOOPBACK);

  std::map<std::pair<std::uint32_t, std::uint16_t>, int> upstream;  // client -> its socket
  std::map<int, sockaddr_in> client_of;                             // socket -> client
  std::priority_queue<Pending, std::vector<Pending>, std::greater<>> queue;
  std::mt19937_64 random(29);
  std::bernoulli_distribution lost(loss);
  std::uint64_t order = 0, forwarded = 0, dropped = 0;
  const auto end = Clock::now() + std::chrono::seconds(seconds);
  std::vector<std::uint8_t> buffer(65536);

  const auto take = [&](int from_fd, int to_fd, const sockaddr_in& to) {
    const ssize_t n = ::recv(from_fd, buffer.data(), buffer.size(), 0);
    if (n < 0)
      return;
    if (lost(random) || queue.size() >= kMostQueued) {
      ++dropped;
      return;
    }
    queue.push({Clock::now() + delay, order++, to_fd, to,
                std::vector<std::uint8_t>(buffer.begin(), buffer.begin() + n)});
  };

  while (stop_asked == 0 && Clock::now() < end) {
    const auto now = Clock::now();
    while (!queue.empty() && queue.top().due <= now) {
      const Pending& p = queue.top();
      ::sendto(p.fd, p.bytes.data(), p.bytes.size(), 0, reinterpret_cast<const sockaddr*>(&p.to),
               sizeof p.to);
      ++forwarded;
      queue.pop();
    }
    std::vector<pollfd> fds{{listener, POLLIN, 0}};
    for (const auto& [fd, client] : client_of)
      fds.push_back({fd, POLLIN, 0});
    const auto until = queue.empty() ? now + std::chrono::milliseconds(100)
                                     : std::min(queue.top().due, now + std::chrono::seconds(1));
    const auto wait = std::chrono::duration_cast<std::chrono::nanoseconds>(until - now);
    const timespec ts{static_cast<time_t>(wait.count() / 1000000000),
                      static_cast<long>(wait.count() % 1000000000)};
    if (::ppoll(fds.data(), fds.size(), &ts, nullptr) <= 0)
      continue;
    if ((fds[0].revents & POLLIN) != 0) {
      sockaddr_in from{};
      socklen_t len = sizeof from;
      // Peek to learn the sender, then read it through take().
      if (::recvfrom(listener, buffer.data(), 1, MSG_PEEK, reinterpret_cast<sockaddr*>(&from),
                     &len) >= 0) {
        const auto key = std::make_pair(from.sin_addr.s_addr, from.sin_port);
        auto it = upstream.find(key);
        if (it == upstream.end() && upstream.size() < kMostClients) {
          const int fd = BoundSocket(0);
          it = upstream.emplace(key, fd).first;
          client_of[fd] = from;
        }
        if (it != upstream.end())
          take(listener, it->second, agent);
        else
          (void)::recv(listener, buffer.data(), buffer.size(), 0);
      }
    }
    for (std::size_t i = 1; i < fds.size(); ++i) {
      if ((fds[i].revents & POLLIN) != 0)
        take(fds[i].fd, listener, client_of[fds[i].fd]);
    }
  }
  std::printf("delay_relay: forwarded %llu, dropped %llu, clients %zu\n",
              static_cast<unsigned long long>(forwarded), static_cast<unsigned long long>(dropped),
              upstream.size());
  for (const auto& [fd, client] : client_of)
    ::close(fd);
  ::close(listener);
  return 0;
}
