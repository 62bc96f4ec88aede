// The datagrams behind the transaction log's rows: each SNMP datagram sent or received with its
// bytes, direction, both ends and a time stamp in microseconds, for decoding a row on demand
// and for exporting them to a capture file. Bounded by count and by memory, independent of the
// rows the pane shows.
#pragma once

#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "logs/transaction_sink.h"

namespace logs {

// The most recent this many datagrams are kept, or as many as fit in kMaxKeptBytes.
inline constexpr std::size_t kMaxKeptDatagrams = 100000;
inline constexpr std::size_t kMaxKeptBytes = 64 * 1024 * 1024;

// One end of a datagram, without the padding of a sockaddr_storage.
struct DatagramEnd {
  std::uint16_t family = 0;  // AF_INET, AF_INET6, or 0 when unknown
  std::uint16_t port = 0;    // host order
  std::uint32_t scope_id = 0;
  std::array<std::uint8_t, 16> address{};  // IPv4 in the first four bytes, network order

  static DatagramEnd From(const sockaddr_storage& address);
};

struct KeptDatagram {
  std::uint64_t number = 0;  // 1 for the first datagram of the run, then one up each time
  std::int64_t time_us = 0;  // microseconds since 1970-01-01 00:00 UTC
  std::int32_t direction = kDirectionSent;
  // The operation: "Get", "walkMIB" ... shared by all datagrams of that name, so keeping one
  // costs no allocation for it.
  std::shared_ptr<const std::wstring> source;
  DatagramEnd local;
  DatagramEnd remote;
  std::vector<std::uint8_t> bytes;
};

// Microseconds since the epoch, now.
std::int64_t NowMicroseconds();

class CDatagramStore {
 public:
  explicit CDatagramStore(std::size_t max_count = kMaxKeptDatagrams,
                          std::size_t max_bytes = kMaxKeptBytes)
      : max_count_(max_count), max_bytes_(max_bytes) {}

  // Any thread. Keeps a copy and drops the oldest datagrams until both limits hold again;
  // returns the new datagram's number.
  std::uint64_t Add(std::int32_t direction, std::wstring_view source,
                    std::span<const std::uint8_t> bytes, const DatagramEnds& ends,
                    std::int64_t time_us);

  // The datagram of that number, or null when it was never kept or is gone.
  std::shared_ptr<const KeptDatagram> Find(std::uint64_t number) const;
  // Every kept datagram, oldest first. The datagrams themselves never change once kept, so the
  // caller may read them while others are added.
  std::vector<std::shared_ptr<const KeptDatagram>> Snapshot() const;

  std::size_t Count() const;
  // Memory the kept datagrams take, as counted against kMaxKeptBytes.
  std::size_t MemoryBytes() const;

  // Forgets every datagram numbered up to `number` (the Reset of the pane).
  void ClearThrough(std::uint64_t number);

  // What one datagram of `len` bytes counts against the memory limit: its bytes and the
  // bookkeeping around them.
  static std::size_t Cost(std::size_t len);

 private:
  void DropOldestLocked();
  std::shared_ptr<const std::wstring> SourceLocked(std::wstring_view source);

  const std::size_t max_count_;
  const std::size_t max_bytes_;
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<const KeptDatagram>> kept_;      // numbers ascend without gaps
  std::vector<std::shared_ptr<const std::wstring>> sources_;  // the few operation names
  std::uint64_t next_number_ = 1;
  std::size_t memory_ = 0;
};

}  // namespace logs
