// CPolledList: records that worker threads add while the window's timer reads them (the objects
// of a walk, the devices of a sweep, the rows of the event and transaction logs). Records come
// in by one of two ways:
//  - straight into the rows under the lock (Append, InsertSorted): a results table, whose worker
//    reads back what it added (the device limit, the count in its last line);
//  - into a pending array that the window's tick moves into the rows (Add, AddAll, MovePending),
//    which then keeps at most kMaxShownRows: a log, whose adding threads hold the lock only to
//    push a record and never wait while the window frees rows.
// A log keeps std::unique_ptr records, so a tick moves pointers and its rows are freed after the
// lock is let go.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

namespace tvkutil {

// A list fed through its tick shows at most this many rows; the oldest goes first.
inline constexpr std::size_t kMaxShownRows = 1024;
// The pending array starts with this many slots and doubles when full, so a burst of n records
// reallocates about log2(n) times and moves fewer than 2n of them.
inline constexpr std::size_t kPendingCapacityStep = 1024;

// What one tick changed, so that a view can tell its model which rows went and came.
struct LogTickResult {
  std::size_t removed_front = 0;  // rows that were there before the tick and are gone now
  std::size_t appended = 0;       // rows added at the end (all of them still there)
};

template <typename T>
class CPolledList {
 public:
  // Any thread: straight into the rows.
  void Append(T record) {
    std::lock_guard lock(mutex_);
    rows_.push_back(std::move(record));
  }
  // Straight into the rows, keeping at most `max` of the newest: when full, the oldest max/64
  // (at least one) go in one step, so a long stream shifts the rows once per so many records
  // rather than once per record. Counts as a reorder then; returns how many went.
  std::size_t AppendBounded(T record, std::size_t max) {
    std::vector<T> gone;
    std::lock_guard lock(mutex_);
    if (max > 0 && rows_.size() >= max) {
      const auto cut = rows_.begin() + static_cast<std::ptrdiff_t>(std::min(
                                           rows_.size(), std::max<std::size_t>(1, max / 64)));
      gone.assign(std::make_move_iterator(rows_.begin()), std::make_move_iterator(cut));
      rows_.erase(rows_.begin(), cut);
      ++reorders_;
    }
    rows_.push_back(std::move(record));
    return gone.size();
  }
  // Keeps the rows ordered by `less` (a record equal to others goes after them). A record that
  // lands before the end counts as a reorder, so a view knows earlier rows moved.
  template <typename Less>
  void InsertSorted(T record, Less less) {
    std::lock_guard lock(mutex_);
    const auto at = std::upper_bound(rows_.begin(), rows_.end(), record, less);
    if (at != rows_.end())
      ++reorders_;
    rows_.insert(at, std::move(record));
  }
  // Forgets every row (a new walk or sweep, a log's Reset); pending records stay for the next
  // tick. The rows are freed after the lock is let go.
  void Clear() {
    std::vector<T> gone;
    std::lock_guard lock(mutex_);
    gone.swap(rows_);
    ++reorders_;
  }

  // Any thread: into the pending array, for the window's next tick.
  void Add(T record) {
    std::lock_guard lock(mutex_);
    AddLocked(std::move(record));
  }
  // All of `records` at once, so another thread's records cannot come between them.
  template <typename Range>
  void AddAll(Range&& records) {
    std::lock_guard lock(mutex_);
    for (auto& r : records)
      AddLocked(std::move(r));
  }

