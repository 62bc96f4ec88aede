// Address tests and resolvers shared by every page and the transport.
//
// The tests look at text only. The resolvers turn a host text into an address; a host text
// with a colon (IPv6) or of digits and dots (IPv4) is taken as an address and never looked up,
// while a host name, dotted ("sw-3.plant.example") or not, is.
#pragma once

#include <netdb.h>
#include <netinet/in.h>

#include <cstdint>
#include <string>

namespace net {

// A dotted IPv4 text by the deliberately loose pattern the pages have always used: any one
// character separates the numbers, so "1x2x3x4" passes. "0.0.0.0" and "255.255.255.255" fail.
bool IsValidIPv4Text(const std::wstring& text);

// Full or "::"-compressed IPv6 text with at most 7 colons, optionally followed by "%" and a
// zone index from 0 to 65535.
bool IsValidIPv6Text(const std::wstring& text);

// A host name by RFC 1123 (labels of letters, digits and inner hyphens, 1 to 63 characters
// each, at most 253 in all, one trailing dot allowed) that holds a letter or a hyphen, so that
// no text of digits and dots ever counts as a name.
bool IsHostNameText(const std::wstring& text);

// Dotted text (at most 32 characters are looked at) to an address in network byte order.
// False, with out_addr all ones, when the text gives all ones or zero.
bool DottedToAddress(const std::wstring& text, std::uint32_t& out_addr);

// An address in network byte order to dotted text; out_text is cleared first.
bool AddressToDotted(std::uint32_t addr, std::wstring& out_text);

// The host name of an IPv4 address (network byte order) by reverse lookup (hosts file, then the
// name servers); empty when it has none. The address's own text never stands in for a name.
// Blocks for as long as the lookup takes.
std::wstring ReverseLookupIPv4(std::uint32_t addr);

// A host text to an IPv4 address in network byte order. With a dot: the IPv4 text test and
// the dotted conversion, else a name lookup only when IsHostNameText. Without a dot: a name
// lookup. A lookup takes the first 128 characters and the first result. False when no address
// other than all ones came out.
bool ResolveIPv4Host(const std::wstring& host, std::uint32_t& out_addr);

// A host text to IPv6 address text with a scope. With a colon: the IPv6 text test, then the
// scope suffix. Without: a name lookup and the first result as numeric text, then the suffix.
// out_text is empty when the answer is false.
bool ResolveIPv6Host(const std::wstring& host, std::uint32_t scope_id, std::wstring& out_text);

// Why the last name lookup of the resolvers on this thread failed, in the resolver's words
// (gai_strerror, "Name or service not known"); empty when the last resolve made no lookup or
// it succeeded. Per thread as errno is, since requests resolve on worker threads.
const std::wstring& LastLookupFailure();

// A numeric IPv6 text ("%scope" allowed) as a socket address with port 0; false when the text
// is no IPv6 address. Never looks a name up.
bool ParseIPv6Address(const std::wstring& text, sockaddr_in6& out);

// Appends "%<scope_id>" when the text has no "%" yet and names an address that needs a scope
// (link-local unicast, interface- or link-local multicast), so that it leaves through the
// interface chosen in the Options. Other addresses, and scope 0 ("any interface"), get none:
// the system ignores a scope there, and "::1%0" only puzzles whoever reads it.
std::wstring WithScopeSuffix(const std::wstring& address_text, std::uint32_t scope_id);

// The name lookup the resolvers use; tests replace it to see whether a lookup happened.
// Passing nullptr restores getaddrinfo.
using HostLookupFn = int (*)(const char* node, const char* service, const addrinfo* hints,
                             addrinfo** res);
void SetHostLookupForTesting(HostLookupFn fn);

}  // namespace net
