#include "logs/datagram_store.h"

#include <netinet/in.h>

#include <chrono>
#include <cstring>

namespace logs {

DatagramEnd DatagramEnd::From(const sockaddr_storage& address) {
  DatagramEnd end;
  if (address.ss_family == AF_INET) {
    const auto& a4 = reinterpret_cast<const sockaddr_in&>(address);
    end.family = AF_INET;
    end.port = ntohs(a4.sin_port);
    std::memcpy(end.address.data(), &a4.sin_addr, sizeof a4.sin_addr);
  } else if (address.ss_family == AF_INET6) {
    const auto& a6 = reinterpret_cast<const sockaddr_in6&>(address);
    end.family = AF_INET6;
    end.port = ntohs(a6.sin6_port);
    end.scope_id = a6.sin6_scope_id;
    std::memcpy(end.address.data(), &a6.sin6_addr, sizeof a6.sin6_addr);
  }
  return end;
}

std::int64_t NowMicroseconds() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

std::size_t CDatagramStore::Cost(std::size_t len) {
  // The record, its bytes, and what the allocator and the shared pointer add (two allocations
  // of a few words each), so that 64 MB means 64 MB of the program's memory.
  constexpr std::size_t kAllocationOverhead = 64;
  return sizeof(KeptDatagram) + len + kAllocationOverhead;
}

std::shared_ptr<const std::wstring> CDatagramStore::SourceLocked(std::wstring_view source) {
  for (const auto& s : sources_) {
    if (*s == source)
      return s;
  }
  sources_.push_back(std::make_shared<const std::wstring>(source));
  return sources_.back();
}

std::uint64_t CDatagramStore::Add(std::int32_t direction, std::wstring_view source,
                                  std::span<const std::uint8_t> bytes, const DatagramEnds& ends,
                                  std::int64_t time_us) {
  // The copy is made before the lock, so threads that log meanwhile do not wait for it.
  auto d = std::make_shared<KeptDatagram>();
  d->time_us = time_us;
  d->direction = direction;
  d->local = DatagramEnd::From(ends.local);
  d->remote = DatagramEnd::From(ends.remote);
  d->bytes.assign(bytes.begin(), bytes.end());
  const std::size_t cost = Cost(bytes.size());
  std::lock_guard lock(mutex_);
  d->source = SourceLocked(source);
  d->number = next_number_++;
  const std::uint64_t number = d->number;
  kept_.push_back(std::move(d));
  memory_ += cost;
  while (!kept_.empty() && (kept_.size() > max_count_ || memory_ > max_bytes_))
    DropOldestLocked();
  return number;
}

void CDatagramStore::DropOldestLocked() {
  const KeptDatagram& oldest = *kept_.front();
  memory_ -= Cost(oldest.bytes.size());
  kept_.pop_front();
}

std::shared_ptr<const KeptDatagram> CDatagramStore::Find(std::uint64_t number) const {
  std::lock_guard lock(mutex_);
  if (kept_.empty() || number < kept_.front()->number || number > kept_.back()->number)
    return nullptr;
  return kept_[static_cast<std::size_t>(number - kept_.front()->number)];
}

std::vector<std::shared_ptr<const KeptDatagram>> CDatagramStore::Snapshot() const {
  std::lock_guard lock(mutex_);
  return {kept_.begin(), kept_.end()};
}

std::size_t CDatagramStore::Count() const {
  std::lock_guard lock(mutex_);
  return kept_.size();
}

std::size_t CDatagramStore::MemoryBytes() const {
  std::lock_guard lock(mutex_);
  return memory_;
}

void CDatagramStore::ClearThrough(std::uint64_t number) {
  // Up to 100,000 datagrams: they are freed after the lock is let go, so that the threads
  // logging meanwhile do not wait for the window's Reset.
  std::vector<std::shared_ptr<const KeptDatagram>> gone;
  std::lock_guard lock(mutex_);
  while (!kept_.empty() && kept_.front()->number <= number) {
    gone.push_back(kept_.front());
    DropOldestLocked();
  }
}

}  // namespace logs
