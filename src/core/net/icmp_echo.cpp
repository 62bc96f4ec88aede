#include "net/icmp_echo.h"

#include <arpa/inet.h>
#include <linux/errqueue.h>
#include <linux/icmp.h>
#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "net/address.h"
#include "util/runner.h"
#include "util/string_table.h"
#include "util/text.h"

namespace net {

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<bool> g_icmp_loaded{false};
// Echoes of concurrent pings (toolbar and discovery) must not take each other's replies, so
// sequence numbers and raw-socket identifiers are unique across the process.
std::atomic<std::uint16_t> g_next_sequence{1};
std::atomic<std::uint16_t> g_next_identifier{static_cast<std::uint16_t>(::getpid())};

constexpr std::size_t kIcmpHeaderLen = 8;
constexpr std::size_t kIpv6HeaderLen = 40;
constexpr std::uint8_t kIcmp4EchoReply = 0;
constexpr std::uint8_t kIcmp4Unreachable = 3;
constexpr std::uint8_t kIcmp4EchoRequest = 8;
constexpr std::uint8_t kIcmp4TimeExceeded = 11;
constexpr std::uint8_t kIcmp6EchoRequest = ICMP6_ECHO_REQUEST;
constexpr std::uint8_t kIcmp6EchoReply = ICMP6_ECHO_REPLY;

struct EchoResult {
  std::int32_t status = kEchoTimedOut;
  std::int32_t round_trip_ms = 0;
  std::int32_t data_size = 0;
  bool stopped = false;  // the stop test ended the wait
};

// An answer as the socket read it, for either family.
struct SocketAnswer {
  sockaddr_storage peer{};  // the address the echo went to
  std::uint16_t sequence = 0;
  std::int32_t status = kEchoTimedOut;
  std::int32_t data_size = 0;
  Clock::time_point at{};
};

std::uint16_t Read16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

// RFC 792 Internet checksum; ICMPv6 sockets get theirs from the kernel.
std::uint16_t InternetChecksum(const std::uint8_t* data, std::size_t len) {
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i + 1 < len; i += 2)
    sum += Read16(data + i);
  if (len % 2 != 0)
    sum += static_cast<std::uint32_t>(data[len - 1] << 8);
  while (sum >> 16)
    sum = (sum & 0xFFFF) + (sum >> 16);
  return static_cast<std::uint16_t>(~sum);
}

// RFC 792 / RFC 1812 codes of destination unreachable.
std::int32_t Icmp4ErrorStatus(std::uint8_t type, std::uint8_t code) {
  if (type == kIcmp4TimeExceeded)
    return kEchoTtlExpired;
  switch (code) {
    case 0:  // net unreachable
    case 6:  // destination network unknown
      return kEchoDestNetUnreachable;
    case 2:
      return kEchoDestProtUnreachable;
    case 3:
      return kEchoDestPortUnreachable;
    case 9:   // network administratively prohibited
    case 10:  // host administratively prohibited
    case 13:  // communication administratively prohibited
      return kEchoDestProhibited;
    default:
      return kEchoDestHostUnreachable;
  }
}

// RFC 4443 codes of destination unreachable.
std::int32_t Icmp6ErrorStatus(std::uint8_t type, std::uint8_t code) {
  if (type == ICMP6_TIME_EXCEEDED)
    return kEchoTtlExpired;
  if (type != ICMP6_DST_UNREACH)
    return kEchoGeneralFailure;
  switch (code) {
    case ICMP6_DST_UNREACH_NOROUTE:
      return kEchoDestNetUnreachable;
    case ICMP6_DST_UNREACH_ADMIN:
    case 5:  // source address failed ingress/egress policy
    case 6:  // reject route to destination
      return kEchoDestProhibited;
    case ICMP6_DST_UNREACH_NOPORT:
      return kEchoDestPortUnreachable;
    default:
      return kEchoDestHostUnreachable;
  }
}

