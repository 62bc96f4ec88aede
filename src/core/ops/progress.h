// How far a long operation (a sweep, a walk) has come: counted by the operation's thread, read
// by any other (the page's timer, sondara-cli's progress line), and put into words the same way
// for both.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace pages {

struct ProgressSnapshot {
  std::uint64_t done = 0;   // addresses swept, objects found
  std::uint64_t total = 0;  // addresses in the range; 0 for a walk, which has no known end
  std::uint64_t found = 0;  // devices that answered
  std::chrono::milliseconds elapsed{0};
  bool finished = false;  // the run has ended: nothing is left to estimate
};

// Whole percent of the total done (100 only once everything is), -1 without a known end.
int ProgressPercent(const ProgressSnapshot& progress);
// "Swept 120 of 256 addresses (46 %), 3 devices found, 40.0 addresses/s, 0:03 elapsed, about
// 0:04 left"; once finished it ends at the time elapsed.
std::wstring SweepProgressLine(const ProgressSnapshot& progress);
// "walkMIB: 1234 objects found, 560.0 objects/s, 0:02 elapsed, end not known"; once finished it
// ends at the time elapsed.
std::wstring WalkProgressLine(const ProgressSnapshot& progress);

// Called on the operation's thread after each step; a terminal front end shows the line.
using ProgressFn = std::function<void(const ProgressSnapshot&)>;

class CProgress {
 public:
  // A new run: nothing done of `total`, the clock running.
  void Start(std::uint64_t total);
  void AddDone() { done_.fetch_add(1, std::memory_order_relaxed); }
  void AddFound() { found_.fetch_add(1, std::memory_order_relaxed); }
  // The run has ended: the clock stops.
  void Finish();
  ProgressSnapshot Snapshot() const;

 private:
  using Clock = std::chrono::steady_clock;
  std::atomic<std::uint64_t> done_{0};
  std::atomic<std::uint64_t> total_{0};
  std::atomic<std::uint64_t> found_{0};
  std::atomic<Clock::rep> started_{0};
  std::atomic<Clock::rep> ended_{0};  // 0 while running
};

}  // namespace pages
