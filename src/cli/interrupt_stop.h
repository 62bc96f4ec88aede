// Ctrl+C for the commands that can stop early (walk, sweep): SIGINT and SIGTERM request a stop
// instead of ending the process, so the command can print what it found and say it
// stopped. A second Ctrl+C ends the process the ordinary way, for an operation that does not
// stop.
#pragma once

#include <signal.h>

#include <atomic>
#include <stop_token>
#include <thread>

namespace cli {

class CInterruptStop {
 public:
  // Installs the handlers; a stop is requested from `stop` when a signal comes. One at a time
  // per process.
  explicit CInterruptStop(std::stop_source& stop);
  // Puts the previous handlers back.
  ~CInterruptStop();
  CInterruptStop(const CInterruptStop&) = delete;
  CInterruptStop& operator=(const CInterruptStop&) = delete;

  // True once a signal has requested the stop.
  bool Interrupted() const { return interrupted_; }

 private:
  void Watch();

  std::stop_source& stop_;
  int pipe_[2] = {-1, -1};
  struct sigaction old_int_ {};
  struct sigaction old_term_ {};
  std::atomic<bool> interrupted_{false};
  std::thread watcher_;
};

}  // namespace cli
