#include "util/date_time_format.h"

#include <cwchar>

#include "util/text.h"

namespace tvkutil {

namespace {

constexpr std::size_t kMaxShortDateLen = 10;

}  // namespace

std::tm ToLocalTime(std::chrono::system_clock::time_point when) {
  const std::time_t t = std::chrono::system_clock::to_time_t(when);
  std::tm local{};
  if (localtime_r(&t, &local) == nullptr)
    gmtime_r(&t, &local);
  return local;
}

std::wstring FormatShortDate(const std::tm& local) {
  wchar_t buf[64];
  const std::size_t n = std::wcsftime(buf, sizeof buf / sizeof buf[0], L"%x", &local);
  if (n > 0 && n <= kMaxShortDateLen)
    return std::wstring(buf, n);
  return FormatN(L"%04d-%02d-%02d", SIZE_MAX, local.tm_year + 1900, local.tm_mon + 1,
                 local.tm_mday);
}

std::wstring FormatTime24(const std::tm& local) {
  return FormatN(L"%02d:%02d:%02d", SIZE_MAX, local.tm_hour, local.tm_min, local.tm_sec);
}

}  // namespace tvkutil
