// Ctrl+C for the commands that can stop early (walk, sweep): SIGINT and SIGTERM raise a stop
// event instead of ending the process, so the command can print what it found and say it
// stopped. A second Ctrl+C ends the process the ordinary way, for an operation that does not
// stop.
#pragma once

#include <signal.h>

#include <atomic>
#include <thread>

#include "util/event.h"

namespace cli {

class CInterruptStop {
 public:
  // Installs the handlers; `stop` is set when a signal comes. One at a time per process.
  explicit CInterruptStop(tvkutil::CEvent& stop);
  // Puts the previous handlers back.
  ~CInterruptStop();
  CInterruptStop(const CInterruptStop&) = delete;
  CInterruptStop& operator=(const CInterruptStop&) = delete;

  // True once a signal has raised the event.
  bool Interrupted() const { return interrupted_; }

 private:
  void Watch();

  tvkutil::CEvent& stop_;
  int pipe_[2] = {-1, -1};
  struct sigaction old_int_ {};
  struct sigaction old_term_ {};
  std::atomic<bool> interrupted_{false};
  std::thread watcher_;
};

}  // namespace cli
