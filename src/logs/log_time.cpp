#include "logs/log_time.h"

#include <chrono>

#include "util/date_time_format.h"

namespace logs {

LogTimeStamp TakeTimeStamp() {
  const auto now = std::chrono::system_clock::now();
  const auto ms = static_cast<std::int32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000);
  LogTimeStamp stamp;
  stamp.local = tvkutil::ToLocalTime(now);
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
