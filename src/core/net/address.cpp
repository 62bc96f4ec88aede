#include "net/address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cstring>
// GCC 12 reports a false "maybe uninitialized" deep inside <regex> once the sanitizers are on.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <regex>

#include "util/text.h"

namespace net {

namespace {

std::atomic<HostLookupFn> g_lookup{nullptr};
thread_local std::wstring t_lookup_failure;

// Keeps the resolver's reason for a failure for LastLookupFailure.
int Lookup(const char* node, const addrinfo* hints, addrinfo** res) {
  const HostLookupFn fn = g_lookup.load();
  const int rc =
      fn != nullptr ? fn(node, nullptr, hints, res) : ::getaddrinfo(node, nullptr, hints, res);
  if (rc != 0)
    t_lookup_failure = tvkutil::FromUtf8Lenient(::gai_strerror(rc));
  else if (*res == nullptr)
    t_lookup_failure = tvkutil::FromUtf8Lenient(::gai_strerror(EAI_NONAME));
  return rc;
}

bool IsAsciiLetter(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

// The separator is an unescaped "." on purpose: the pages have always accepted any character
// there, and users' saved settings rely on it.
const std::regex& IPv4Pattern() {
  static const std::regex re(
      "(?:(?:25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?).){3}(?:25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)",
      std::regex::ECMAScript);
  return re;
}

// The optional zone index both IPv6 forms may carry: "%" and 0 to 65535.
constexpr char kZone[] =
    "(%(6553[0-5]|655[0-2][0-9]|65[0-4]([0-9]){2}|6[0-4]([0-9]){3}|[1-5]([0-9]){4}|[0-9]([0-9]){0,"
    "3}|0|0[1-9]))?";

const std::regex& IPv6FullPattern() {
  static const std::regex re(std::string("((?:[0-9a-fA-F]{1,4}:){7}[0-9a-fA-F]{1,4})") + kZone,
                             std::regex::ECMAScript);
  return re;
}

const std::regex& IPv6CompressedPattern() {
  static const std::regex re(
      std::string("((?:[0-9A-Fa-f]{1,4}(?::[0-9A-Fa-f]{1,4})*)?)::((?:[0-9A-Fa-f]{1,4}(?::[0-9A-Fa-"
                  "f]{1,4})*)?)") +
          kZone,
      std::regex::ECMAScript);
  return re;
}

// The narrow copy the tests and lookups work on, cut like the fixed buffers they replace.
std::string Narrow(const std::wstring& text, std::size_t max_len) {
  std::string s = tvkutil::ToUtf8(text);
  if (s.size() > max_len)
    s.resize(max_len);
  return s;
}

}  // namespace

// No text longer than these can match the patterns ("255.255.255.255"; eight groups of four,
// seven colons and "%65535"); longer ones are refused before the patterns see them.
constexpr std::size_t kMaxIPv4TextLen = 15;
constexpr std::size_t kMaxIPv6TextLen = 45;

bool IsValidIPv4Text(const std::wstring& text) {
  if (text.size() > kMaxIPv4TextLen || tvkutil::EqualsNoCase(text, L"255.255.255.255") ||
      tvkutil::EqualsNoCase(text, L"0.0.0.0")) {
    return false;
  }
  return std::regex_match(tvkutil::ToUtf8(text), IPv4Pattern());
}

bool IsValidIPv6Text(const std::wstring& text) {
  if (text.size() > kMaxIPv6TextLen || std::count(text.begin(), text.end(), L':') > 7)
    return false;
  const std::string narrow = tvkutil::ToUtf8(text);
  return std::regex_match(narrow, IPv6FullPattern()) ||
         std::regex_match(narrow, IPv6CompressedPattern());
}

bool IsHostNameText(const std::wstring& text) {
  constexpr std::size_t kMaxName = 253;
  constexpr std::size_t kMaxLabel = 63;
  const std::size_t len = !text.empty() && text.back() == L'.' ? text.size() - 1 : text.size();
  if (len == 0 || len > kMaxName)
    return false;
  bool name_char = false;  // a letter or a hyphen somewhere
  std::size_t label = 0;
  for (std::size_t i = 0; i <= len; ++i) {
    const wchar_t c = i < len ? text[i] : L'.';
    if (c == L'.') {
      if (label == 0 || label > kMaxLabel || text[i - 1] == L'-')
        return false;
      label = 0;
      continue;
    }
    if (c == L'-' && label == 0)
      return false;
    if (!(IsAsciiLetter(c) || (c >= L'0' && c <= L'9') || c == L'-'))
      return false;
    name_char = name_char || c == L'-' || IsAsciiLetter(c);
    ++label;
  }
  return name_char;
}

bool DottedToAddress(const std::wstring& text, std::uint32_t& out_addr) {
  const in_addr_t addr = ::inet_addr(Narrow(text, 32).c_str());
  if (addr == INADDR_NONE || addr == 0) {
    out_addr = INADDR_NONE;
    return false;
  }
  out_addr = addr;
  return true;
}

bool AddressToDotted(std::uint32_t addr, std::wstring& out_text) {
  out_text.clear();
  in_addr in{};
  in.s_addr = addr;
  char buf[INET_ADDRSTRLEN];
  if (::inet_ntop(AF_INET, &in, buf, sizeof buf) == nullptr)
    return false;
  out_text = tvkutil::FromUtf8Lenient(buf);
  return true;
}

std::wstring ReverseLookupIPv4(std::uint32_t addr) {
  sockaddr_in sa{};
  sa.sin_family = AF_INET;
  sa.sin_addr.s_addr = addr;
  char name[NI_MAXHOST];
  if (::getnameinfo(reinterpret_cast<const sockaddr*>(&sa), sizeof sa, name, sizeof name, nullptr,
                    0, NI_NAMEREQD) != 0) {
    return {};
  }
  return tvkutil::FromUtf8Lenient(name);
}

bool ResolveIPv4Host(const std::wstring& host, std::uint32_t& out_addr) {
  t_lookup_failure.clear();
  if (host.find(L'.') != std::wstring::npos) {
    if (IsValidIPv4Text(host) && DottedToAddress(host, out_addr))
      return true;
    if (!IsHostNameText(host))
      return false;
  }
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  addrinfo* result = nullptr;
  if (Lookup(Narrow(host, 128).c_str(), &hints, &result) != 0 || result == nullptr)
    return false;
  std::uint32_t addr = INADDR_NONE;
  if (result->ai_family == AF_INET && result->ai_addr != nullptr) {
    sockaddr_in sin{};
    std::copy_n(reinterpret_cast<const unsigned char*>(result->ai_addr), sizeof sin,
                reinterpret_cast<unsigned char*>(&sin));
    addr = sin.sin_addr.s_addr;
  }
  ::freeaddrinfo(result);
  out_addr = addr;
  return addr != INADDR_NONE;
}

bool ParseIPv6Address(const std::wstring& text, sockaddr_in6& out) {
  addrinfo hints{};
  hints.ai_family = AF_INET6;
  hints.ai_socktype = SOCK_DGRAM;
  hints.ai_flags = AI_NUMERICHOST;
  addrinfo* found = nullptr;
  if (::getaddrinfo(tvkutil::ToUtf8(text).c_str(), nullptr, &hints, &found) != 0)
    return false;
  std::memcpy(&out, found->ai_addr, sizeof out);
  ::freeaddrinfo(found);
  return true;
}

std::wstring WithScopeSuffix(const std::wstring& address_text, std::uint32_t scope_id) {
  in6_addr a{};
  if (scope_id == 0 || address_text.find(L'%') != std::wstring::npos ||
      ::inet_pton(AF_INET6, tvkutil::ToUtf8(address_text).c_str(), &a) != 1 ||
      !(IN6_IS_ADDR_LINKLOCAL(&a) || IN6_IS_ADDR_MC_NODELOCAL(&a) ||
        IN6_IS_ADDR_MC_LINKLOCAL(&a))) {
    return address_text;
  }
  return address_text + tvkutil::FormatN(L"%%%u", SIZE_MAX, scope_id);
}

bool ResolveIPv6Host(const std::wstring& host, std::uint32_t scope_id, std::wstring& out_text) {
  out_text.clear();
  t_lookup_failure.clear();
  if (host.find(L':') != std::wstring::npos) {
    if (!IsValidIPv6Text(host))
      return false;
    out_text = WithScopeSuffix(host, scope_id);
    return true;
  }
  addrinfo hints{};
  hints.ai_family = AF_INET6;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  addrinfo* result = nullptr;
  if (Lookup(Narrow(host, 128).c_str(), &hints, &result) != 0 || result == nullptr)
    return false;
  char buf[64];
  const int rc = ::getnameinfo(result->ai_addr, result->ai_addrlen, buf, sizeof buf, nullptr, 0,
                               NI_NUMERICHOST);
  ::freeaddrinfo(result);
  if (rc != 0)
    return false;
  out_text = WithScopeSuffix(tvkutil::FromUtf8Lenient(buf), scope_id);
  return true;
}

const std::wstring& LastLookupFailure() {
  return t_lookup_failure;
}

void SetHostLookupForTesting(HostLookupFn fn) {
  g_lookup.store(fn);
}

}  // namespace net
