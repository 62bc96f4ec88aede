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

std::int32_t Icmp4ErrorStatus(std::uint8_t type, std::uint8_t code) {
  if (type == kIcmp4TimeExceeded)
    return kEchoTtlExpired;
  switch (code) {
    case 0:
      return kEchoDestNetUnreachable;
    case 2:
      return kEchoDestProtUnreachable;
    case 3:
      return kEchoDestPortUnreachable;
    default:
      return kEchoDestHostUnreachable;
  }
}

std::int32_t Icmp6ErrorStatus(std::uint8_t type, std::uint8_t code) {
  if (type == ICMP6_TIME_EXCEEDED)
    return kEchoTtlExpired;
  if (type != ICMP6_DST_UNREACH)
    return kEchoGeneralFailure;
  switch (code) {
    case ICMP6_DST_UNREACH_NOROUTE:
      return kEchoDestNetUnreachable;
    case ICMP6_DST_UNREACH_NOPORT:
      return kEchoDestPortUnreachable;
    default:
      return kEchoDestHostUnreachable;
  }
}

// One ICMP socket of one family for the length of one ping call.
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

  // One echo to `dest`, waiting up to timeout_ms for its reply or an error about it.
  EchoResult Echo(const sockaddr_storage& dest, socklen_t dest_len, int timeout_ms) {
    EchoResult result;
    const std::uint16_t sequence = g_next_sequence.fetch_add(1);
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

    const Clock::time_point sent_at = Clock::now();
    const Clock::time_point deadline = sent_at + std::chrono::milliseconds(std::max(timeout_ms, 0));
    const ssize_t sent = ::sendto(fd_, packet.data(), packet.size(), 0,
                                  reinterpret_cast<const sockaddr*>(&dest), dest_len);
    if (sent != static_cast<ssize_t>(packet.size())) {
      // No route, no interface: the system refused at once, so there is nothing to wait for.
      result.status = errno == ENETUNREACH ? kEchoDestNetUnreachable : kEchoGeneralFailure;
      return result;
    }

    for (;;) {
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
      pollfd p{fd_, POLLIN, 0};
      const int ready = ::poll(&p, 1, static_cast<int>(std::max<long long>(left, 0)));
      if (ready < 0 && errno == EINTR)
        continue;
      if (ready <= 0)
        return result;  // timed out
      if ((p.revents & POLLERR) != 0 && ReadErrorQueue(dest, sequence, result))
        return result;
      if ((p.revents & POLLIN) != 0 && ReadReplies(dest, sequence, sent_at, result)) {
        return result;
      }
    }
  }

 private:
  bool SameAddress(const sockaddr_storage& from, const sockaddr_storage& dest) const {
    if (from.ss_family != dest.ss_family)
      return false;
    if (family_ == AF_INET) {
      return reinterpret_cast<const sockaddr_in&>(from).sin_addr.s_addr ==
             reinterpret_cast<const sockaddr_in&>(dest).sin_addr.s_addr;
    }
    return std::memcmp(&reinterpret_cast<const sockaddr_in6&>(from).sin6_addr,
                       &reinterpret_cast<const sockaddr_in6&>(dest).sin6_addr,
                       sizeof(in6_addr)) == 0;
  }

  // Whether an echo header (ours as sent) carries our identifier and sequence. Datagram
  // sockets only ever see their own identifier, which the kernel chose.
  bool IsOurEcho(const std::uint8_t* icmp, std::uint16_t sequence) const {
    return (!raw_ || Read16(icmp + 4) == identifier_) && Read16(icmp + 6) == sequence;
  }

  // Reads every datagram waiting; true when one answered this echo (reply or ICMP error).
  bool ReadReplies(const sockaddr_storage& dest, std::uint16_t sequence, Clock::time_point sent_at,
                   EchoResult& result) {
    std::array<std::uint8_t, 8220> buffer;
    for (;;) {
      sockaddr_storage from{};
      socklen_t from_len = sizeof from;
      const ssize_t n = ::recvfrom(fd_, buffer.data(), buffer.size(), 0,
                                   reinterpret_cast<sockaddr*>(&from), &from_len);
      if (n < 0)
        return false;  // nothing more (EAGAIN) or a pending error for the queue
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
        if (!SameAddress(from, dest) || !IsOurEcho(icmp, sequence))
          continue;
        result.status = kEchoSuccess;
        result.round_trip_ms = static_cast<std::int32_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - sent_at).count());
        result.data_size = static_cast<std::int32_t>(icmp_len - kIcmpHeaderLen);
        return true;
      }
      // An error from a router on the way quotes our echo after its own header.
      const std::uint8_t* inner = icmp + kIcmpHeaderLen;
      std::size_t inner_len = icmp_len - kIcmpHeaderLen;
      if (v4) {
        if (inner_len < 20)
          continue;
        const std::size_t ihl = static_cast<std::size_t>(inner[0] & 0x0F) * 4;
        std::uint32_t inner_dest;
        std::memcpy(&inner_dest, inner + 16, 4);
        if (inner_len < ihl + kIcmpHeaderLen ||
            inner_dest != reinterpret_cast<const sockaddr_in&>(dest).sin_addr.s_addr) {
          continue;
        }
        inner += ihl;
        if (inner[0] != kIcmp4EchoRequest || !IsOurEcho(inner, sequence))
          continue;
        result.status = Icmp4ErrorStatus(icmp[0], icmp[1]);
        return true;
      }
      if (inner_len < kIpv6HeaderLen + kIcmpHeaderLen ||
          std::memcmp(inner + 24, &reinterpret_cast<const sockaddr_in6&>(dest).sin6_addr, 16) !=
              0) {
        continue;
      }
      inner += kIpv6HeaderLen;
      if (inner[0] != kIcmp6EchoRequest || !IsOurEcho(inner, sequence))
        continue;
      result.status = Icmp6ErrorStatus(icmp[0], icmp[1]);
      return true;
    }
  }

  // Datagram sockets: an ICMP error about one of our echoes waits in the error queue with the
  // echo we sent as its data.
  bool ReadErrorQueue(const sockaddr_storage& dest, std::uint16_t sequence, EchoResult& result) {
    for (;;) {
      std::array<std::uint8_t, 512> data;
      std::array<char, 512> control;
      sockaddr_storage offender{};
      iovec iov{data.data(), data.size()};
      msghdr msg{};
      msg.msg_name = &offender;
      msg.msg_namelen = sizeof offender;
      msg.msg_iov = &iov;
      msg.msg_iovlen = 1;
      msg.msg_control = control.data();
      msg.msg_controllen = control.size();
      const ssize_t n = ::recvmsg(fd_, &msg, MSG_ERRQUEUE);
      if (n < 0)
        return false;
      const bool ours = static_cast<std::size_t>(n) >= kIcmpHeaderLen &&
                        Read16(data.data() + 6) == sequence && SameAddress(offender, dest);
      for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c != nullptr; c = CMSG_NXTHDR(&msg, c)) {
        const bool is_error = (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_RECVERR) ||
                              (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_RECVERR);
        if (!is_error || !ours)
          continue;
        sock_extended_err err;
        std::memcpy(&err, CMSG_DATA(c), sizeof err);
        if (err.ee_origin == SO_EE_ORIGIN_ICMP) {
          result.status = Icmp4ErrorStatus(err.ee_type, err.ee_code);
        } else if (err.ee_origin == SO_EE_ORIGIN_ICMP6) {
          result.status = Icmp6ErrorStatus(err.ee_type, err.ee_code);
        } else {
          result.status = kEchoGeneralFailure;
        }
        return true;
      }
    }
  }

  int family_;
  int fd_ = -1;
  bool raw_ = false;
  std::uint16_t identifier_ = 0;
};

