// The moment a log entry was made, as both logs show and save it.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace logs {

struct LogTimeStamp {
  // Local wall-clock time; UTC when the local zone cannot be applied.
  std::tm local{};
  // (hour * 3600 + minute * 60 + second) * 1000 + milliseconds, local time.
  std::int32_t ms_of_day = 0;
};

// Reads the system clock now. Entries call this when they are added, not when they are shown,
// so lines queued while the window thread is busy keep the moment they happened.
LogTimeStamp TakeTimeStamp();

// The date and time columns of both logs: the locale's short date and a 24-hour time with
// seconds (no milliseconds).
std::wstring DateText(const LogTimeStamp& stamp);
std::wstring TimeText(const LogTimeStamp& stamp);

}  // namespace logs
