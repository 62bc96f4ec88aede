// CUdpSession: one UDP socket to one SNMP agent for the length of one operation. It sends to
// the agent and takes answers only from that agent's address and port.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <stop_token>
#include <string>

#include "logs/transaction_sink.h"
#include "net/adapter_table.h"
#include "net/udp_socket_ops.h"

namespace net {

// The settings an exchange needs; the pages fill it from the application object.
struct UdpSettings {
  bool use_ipv6 = false;          // IPv6 socket and resolver instead of IPv4
  int request_timeout_ms = 1000;  // each wait for an answer
  int retries = 3;                // sends after the first when no answer comes
  net::_adapterinfo adapter;      // the local address to bind to; empty record: any
};

// Receive modes: one datagram, or datagrams appended until the buffer is full.
inline constexpr int kReceiveOne = 0;
inline constexpr int kReceiveFill = 1;
// What Receive gives when the wait ran out with nothing from the peer or the socket failed; an
// empty datagram from the peer is 0, an answer like any other.
inline constexpr std::int32_t kNothingReceived = -1;
// What ReceiveUntil gives when a stop was requested while it waited.
inline constexpr std::int32_t kReceiveStopped = -2;
// At most this many stale datagrams are thrown away before a send: a sender that keeps the
// socket full cannot hold the send back.
inline constexpr int kMaxStaleDrained = 1024;

// The address a socket of the family binds to on `adapter` (any address when it has none), with
// `port`; false when the adapter's IPv6 address does not parse.
bool LocalBindAddress(bool use_ipv6, const _adapterinfo& adapter, std::uint16_t port,
                      sockaddr_storage& out, socklen_t& out_len);

class CUdpSession {
 public:
  // Resolves the host (IPv4 or IPv6 by settings.use_ipv6; SNMPINTERNALERROR -2 when it
  // cannot) and keeps port, time-out and adapter. With open_now the socket is opened at once
  // and a failed open is thrown (-1 bind, -7 socket); otherwise it opens on first use.
  CUdpSession(const std::wstring& host, std::uint16_t port, const UdpSettings& settings,
              bool open_now, IUdpSocketOps* ops = nullptr);
  ~CUdpSession();
  CUdpSession(const CUdpSession&) = delete;
  CUdpSession& operator=(const CUdpSession&) = delete;

  // Makes the socket and binds it to port 0 on the chosen adapter's address (any address when
  // it has none). Returns 0, kSnmpUnknownError (-7) when no socket could be made or
  // kSnmpBindError (-1) when binding failed; a failure leaves the session closed.
  int Open();
  // Fixes the destination and the filter for answers: the resolved host and the port. Opens
  // first when closed (a failed open is thrown); an IPv6 text that does not parse throws -2.
  void SetPeer();
  // With drain_stale, first throws away the datagrams already waiting (late answers to an
  // earlier request; at most kMaxStaleDrained), then sends all bytes. A retry of the same
  // request drains nothing: a late answer to its first try answers it as well. Returns the
  // number sent; 0 when len < 1, when the socket cannot be opened, or when a socket call fails
  // (which closes the session).
  std::int32_t Send(const std::uint8_t* data, std::int32_t len, bool drain_stale = true);
  // Waits up to the time-out from now for a datagram from the peer; see ReceiveUntil.
  std::int32_t Receive(std::uint8_t* buffer, std::int32_t size, int mode);
  // Waits until `deadline` for a datagram from the peer. Datagrams from anyone else are thrown
  // away and never move the deadline, so a flood from elsewhere cannot hold the wait open.
  // Mode kReceiveOne returns one datagram's length (0 for an empty one); kReceiveFill appends
  // datagrams until `size` bytes are filled and returns what it gathered when the wait runs
  // out. kNothingReceived when nothing came in time (the socket stays open for the next try)
  // or a call failed (which closes the session); kReceiveStopped within
  // tvkutil::kStopPollSlice of a stop requested through `stop`.
  std::int32_t ReceiveUntil(std::uint8_t* buffer, std::int32_t size, int mode,
                            std::chrono::steady_clock::time_point deadline,
                            std::stop_token stop = {});
  void Close();

  // For an agent that answers within a few hundred microseconds (one on this machine): Receive
  // in mode kReceiveOne first asks the socket again and again for up to kQuickAnswerSpin,
  // giving the processor away between asks, and only then sleeps until the answer comes. A
  // sleeping thread is woken too late for such an agent, and a walk makes thousands of these
  // waits. While answers take longer than that on average nothing is spun, so a distant agent
  // costs no processor time. Off unless turned on.
  void SetQuickAnswerWait(bool on) { quick_answer_wait_ = on; }

  bool IsOpen() const { return open_; }
  // Our address and port as the datagrams leave (see FillLocalEnd) and the peer's, for the
  // transaction log.
  const logs::DatagramEnds& Ends() const { return ends_; }
  const std::wstring& Host() const { return host_; }
  std::uint16_t Port() const { return port_; }
  int TimeoutMs() const { return timeout_ms_; }

 private:
  bool FromPeer(const sockaddr_storage& from) const;
  // The spinning part of ReceiveUntil, until `until`: the length of an answer from the peer,
  // kSpinNothing when none came, kSpinFailed when the socket failed. Datagrams from anyone else
  // are thrown away.
  static constexpr std::int32_t kSpinNothing = -1;
  static constexpr std::int32_t kSpinFailed = -2;
  std::int32_t SpinForAnswer(std::uint8_t* buffer, std::int32_t size,
                             std::chrono::steady_clock::time_point until);
  void NoteAnswerTime(std::chrono::steady_clock::duration waited);
  // Our end as the socket is bound; bound to any address, the address the kernel sends from to
  // the peer, so the log shows where the datagrams really came from.
  void FillLocalEnd();

  IUdpSocketOps& ops_;
  bool open_ = false;
  bool use_ipv6_;
  int fd_ = -1;
  std::wstring host_;
  std::uint32_t ipv4_address_ = 0;  // network byte order
  std::wstring ipv6_text_;          // resolved numeric text with its scope
  std::uint16_t port_;
  int timeout_ms_;
  net::_adapterinfo adapter_;
  sockaddr_storage peer_{};
  socklen_t peer_len_ = 0;
  logs::DatagramEnds ends_;
  bool quick_answer_wait_ = false;
  std::chrono::microseconds mean_answer_time_{0};  // moving average of recent waits
};

// How long Receive spins for an agent whose answers came that quickly on average.
inline constexpr std::chrono::microseconds kQuickAnswerSpin{250};

}  // namespace net
