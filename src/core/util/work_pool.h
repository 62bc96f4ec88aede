// CWorkPool: jobs run on at most a fixed number of threads, started as jobs come and kept until
// the pool goes, from a queue of bounded length. Cancel drops the jobs not yet started, so the
// one who posted them can go on at once; a job already running finishes on its own, and must
// then touch only what it holds itself. The pool's end waits for such jobs, so no thread is
// left behind.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tvkutil {

class CWorkPool {
 public:
  CWorkPool(std::size_t max_threads, std::size_t max_queued)
      : max_threads_(max_threads > 0 ? max_threads : 1), max_queued_(max_queued) {}
  // Drops the queued jobs and waits for the running ones.
  ~CWorkPool();
  CWorkPool(const CWorkPool&) = delete;
  CWorkPool& operator=(const CWorkPool&) = delete;

  // Queues `job` for the next free thread, starting one if none is free and the bound allows.
  // With the queue full, or no thread to be had at all, the job runs on the caller's thread
  // before Post returns: slower, but nothing is lost.
  void Post(std::function<void()> job);
  // Drops the jobs not yet started.
  void Cancel();

 private:
  void Serve();

  const std::size_t max_threads_;
  const std::size_t max_queued_;
  std::mutex mutex_;
  std::condition_variable wake_;  // a job, or the end
  std::deque<std::function<void()>> queue_;
  std::vector<std::thread> threads_;
  std::size_t idle_ = 0;
  bool closing_ = false;
};

}  // namespace tvkutil
