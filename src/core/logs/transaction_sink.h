// Where the network layer hands every message it sends or receives. The network code never
// calls a log itself: its callers pass a sink (TransactionLogSink() for the window's log, a
// recorder in tests, a file writer in the command line).
#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <span>
#include <string_view>

namespace logs {

inline constexpr std::int32_t kDirectionReceived = 0;
inline constexpr std::int32_t kDirectionSent = 1;

// The two ends of a datagram as our socket saw them: the address and port it is bound to, and
// the peer's. A family of 0 means unknown.
struct DatagramEnds {
  sockaddr_storage local{};
  sockaddr_storage remote{};
};

class ITransactionSink {
 public:
  virtual ~ITransactionSink() = default;
  // One SNMP datagram exactly as it went out or came in. Any thread.
  virtual void LogDatagram(std::int32_t direction, std::wstring_view source,
                           std::span<const std::uint8_t> bytes, const DatagramEnds& ends) = 0;
  // One line of text (what a ping did), UTF-8. Any thread.
  virtual void LogText(std::int32_t direction, std::wstring_view source, std::string_view text) = 0;
};

// Forwards to the transaction log the main window has registered; does nothing while none is.
ITransactionSink& TransactionLogSink();

}  // namespace logs
