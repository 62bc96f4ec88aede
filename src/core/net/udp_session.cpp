#include "net/udp_session.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "net/address.h"
#include "net/exchange_result.h"
#include "util/runner.h"
#include "util/text.h"

namespace net {

namespace {

using Clock = std::chrono::steady_clock;

// Stale datagrams are read into this much scratch; anything longer is cut, which is fine
// since they are thrown away.
constexpr std::size_t kDrainScratchLen = 512;
// An address of all ones means the adapter has none.
constexpr std::uint32_t kNoAddress = 0xFFFFFFFF;

bool IsUnspecified(const sockaddr_storage& a) {
  if (a.ss_family == AF_INET)
    return reinterpret_cast<const sockaddr_in&>(a).sin_addr.s_addr == INADDR_ANY;
  if (a.ss_family == AF_INET6)
    return IN6_IS_ADDR_UNSPECIFIED(&reinterpret_cast<const sockaddr_in6&>(a).sin6_addr);
  return false;
}

// The address the kernel sends from to `peer` when the socket is bound to any address: a UDP
// connect picks the route and its source without sending anything. A family of 0 when there is
// no route.
sockaddr_storage RouteSource(const sockaddr_storage& peer) {
  sockaddr_storage source{};
  const int fd = ::socket(peer.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  if (fd < 0)
    return source;
  const socklen_t peer_len =
      peer.ss_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
  socklen_t len = sizeof source;
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&peer), peer_len) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&source), &len) != 0)
    source = {};
  ::close(fd);
  return source;
}

// The address of `from` into `to`, keeping the port of `to`.
void CopyAddress(const sockaddr_storage& from, sockaddr_storage& to) {
  if (from.ss_family != to.ss_family)
    return;
  if (from.ss_family == AF_INET) {
    reinterpret_cast<sockaddr_in&>(to).sin_addr =
        reinterpret_cast<const sockaddr_in&>(from).sin_addr;
  } else {
    auto& t6 = reinterpret_cast<sockaddr_in6&>(to);
    const auto& f6 = reinterpret_cast<const sockaddr_in6&>(from);
    t6.sin6_addr = f6.sin6_addr;
    t6.sin6_scope_id = f6.sin6_scope_id;
  }
}

}  // namespace

bool LocalBindAddress(bool use_ipv6, const _adapterinfo& adapter, std::uint16_t port,
                      sockaddr_storage& out, socklen_t& out_len) {
  out = {};
  if (use_ipv6) {
    auto& a6 = reinterpret_cast<sockaddr_in6&>(out);
    if (adapter.IsDefault() || adapter.address.empty() ||
        tvkutil::EqualsNoCase(adapter.address, L"Default")) {
      a6.sin6_family = AF_INET6;
      a6.sin6_addr = in6addr_any;
      a6.sin6_scope_id = adapter.ipv6_scope_id == kNoAddress ? 0 : adapter.ipv6_scope_id;
    } else if (!ParseIPv6Address(adapter.address, a6)) {
      return false;
    }
    a6.sin6_port = htons(port);
    out_len = sizeof(sockaddr_in6);
  } else {
    auto& a4 = reinterpret_cast<sockaddr_in&>(out);
    a4.sin_family = AF_INET;
    a4.sin_port = htons(port);
    const std::uint32_t address = adapter.is_ipv4 != 0 ? adapter.ipv4_address : 0;
    a4.sin_addr.s_addr = address == kNoAddress ? INADDR_ANY : address;
    out_len = sizeof(sockaddr_in);
  }
  return true;
}

CUdpSession::CUdpSession(const std::wstring& host, std::uint16_t port, const UdpSettings& settings,
                         bool open_now, IUdpSocketOps* ops)
    : ops_(ops != nullptr ? *ops : PosixUdpSocketOps()),
      use_ipv6_(settings.use_ipv6),
      host_(host),
      port_(port),
      timeout_ms_(settings.request_timeout_ms),
      adapter_(settings.adapter) {
  if (use_ipv6_) {
    const std::uint32_t scope = adapter_.ipv6_scope_id == kNoAddress ? 0 : adapter_.ipv6_scope_id;
    if (!ResolveIPv6Host(host_, scope, ipv6_text_))
      throw kSnmpResolveError;
  } else if (!ResolveIPv4Host(host_, ipv4_address_)) {
    throw kSnmpResolveError;
  }
  if (open_now) {
    if (const int r = Open(); r != 0)
      throw static_cast<SNMPINTERNALERROR>(r);
  }
}

