// ICMP echo (ping) to one IPv4 or IPv6 address, as the ping toolbar and device discovery use
// it. Linux ICMP datagram sockets are tried first (no privilege needed where the system's
// ping_group_range allows it), raw sockets second.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

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
  kEchoDestProhibited = 11051,  // ours: a filter on the way refused the echo
};

// The words of a ping tool for an error status ("Destination host unreachable", "TTL expired
// in transit"); empty for a reply, a time-out and a general failure, which read "not received".
std::wstring EchoStatusWords(std::int32_t status);

// Start-up: finds out whether an IPv4 echo socket (datagram or raw) can be opened and records
// the answer. The application's "ICMP available" flag is set from the result; until this has
// answered true, PingIPv4 and PingIPv6 return false at once.
bool LoadIcmp();
// Shut-down: pings are refused from now on.
void UnloadIcmp();
bool IcmpLoaded();

using EchoClock = std::chrono::steady_clock;

// One answer about one of our echoes: the reply, or an ICMP error about the echo.
struct EchoAnswer {
  std::uint32_t address = 0;  // network byte order: the address the echo was sent to
  std::uint16_t sequence = 0;
  std::int32_t status = kEchoTimedOut;
  std::int32_t data_size = 0;  // echo data bytes of a reply
  EchoClock::time_point received_at{};
};

class CEchoSocket;
class CIcmpEchoSocket;

// Sends up to retries + 1 echoes to `address` (IPv4, network byte order), each waiting up to
// timeout_ms, and stops at the first reply. Logs "Ping command sent to IP %s." as sent text
// and the outcome ("Reply from %s: bytes=%d time=%dms.", "Reply from %s not received." or,
// for an ICMP error about the echo or the system's refusal to send it, "Reply from %s:
// Destination host unreachable." and the like) as received text to `sink` under `source`.
// True when a good reply came back; such an error ends the attempts and counts as no reply.
// False without any log row when ICMP is not loaded or no socket can be opened. A stop
// requested through `stop` ends the wait within tvkutil::kStopPollSlice; no retry follows and
// the ping counts as not received.
bool PingIPv4(std::uint32_t address, int timeout_ms, int retries, std::wstring_view source,
              logs::ITransactionSink& sink, std::stop_token stop = {});

// PingIPv4 over a socket that lives longer than one ping (a sweep opens one for all its
// addresses): the same attempts, rows, stop and verdict. False without a log row when the
// socket is not open.
bool PingIPv4(CIcmpEchoSocket& socket, std::uint32_t address, int timeout_ms, int retries,
              std::wstring_view source, logs::ITransactionSink& sink, std::stop_token stop = {});

// The same for an IPv6 address text ("%scope" allowed). The reply row reads
// "Reply from %s: time=%dms.". False without a log row when the text is not an IPv6 address.
bool PingIPv6(const std::wstring& address, int timeout_ms, int retries, std::wstring_view source,
              logs::ITransactionSink& sink, std::stop_token stop = {});

// One IPv4 echo socket for a whole sweep. Echoes go out without waiting for their answers;
// the answers are told apart by the echo's identifier (the socket's own, so other sockets'
// answers are never seen) and its sequence number, which Send hands out.
class CIcmpEchoSocket {
 public:
  // Opens the socket (datagram, else raw). Not open when ICMP is not loaded or no socket can be
  // had.
  CIcmpEchoSocket();
  ~CIcmpEchoSocket();
  CIcmpEchoSocket(const CIcmpEchoSocket&) = delete;
  CIcmpEchoSocket& operator=(const CIcmpEchoSocket&) = delete;

  bool IsOpen() const;
  // Sends one echo to `address` (network byte order) and returns at once; out_sequence is the
  // number its answer will carry. kEchoSuccess when it went out, else what the system's refusal
  // means (kEchoDestNetUnreachable, kEchoGeneralFailure), and no answer will come.
  std::int32_t Send(std::uint32_t address, std::uint16_t& out_sequence);
  // Waits until an answer is there or `until` has passed, then takes every answer waiting.
  std::vector<EchoAnswer> Receive(EchoClock::time_point until);

 private:
  friend bool PingIPv4(CIcmpEchoSocket& socket, std::uint32_t address, int timeout_ms, int retries,
                       std::wstring_view source, logs::ITransactionSink& sink,
                       std::stop_token stop);
  std::unique_ptr<CEchoSocket> socket_;
};

// The two rows of a ping, for callers that send the echoes themselves (the fast sweep):
// "Ping command sent to IP %s." as sent text, then the outcome row of `status` as PingIPv4
// writes it as received text. `address` in network byte order.
void LogEchoSent(logs::ITransactionSink& sink, std::wstring_view source, std::uint32_t address);
void LogEchoOutcome(logs::ITransactionSink& sink, std::wstring_view source, std::uint32_t address,
                    std::int32_t status, int data_size, int round_trip_ms);

}  // namespace net
