// The queue machinery both logs share: entries are added under a lock by any thread and moved
// into the shown list by the window thread's timer, which keeps at most kMaxShownRows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace logs {

// Each log shows at most this many rows; the oldest goes first.
inline constexpr std::size_t kMaxShownRows = 1024;
// The pending array starts with this many slots and doubles when full, so a burst of n entries
// reallocates about log2(n) times and copies fewer than 2n pointers.
inline constexpr std::size_t kCapacityStep = 1024;

// What one tick changed, so that a view can tell its list which rows went and came.
struct LogTickResult {
  std::size_t removed_front = 0;  // rows that were shown before the tick and are gone now
  std::size_t appended = 0;       // rows added at the end (all of them still shown)
};

template <typename Entry>
class CLogQueue {
 public:
  // Any thread.
  void Add(std::unique_ptr<Entry> entry) {
    std::lock_guard lock(mutex_);
    AddLocked(std::move(entry));
  }
  template <typename Range>
  void AddAll(Range&& entries) {
    std::lock_guard lock(mutex_);
    for (auto& e : entries)
      AddLocked(std::move(e));
  }

  // Window thread (timer tick): moves every pending entry to the end of the shown ones in
  // arrival order; when 1024 are shown, each new one pushes out the oldest. The rows that would
  // only come and go again in the same tick are dropped at once, and the old ones leave in one
  // step, so a full log costs one move per tick rather than one per new entry. Entries are
  // freed after the lock is let go: adding threads never wait for the window to free rows.
  // When `starts` is given, the shown rows always begin where it says yes: the rows before
  // that go too, so a log of messages split into rows never shows part of one.
  template <typename Starts = bool (*)(const Entry&)>
  LogTickResult MovePending(Starts starts = [](const Entry&) { return true; }) {
    std::vector<std::unique_ptr<Entry>> arrived, gone;
    LogTickResult result;
    {
      std::lock_guard lock(mutex_);
      arrived.swap(pending_);
      result.appended = std::min(arrived.size(), kMaxShownRows);
      const std::size_t total = shown_.size() + result.appended;
      result.removed_front = total > kMaxShownRows ? total - kMaxShownRows : 0;
      const auto cut = shown_.begin() + static_cast<std::ptrdiff_t>(result.removed_front);
      gone.assign(std::make_move_iterator(shown_.begin()), std::make_move_iterator(cut));
      shown_.erase(shown_.begin(), cut);
      if (shown_.capacity() < kMaxShownRows)
        shown_.reserve(kMaxShownRows);
      for (std::size_t i = arrived.size() - result.appended; i < arrived.size(); ++i)
        shown_.push_back(std::move(arrived[i]));
      // Rows kept from before go first, then arrived ones the view never knew of.
      const std::size_t old_kept = shown_.size() - result.appended;
      std::size_t partial = 0;
      while (partial < shown_.size() && !starts(*shown_[partial]))
        ++partial;
      if (partial > 0) {
        const std::size_t from_old = std::min(partial, old_kept);
        result.removed_front += from_old;
        result.appended -= partial - from_old;
        const auto whole = shown_.begin() + static_cast<std::ptrdiff_t>(partial);
        gone.insert(gone.end(), std::make_move_iterator(shown_.begin()),
                    std::make_move_iterator(whole));
        shown_.erase(shown_.begin(), whole);
      }
    }
    gone.clear();
    arrived.clear();  // the entries dropped unshown
    // The emptied array goes back with its capacity for the next burst, taking along what was
    // added meanwhile (a few pointers).
    std::lock_guard lock(mutex_);
    if (arrived.capacity() > pending_.capacity()) {
      std::move(pending_.begin(), pending_.end(), std::back_inserter(arrived));
      pending_.swap(arrived);
    }
    return result;
  }

  // Window thread: forgets every shown entry; pending ones stay for the next tick. The entries
  // are freed after the lock is let go.
  void ResetShown() {
    std::vector<std::unique_ptr<Entry>> gone;
    std::lock_guard lock(mutex_);
    gone.swap(shown_);
  }

  // Window thread. Only that thread changes the shown entries, so it may read them unlocked.
  std::size_t ShownCount() const { return shown_.size(); }
  const Entry& Shown(std::size_t index) const { return *shown_[index]; }

  // Runs fn(shown entries) under the lock, so that adding threads wait (saving uses it).
  template <typename Fn>
  auto WithShownLocked(Fn&& fn) const {
    std::lock_guard lock(mutex_);
    return fn(shown_);
  }

  // How many pending entries fit before the array grows (tests).
  std::size_t PendingCapacity() const {
    std::lock_guard lock(mutex_);
    return pending_.capacity();
  }
  std::size_t PendingCount() const {
    std::lock_guard lock(mutex_);
    return pending_.size();
  }
  std::vector<Entry> CopyPending() const {
    std::lock_guard lock(mutex_);
    std::vector<Entry> copy;
    copy.reserve(pending_.size());
    for (const auto& e : pending_)
      copy.push_back(*e);
    return copy;
  }

 private:
  void AddLocked(std::unique_ptr<Entry> entry) {
    if (pending_.size() == pending_.capacity())
      pending_.reserve(std::max(kCapacityStep, pending_.capacity() * 2));
    pending_.push_back(std::move(entry));
  }

  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<Entry>> shown_;
  std::vector<std::unique_ptr<Entry>> pending_;
};

}  // namespace logs
