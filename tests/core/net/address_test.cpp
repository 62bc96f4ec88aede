// Address text checks and host resolution with a counting fake resolver.
#include "net/address.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "net/exchange_result.h"
#include "util/text.h"

namespace {

using namespace net;

// Any character separates IPv4 parts: the pattern has always been this loose. More than 7
// colons is refused whatever the rest says.
TEST(AddressTest, IPv4AndIPv6TextValidation) {
  static const std::wstring kLong(5000, L'1');
  const std::pair<std::string, std::vector<const wchar_t*>> cases[] = {
      {"v4", {L"192.168.001.010", L"255.255.255.254", L"1x2x3x4"}},
      {"v6",
       {L"::", L"FE80::ABCD:1%65535", L"1:2:3:4:5:6:7:8",
        L"1111:2222:3333:4444:5555:6666:7777:8888%65535"}},
      {"",
       {L"0.0.0.0", L"255.255.255.255", L"256.1.1.1", L"1.2.3", L" 1.2.3.4", L"fe80::1%65536",
        L"fe80::1%eth0", L"1::2:3:4:5:6:7:8", L"12345::1", L"g::1", L"1.2.3.4\n",
        L"1111:2222:3333:4444:5555:6666:7777:8888%655350", kLong.c_str()}}};
  for (const auto& [valid_as, texts] : cases) {
    for (const wchar_t* t : texts)
      EXPECT_EQ(std::string(IsValidIPv4Text(t) ? "v4" : "") + (IsValidIPv6Text(t) ? "v6" : ""),
                valid_as)
          << tvkutil::ToUtf8(t);
  }
}

// Counts lookups; answers 127.0.0.9 or ::1 without a name server; "nosuch..." is unknown.
int g_lookups = 0;
int FakeLookup(const char* node, const char*, const addrinfo* hints, addrinfo** res) {
  ++g_lookups;
  if (std::string_view(node).starts_with("nosuch"))
    return EAI_NONAME;
  return ::getaddrinfo(hints->ai_family == AF_INET ? "127.0.0.9" : "::1", nullptr, hints, res);
}

// Names, dotted or not, are looked up; numbers, IPv6 addresses and non-RFC 1123 names never.
TEST(AddressTest, OnlyNamesAreLookedUpAndAFailedLookupSaysWhy) {
  SetHostLookupForTesting(&FakeLookup);
  const std::wstring label63(63, L'a'),
      name253 = label63 + L'.' + label63 + L'.' + label63 + L'.' + std::wstring(61, L'b');
  // Looked up, resolved: the hosts.
  const std::tuple<bool, bool, std::vector<const wchar_t*>> hosts[] = {
      {true, true, {L"printer", L"sw-3.plant.example", L"sw-3.plant.example."}},
      {false, true, {L"10.0.0.1", L"1.2.0x4"}},
      {false, false, {L"10.0.0.300", L"1.2.3", L"-sw.plant"}},
      {false, false, {L"sw-.plant", L"sw..plant", L"sw_3.plant"}},
      {true, false, {L"nosuch.example"}}};
  for (const auto& [looked_up, resolved, names] : hosts) {
    for (const wchar_t* host : names) {
      g_lookups = 0;
      std::uint32_t addr = 0;
      EXPECT_EQ(ResolveIPv4Host(host, addr), resolved) << tvkutil::ToUtf8(host);
      EXPECT_EQ(g_lookups, looked_up ? 1 : 0) << tvkutil::ToUtf8(host);
    }
  }
  EXPECT_TRUE(IsHostNameText(name253) && IsHostNameText(label63 + L".x"));
  EXPECT_FALSE(IsHostNameText(name253 + L"b") || IsHostNameText(label63 + L"a.x"));

  // IPv6: the chosen scope only where the address needs one, and never an empty one.
  std::wstring text;
  const std::tuple<const wchar_t*, unsigned, const wchar_t*, int> v6_hosts[] = {
      {L"fe80::1%3", 5u, L"fe80::1%3", 0},     {L"fe80::1", 0u, L"fe80::1", 0},
      {L"ff02::1", 4u, L"ff02::1%4", 0},       {L"::1", 2u, L"::1", 0},
      {L"2001:db8::7", 2u, L"2001:db8::7", 0}, {L"printer", 2u, L"::1", 1}};
  for (const auto& [host, scope, shown, looked_up] : v6_hosts) {
    g_lookups = 0;
    EXPECT_TRUE(ResolveIPv6Host(host, scope, text));
    EXPECT_EQ(text, shown);
    EXPECT_EQ(g_lookups, looked_up) << tvkutil::ToUtf8(host);
  }
  EXPECT_FALSE(ResolveIPv6Host(L"fe80::1::2", 5, text));
  EXPECT_EQ(text, L"");

  // A failed lookup's reason names its host; the next resolve without a lookup forgets it.
  const auto failed = [](const wchar_t* host) {
    return ExchangeFailureText(ExchangeResult::Thrown(kSnmpResolveError), host, false);
  };
  std::uint32_t addr = 0;
  EXPECT_FALSE(ResolveIPv4Host(L"nosuch.example", addr));
  EXPECT_EQ(failed(L"nosuch.example"), L"Unable to resolve IPv4 host 'nosuch.example': " +
                                           tvkutil::FromUtf8Lenient(::gai_strerror(EAI_NONAME)));
  EXPECT_FALSE(ResolveIPv4Host(L"10.0.0.300", addr));
  EXPECT_EQ(failed(L"10.0.0.300"), L"Unable to resolve IPv4 host '10.0.0.300'");
  SetHostLookupForTesting(nullptr);
}

// Dotted text as inet_addr reads it (short forms too), all ones and zero refused; IPv6 numeric.
TEST(AddressTest, ConversionsOfDottedAndIPv6Text) {
  const struct {
    const wchar_t* text;
    const char* dotted;  // nullptr: refused
  } dotted[] = {
      {L"10.0.0.1", "10.0.0.1"}, {L"127.1", "127.0.0.1"},       {L"192.168.001.010", "192.168.1.8"},
      {L"0.0.0.0", nullptr},     {L"255.255.255.255", nullptr}, {L"1.2.3", "1.2.0.3"},
      {L"host", nullptr}};
  for (const auto& c : dotted) {
    std::uint32_t addr = 0;
    std::wstring back = L"old";
    EXPECT_EQ(DottedToAddress(c.text, addr), c.dotted != nullptr) << tvkutil::ToUtf8(c.text);
    if (c.dotted == nullptr) {
      EXPECT_EQ(addr, 0xFFFFFFFFU);
      continue;
    }
    EXPECT_TRUE(AddressToDotted(addr, back));
    EXPECT_EQ(tvkutil::ToUtf8(back), c.dotted);
  }
  sockaddr_in6 a6{};
  EXPECT_TRUE(ParseIPv6Address(L"::1%0", a6));
  EXPECT_TRUE(IN6_IS_ADDR_LOOPBACK(&a6.sin6_addr));
  EXPECT_FALSE(ParseIPv6Address(L"localhost", a6));  // never a lookup
  EXPECT_FALSE(ParseIPv6Address(L"1.2.3.4", a6));
}

}  // namespace
