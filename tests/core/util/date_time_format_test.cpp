#include "util/date_time_format.h"

#include <gtest/gtest.h>

namespace {

TEST(DateTimeFormatTest, TwentyFourHourTimeAndLocaleShortDate) {
  setenv("TZ", "UTC", 1);
  tzset();
  const std::tm t = tvkutil::ToLocalTime(std::chrono::system_clock::from_time_t(1706742309));
  EXPECT_EQ(tvkutil::FormatTime24(t), L"23:05:09");
  EXPECT_EQ(tvkutil::FormatShortDate(t), L"01/31/24");  // the C locale's short date
}

}  // namespace
