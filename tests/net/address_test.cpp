// Address text checks and host resolution with a counting fake resolver.
#include "net/address.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "util/text.h"

namespace {

using namespace net;

// Any character separates IPv4 parts: the pattern has always been this loose. More than 7
// colons is refused whatever the rest says.
TEST(AddressTest, IPv4AndIPv6TextValidation) {
  const std::pair<std::string, std::vector<const wchar_t*>> cases[] = {
      {"v4", {L"192.168.001.010", L"255.255.255.254", L"1x2x3x4"}},
      {"v6", {L"::", L"FE80::ABCD:1%65535", L"1:2:3:4:5:6:7:8"}},
      {"",
       {L"0.0.0.0", L"255.255.255.255", L"256.1.1.1", L"1.2.3", L" 1.2.3.4", L"fe80::1%65536",
        L"fe80::1%eth0", L"1::2:3:4:5:6:7:8", L"12345::1", L"g::1"}}};
  for (const auto& [valid_as, texts] : cases) {
    for (const wchar_t* t : texts) {
      EXPECT_EQ(std::string(IsValidIPv4Text(t) ? "v4" : "") + (IsValidIPv6Text(t) ? "v6" : ""),
                valid_as)
          << tvkutil::ToUtf8(t);
    }
  }
}

// Counts lookups and answers 127.0.0.9 for IPv4 and ::1 for IPv6, without a name server.
int g_lookups = 0;
int FakeLookup(const char*, const char*, const addrinfo* hints, addrinfo** res) {
  ++g_lookups;
  return ::getaddrinfo(hints->ai_family == AF_INET ? "127.0.0.9" : "::1", nullptr, hints, res);
}

// Dotted IPv4 names and IPv6 addresses are never looked up; IPv6 gets the chosen scope.
TEST(AddressTest, OnlyNamesAreLookedUp) {
  SetHostLookupForTesting(&FakeLookup);
  std::uint32_t addr = 0;
  EXPECT_FALSE(ResolveIPv4Host(L"printer.local", addr));
  std::wstring text;
  EXPECT_TRUE(ResolveIPv6Host(L"fe80::1", 3, text));
  EXPECT_EQ(text, L"fe80::1%3");
  EXPECT_EQ(g_lookups, 0);

  EXPECT_TRUE(ResolveIPv4Host(L"printer", addr));
  EXPECT_EQ(addr, ::inet_addr("127.0.0.9"));
  EXPECT_TRUE(ResolveIPv6Host(L"printer", 2, text));
  EXPECT_EQ(text, L"::1%2");
  EXPECT_EQ(g_lookups, 2);
  SetHostLookupForTesting(nullptr);
}

}  // namespace
