// The one date and time formatter of the program: the locale's short date and a 24-hour time
// with seconds. The locale is the C library's, chosen once at start with setlocale(LC_ALL, "").
#pragma once

#include <chrono>
#include <ctime>
#include <string>

namespace tvkutil {

// A point in time as local calendar time.
std::tm ToLocalTime(std::chrono::system_clock::time_point when);

// The locale's short date ("%x"). A locale whose short date is longer than 10 characters gets
// the ISO form 2024-01-31 instead, so the date column keeps its width.
std::wstring FormatShortDate(const std::tm& local);

// "HH:MM:SS", 24-hour, without milliseconds.
std::wstring FormatTime24(const std::tm& local);

}  // namespace tvkutil
