// ICMP echo (ping) to one IPv4 or IPv6 address, as the ping toolbar and device discovery use
// it. Linux ICMP datagram sockets are tried first (no privilege needed where the system's
// ping_group_range allows it), raw sockets second.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "logs/transaction_sink.h"

namespace net {

// Every echo carries these 14 bytes and goes out with time to live 64.
inline constexpr char kEchoPayload[] = "abcdefghijklmn";
inline constexpr std::size_t kEchoPayloadLen = sizeof(kEchoPayload) - 1;
inline constexpr int kEchoTimeToLive = 64;

// Status of one echo, in the numbering users know from other ping tools.
enum EchoStatus : std::int32_t {
  kEchoSuccess = 0,
  kEchoDestNetUnreachable = 11002,
  kEchoDestHostUnreachable = 11003,
  kEchoDestProtUnreachable = 11004,
  kEchoDestPortUnreachable = 11005,
  kEchoTimedOut = 11010,
  kEchoTtlExpired = 11013,
  kEchoGeneralFailure = 11050,
};

// Start-up: finds out whether an IPv4 echo socket (datagram or raw) can be opened and records
// the answer. The application's "ICMP available" flag is set from the result; until this has
// answered true, PingIPv4 and PingIPv6 return false at once.
bool LoadIcmp();
// Shut-down: pings are refused from now on.
void UnloadIcmp();
bool IcmpLoaded();

// Sends up to retries + 1 echoes to `address` (IPv4, network byte order), each waiting up to
// timeout_ms, and stops at the first reply. Logs "Ping command sent to IP %s." as sent text
// and the outcome ("Reply from %s: bytes=%d time=%dms." or "Reply from %s not received.") as
// received text to `sink` under `source`. True when a good reply came back; an
// ICMP error about the echo (unreachable, time exceeded) counts as no reply. False without any
// log row when ICMP is not loaded or no socket can be opened.
bool PingIPv4(std::uint32_t address, int timeout_ms, int retries, std::wstring_view source,
              logs::ITransactionSink& sink);

// The same for an IPv6 address text ("%scope" allowed). The reply row reads
// "Reply from %s: time=%dms.". False without a log row when the text is not an IPv6 address.
bool PingIPv6(const std::wstring& address, int timeout_ms, int retries, std::wstring_view source,
              logs::ITransactionSink& sink);

}  // namespace net