CUdpSession::~CUdpSession() {
  Close();
}

int CUdpSession::Open() {
  Close();
  fd_ = ops_.Socket(use_ipv6_ ? AF_INET6 : AF_INET);
  if (fd_ < 0) {
    Close();
    return kSnmpUnknownError;
  }
  sockaddr_storage local{};
  socklen_t local_len = 0;
  if (!LocalBindAddress(use_ipv6_, adapter_, 0, local, local_len)) {
    Close();
    return kSnmpBindError;
  }
  if (ops_.Bind(fd_, reinterpret_cast<const sockaddr*>(&local), local_len) != 0) {
    Close();
    return kSnmpBindError;
  }
  open_ = true;
  FillLocalEnd();
  return 0;
}

void CUdpSession::FillLocalEnd() {
  ends_.local = {};
  socklen_t bound_len = sizeof ends_.local;
  if (ops_.SockName(fd_, reinterpret_cast<sockaddr*>(&ends_.local), &bound_len) != 0) {
    ends_.local = {};
    return;
  }
  if (peer_.ss_family == ends_.local.ss_family && IsUnspecified(ends_.local))
    CopyAddress(RouteSource(peer_), ends_.local);
}

void CUdpSession::SetPeer() {
  if (!open_) {
    if (const int r = Open(); r != 0)
      throw static_cast<SNMPINTERNALERROR>(r);
  }
  peer_ = {};
  if (use_ipv6_) {
    auto& p6 = reinterpret_cast<sockaddr_in6&>(peer_);
    if (!ParseIPv6Address(ipv6_text_, p6))
      throw kSnmpResolveError;
    p6.sin6_port = htons(port_);
    peer_len_ = sizeof(sockaddr_in6);
  } else {
    auto& p4 = reinterpret_cast<sockaddr_in&>(peer_);
    p4.sin_family = AF_INET;
    p4.sin_port = htons(port_);
    p4.sin_addr.s_addr = ipv4_address_;
    peer_len_ = sizeof(sockaddr_in);
  }
  ends_.remote = peer_;
  FillLocalEnd();
}

std::int32_t CUdpSession::Send(const std::uint8_t* data, std::int32_t len, bool drain_stale) {
  if (!open_ && Open() != 0)
    return 0;
  // An answer to an earlier request must not be taken for the answer to this one. Bounded: a
  // sender that keeps the socket full must not hold the send back.
  std::array<std::uint8_t, kDrainScratchLen> scratch;
  for (int drained = 0; drain_stale && drained < kMaxStaleDrained;) {
    sockaddr_storage from{};
    socklen_t from_len = sizeof from;
    const ssize_t n = ops_.RecvFrom(fd_, scratch.data(), scratch.size(),
                                    reinterpret_cast<sockaddr*>(&from), &from_len);
    if (n >= 0) {
      ++drained;
      continue;
    }
    if (errno == EAGAIN || errno == EWOULDBLOCK)
      break;
    if (errno == EINTR)
      continue;
    Close();
    return 0;
  }
  if (len < 1 || data == nullptr)
    return 0;
  std::int32_t sent = 0;
  while (sent < len) {
    const ssize_t n = ops_.SendTo(fd_, data + sent, static_cast<std::size_t>(len - sent),
                                  reinterpret_cast<const sockaddr*>(&peer_), peer_len_);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0) {
      Close();
      return 0;
    }
    sent += static_cast<std::int32_t>(n);
  }
  return sent;
}

