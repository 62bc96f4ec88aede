// CEvent: a signal one thread raises and others wait for, used to stop the workers and to
// wake whoever waits for them. Manual reset stays raised until Reset(); auto reset lets exactly
// one waiter through and lowers itself again.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tvkutil {

class CEvent {
 public:
  explicit CEvent(bool manual_reset, bool initially_set = false)
      : manual_reset_(manual_reset), set_(initially_set) {}
  CEvent(const CEvent&) = delete;
  CEvent& operator=(const CEvent&) = delete;

  void Set();
  void Reset();
  // Waits without a time limit.
  void Wait();
  // True when the event was raised within the time-out (a zero time-out only tests it). An
  // auto-reset event is lowered by the waiter it lets through.
  bool WaitFor(std::chrono::milliseconds timeout);
  // Tests without waiting and without lowering an auto-reset event.
  bool IsSet() const;

 private:
  const bool manual_reset_;
  mutable std::mutex mutex_;
  std::condition_variable cv_;
  bool set_;
};

}  // namespace tvkutil
