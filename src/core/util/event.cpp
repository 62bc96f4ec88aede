#include "util/event.h"

namespace tvkutil {

void CEvent::Set() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    set_ = true;
  }
  // Auto reset releases only one waiter, so waking one is enough.
  if (manual_reset_) {
    cv_.notify_all();
  } else {
    cv_.notify_one();
  }
}

void CEvent::Reset() {
  std::lock_guard<std::mutex> lock(mutex_);
  set_ = false;
}

void CEvent::Wait() {
  std::unique_lock<std::mutex> lock(mutex_);
  cv_.wait(lock, [this] { return set_; });
  if (!manual_reset_)
    set_ = false;
}

bool CEvent::WaitFor(std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(mutex_);
  // A test without waiting (a walk makes one every tenth object) needs no trip to the kernel.
  if (!set_ && timeout <= std::chrono::milliseconds(0))
    return false;
  if (!cv_.wait_for(lock, timeout, [this] { return set_; }))
    return false;
  if (!manual_reset_)
    set_ = false;
  return true;
}

bool CEvent::IsSet() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return set_;
}

}  // namespace tvkutil
