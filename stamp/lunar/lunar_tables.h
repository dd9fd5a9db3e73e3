// The lunar calendar's data: one year row and one solar-term row per Gregorian year, 1890 to 2100.
#pragma once

#include <array>
#include <cstddef>

namespace orvane::stamp {

inline constexpr int kLunarFirstYear = 1890;
inline constexpr int kLunarLastYear = 2100;
inline constexpr std::size_t kLunarYearCount = kLunarLastYear - kLunarFirstYear + 1;

struct LunarYearRow {
    int leapMonth;   // 0, or the lunar month after which the leap month falls
    int firstMonth;  // Gregorian month and day of the lunar new year
    int firstDay;
    // Month lengths from the top bit down, first lunar month first: 1 is 30 days, 0 is 29.
    int monthBits;
};

// Date keys "dMMDD" of the 24 solar terms, from 立春 to 大寒; the last two fall in January.
using LunarTermRow = std::array<const char*, 24>;

extern const std::array<LunarYearRow, kLunarYearCount> kLunarYearRows;
extern const std::array<LunarTermRow, kLunarYearCount> kLunarTermRows;

}  // namespace orvane::stamp
