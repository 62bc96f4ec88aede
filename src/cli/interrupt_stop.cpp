#include "cli/interrupt_stop.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace cli {

namespace {

// The write end of the pipe, for the handler. Writing one byte is all a handler may safely do;
// the watcher thread requests the stop.
std::atomic<int> g_signal_fd{-1};

constexpr char kSignalByte = 's';
constexpr char kQuitByte = 'q';

void OnSignal(int) {
  const int saved_errno = errno;
  const int fd = g_signal_fd.load();
  if (fd >= 0) {
    [[maybe_unused]] const auto written = ::write(fd, &kSignalByte, 1);
  }
  errno = saved_errno;
}

}  // namespace

CInterruptStop::CInterruptStop(std::stop_source& stop) : stop_(stop) {
  if (::pipe2(pipe_, O_CLOEXEC) != 0)
    return;  // without the pipe, Ctrl+C keeps ending the process at once
  g_signal_fd = pipe_[1];
  struct sigaction action {};
  action.sa_handler = OnSignal;
  sigemptyset(&action.sa_mask);
  // Once only: the next signal takes the default way out.
  action.sa_flags = SA_RESTART | SA_RESETHAND;
  ::sigaction(SIGINT, &action, &old_int_);
  ::sigaction(SIGTERM, &action, &old_term_);
  watcher_ = std::thread([this] { Watch(); });
}

CInterruptStop::~CInterruptStop() {
  if (pipe_[1] < 0)
    return;
  ::sigaction(SIGINT, &old_int_, nullptr);
  ::sigaction(SIGTERM, &old_term_, nullptr);
  g_signal_fd = -1;
  [[maybe_unused]] const auto written = ::write(pipe_[1], &kQuitByte, 1);
  watcher_.join();
  ::close(pipe_[0]);
  ::close(pipe_[1]);
}

void CInterruptStop::Watch() {
  for (;;) {
    char byte = 0;
    const ssize_t got = ::read(pipe_[0], &byte, 1);
    if (got < 0 && errno == EINTR)
      continue;
    if (got <= 0 || byte == kQuitByte)
      return;
    interrupted_ = true;
    stop_.request_stop();
  }
}

}  // namespace cli
