// CWorker: the background thread of one operation (a walk, a sweep), the stop event it
// watches, and the finished flag that the window's timer polls. The body never touches a
// window; it reports through its own results and the logs.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "util/event.h"

namespace tvkutil {

class CWorker {
 public:
  using Body = std::function<void(CEvent& stop)>;

  // The stop event is manual reset (stays raised until reset) or auto reset (the first test
  // that sees a request consumes it).
  explicit CWorker(bool manual_reset_stop) : stop_(manual_reset_stop) {}
  // Stops and waits, so no body outlives what it works on.
  ~CWorker() { StopAndWait(); }
  CWorker(const CWorker&) = delete;
  CWorker& operator=(const CWorker&) = delete;

  // Runs `body` on a new thread unless one exists. The stop event is lowered and the finished
  // flag cleared first; the flag is set when the body returns. False when a thread exists already,
  // or when none could be made (the flag is then set at once, as if the body had run).
  bool Start(Body body);
  // Raises the stop event; the body notices it at its next test.
  void RequestStop() { stop_.Set(); }
  // Raises the stop event and waits without limit for the thread to end.
  void StopAndWait();
  // Waits for the thread to end without asking it to stop, then forgets it.
  void Join();

  // A thread was started and not yet joined.
  bool HasThread() const { return thread_.joinable(); }
  // The body has returned (also true before the first start).
  bool Finished() const { return finished_.load(std::memory_order_acquire); }
  CEvent& StopEvent() { return stop_; }

 private:
  CEvent stop_;
  std::atomic<bool> finished_{true};
  std::thread thread_;
};

}  // namespace tvkutil