// The system's refusal to send an echo, as the ICMP error a router would have sent: no route
// (ENETUNREACH), an unreachable route or a failed neighbour lookup (EHOSTUNREACH), a filter
// (EPERM). Anything else, EACCES of a broadcast address included, is a general failure.
std::int32_t SendErrorStatus(int error) {
  switch (error) {
    case ENETUNREACH:
      return kEchoDestNetUnreachable;
    case EHOSTUNREACH:
      return kEchoDestHostUnreachable;
    case EPERM:
      return kEchoDestProhibited;
    default:
      return kEchoGeneralFailure;
  }
}

bool SameAddress(const sockaddr_storage& a, const sockaddr_storage& b) {
  if (a.ss_family != b.ss_family)
    return false;
  if (a.ss_family == AF_INET) {
    return reinterpret_cast<const sockaddr_in&>(a).sin_addr.s_addr ==
           reinterpret_cast<const sockaddr_in&>(b).sin_addr.s_addr;
  }
  return std::memcmp(&reinterpret_cast<const sockaddr_in6&>(a).sin6_addr,
                     &reinterpret_cast<const sockaddr_in6&>(b).sin6_addr, sizeof(in6_addr)) == 0;
}

}  // namespace

// One ICMP socket of one family: for one ping call, or for a whole sweep. It only sends and
// reads; which answer belongs to which echo is its callers' business.
class CEchoSocket {
 public:
  explicit CEchoSocket(int family) : family_(family) {
    const int protocol = family == AF_INET ? int{IPPROTO_ICMP} : int{IPPROTO_ICMPV6};
    fd_ = ::socket(family, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol);
    if (fd_ < 0) {
      fd_ = ::socket(family, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol);
      raw_ = true;
    }
    if (fd_ < 0)
      return;
    identifier_ = g_next_identifier.fetch_add(1);
    const int ttl = kEchoTimeToLive;
    const int on = 1;
    if (family == AF_INET) {
      ::setsockopt(fd_, IPPROTO_IP, IP_TTL, &ttl, sizeof ttl);
      if (raw_) {
        // Raw sockets see every ICMP packet of the host; keep only what can answer an echo.
        icmp_filter filter{};
        filter.data =
            ~((1U << kIcmp4EchoReply) | (1U << kIcmp4Unreachable) | (1U << kIcmp4TimeExceeded));
        ::setsockopt(fd_, SOL_RAW, ICMP_FILTER, &filter, sizeof filter);
      } else {
        // Datagram sockets hear of unreachable errors only through the error queue.
        ::setsockopt(fd_, IPPROTO_IP, IP_RECVERR, &on, sizeof on);
      }
    } else {
      ::setsockopt(fd_, IPPROTO_IPV6, IPV6_UNICAST_HOPS, &ttl, sizeof ttl);
      if (raw_) {
        icmp6_filter filter{};
        ICMP6_FILTER_SETBLOCKALL(&filter);
        ICMP6_FILTER_SETPASS(ICMP6_ECHO_REPLY, &filter);
        ICMP6_FILTER_SETPASS(ICMP6_DST_UNREACH, &filter);
        ICMP6_FILTER_SETPASS(ICMP6_TIME_EXCEEDED, &filter);
        ::setsockopt(fd_, IPPROTO_ICMPV6, ICMP6_FILTER, &filter, sizeof filter);
      } else {
        ::setsockopt(fd_, IPPROTO_IPV6, IPV6_RECVERR, &on, sizeof on);
      }
    }
  }
  ~CEchoSocket() {
    if (fd_ >= 0)
      ::close(fd_);
  }
  CEchoSocket(const CEchoSocket&) = delete;
  CEchoSocket& operator=(const CEchoSocket&) = delete;

  bool IsOpen() const { return fd_ >= 0; }