  // Window thread (timer tick): moves every pending record to the end of the rows in arrival
  // order; when kMaxShownRows are there, each new one pushes out the oldest. Records that would
  // only come and go again in the same tick are dropped at once, and the old ones leave in one
  // step, so a full list costs one move per tick rather than one per new record. Records are
  // freed after the lock is let go. With `starts`, the rows always begin where it says yes: the
  // rows before that go too, so a log of messages split into rows never shows part of one.
  template <typename Starts = bool (*)(const T&)>
  LogTickResult MovePending(Starts starts = [](const T&) { return true; }) {
    std::vector<T> arrived, gone;
    LogTickResult result;
    {
      std::lock_guard lock(mutex_);
      arrived.swap(pending_);
      result.appended = std::min(arrived.size(), kMaxShownRows);
      const std::size_t total = rows_.size() + result.appended;
      result.removed_front = total > kMaxShownRows ? total - kMaxShownRows : 0;
      const auto cut = rows_.begin() + static_cast<std::ptrdiff_t>(result.removed_front);
      gone.assign(std::make_move_iterator(rows_.begin()), std::make_move_iterator(cut));
      rows_.erase(rows_.begin(), cut);
      if (rows_.capacity() < kMaxShownRows)
        rows_.reserve(kMaxShownRows);
      for (std::size_t i = arrived.size() - result.appended; i < arrived.size(); ++i)
        rows_.push_back(std::move(arrived[i]));
      // Rows kept from before go first, then arrived ones the view never knew of.
      const std::size_t old_kept = rows_.size() - result.appended;
      std::size_t partial = 0;
      while (partial < rows_.size() && !starts(rows_[partial]))
        ++partial;
      if (partial > 0) {
        const std::size_t from_old = std::min(partial, old_kept);
        result.removed_front += from_old;
        result.appended -= partial - from_old;
        const auto whole = rows_.begin() + static_cast<std::ptrdiff_t>(partial);
        gone.insert(gone.end(), std::make_move_iterator(rows_.begin()),
                    std::make_move_iterator(whole));
        rows_.erase(rows_.begin(), whole);
      }
    }
    gone.clear();
    arrived.clear();  // the records dropped unshown
    // The emptied array goes back with its capacity for the next burst, taking along what was
    // added meanwhile (a few records).
    std::lock_guard lock(mutex_);
    if (arrived.capacity() > pending_.capacity()) {
      std::move(pending_.begin(), pending_.end(), std::back_inserter(arrived));
      pending_.swap(arrived);
    }
    return result;
  }

  // Any thread.
  std::size_t Count() const {
    std::lock_guard lock(mutex_);
    return rows_.size();
  }
  // Runs fn(row) under the lock for the row at `index`; false when there is none (the worker
  // may have cleared the list since its count was read).
  template <typename Fn>
  bool With(std::size_t index, Fn&& fn) const {
    std::lock_guard lock(mutex_);
    if (index >= rows_.size())
      return false;
    fn(rows_[index]);
    return true;
  }
  // Runs fn(rows) under the lock, so that adding threads wait (a save reads them all at once).
  template <typename Fn>
  auto WithAll(Fn&& fn) const {
    std::lock_guard lock(mutex_);
    return fn(static_cast<const std::vector<T>&>(rows_));
  }
  // Grows each time the rows are cleared or a record is inserted before the end: rows a view
  // has shown may now hold other records.
  std::uint64_t Reorders() const {
    std::lock_guard lock(mutex_);
    return reorders_;
  }

  // Window thread of a list fed only through the tick: no other thread changes the rows, so it
  // reads them unlocked.
  std::size_t ShownCount() const { return rows_.size(); }
  const T& Shown(std::size_t index) const { return rows_[index]; }

  // How many pending records fit before the array grows, how many wait, and fn(pending) under
  // the lock (tests).
  std::size_t PendingCapacity() const {
    std::lock_guard lock(mutex_);
    return pending_.capacity();
  }
  std::size_t PendingCount() const {
    std::lock_guard lock(mutex_);
    return pending_.size();
  }
  template <typename Fn>
  auto WithPending(Fn&& fn) const {
    std::lock_guard lock(mutex_);
    return fn(static_cast<const std::vector<T>&>(pending_));
  }

 private:
  void AddLocked(T record) {
    if (pending_.size() == pending_.capacity())
      pending_.reserve(std::max(kPendingCapacityStep, pending_.capacity() * 2));
    pending_.push_back(std::move(record));
  }

  mutable std::mutex mutex_;
  std::vector<T> rows_;
  std::vector<T> pending_;
  std::uint64_t reorders_ = 0;
};

}  // namespace tvkutil
