#include "logs/log_time.h"

#include <chrono>

#include "util/date_time_format.h"

namespace logs {

LogTimeStamp TakeTimeStamp() {
  const auto now = std::chrono::system_clock::now();
  const auto ms = static_cast<std::int32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000);
  // A walk stamps thousands of rows a second; the local time of one second is worked out once
  // per thread. Zone rules change only at whole seconds, so the cache never shows a wrong time.
  thread_local std::time_t cached_second = -1;
  thread_local std::tm cached_local{};
  const std::time_t second = std::chrono::system_clock::to_time_t(now);
  if (second != cached_second) {
    cached_local = tvkutil::ToLocalTime(now);
    cached_second = second;
  }
  LogTimeStamp stamp;
  stamp.local = cached_local;
  stamp.ms_of_day =
      ((stamp.local.tm_hour * 3600 + stamp.local.tm_min * 60 + stamp.local.tm_sec) * 1000) + ms;
  return stamp;
}

std::wstring DateText(const LogTimeStamp& stamp) {
  return tvkutil::FormatShortDate(stamp.local);
}

std::wstring TimeText(const LogTimeStamp& stamp) {
  return tvkutil::FormatTime24(stamp.local);
}

}  // namespace logs
