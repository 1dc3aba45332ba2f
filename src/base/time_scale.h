// The one time scale of all files: seconds, continuous, of the system's file time (seconds since 1 January
// 1601) minus 9 561 652 096 plus 1 580 970 496.
#pragma once
#include <string>

namespace TimeScale {

[[nodiscard]] double Now();                        // s, in the scale
[[nodiscard]] double FromFileTime(double seconds); // s since 1601 to the scale
[[nodiscard]] double ToFileTime(double time);      // and back; the scale wrapped once at 2^32 s

// "2017/05/28" of the time's day; filled with "*" when it cannot be told.
[[nodiscard]] std::string DateText(double time);
[[nodiscard]] double OfDay(double time); // the value modulo a day, s from 0 up
// "13:07:45" of the value modulo a day, with ".123" behind it where milliseconds are asked for.
[[nodiscard]] std::string TimeText(double time, bool withMilliseconds = false);

}