  // Sends one echo with `sequence` and returns at once: kEchoSuccess, or the status of the
  // system's refusal (no route, no interface), after which no answer will come.
  std::int32_t Send(const sockaddr_storage& dest, socklen_t dest_len, std::uint16_t sequence) {
    std::array<std::uint8_t, kIcmpHeaderLen + kEchoPayloadLen> packet{};
    packet[0] = family_ == AF_INET ? kIcmp4EchoRequest : kIcmp6EchoRequest;
    // The kernel puts its own identifier into datagram-socket echoes; raw ones carry ours.
    packet[4] = static_cast<std::uint8_t>(identifier_ >> 8);
    packet[5] = static_cast<std::uint8_t>(identifier_);
    packet[6] = static_cast<std::uint8_t>(sequence >> 8);
    packet[7] = static_cast<std::uint8_t>(sequence);
    std::memcpy(packet.data() + kIcmpHeaderLen, kEchoPayload, kEchoPayloadLen);
    if (family_ == AF_INET) {
      const std::uint16_t sum = InternetChecksum(packet.data(), packet.size());
      packet[2] = static_cast<std::uint8_t>(sum >> 8);
      packet[3] = static_cast<std::uint8_t>(sum);
    }
    const ssize_t sent = ::sendto(fd_, packet.data(), packet.size(), 0,
                                  reinterpret_cast<const sockaddr*>(&dest), dest_len);
    if (sent == static_cast<ssize_t>(packet.size()))
      return kEchoSuccess;
    return SendErrorStatus(errno);
  }

  // Waits until something can be read or `until` has passed; true when something can be read.
  // The wait is to the microsecond: a sweep paces its echoes by it.
  bool WaitReadable(Clock::time_point until) {
    for (;;) {
      const auto left = std::max(until - Clock::now(), Clock::duration::zero());
      const auto secs = std::chrono::duration_cast<std::chrono::seconds>(left);
      const timespec ts{static_cast<time_t>(secs.count()),
                        static_cast<long>(std::chrono::nanoseconds(left - secs).count())};
      pollfd p{fd_, POLLIN, 0};
      const int ready = ::ppoll(&p, 1, &ts, nullptr);
      if (ready < 0 && errno == EINTR)
        continue;
      return ready > 0;
    }
  }

  // Takes every datagram and queued error waiting and keeps the answers about our echoes.
  void Drain(std::vector<SocketAnswer>& out) {
    if (!raw_)
      ReadErrorQueue(out);
    ReadReplies(out);
  }

 private:
  // Whether an echo header (ours as sent) carries our identifier. Datagram sockets only ever
  // see their own identifier, which the kernel chose.
  bool IsOurEcho(const std::uint8_t* icmp) const {
    return !raw_ || Read16(icmp + 4) == identifier_;
  }

  void ReadReplies(std::vector<SocketAnswer>& out) {
    std::array<std::uint8_t, 8220> buffer;
    for (;;) {
      SocketAnswer answer;
      socklen_t from_len = sizeof answer.peer;
      const ssize_t n = ::recvfrom(fd_, buffer.data(), buffer.size(), 0,
                                   reinterpret_cast<sockaddr*>(&answer.peer), &from_len);
      if (n < 0)
        return;  // nothing more (EAGAIN) or a pending error for the queue
      answer.at = Clock::now();
      std::size_t offset = 0;
      const auto len = static_cast<std::size_t>(n);
      if (family_ == AF_INET && raw_) {
        // Raw IPv4 sockets deliver the IP header too.
        if (len < 20)
          continue;
        offset = static_cast<std::size_t>(buffer[0] & 0x0F) * 4;
      }
      if (len < offset + kIcmpHeaderLen)
        continue;
      const std::uint8_t* icmp = buffer.data() + offset;
      const std::size_t icmp_len = len - offset;
      const bool v4 = family_ == AF_INET;
      if (icmp[0] == (v4 ? kIcmp4EchoReply : kIcmp6EchoReply)) {
        if (!IsOurEcho(icmp))
          continue;
        answer.sequence = Read16(icmp + 6);
        answer.status = kEchoSuccess;
        answer.data_size = static_cast<std::int32_t>(icmp_len - kIcmpHeaderLen);
        out.push_back(answer);
        continue;
      }
      // An error from a router on the way quotes our echo after its own header; the echo's
      // destination is the address it is about.
      const std::uint8_t* inner = icmp + kIcmpHeaderLen;
      const std::size_t inner_len = icmp_len - kIcmpHeaderLen;
      answer.peer = {};
      if (v4) {
        if (inner_len < 20)
          continue;
        const std::size_t ihl = static_cast<std::size_t>(inner[0] & 0x0F) * 4;
        if (inner_len < ihl + kIcmpHeaderLen)
          continue;
        auto& peer = reinterpret_cast<sockaddr_in&>(answer.peer);
        peer.sin_family = AF_INET;
        std::memcpy(&peer.sin_addr.s_addr, inner + 16, 4);
        inner += ihl;
        if (inner[0] != kIcmp4EchoRequest || !IsOurEcho(inner))
          continue;
        answer.status = Icmp4ErrorStatus(icmp[0], icmp[1]);
      } else {
        if (inner_len < kIpv6HeaderLen + kIcmpHeaderLen)
          continue;
        auto& peer = reinterpret_cast<sockaddr_in6&>(answer.peer);
        peer.sin6_family = AF_INET6;
        std::memcpy(&peer.sin6_addr, inner + 24, 16);
        inner += kIpv6HeaderLen;
        if (inner[0] != kIcmp6EchoRequest || !IsOurEcho(inner))
          continue;
        answer.status = Icmp6ErrorStatus(icmp[0], icmp[1]);
      }
      answer.sequence = Read16(inner + 6);
      out.push_back(answer);
    }
  }

