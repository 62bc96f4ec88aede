#include "app/adapter_table.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

#include "util/text.h"

namespace {

using app::_adapterinfo;
using app::CAdapterTable;
using app::MakeAdapterInfo;

TEST(AdapterTableTest, DisplayNamesCutLongDescriptions) {
  EXPECT_EQ(MakeAdapterInfo(L"twenty-characters-20", L"10.0.0.1", true, 0).display_name,
            L"twenty-characters-20[10.0.0.1]");
  EXPECT_EQ(MakeAdapterInfo(L"twenty-one-characters", L"10.0.0.1", true, 0).display_name,
            L"twenty-one-charac...[10.0.0.1]");
  EXPECT_EQ(MakeAdapterInfo(L"eth0", L"10.0.0.1", true, 0).ipv4_address, ::inet_addr("10.0.0.1"));
  EXPECT_EQ(MakeAdapterInfo(L"eth0", L"fe80::1%2", false, 2).ipv4_address, 0xFFFFFFFFu);
}

TEST(AdapterTableTest, LookupByDisplayTextThenByBracketedAddress) {
  CAdapterTable table({MakeAdapterInfo(L"eth0", L"10.0.0.1", true, 0),
                       MakeAdapterInfo(L"wlan0", L"10.0.0.2", true, 0)},
                      {MakeAdapterInfo(L"eth0", L"fe80::1%2", false, 2)});
  EXPECT_EQ(table.Lookup(L"wlan0[10.0.0.2]", false).address, L"10.0.0.2");
  EXPECT_EQ(table.Lookup(L"renamed adapter[10.0.0.1]", false).display_name, L"eth0[10.0.0.1]");
  EXPECT_EQ(table.Lookup(L"eth0[fe80::1%2]", true).ipv6_scope_id, 2u);
  // The families do not mix, and what matches nothing is "Default".
  EXPECT_TRUE(table.Lookup(L"eth0[fe80::1%2]", false).IsDefault());
  EXPECT_TRUE(table.Lookup(L"Default", false).IsDefault());
  EXPECT_TRUE(table.Lookup(L"", true).IsDefault());
  EXPECT_TRUE(table.Lookup(L"x[10.0.0.9]", false).IsDefault());
  EXPECT_EQ(table.Lookup(L"x[10.0.0.2", false).address, L"10.0.0.2");
}

// The IPv4 addresses of this machine by the old interface ioctl, apart from getifaddrs.
std::set<std::wstring> IPv4AddressesByIoctl() {
  std::set<std::wstring> out;
  const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
  if (fd < 0)
    return out;
  ifreq reqs[64];
  ifconf conf{};
  conf.ifc_len = sizeof reqs;
  conf.ifc_req = reqs;
  if (::ioctl(fd, SIOCGIFCONF, &conf) == 0) {
    for (std::size_t i = 0; i < conf.ifc_len / sizeof(ifreq); ++i) {
      sockaddr_in sin{};
      std::memcpy(&sin, &reqs[i].ifr_addr, sizeof sin);
      ifreq flags = reqs[i];
      if (sin.sin_family == AF_INET &&
          !(::ioctl(fd, SIOCGIFFLAGS, &flags) == 0 && (flags.ifr_flags & IFF_LOOPBACK) != 0))
        out.insert(tvkutil::FromUtf8Lenient(::inet_ntoa(sin.sin_addr)));
    }
  }
  ::close(fd);
  return out;
}

// The IPv6 addresses and their interface index from /proc, apart from getifaddrs.
std::set<std::pair<std::wstring, std::uint32_t>> IPv6AddressesFromProc() {
  std::set<std::pair<std::wstring, std::uint32_t>> out;
  std::ifstream in("/proc/net/if_inet6");
  std::string hex, index, prefix, scope, flags, name;
  while (in >> hex >> index >> prefix >> scope >> flags >> name) {
    if (name == "lo" || hex.size() != 32)
      continue;
    in6_addr addr{};
    for (int i = 0; i < 16; ++i)
      addr.s6_addr[i] = static_cast<std::uint8_t>(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
    char buf[INET6_ADDRSTRLEN];
    ::inet_ntop(AF_INET6, &addr, buf, sizeof buf);
    out.emplace(tvkutil::FromUtf8Lenient(buf),
                static_cast<std::uint32_t>(std::stoul(index, nullptr, 16)));
  }
  return out;
}

TEST(AdapterTableTest, ListsTheRealInterfacesExceptLoopback) {
  CAdapterTable& table = CAdapterTable::Instance();
  std::set<std::wstring> v4;
  for (const _adapterinfo& a : table.IPv4Adapters()) {
    v4.insert(a.address);
    // Each record is found again by what the Options show and save.
    EXPECT_EQ(table.Lookup(a.display_name, false).address, a.address);
    EXPECT_EQ(table.Lookup(L"gone[" + a.address + L"]", false).address, a.address);
  }
  EXPECT_EQ(v4, IPv4AddressesByIoctl());

  std::set<std::pair<std::wstring, std::uint32_t>> v6;
  for (const _adapterinfo& a : table.IPv6Adapters()) {
    v6.emplace(a.address.substr(0, a.address.find(L'%')), a.ipv6_scope_id);
    EXPECT_EQ(table.Lookup(a.display_name, true).address, a.address);
  }
  if (std::ifstream("/proc/net/if_inet6")) {
    EXPECT_EQ(v6, IPv6AddressesFromProc());
  }
}

}  // namespace
