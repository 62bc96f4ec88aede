#include "util/date_time_format.h"

#include <gtest/gtest.h>

#include <clocale>

namespace {

std::tm Tm(int year, int month, int day, int hour, int min, int sec) {
  std::tm t{};
  t.tm_year = year - 1900;
  t.tm_mon = month - 1;
  t.tm_mday = day;
  t.tm_hour = hour;
  t.tm_min = min;
  t.tm_sec = sec;
  return t;
}

TEST(DateTimeFormatTest, TwentyFourHourTimeAndLocaleShortDate) {
  EXPECT_EQ(tvkutil::FormatTime24(Tm(2024, 1, 31, 7, 5, 9)), L"07:05:09");
  EXPECT_EQ(tvkutil::FormatTime24(Tm(2024, 1, 31, 23, 59, 59)), L"23:59:59");
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(tvkutil::FormatShortDate(Tm(2024, 1, 31, 12, 0, 0)), L"01/31/24");
  // Whatever locale the machine offers, the date stays within its column.
  if (std::setlocale(LC_ALL, "") != nullptr) {
    EXPECT_LE(tvkutil::FormatShortDate(Tm(2024, 12, 31, 12, 0, 0)).size(), 10u);
    std::setlocale(LC_ALL, "C");
  }

  setenv("TZ", "UTC", 1);
  tzset();
  const std::tm t = tvkutil::ToLocalTime(std::chrono::system_clock::from_time_t(86400 + 3661));
  EXPECT_EQ(tvkutil::FormatTime24(t), L"01:01:01");
  EXPECT_EQ(t.tm_mday, 2);
}

}  // namespace
