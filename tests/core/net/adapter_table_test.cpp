#include "net/adapter_table.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <set>

#include "util/text.h"

namespace {

using net::CAdapterTable;
using net::MakeAdapterInfo;

TEST(AdapterTableTest, DisplayNamesAndLookupByDisplayTextThenByBracketedAddress) {
  EXPECT_EQ(MakeAdapterInfo(L"twenty-characters-20", L"10.0.0.1", true, 0).display_name,
            L"twenty-characters-20[10.0.0.1]");
  EXPECT_EQ(MakeAdapterInfo(L"twenty-one-characters", L"10.0.0.1", true, 0).display_name,
            L"twenty-one-charac...[10.0.0.1]");
  CAdapterTable table({MakeAdapterInfo(L"eth0", L"10.0.0.1", true, 0),
                       MakeAdapterInfo(L"wlan0", L"10.0.0.2", true, 0)},
                      {MakeAdapterInfo(L"eth0", L"fe80::1%2", false, 2)});
  EXPECT_EQ(table.Lookup(L"wlan0[10.0.0.2]", false).address, L"10.0.0.2");
  EXPECT_EQ(table.Lookup(L"renamed adapter[10.0.0.1]", false).display_name, L"eth0[10.0.0.1]");
  EXPECT_EQ(table.Lookup(L"eth0[fe80::1%2]", true).ipv6_scope_id, 2u);
  // The families do not mix, and what matches nothing is "Default".
  EXPECT_TRUE(table.Lookup(L"eth0[fe80::1%2]", false).IsDefault());
  EXPECT_TRUE(table.Lookup(L"x[10.0.0.9]", false).IsDefault());
}

// This machine's IPv4 addresses by the old interface ioctl, independent of getifaddrs.
std::set<std::wstring> IPv4AddressesByIoctl() {
  std::set<std::wstring> out;
  const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
  ifreq reqs[64];
  ifconf conf{};
  conf.ifc_len = sizeof reqs;
  conf.ifc_req = reqs;
  if (fd >= 0 && ::ioctl(fd, SIOCGIFCONF, &conf) == 0) {
    for (std::size_t i = 0; i < conf.ifc_len / sizeof(ifreq); ++i) {
      sockaddr_in sin{};
      std::memcpy(&sin, &reqs[i].ifr_addr, sizeof sin);
      ifreq flags = reqs[i];
      if (::ioctl(fd, SIOCGIFFLAGS, &flags) == 0 && (flags.ifr_flags & IFF_LOOPBACK) == 0)
        out.insert(tvkutil::FromUtf8Lenient(::inet_ntoa(sin.sin_addr)));
    }
  }
  ::close(fd);
  return out;
}

TEST(AdapterTableTest, ListsTheRealInterfacesExceptLoopback) {
  CAdapterTable& table = CAdapterTable::Instance();
  std::set<std::wstring> v4;
  for (const net::_adapterinfo& a : table.IPv4Adapters()) {
    v4.insert(a.address);
    EXPECT_EQ(table.Lookup(a.display_name, false).address, a.address);
  }
  EXPECT_EQ(v4, IPv4AddressesByIoctl());
  for (const net::_adapterinfo& a : table.IPv6Adapters()) {
    EXPECT_NE(a.address, L"::1");
    EXPECT_EQ(table.Lookup(a.display_name, true).address, a.address);
  }
}

}  // namespace