  // Datagram sockets: an ICMP error about one of our echoes waits in the error queue with the
  // echo we sent as its data and the echo's destination as its address.
  void ReadErrorQueue(std::vector<SocketAnswer>& out) {
    for (;;) {
      std::array<std::uint8_t, 512> data;
      std::array<char, 512> control;
      SocketAnswer answer;
      iovec iov{data.data(), data.size()};
      msghdr msg{};
      msg.msg_name = &answer.peer;
      msg.msg_namelen = sizeof answer.peer;
      msg.msg_iov = &iov;
      msg.msg_iovlen = 1;
      msg.msg_control = control.data();
      msg.msg_controllen = control.size();
      const ssize_t n = ::recvmsg(fd_, &msg, MSG_ERRQUEUE);
      if (n < 0)
        return;
      if (static_cast<std::size_t>(n) < kIcmpHeaderLen)
        continue;
      answer.sequence = Read16(data.data() + 6);
      answer.at = Clock::now();
      for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c != nullptr; c = CMSG_NXTHDR(&msg, c)) {
        const bool is_error = (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_RECVERR) ||
                              (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_RECVERR);
        if (!is_error)
          continue;
        sock_extended_err err;
        std::memcpy(&err, CMSG_DATA(c), sizeof err);
        if (err.ee_origin == SO_EE_ORIGIN_ICMP) {
          answer.status = Icmp4ErrorStatus(err.ee_type, err.ee_code);
        } else if (err.ee_origin == SO_EE_ORIGIN_ICMP6) {
          answer.status = Icmp6ErrorStatus(err.ee_type, err.ee_code);
        } else {
          answer.status = kEchoGeneralFailure;
        }
        out.push_back(answer);
        break;
      }
    }
  }

  int family_;
  int fd_ = -1;
  bool raw_ = false;
  std::uint16_t identifier_ = 0;
};

