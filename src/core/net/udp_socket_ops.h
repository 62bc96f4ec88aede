// The socket calls of CUdpSession behind a small interface, so tests can drop, duplicate or
// delay datagrams and make calls fail. The POSIX one is used everywhere else.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>

#include <cstddef>

namespace net {

class IUdpSocketOps {
 public:
  virtual ~IUdpSocketOps() = default;
  // Each returns what the POSIX call returns and leaves errno set on failure.
  virtual int Socket(int family) = 0;  // a UDP datagram socket
  virtual int Bind(int fd, const sockaddr* addr, socklen_t addr_len) = 0;
  virtual ssize_t SendTo(int fd, const void* data, std::size_t len, const sockaddr* to,
                         socklen_t to_len) = 0;
  // Never blocks: EAGAIN when nothing waits.
  virtual ssize_t RecvFrom(int fd, void* data, std::size_t len, sockaddr* from,
                           socklen_t* from_len) = 0;
  // Waits until a datagram can be read: >0 readable, 0 timed out, <0 failed.
  virtual int WaitReadable(int fd, int timeout_ms) = 0;
  virtual void Close(int fd) = 0;
  // The address the socket is bound to (for the transaction log); 0 or -1 as getsockname.
  virtual int SockName(int fd, sockaddr* addr, socklen_t* addr_len) {
    return ::getsockname(fd, addr, addr_len);
  }
};

IUdpSocketOps& PosixUdpSocketOps();

}  // namespace net
