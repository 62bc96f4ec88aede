#include "util/work_pool.h"

#include <system_error>
#include <utility>

namespace tvkutil {

CWorkPool::~CWorkPool() {
  std::deque<std::function<void()>> dropped;
  {
    std::lock_guard lock(mutex_);
    closing_ = true;
    dropped.swap(queue_);
  }
  wake_.notify_all();
  for (std::thread& t : threads_)
    t.join();
}

void CWorkPool::Post(std::function<void()> job) {
  {
    std::lock_guard lock(mutex_);
    if (queue_.size() < max_queued_) {
      queue_.push_back(std::move(job));
      bool served = queue_.size() <= idle_ || threads_.size() >= max_threads_;
      if (!served) {
        try {
          threads_.emplace_back(&CWorkPool::Serve, this);
          served = true;
        } catch (const std::system_error&) {
          // No new thread: the running ones get to it, unless there are none.
          served = !threads_.empty();
        }
      }
      if (served) {
        wake_.notify_one();
        return;
      }
      job = std::move(queue_.back());
      queue_.pop_back();
    }
  }
  job();
}

void CWorkPool::Cancel() {
  std::deque<std::function<void()>> dropped;
  std::lock_guard lock(mutex_);
  dropped.swap(queue_);
}

void CWorkPool::Serve() {
  std::unique_lock lock(mutex_);
  for (;;) {
    ++idle_;
    wake_.wait(lock, [this] { return closing_ || !queue_.empty(); });
    --idle_;
    if (closing_)
      return;
    std::function<void()> job = std::move(queue_.front());
    queue_.pop_front();
    lock.unlock();
    job();
    job = nullptr;  // what it holds goes before the lock is taken again
    lock.lock();
  }
}

}  // namespace tvkutil
