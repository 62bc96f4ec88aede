#include "util/worker.h"

#include <system_error>

namespace tvkutil {

bool CWorker::Start(Body body) {
  if (thread_.joinable())
    return false;
  // A request left over from the last run (raised after its body had already ended) must not
  // stop this one.
  stop_.Reset();
  finished_.store(false, std::memory_order_release);
  try {
    thread_ = std::thread([this, body = std::move(body)] {
      body(stop_);
      finished_.store(true, std::memory_order_release);
    });
  } catch (const std::system_error&) {
    finished_.store(true, std::memory_order_release);
    return false;
  }
  return true;
}

void CWorker::StopAndWait() {
  if (!thread_.joinable())
    return;
  stop_.Set();
  thread_.join();
}

void CWorker::Join() {
  if (thread_.joinable())
    thread_.join();
}

}  // namespace tvkutil