bool CUdpSession::FromPeer(const sockaddr_storage& from) const {
  if (from.ss_family != peer_.ss_family)
    return false;
  if (from.ss_family == AF_INET) {
    const auto& f = reinterpret_cast<const sockaddr_in&>(from);
    const auto& p = reinterpret_cast<const sockaddr_in&>(peer_);
    return f.sin_port == p.sin_port && f.sin_addr.s_addr == p.sin_addr.s_addr;
  }
  // The scope is not compared: replies to a link-local address carry the interface the
  // kernel chose, which need not be the number the user typed.
  const auto& f = reinterpret_cast<const sockaddr_in6&>(from);
  const auto& p = reinterpret_cast<const sockaddr_in6&>(peer_);
  return f.sin6_port == p.sin6_port &&
         std::memcmp(&f.sin6_addr, &p.sin6_addr, sizeof(in6_addr)) == 0;
}

std::int32_t CUdpSession::SpinForAnswer(std::uint8_t* buffer, std::int32_t size,
                                        Clock::time_point until) {
  do {
    sockaddr_storage from{};
    socklen_t from_len = sizeof from;
    const ssize_t n = ops_.RecvFrom(fd_, buffer, static_cast<std::size_t>(size),
                                    reinterpret_cast<sockaddr*>(&from), &from_len);
    if (n >= 0) {
      if (FromPeer(from))
        return static_cast<std::int32_t>(n);
      continue;  // someone else's: thrown away
    }
    if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)
      return kSpinFailed;
    // On the agent's own processor this lets the agent run and answer.
    std::this_thread::yield();
  } while (Clock::now() < until);
  return kSpinNothing;
}

void CUdpSession::NoteAnswerTime(Clock::duration waited) {
  // A single slow answer counts for at most ten spins, so spinning soon resumes after it.
  const auto sample = std::min(std::chrono::duration_cast<std::chrono::microseconds>(waited),
                               kQuickAnswerSpin * 10);
  mean_answer_time_ = (mean_answer_time_ * 7 + sample) / 8;
}

std::int32_t CUdpSession::Receive(std::uint8_t* buffer, std::int32_t size, int mode) {
  return ReceiveUntil(buffer, size, mode, Clock::now() + std::chrono::milliseconds(timeout_ms_));
}

std::int32_t CUdpSession::ReceiveUntil(std::uint8_t* buffer, std::int32_t size, int mode,
                                       Clock::time_point deadline, std::stop_token stop) {
  if (!open_ || buffer == nullptr || size < 1)
    return kNothingReceived;
  const auto started = Clock::now();
  if (quick_answer_wait_ && mode == kReceiveOne && mean_answer_time_ <= kQuickAnswerSpin) {
    const std::int32_t n =
        SpinForAnswer(buffer, size, std::min(deadline, started + kQuickAnswerSpin));
    if (n == kSpinFailed) {
      Close();
      return kNothingReceived;
    }
    if (n != kSpinNothing) {
      NoteAnswerTime(Clock::now() - started);
      return n;
    }
  }
  std::int32_t total = 0;
  bool gathered = false;
  for (;;) {
    // Checked before every read, not only when the socket is quiet: under a flood it never is.
    if (stop.stop_requested())
      return kReceiveStopped;
    auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0)
      break;
    if (stop.stop_possible())
      left = std::min(left, tvkutil::kStopPollSlice);
    const int ready = ops_.WaitReadable(fd_, static_cast<int>(left.count()));
    if (ready < 0 && errno == EINTR)
      continue;
    if (ready == 0)
      continue;  // the deadline or the stop is looked at above
    if (ready < 0) {
      Close();
      return kNothingReceived;
    }
    sockaddr_storage from{};
    socklen_t from_len = sizeof from;
    const ssize_t n = ops_.RecvFrom(fd_, buffer + total, static_cast<std::size_t>(size - total),
                                    reinterpret_cast<sockaddr*>(&from), &from_len);
    if (n < 0) {
      if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)
        continue;
      Close();
      return kNothingReceived;
    }
    if (!FromPeer(from))
      continue;
    if (mode != kReceiveFill) {
      NoteAnswerTime(Clock::now() - started);
      return static_cast<std::int32_t>(n);
    }
    total += static_cast<std::int32_t>(n);
    gathered = true;
    if (total >= size)
      return total;
  }
  return gathered ? total : kNothingReceived;
}

void CUdpSession::Close() {
  if (fd_ >= 0)
    ops_.Close(fd_);
  fd_ = -1;
  open_ = false;
}

}  // namespace net
