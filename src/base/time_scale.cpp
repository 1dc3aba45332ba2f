#include "base/time_scale.h"

#include <chrono>
#include <cmath>
#include <cstdio>

namespace TimeScale {

namespace {

constexpr double Base = 9561652096.0;
constexpr double Shift = 1580970496.0;
constexpr double Wrap = 4294967296.0;
constexpr double SecondsFrom1601To1970 = 11644473600.0;
// A hair more than a day, so that rounding cannot bring forth the hour 24.
constexpr double Day = 86400.00000000001;

}

double FromFileTime(double seconds) {
    return seconds - Base + Shift;
}

double ToFileTime(double time) {
    double seconds = time - Shift;
    if (seconds < 0) seconds += Wrap;
    return seconds + Base;
}

double Now() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return FromFileTime(std::chrono::duration<double>(sinceEpoch).count() + SecondsFrom1601To1970);
}

std::string DateText(double time) {
    const double unixSeconds = ToFileTime(time) - SecondsFrom1601To1970;
    if (!(std::fabs(unixSeconds) < 1e11)) return "**********";
    const std::chrono::sys_seconds moment{
        std::chrono::seconds(static_cast<long long>(std::floor(unixSeconds)))};
    const std::chrono::year_month_day date{std::chrono::floor<std::chrono::days>(moment)};
    char text[32];
    std::snprintf(text, sizeof text, "%04d/%02u/%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text;
}

double OfDay(double time) {
    const double ofDay = std::fmod(time, Day);
    return ofDay < 0 ? ofDay + Day : ofDay;
}

std::string TimeText(double time, bool withMilliseconds) {
    const double ofDay = OfDay(time);
    if (!std::isfinite(ofDay)) return withMilliseconds ? "************" : "********";
    // Rounded, for the modulus leaves midnight a hair before itself.
    const long milliseconds = std::lround(ofDay * 1000.0) % 86400000;
    const long seconds = milliseconds / 1000;
    char text[32];
    std::snprintf(text, sizeof text, "%02ld:%02ld:%02ld", seconds / 3600, seconds / 60 % 60, seconds % 60);
    std::string result = text;
    if (withMilliseconds) {
        std::snprintf(text, sizeof text, ".%03ld", milliseconds % 1000);
        result += text;
    }
    return result;
}

}
