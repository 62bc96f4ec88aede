#include "net/address.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>

#include "util/text.h"

namespace {

using namespace net;

TEST(AddressTest, IPv4TextTest) {
  const struct {
    const wchar_t* text;
    bool valid;
  } cases[] = {
      {L"1.2.3.4", true},       {L"192.168.001.010", true}, {L"255.255.255.254", true},
      {L"1x2x3x4", true},  // any character separates: the pattern has always been this loose
      {L"1 2-3:4", true},       {L"0.0.0.0", false},        {L"255.255.255.255", false},
      {L"256.1.1.1", false},    {L"10.0.0.300", false},     {L"1.2.3", false},
      {L"1.2.3.4.5", false},    {L" 1.2.3.4", false},       {L"1.2.3.4 ", false},
      {L"1..2.3", false},       {L"a.b.c.d", false},        {L"", false},
      {L"1\u00e92.3.4", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(tvkutil::ToUtf8(c.text));
    EXPECT_EQ(IsValidIPv4Text(c.text), c.valid);
  }
}

// More than 7 colons is refused whatever the rest says.
TEST(AddressTest, IPv6TextTest) {
  const struct {
    const wchar_t* text;
    bool valid;
  } cases[] = {
      {L"::1", true},
      {L"::", true},
      {L"fe80::1", true},
      {L"fe80::1%3", true},
      {L"fe80::1%65535", true},
      {L"FE80::ABCD:1", true},
      {L"1:2:3:4:5:6:7:8", true},
      {L"1:2:3:4:5:6:7:8%0", true},
      {L"1::2:3:4:5:6:7", true},
      {L"fe80::1%65536", false},
      {L"fe80::1%eth0", false},
      {L"1:2:3:4:5:6:7:8:9", false},
      {L"1::2:3:4:5:6:7:8", false},
      {L"::::::::", false},
      {L"1:2:3:4:5:6:7", false},
      {L"12345::1", false},
      {L"g::1", false},
      {L"1.2.3.4", false},
      {L"", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(tvkutil::ToUtf8(c.text));
    EXPECT_EQ(IsValidIPv6Text(c.text), c.valid);
  }
}

TEST(AddressTest, DottedTextAndAddressConvert) {
  std::uint32_t addr = 0;
  ASSERT_TRUE(DottedToAddress(L"192.0.2.1", addr));
  EXPECT_EQ(addr, ::inet_addr("192.0.2.1"));
  std::wstring text = L"stale";
  ASSERT_TRUE(AddressToDotted(addr, text));
  EXPECT_EQ(text, L"192.0.2.1");

  for (const wchar_t* bad : {L"0.0.0.0", L"255.255.255.255", L"1x2x3x4", L""}) {
    SCOPED_TRACE(tvkutil::ToUtf8(bad));
    addr = 7;
    EXPECT_FALSE(DottedToAddress(bad, addr));
    EXPECT_EQ(addr, 0xFFFFFFFFu);
  }
}

// Counts lookups and answers 127.0.0.9 for IPv4 and ::1 for IPv6, without a name server.
std::atomic<int> g_lookups{0};

int FakeLookup(const char*, const char*, const addrinfo* hints, addrinfo** res) {
  ++g_lookups;
  return ::getaddrinfo(hints->ai_family == AF_INET ? "127.0.0.9" : "::1", nullptr, hints, res);
}

class ResolveTest : public testing::Test {
 protected:
  void SetUp() override {
    g_lookups = 0;
    SetHostLookupForTesting(&FakeLookup);
  }
  void TearDown() override { SetHostLookupForTesting(nullptr); }
};

TEST_F(ResolveTest, IPv4NamesWithDotsAreNeverLookedUp) {
  std::uint32_t addr = 0;
  EXPECT_FALSE(ResolveIPv4Host(L"printer.local", addr));
  EXPECT_FALSE(ResolveIPv4Host(L"10.0.0.300", addr));
  EXPECT_TRUE(ResolveIPv4Host(L"127.0.0.1", addr));
  EXPECT_EQ(addr, ::inet_addr("127.0.0.1"));
  EXPECT_EQ(g_lookups.load(), 0);

  EXPECT_TRUE(ResolveIPv4Host(L"printer", addr));
  EXPECT_EQ(addr, ::inet_addr("127.0.0.9"));
  EXPECT_EQ(g_lookups.load(), 1);
}

TEST_F(ResolveTest, IPv6AddressesGetTheChosenScope) {
  std::wstring text;
  EXPECT_TRUE(ResolveIPv6Host(L"fe80::1", 3, text));
  EXPECT_EQ(text, L"fe80::1%3");
  EXPECT_TRUE(ResolveIPv6Host(L"fe80::1%7", 3, text));
  EXPECT_EQ(text, L"fe80::1%7");
  EXPECT_FALSE(ResolveIPv6Host(L"1:2:3:4:5:6:7:8:9", 3, text));
  EXPECT_EQ(text, L"");
  EXPECT_EQ(g_lookups.load(), 0);

  EXPECT_TRUE(ResolveIPv6Host(L"printer", 2, text));
  EXPECT_EQ(text, L"::1%2");
  EXPECT_EQ(g_lookups.load(), 1);
}

TEST(AddressResolveTest, LooksUpLocalNamesFromTheHostsFile) {
  std::uint32_t addr = 0;
  ASSERT_TRUE(ResolveIPv4Host(L"localhost", addr));
  EXPECT_EQ(addr, ::inet_addr("127.0.0.1"));
}

}  // namespace
