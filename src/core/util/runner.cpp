#include "util/runner.h"

#include <condition_variable>
#include <mutex>
#include <system_error>

namespace tvkutil {

bool SleepUnlessStopped(std::stop_token stop, std::chrono::nanoseconds duration) {
  std::mutex mutex;
  std::condition_variable_any woken;
  std::unique_lock lock(mutex);
  return woken.wait_for(lock, stop, duration, [] { return false; }) || stop.stop_requested();
}

bool CRunner::Start(Body body) {
  if (thread_.joinable())
    return false;
  finished_.store(false, std::memory_order_release);
  try {
    thread_ = std::jthread([this, body = std::move(body)](std::stop_token stop) {
      body(stop);
      finished_.store(true, std::memory_order_release);
    });
  } catch (const std::system_error&) {
    finished_.store(true, std::memory_order_release);
    return false;
  }
  return true;
}

void CRunner::StopAndWait() {
  if (!thread_.joinable())
    return;
  thread_.request_stop();
  thread_.join();
}

void CRunner::Join() {
  if (thread_.joinable())
    thread_.join();
}

}  // namespace tvkutil