namespace {

// One echo to `dest`, waiting up to timeout_ms for its answer; answers to earlier echoes of the
// same socket are passed over.
EchoResult Echo(CEchoSocket& socket, const sockaddr_storage& dest, socklen_t dest_len,
                int timeout_ms, std::stop_token stop) {
  EchoResult result;
  const std::uint16_t sequence = g_next_sequence.fetch_add(1);
  const Clock::time_point sent_at = Clock::now();
  const Clock::time_point deadline = sent_at + std::chrono::milliseconds(std::max(timeout_ms, 0));
  result.status = socket.Send(dest, dest_len, sequence);
  if (result.status != kEchoSuccess)
    return result;  // refused at once: there is nothing to wait for
  result.status = kEchoTimedOut;
  std::vector<SocketAnswer> answers;
  for (;;) {
    const Clock::time_point until = stop.stop_possible()
                                        ? std::min(deadline, Clock::now() + tvkutil::kStopPollSlice)
                                        : deadline;
    if (socket.WaitReadable(until)) {
      answers.clear();
      socket.Drain(answers);
      for (const SocketAnswer& a : answers) {
        if (a.sequence != sequence || !SameAddress(a.peer, dest))
          continue;
        result.status = a.status;
        if (a.status == kEchoSuccess) {
          result.round_trip_ms = static_cast<std::int32_t>(
              std::chrono::duration_cast<std::chrono::milliseconds>(a.at - sent_at).count());
          result.data_size = a.data_size;
        }
        return result;
      }
    }
    if (Clock::now() >= deadline)
      return result;
    if (stop.stop_requested()) {
      result.stopped = true;
      return result;
    }
  }
}

// The attempts loop both families share: up to retries + 1 echoes, stopping at the first
// that got an answer. Only a good answer counts as received; an error about the echo ends the
// attempts and is reported in words.
EchoResult EchoWithRetries(CEchoSocket& socket, const sockaddr_storage& dest, socklen_t dest_len,
                           int timeout_ms, int retries, std::stop_token stop) {
  EchoResult result;
  for (int attempt = 0; attempt <= std::max(retries, 0); ++attempt) {
    if (attempt > 0 && stop.stop_requested()) {
      result.stopped = true;
      break;
    }
    result = Echo(socket, dest, dest_len, timeout_ms, stop);
    if (result.stopped ||
        (result.status != kEchoTimedOut && result.status != kEchoGeneralFailure)) {
      break;
    }
  }
  return result;
}

std::wstring Line(int id, const auto&... args) {
  return tvkutil::FormatN(tvkutil::LoadString(id), SIZE_MAX, args...);
}

// The received row of an IPv4 echo: the reply, the error in words, or "not received".
std::wstring OutcomeLine(const std::wstring& text, std::int32_t status, int data_size,
                         int round_trip_ms) {
  namespace ids = tvkutil::ids;
  if (status == kEchoSuccess)
    return Line(ids::kPingReplyIPv4, text, data_size, round_trip_ms);
  const std::wstring words = EchoStatusWords(status);
  if (words.empty())
    return Line(ids::kPingNoReply, text);
  return tvkutil::FormatN(L"Reply from %s: %s.", SIZE_MAX, text, words);
}

// One ping as both families log it: the sent row, the echoes, the outcome row. The IPv6 reply
// row carries no data size.
bool PingAndLog(CEchoSocket& socket, const sockaddr_storage& dest, socklen_t dest_len,
                const std::wstring& text, int timeout_ms, int retries, std::wstring_view source,
                logs::ITransactionSink& sink, std::stop_token stop) {
  if (!g_icmp_loaded || !socket.IsOpen())
    return false;
  namespace ids = tvkutil::ids;
  sink.LogText(logs::kDirectionSent, source, tvkutil::ToUtf8(Line(ids::kPingSent, text)));
  const EchoResult r = EchoWithRetries(socket, dest, dest_len, timeout_ms, retries, stop);
  const bool ok = r.status == kEchoSuccess;
  std::wstring outcome = OutcomeLine(text, r.status, r.data_size, r.round_trip_ms);
  if (ok && dest.ss_family != AF_INET)
    outcome = Line(ids::kPingReplyIPv6, text, r.round_trip_ms);
  sink.LogText(logs::kDirectionReceived, source, tvkutil::ToUtf8(outcome));
  return ok;
}

sockaddr_storage IPv4Destination(std::uint32_t address) {
  sockaddr_storage dest{};
  auto& dest4 = reinterpret_cast<sockaddr_in&>(dest);
  dest4.sin_family = AF_INET;
  dest4.sin_addr.s_addr = address;
  return dest;
}

std::wstring DottedText(std::uint32_t address) {
  std::wstring text;
  AddressToDotted(address, text);
  return text;
}

}  // namespace

