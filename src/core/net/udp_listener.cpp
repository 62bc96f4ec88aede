#include "net/udp_listener.h"

#include <arpa/inet.h>
#include <linux/sock_diag.h>
#include <net/if.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "util/runner.h"
#include "util/string_table.h"
#include "util/text.h"

namespace net {

namespace {

using Clock = std::chrono::steady_clock;

// Ports below this need CAP_NET_BIND_SERVICE unless net.ipv4.ip_unprivileged_port_start is
// lowered.
constexpr std::uint16_t kFirstUnprivilegedPort = 1024;

// One socket's line of /proc/net/udp or udp6.
struct ProcUdpLine {
  std::uint16_t local_port = 0;
  std::uint64_t inode = 0;
};

// Every socket of /proc/net/udp and /proc/net/udp6: "sl local:port remote:port st tx:rx tr:when
// retrnsmt uid timeout inode ...".
std::vector<ProcUdpLine> ReadProcUdp() {
  std::vector<ProcUdpLine> lines;
  for (const char* path : {"/proc/net/udp", "/proc/net/udp6"}) {
    std::ifstream in(path);
    std::string text;
    std::getline(in, text);  // the header
    while (std::getline(in, text)) {
      std::istringstream fields(text);
      std::string sl, local, remote, state, queues, timer, retransmits, uid, timeout;
      ProcUdpLine line;
      if (!(fields >> sl >> local >> remote >> state >> queues >> timer >> retransmits >> uid >>
            timeout >> line.inode))
        continue;
      const std::size_t colon = local.rfind(':');
      if (colon == std::string::npos)
        continue;
      line.local_port =
          static_cast<std::uint16_t>(std::strtoul(local.c_str() + colon + 1, nullptr, 16));
      lines.push_back(line);
    }
  }
  return lines;
}

}  // namespace

int CUdpListener::Open(std::uint16_t port, const UdpSettings& settings, int receive_buffer) {
  Close();
  ipv6_ = settings.use_ipv6;
  sockaddr_storage local{};
  socklen_t local_len = 0;
  if (!LocalBindAddress(ipv6_, settings.adapter, port, local, local_len))
    return EADDRNOTAVAIL;
  fd_ =
      ::socket(ipv6_ ? AF_INET6 : AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_UDP);
  if (fd_ < 0)
    return errno;
  const int one = 1;
  // Best effort: without them the listener still works, with a smaller buffer or no count.
  (void)::setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
  (void)::setsockopt(fd_, SOL_SOCKET, SO_RXQ_OVFL, &one, sizeof one);
  if (ipv6_)
    (void)::setsockopt(fd_, IPPROTO_IPV6, IPV6_RECVPKTINFO, &one, sizeof one);
  else
    (void)::setsockopt(fd_, IPPROTO_IP, IP_PKTINFO, &one, sizeof one);
  if (::bind(fd_, reinterpret_cast<const sockaddr*>(&local), local_len) != 0) {
    const int error = errno;
    Close();
    return error;
  }
  socklen_t bound_len = sizeof local_;
  if (::getsockname(fd_, reinterpret_cast<sockaddr*>(&local_), &bound_len) != 0)
    local_ = local;
  drops_ = 0;
  return 0;
}

void CUdpListener::Close() {
  if (fd_ >= 0)
    ::close(fd_);
  fd_ = -1;
}

std::uint16_t CUdpListener::Port() const {
  return SockPort(local_);
}

std::int32_t CUdpListener::Receive(std::span<std::uint8_t> buffer, sockaddr_storage& from,
                                   sockaddr_storage& to, Clock::time_point deadline,
                                   std::stop_token stop) {
  if (fd_ < 0)
    return kNothingReceived;
  alignas(
      cmsghdr) char control[CMSG_SPACE(sizeof(std::uint32_t)) + CMSG_SPACE(sizeof(in6_pktinfo))];
  for (;;) {
    // Before every read, not only when the socket is quiet: under a flood it never is.
    if (stop.stop_requested())
      return kReceiveStopped;
    iovec io{buffer.data(), buffer.size()};
    msghdr msg{};
    msg.msg_name = &from;
    msg.msg_namelen = sizeof from;
    msg.msg_iov = &io;
    msg.msg_iovlen = 1;
    msg.msg_control = control;
    msg.msg_controllen = sizeof control;
    const ssize_t n = ::recvmsg(fd_, &msg, 0);
    if (n >= 0) {
      to = local_;
      for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c != nullptr; c = CMSG_NXTHDR(&msg, c)) {
        if (c->cmsg_level == SOL_SOCKET && c->cmsg_type == SO_RXQ_OVFL) {
          std::uint32_t dropped = 0;
          std::memcpy(&dropped, CMSG_DATA(c), sizeof dropped);
          drops_ = std::max<std::uint64_t>(drops_, dropped);
        } else if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_PKTINFO &&
                   to.ss_family == AF_INET) {
          in_pktinfo info{};
          std::memcpy(&info, CMSG_DATA(c), sizeof info);
          reinterpret_cast<sockaddr_in&>(to).sin_addr = info.ipi_addr;
        } else if (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_PKTINFO &&
                   to.ss_family == AF_INET6) {
          in6_pktinfo info{};
          std::memcpy(&info, CMSG_DATA(c), sizeof info);
          reinterpret_cast<sockaddr_in6&>(to).sin6_addr = info.ipi6_addr;
        }
      }
      return static_cast<std::int32_t>(
          std::min<std::size_t>(static_cast<std::size_t>(n), buffer.size()));
    }
    if (errno == EINTR)
      continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) {
      // A failing socket must not turn its caller's loop into a spin.
      tvkutil::SleepUnlessStopped(stop, tvkutil::kStopPollSlice);
      return kNothingReceived;
    }
    auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0)
      return kNothingReceived;
    left = std::min(left,
                    std::chrono::duration_cast<std::chrono::milliseconds>(tvkutil::kStopPollSlice));
    pollfd p{fd_, POLLIN, 0};
    if (::poll(&p, 1, static_cast<int>(left.count())) < 0 && errno != EINTR)
      return kNothingReceived;
  }
}

