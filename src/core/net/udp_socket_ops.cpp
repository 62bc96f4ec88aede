#include "net/udp_socket_ops.h"

#include <netinet/in.h>
#include <poll.h>
#include <unistd.h>

namespace net {

namespace {

class CPosixUdpSocketOps : public IUdpSocketOps {
 public:
  int Socket(int family) override {
    return ::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  }
  int Bind(int fd, const sockaddr* addr, socklen_t addr_len) override {
    return ::bind(fd, addr, addr_len);
  }
  ssize_t SendTo(int fd, const void* data, std::size_t len, const sockaddr* to,
                 socklen_t to_len) override {
    return ::sendto(fd, data, len, MSG_NOSIGNAL, to, to_len);
  }
  ssize_t RecvFrom(int fd, void* data, std::size_t len, sockaddr* from,
                   socklen_t* from_len) override {
    return ::recvfrom(fd, data, len, MSG_DONTWAIT, from, from_len);
  }
  int WaitReadable(int fd, int timeout_ms) override {
    pollfd p{fd, POLLIN, 0};
    return ::poll(&p, 1, timeout_ms);
  }
  void Close(int fd) override { ::close(fd); }
};

}  // namespace

IUdpSocketOps& PosixUdpSocketOps() {
  static CPosixUdpSocketOps ops;
  return ops;
}

}  // namespace net
