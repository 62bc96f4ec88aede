// CResultList: the records a worker finds (walked objects, discovered devices), appended by the
// worker while the window's thread reads them for the list, a copy or a save. Every access
// takes the lock.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace tvkutil {

template <typename T>
class CResultList {
 public:
  void Clear() {
    std::lock_guard lock(mutex_);
    records_.clear();
    ++reorders_;
  }
  void Append(T record) {
    std::lock_guard lock(mutex_);
    records_.push_back(std::move(record));
  }
  // Keeps the list ordered by `less` (a record equal to others goes after them). A record that
  // lands before the end counts as a reorder, so a view knows earlier rows moved.
  template <typename Less>
  void InsertSorted(T record, Less less) {
    std::lock_guard lock(mutex_);
    const auto at = std::upper_bound(records_.begin(), records_.end(), record, less);
    if (at != records_.end())
      ++reorders_;
    records_.insert(at, std::move(record));
  }

  std::size_t Count() const {
    std::lock_guard lock(mutex_);
    return records_.size();
  }
  // Runs fn(record) under the lock for the record at `index`; false when there is none (the
  // worker may have cleared the list since its count was read).
  template <typename Fn>
  bool With(std::size_t index, Fn&& fn) const {
    std::lock_guard lock(mutex_);
    if (index >= records_.size())
      return false;
    fn(records_[index]);
    return true;
  }
  // Runs fn(records) under the lock (saving reads them all at once).
  template <typename Fn>
  auto WithAll(Fn&& fn) const {
    std::lock_guard lock(mutex_);
    return fn(static_cast<const std::vector<T>&>(records_));
  }
  // Grows each time records are cleared or inserted before the end: rows a view has shown may
  // now hold other records.
  std::uint64_t Reorders() const {
    std::lock_guard lock(mutex_);
    return reorders_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<T> records_;
  std::uint64_t reorders_ = 0;
};

}  // namespace tvkutil
