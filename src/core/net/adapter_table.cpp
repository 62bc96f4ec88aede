#include "net/adapter_table.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>

#include "util/text.h"

namespace net {

namespace {

// Numeric text of an address. IPv6 scopes come out as "%<index>" rather than the interface
// name getnameinfo would give, so the text matches what the resolvers append.
bool AddressText(const sockaddr* sa, std::wstring& out_text) {
  char buf[INET6_ADDRSTRLEN + 16];
  if (sa->sa_family == AF_INET) {
    sockaddr_in sin{};
    std::memcpy(&sin, sa, sizeof sin);
    if (::inet_ntop(AF_INET, &sin.sin_addr, buf, sizeof buf) == nullptr)
      return false;
    out_text = tvkutil::FromUtf8Lenient(buf);
    return true;
  }
  sockaddr_in6 sin6{};
  std::memcpy(&sin6, sa, sizeof sin6);
  if (::inet_ntop(AF_INET6, &sin6.sin6_addr, buf, sizeof buf) == nullptr)
    return false;
  out_text = tvkutil::FromUtf8Lenient(buf);
  if (sin6.sin6_scope_id != 0)
    out_text += L"%" + std::to_wstring(sin6.sin6_scope_id);
  return true;
}

}  // namespace

_adapterinfo MakeAdapterInfo(std::wstring_view description, const std::wstring& address,
                             bool is_ipv4, std::uint32_t ipv6_scope_id) {
  _adapterinfo a;
  std::wstring shown(description);
  if (shown.size() > kMaxAdapterDescriptionLen) {
    shown = shown.substr(0, kCutAdapterDescriptionLen) + L"...";
  }
  a.display_name = tvkutil::FormatN(L"%s[%s]", SIZE_MAX, shown, address);
  a.address = address;
  a.is_ipv4 = is_ipv4 ? 1 : 0;
  a.ipv4_address = is_ipv4 ? ::inet_addr(tvkutil::ToUtf8(address).c_str()) : INADDR_NONE;
  a.ipv6_scope_id = is_ipv4 ? 0xFFFFFFFFu : ipv6_scope_id;
  return a;
}

CAdapterTable& CAdapterTable::Instance() {
  static CAdapterTable table;
  return table;
}

CAdapterTable::CAdapterTable(std::vector<_adapterinfo> ipv4, std::vector<_adapterinfo> ipv6)
    : from_system_(false), ipv4_(std::move(ipv4)), ipv6_(std::move(ipv6)) {}

void CAdapterTable::EnsureFilled() {
  std::call_once(filled_, [this] {
    if (from_system_)
      Enumerate(ipv4_, ipv6_);
  });
}

const std::vector<_adapterinfo>& CAdapterTable::IPv4Adapters() {
  EnsureFilled();
  return ipv4_;
}

const std::vector<_adapterinfo>& CAdapterTable::IPv6Adapters() {
  EnsureFilled();
  return ipv6_;
}

_adapterinfo CAdapterTable::Lookup(const std::wstring& display_text, bool use_ipv6) {
  const std::vector<_adapterinfo>& list = use_ipv6 ? IPv6Adapters() : IPv4Adapters();
  for (const _adapterinfo& a : list) {
    if (a.display_name == display_text)
      return a;
  }
  const std::size_t open = display_text.find(L'[');
  if (open != std::wstring::npos) {
    const std::size_t close = display_text.find(L']', open + 1);
    const std::wstring address = display_text.substr(
        open + 1, close == std::wstring::npos ? std::wstring::npos : close - open - 1);
    for (const _adapterinfo& a : list) {
      if (a.address == address)
        return a;
    }
  }
  return {};
}

void CAdapterTable::Enumerate(std::vector<_adapterinfo>& out_ipv4,
                              std::vector<_adapterinfo>& out_ipv6) {
  out_ipv4.clear();
  out_ipv6.clear();
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0)
    return;
  for (const ifaddrs* ifa = list; ifa != nullptr; ifa = ifa->ifa_next) {
    if (ifa->ifa_addr == nullptr || ifa->ifa_name == nullptr)
      continue;
    const int family = ifa->ifa_addr->sa_family;
    if (family != AF_INET && family != AF_INET6)
      continue;
    if ((ifa->ifa_flags & IFF_LOOPBACK) != 0)
      continue;
    std::wstring text;
    if (!AddressText(ifa->ifa_addr, text))
      continue;
    if (text == L"127.0.0.1" || text == L"::1")
      continue;
    const std::wstring name = tvkutil::FromUtf8Lenient(ifa->ifa_name);
    if (family == AF_INET) {
      out_ipv4.push_back(MakeAdapterInfo(name, text, true, 0));
    } else {
      out_ipv6.push_back(MakeAdapterInfo(name, text, false, ::if_nametoindex(ifa->ifa_name)));
    }
  }
  ::freeifaddrs(list);
}

}  // namespace net