bool CUdpListener::SendTo(std::span<const std::uint8_t> bytes, const sockaddr_storage& to,
                          const sockaddr_storage& from) {
  if (fd_ < 0)
    return false;
  iovec io{const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
  msghdr msg{};
  msg.msg_name = const_cast<sockaddr_storage*>(&to);
  msg.msg_namelen = to.ss_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
  msg.msg_iov = &io;
  msg.msg_iovlen = 1;
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(in6_pktinfo))] = {};
  const auto put = [&](int level, int type, const auto& info) {
    msg.msg_control = control;
    msg.msg_controllen = CMSG_SPACE(sizeof info);
    cmsghdr* c = CMSG_FIRSTHDR(&msg);
    c->cmsg_level = level;
    c->cmsg_type = type;
    c->cmsg_len = CMSG_LEN(sizeof info);
    std::memcpy(CMSG_DATA(c), &info, sizeof info);
  };
  if (from.ss_family == AF_INET && to.ss_family == AF_INET) {
    in_pktinfo info{};
    info.ipi_spec_dst = reinterpret_cast<const sockaddr_in&>(from).sin_addr;
    put(IPPROTO_IP, IP_PKTINFO, info);
  } else if (from.ss_family == AF_INET6 && to.ss_family == AF_INET6) {
    in6_pktinfo info{};
    info.ipi6_addr = reinterpret_cast<const sockaddr_in6&>(from).sin6_addr;
    put(IPPROTO_IPV6, IPV6_PKTINFO, info);
  }
  for (;;) {
    const ssize_t n = ::sendmsg(fd_, &msg, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR)
      continue;
    if (n < 0 && msg.msg_control != nullptr) {
      // An address we cannot send from (a broadcast one): the kernel's choice then.
      msg.msg_control = nullptr;
      msg.msg_controllen = 0;
      continue;
    }
    return n == static_cast<ssize_t>(bytes.size());
  }
}

