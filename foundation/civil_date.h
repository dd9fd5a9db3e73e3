// Days since 1970-01-01 of a civil (proleptic Gregorian) date: how a receiver's or a track's date
// becomes a timestamp, and how the lunar calendar counts days without a time zone.
#pragma once

#include <chrono>
#include <cstdint>

namespace orvane::foundation {

inline std::int64_t daysFromCivil(int year, int month, int day) {
    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    return std::chrono::sys_days{date}.time_since_epoch().count();
}

}  // namespace orvane::foundation
