#include "ops/progress.h"

#include <algorithm>

namespace pages {

namespace {

// "0:07", "12:34", "1:02:03".
std::wstring Duration(std::chrono::milliseconds time) {
  const auto seconds = static_cast<std::uint64_t>(std::max<std::int64_t>(0, time.count()) / 1000);
  const auto two = [](std::uint64_t n) { return (n < 10 ? L"0" : L"") + std::to_wstring(n); };
  if (seconds >= 3600)
    return std::to_wstring(seconds / 3600) + L":" + two(seconds / 60 % 60) + L":" +
           two(seconds % 60);
  return std::to_wstring(seconds / 60) + L":" + two(seconds % 60);
}

// Steps per second with one decimal, "40.0".
std::wstring Rate(const ProgressSnapshot& progress) {
  const auto ms = static_cast<std::uint64_t>(std::max<std::int64_t>(1, progress.elapsed.count()));
  const std::uint64_t tenths = progress.done * 10000 / ms;
  return std::to_wstring(tenths / 10) + L"." + std::to_wstring(tenths % 10);
}

}  // namespace

int ProgressPercent(const ProgressSnapshot& progress) {
  if (progress.total == 0)
    return -1;
  return static_cast<int>(std::min(progress.done, progress.total) * 100 / progress.total);
}

std::wstring SweepProgressLine(const ProgressSnapshot& progress) {
  // An empty range (a start above the end) is done as soon as it starts.
  const int percent = progress.total == 0 ? 100 : ProgressPercent(progress);
  std::wstring line = L"Swept " + std::to_wstring(progress.done) + L" of " +
                      std::to_wstring(progress.total) + L" addresses (" + std::to_wstring(percent) +
                      L" %), " + std::to_wstring(progress.found) +
                      (progress.found == 1 ? L" device found, " : L" devices found, ") +
                      Rate(progress) + L" addresses/s, " + Duration(progress.elapsed) + L" elapsed";
  if (progress.finished)
    return line;
  line += L", ";
  if (progress.done == 0)
    return line + L"time left not known yet";
  // What is left at the pace so far.
  const std::uint64_t left = progress.total - std::min(progress.done, progress.total);
  const auto ms = static_cast<std::uint64_t>(std::max<std::int64_t>(0, progress.elapsed.count()));
  return line + L"about " +
         Duration(std::chrono::milliseconds(static_cast<std::int64_t>(left * ms / progress.done))) +
         L" left";
}

std::wstring WalkProgressLine(const ProgressSnapshot& progress) {
  return L"walkMIB: " + std::to_wstring(progress.done) +
         (progress.done == 1 ? L" object found, " : L" objects found, ") + Rate(progress) +
         L" objects/s, " + Duration(progress.elapsed) + L" elapsed" +
         (progress.finished ? L"" : L", end not known");
}

void CProgress::Start(std::uint64_t total) {
  done_ = 0;
  found_ = 0;
  total_ = total;
  ended_ = 0;
  started_ = Clock::now().time_since_epoch().count();
}

void CProgress::Finish() {
  ended_ = Clock::now().time_since_epoch().count();
}

ProgressSnapshot CProgress::Snapshot() const {
  ProgressSnapshot snapshot;
  snapshot.done = done_.load(std::memory_order_relaxed);
  snapshot.total = total_.load();
  snapshot.found = found_.load(std::memory_order_relaxed);
  const Clock::rep started = started_.load();
  if (started != 0) {
    const Clock::rep ended = ended_.load();
    snapshot.finished = ended != 0;
    const Clock::rep now = ended != 0 ? ended : Clock::now().time_since_epoch().count();
    snapshot.elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::duration(now - started));
  }
  return snapshot;
}

}  // namespace pages