void CUdpListener::RefreshDrops() {
  // The socket's own drop counter, the one SO_RXQ_OVFL and /proc/net/udp show.
  std::uint32_t meminfo[SK_MEMINFO_VARS] = {};
  socklen_t len = sizeof meminfo;
  if (fd_ >= 0 && ::getsockopt(fd_, SOL_SOCKET, SO_MEMINFO, meminfo, &len) == 0 &&
      len > SK_MEMINFO_DROPS * sizeof meminfo[0])
    drops_ = std::max<std::uint64_t>(drops_, meminfo[SK_MEMINFO_DROPS]);
}

std::wstring UdpPortHolder(std::uint16_t port) {
  std::vector<std::uint64_t> inodes;
  for (const ProcUdpLine& line : ReadProcUdp()) {
    if (line.local_port == port && line.inode != 0)
      inodes.push_back(line.inode);
  }
  if (inodes.empty())
    return {};
  namespace fs = std::filesystem;
  std::error_code ec;
  for (const fs::directory_entry& process : fs::directory_iterator("/proc", ec)) {
    const std::string pid = process.path().filename().string();
    if (pid.empty() || !std::all_of(pid.begin(), pid.end(), ::isdigit))
      continue;
    std::error_code fd_ec;
    for (const fs::directory_entry& fd : fs::directory_iterator(process.path() / "fd", fd_ec)) {
      std::error_code link_ec;
      const std::string target = fs::read_symlink(fd.path(), link_ec).string();
      if (link_ec || !target.starts_with("socket:["))
        continue;
      const std::uint64_t inode = std::strtoull(target.c_str() + 8, nullptr, 10);
      if (std::find(inodes.begin(), inodes.end(), inode) == inodes.end())
        continue;
      std::string name;
      std::getline(std::ifstream(process.path() / "comm"), name);
      return tvkutil::FromUtf8Lenient(name) + L" (pid " + tvkutil::FromUtf8Lenient(pid) + L")";
    }
  }
  return {};
}

std::wstring ListenFailureText(int error, std::uint16_t port) {
  using namespace tvkutil::ids;
  const unsigned p = port;
  if ((error == EACCES || error == EPERM) && port < kFirstUnprivilegedPort)
    return tvkutil::FormatN(tvkutil::LoadString(kListenPortPrivileged), SIZE_MAX, p, p);
  if (error == EADDRINUSE) {
    const std::wstring holder = UdpPortHolder(port);
    if (!holder.empty())
      return tvkutil::FormatN(tvkutil::LoadString(kListenPortHeldBy), SIZE_MAX, p, holder);
    return tvkutil::FormatN(tvkutil::LoadString(kListenPortInUse), SIZE_MAX, p);
  }
  return tvkutil::FormatN(tvkutil::LoadString(kListenFailed), SIZE_MAX, p,
                          tvkutil::FromUtf8Lenient(std::strerror(error)));
}

std::wstring SockAddressText(const sockaddr_storage& address) {
  char text[INET6_ADDRSTRLEN + IF_NAMESIZE + 2] = {};
  if (address.ss_family == AF_INET) {
    const auto& a4 = reinterpret_cast<const sockaddr_in&>(address);
    if (::inet_ntop(AF_INET, &a4.sin_addr, text, sizeof text) == nullptr)
      return {};
    return tvkutil::FromUtf8Lenient(text);
  }
  if (address.ss_family != AF_INET6)
    return {};
  const auto& a6 = reinterpret_cast<const sockaddr_in6&>(address);
  // An IPv4 sender reaching an IPv6 socket shows as the IPv4 address it is.
  if (IN6_IS_ADDR_V4MAPPED(&a6.sin6_addr)) {
    if (::inet_ntop(AF_INET, &a6.sin6_addr.s6_addr[12], text, sizeof text) == nullptr)
      return {};
    return tvkutil::FromUtf8Lenient(text);
  }
  if (::inet_ntop(AF_INET6, &a6.sin6_addr, text, sizeof text) == nullptr)
    return {};
  std::wstring out = tvkutil::FromUtf8Lenient(text);
  if (a6.sin6_scope_id != 0)
    out += L"%" + std::to_wstring(a6.sin6_scope_id);
  return out;
}

std::uint16_t SockPort(const sockaddr_storage& address) {
  if (address.ss_family == AF_INET)
    return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
  if (address.ss_family == AF_INET6)
    return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  return 0;
}

}  // namespace net
