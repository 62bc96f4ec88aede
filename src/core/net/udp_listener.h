// CUdpListener: a UDP socket bound to a known port that takes datagrams from anyone (traps and
// informs), answers a sender on the same socket, and counts the datagrams the kernel dropped
// because the socket's buffer was full.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <span>
#include <stop_token>
#include <string>

#include "net/udp_session.h"

namespace net {

// A receive buffer big enough for a burst of several thousand notifications while the
// receiving thread is held up; the kernel caps it at net.core.rmem_max.
inline constexpr int kListenReceiveBuffer = 8 << 20;

class CUdpListener {
 public:
  CUdpListener() = default;
  ~CUdpListener() { Close(); }
  CUdpListener(const CUdpListener&) = delete;
  CUdpListener& operator=(const CUdpListener&) = delete;

  // Binds UDP `port` of the family settings.use_ipv6 chooses on the adapter's address (any
  // address when none is chosen). 0, or the errno of the call that failed; the socket stays
  // closed then. `receive_buffer` bytes are asked for the socket's buffer.
  int Open(std::uint16_t port, const UdpSettings& settings,
           int receive_buffer = kListenReceiveBuffer);
  void Close();
  bool IsOpen() const { return fd_ >= 0; }

  // Waits until `deadline` for one datagram from anyone: its length (0 for an empty one) with
  // the sender in `from` and the address it was sent to, with our port, in `to` (a socket bound
  // to any address has several); kNothingReceived when the wait ran out or the socket failed;
  // kReceiveStopped within tvkutil::kStopPollSlice of a stop. A datagram longer than `buffer`
  // is cut to it.
  std::int32_t Receive(std::span<std::uint8_t> buffer, sockaddr_storage& from, sockaddr_storage& to,
                       std::chrono::steady_clock::time_point deadline, std::stop_token stop = {});
  // Sends all of `bytes` to `to` from the address `from` (what Receive gave as `to`), so an
  // answer leaves from the address its request came to; false when the call failed.
  bool SendTo(std::span<const std::uint8_t> bytes, const sockaddr_storage& to,
              const sockaddr_storage& from);

  // Datagrams the kernel dropped for this socket since it was opened: what the last datagram
  // received carried (SO_RXQ_OVFL), or more once RefreshDrops has asked the socket (drops after
  // the last datagram received show only there).
  std::uint64_t KernelDrops() const { return drops_; }
  void RefreshDrops();

  // The address and port the socket is bound to, for the transaction log.
  const sockaddr_storage& Local() const { return local_; }
  std::uint16_t Port() const;

 private:
  int fd_ = -1;
  bool ipv6_ = false;
  std::uint64_t drops_ = 0;
  sockaddr_storage local_{};
};

// The process holding UDP `port` ("snmptrapd (pid 1234)"), found through /proc/net/udp and
// udp6 and the sockets in /proc/*/fd; empty when none can be seen (another user's process, or
// another network namespace).
std::wstring UdpPortHolder(std::uint16_t port);

// What a failed Open means for the person at the desk, with the way out: privileged ports,
// the port in use (naming the holder when it can be found), anything else by its errno text.
std::wstring ListenFailureText(int error, std::uint16_t port);

// "192.0.2.1" or "2001:db8::1" (with its scope where it has one), and its port.
std::wstring SockAddressText(const sockaddr_storage& address);
std::uint16_t SockPort(const sockaddr_storage& address);

}  // namespace net