std::wstring EchoStatusWords(std::int32_t status) {
  switch (status) {
    case kEchoDestNetUnreachable:
      return L"Destination net unreachable";
    case kEchoDestHostUnreachable:
      return L"Destination host unreachable";
    case kEchoDestProtUnreachable:
      return L"Destination protocol unreachable";
    case kEchoDestPortUnreachable:
      return L"Destination port unreachable";
    case kEchoDestProhibited:
      return L"Communication administratively prohibited";
    case kEchoTtlExpired:
      return L"TTL expired in transit";
    default:
      return {};
  }
}

bool LoadIcmp() {
  const CEchoSocket probe(AF_INET);
  g_icmp_loaded = probe.IsOpen();
  return g_icmp_loaded;
}

void UnloadIcmp() {
  g_icmp_loaded = false;
}

bool IcmpLoaded() {
  return g_icmp_loaded;
}

bool PingIPv4(std::uint32_t address, int timeout_ms, int retries, std::wstring_view source,
              logs::ITransactionSink& sink, std::stop_token stop) {
  if (!g_icmp_loaded)
    return false;
  CEchoSocket socket(AF_INET);
  return PingAndLog(socket, IPv4Destination(address), sizeof(sockaddr_in), DottedText(address),
                    timeout_ms, retries, source, sink, stop);
}

bool PingIPv4(CIcmpEchoSocket& socket, std::uint32_t address, int timeout_ms, int retries,
              std::wstring_view source, logs::ITransactionSink& sink, std::stop_token stop) {
  if (!socket.IsOpen())
    return false;
  return PingAndLog(*socket.socket_, IPv4Destination(address), sizeof(sockaddr_in),
                    DottedText(address), timeout_ms, retries, source, sink, stop);
}

bool PingIPv6(const std::wstring& address, int timeout_ms, int retries, std::wstring_view source,
              logs::ITransactionSink& sink, std::stop_token stop) {
  sockaddr_storage dest{};
  if (!g_icmp_loaded || !ParseIPv6Address(address, reinterpret_cast<sockaddr_in6&>(dest)))
    return false;
  CEchoSocket socket(AF_INET6);
  return PingAndLog(socket, dest, sizeof(sockaddr_in6), address, timeout_ms, retries, source, sink,
                    stop);
}

CIcmpEchoSocket::CIcmpEchoSocket() {
  if (g_icmp_loaded)
    socket_ = std::make_unique<CEchoSocket>(AF_INET);
}

CIcmpEchoSocket::~CIcmpEchoSocket() = default;

bool CIcmpEchoSocket::IsOpen() const {
  return socket_ != nullptr && socket_->IsOpen();
}

std::int32_t CIcmpEchoSocket::Send(std::uint32_t address, std::uint16_t& out_sequence) {
  out_sequence = g_next_sequence.fetch_add(1);
  if (!IsOpen())
    return kEchoGeneralFailure;
  return socket_->Send(IPv4Destination(address), sizeof(sockaddr_in), out_sequence);
}

std::vector<EchoAnswer> CIcmpEchoSocket::Receive(EchoClock::time_point until) {
  std::vector<EchoAnswer> out;
  if (!IsOpen() || !socket_->WaitReadable(until))
    return out;
  std::vector<SocketAnswer> answers;
  socket_->Drain(answers);
  for (const SocketAnswer& a : answers) {
    if (a.peer.ss_family != AF_INET)
      continue;
    out.push_back({reinterpret_cast<const sockaddr_in&>(a.peer).sin_addr.s_addr, a.sequence,
                   a.status, a.data_size, a.at});
  }
  return out;
}

void LogEchoSent(logs::ITransactionSink& sink, std::wstring_view source, std::uint32_t address) {
  sink.LogText(logs::kDirectionSent, source,
               tvkutil::ToUtf8(Line(tvkutil::ids::kPingSent, DottedText(address))));
}

void LogEchoOutcome(logs::ITransactionSink& sink, std::wstring_view source, std::uint32_t address,
                    std::int32_t status, int data_size, int round_trip_ms) {
  sink.LogText(logs::kDirectionReceived, source,
               tvkutil::ToUtf8(OutcomeLine(DottedText(address), status, data_size, round_trip_ms)));
}

}  // namespace net
