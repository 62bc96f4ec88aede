// Fuzz target: IPv4 and IPv6 address texts as a user or a hand-edited settings file gives them.
// The tests never crash or look a name up for an address text, and what they accept converts
// consistently: a dotted address turns into text and back unchanged, an accepted IPv6 text
// resolves to itself with the chosen scope.
#include <arpa/inet.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "net/address.h"
#include "util/text.h"

namespace {

// Names must never reach a name server from here: every lookup fails at once.
int NoLookup(const char*, const char*, const addrinfo*, addrinfo**) {
  return EAI_NONAME;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  net::SetHostLookupForTesting(&NoLookup);
  const std::wstring text =
      tvkutil::FromUtf8Lenient(std::string_view(reinterpret_cast<const char*>(data), size));

  const bool v4 = net::IsValidIPv4Text(text);
  std::uint32_t addr = 0;
  if (net::DottedToAddress(text, addr)) {
    // Whatever inet_addr accepted comes back as plain dotted text that every test accepts.
    std::wstring dotted;
    std::uint32_t again = 0;
    if (!net::AddressToDotted(addr, dotted) || !net::IsValidIPv4Text(dotted) ||
        !net::DottedToAddress(dotted, again) || again != addr)
      std::abort();
  } else if (addr != INADDR_NONE) {
    std::abort();  // a refused text leaves all ones
  }
  std::uint32_t resolved = 0;
  if (text.find(L'.') != std::wstring::npos &&
      net::ResolveIPv4Host(text, resolved) != (v4 && net::DottedToAddress(text, addr)))
    std::abort();

  const bool v6 = net::IsValidIPv6Text(text);
  std::wstring out;
  if (text.find(L':') != std::wstring::npos) {
    if (net::ResolveIPv6Host(text, 7, out) != v6)
      std::abort();
    // The chosen scope goes only to addresses that need one and carry none yet.
    sockaddr_in6 parsed{};
    const bool needs_scope =
        text.find(L'%') == std::wstring::npos && net::ParseIPv6Address(text, parsed) &&
        (IN6_IS_ADDR_LINKLOCAL(&parsed.sin6_addr) || IN6_IS_ADDR_MC_NODELOCAL(&parsed.sin6_addr) ||
         IN6_IS_ADDR_MC_LINKLOCAL(&parsed.sin6_addr));
    if (v6 && out != (needs_scope ? text + L"%7" : text))
      std::abort();
  }
  sockaddr_in6 a6{};
  if (net::ParseIPv6Address(text, a6) && a6.sin6_family != AF_INET6)
    std::abort();
  return 0;
}
