// CRunner: the background thread of one operation (a walk, a sweep, a Get, a ping ...), its stop
// and the finished flag the window's timer polls. Every operation that waits on the network
// runs on one, and every wait of its body looks at the one stop token it is given, so a stop
// ends any wait within kStopPollSlice. The body never touches a window.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <stop_token>
#include <thread>

namespace tvkutil {

// How long a wait that cannot be woken directly (a poll on a socket) sleeps before it looks at
// its stop token again.
inline constexpr std::chrono::milliseconds kStopPollSlice{10};

// Sleeps for `duration` unless a stop is requested first; true when stopped.
bool SleepUnlessStopped(std::stop_token stop, std::chrono::nanoseconds duration);

class CRunner {
 public:
  using Body = std::function<void(std::stop_token)>;

  CRunner() = default;
  // Stops and waits, so no body outlives what it works on.
  ~CRunner() { StopAndWait(); }
  CRunner(const CRunner&) = delete;
  CRunner& operator=(const CRunner&) = delete;

  // Runs `body` on a new thread with a fresh stop token unless a thread exists; a stop asked
  // for an earlier body never reaches this one. The finished flag is set when the body returns.
  // False when a thread exists already, or when none could be made (the flag is then set at
  // once, as if the body had run).
  bool Start(Body body);
  // Asks the body to stop; its waits end within kStopPollSlice.
  void RequestStop() { thread_.request_stop(); }
  // Asks the body to stop and waits for the thread to end.
  void StopAndWait();
  // Waits for the thread to end without asking it to stop, then forgets it.
  void Join();

  // A thread was started and not yet joined.
  bool HasThread() const { return thread_.joinable(); }
  // The body has returned (also true before the first start).
  bool Finished() const { return finished_.load(std::memory_order_acquire); }

 private:
  std::atomic<bool> finished_{true};
  std::jthread thread_;
};

}  // namespace tvkutil