// The attempts loop both families share: up to retries + 1 echoes, stopping at the first
// that got an answer. Only a good answer counts as received; every attempt timing out, or an
// error about the echo, both read as "not received".
EchoResult EchoWithRetries(CEchoSocket& socket, const sockaddr_storage& dest, socklen_t dest_len,
                           int timeout_ms, int retries) {
  EchoResult result;
  for (int attempt = 0; attempt <= std::max(retries, 0); ++attempt) {
    result = socket.Echo(dest, dest_len, timeout_ms);
    if (result.status != kEchoTimedOut && result.status != kEchoGeneralFailure)
      break;
  }
  return result;
}

// One ping as both families log it: the sent row, the echoes, the outcome row. The IPv6 reply
// row carries no data size.
bool PingAndLog(const sockaddr_storage& dest, socklen_t dest_len, const std::wstring& text,
                int timeout_ms, int retries, std::wstring_view source,
                logs::ITransactionSink& sink) {
  if (!g_icmp_loaded)
    return false;
  CEchoSocket socket(dest.ss_family);
  if (!socket.IsOpen())
    return false;
  namespace ids = tvkutil::ids;
  const auto line = [](int id, const auto&... args) {
    return tvkutil::FormatN(tvkutil::LoadString(id), SIZE_MAX, args...);
  };
  sink.LogText(logs::kDirectionSent, source, tvkutil::ToUtf8(line(ids::kPingSent, text)));
  const EchoResult r = EchoWithRetries(socket, dest, dest_len, timeout_ms, retries);
  const bool ok = r.status == kEchoSuccess;
  std::wstring outcome = line(ids::kPingNoReply, text);
  if (ok && dest.ss_family == AF_INET)
    outcome = line(ids::kPingReplyIPv4, text, r.data_size, r.round_trip_ms);
  else if (ok)
    outcome = line(ids::kPingReplyIPv6, text, r.round_trip_ms);
  sink.LogText(logs::kDirectionReceived, source, tvkutil::ToUtf8(outcome));
  return ok;
}

}  // namespace

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
              logs::ITransactionSink& sink) {
  sockaddr_storage dest{};
  auto& dest4 = reinterpret_cast<sockaddr_in&>(dest);
  dest4.sin_family = AF_INET;
  dest4.sin_addr.s_addr = address;
  std::wstring text;
  AddressToDotted(address, text);
  return PingAndLog(dest, sizeof(sockaddr_in), text, timeout_ms, retries, source, sink);
}

bool PingIPv6(const std::wstring& address, int timeout_ms, int retries, std::wstring_view source,
              logs::ITransactionSink& sink) {
  sockaddr_storage dest{};
  if (!ParseIPv6Address(address, reinterpret_cast<sockaddr_in6&>(dest)))
    return false;
  return PingAndLog(dest, sizeof(sockaddr_in6), address, timeout_ms, retries, source, sink);
}

}  // namespace net
