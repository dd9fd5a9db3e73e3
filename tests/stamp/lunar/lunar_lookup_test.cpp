// The lunar lookup's names, festivals, terms and errors, the year cache, and the stamp's line
// with its one-entry cache.
#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "foundation/Clock.h"
#include "foundation/civil_date.h"
#include "stamp/lunar/LCMemoryCache.h"
#include "stamp/lunar/lunar.h"

namespace orvane::stamp {
namespace {

TEST(LunarLookupTest, NamesFestivalsAndTerms) {
    struct Case {
        int year, month, day;
        const char* monthName;
        const char* dayName;
        const char* festival;
        const char* term;
    };
    const Case cases[] = {
        {2024, 2, 10, "正月", "初一", "春节", ""},  // the new year's own day, n = 0
        {2024, 2, 9, "腊月", "三十", "除夕", ""},   // the day before counts from the previous row
        {2000, 2, 4, "腊月", "廿九", "除夕", "立春"},  // a 29-day last month still ends with 除夕
        {2024, 9, 17, "八月", "十五", "中秋节", ""},
        {2024, 1, 6, "冬月", "廿五", "", "小寒"},  // January's terms sit at the end of the row
        {2024, 12, 21, "冬月", "廿一", "", "冬至"},
        {2023, 3, 22, "闰二月", "初一", "", ""},  // 2023 has a leap month after the second
        {2023, 4, 19, "闰二月", "廿九", "", ""},
        {2023, 4, 20, "三月", "初一", "", "谷雨"},  // the month after it keeps its own number
        {2009, 5, 28, "五月", "初五", "端午节", ""},
        {2009, 6, 27, "闰五月", "初五", "端午节", ""},  // a leap month repeats the festivals
        {2011, 3, 6, "二月", "初二", "龙抬头节", "惊蛰"},
        {2002, 2, 4, "腊月", "廿三", "小年", "立春"},
        {1890, 1, 21, "正月", "初一", "春节", ""},  // the first day with a full answer
        {2100, 12, 31, "腊月", "初一", "", ""},     // the last day of the tables
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.year) + "-" + std::to_string(c.month) + "-" +
                     std::to_string(c.day));
        const auto result = lunarLookup(c.year, c.month, c.day);
        ASSERT_FALSE(result.error.has_value()) << result.msg;
        EXPECT_EQ(result.lunarMonthName, c.monthName);
        EXPECT_EQ(result.lunarDayName, c.dayName);
        EXPECT_EQ(result.lunarFestival, c.festival);
        EXPECT_EQ(result.term, c.term);
    }
}

TEST(LunarLookupTest, ErrorsCarryTheirCodeAndText) {
    const std::string outOfRange = "输入的年份超过了可查询范围，仅支持1891至2100年";
    const std::string malformed = "参数输入错误，请查阅文档";
    struct Case {
        int year, month, day;
        int code;
        const std::string& msg;
    };
    const Case cases[] = {
        {1889, 12, 31, 100, outOfRange}, {2101, 1, 1, 100, outOfRange},
        {1890, 1, 1, 100, outOfRange},  // before the first row's new year, with no row to reach for
        {1890, 1, 20, 100, outOfRange},  {2024, 13, 1, 101, malformed},
        {2024, 0, 1, 101, malformed},    {2023, 2, 29, 101, malformed},
        {2024, 4, 31, 101, malformed},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.year) + "-" + std::to_string(c.month) + "-" +
                     std::to_string(c.day));
        const auto result = lunarLookup(c.year, c.month, c.day);
        ASSERT_TRUE(result.error.has_value());
        EXPECT_EQ(*result.error, c.code);
        EXPECT_EQ(result.msg, c.msg);
        EXPECT_TRUE(result.lunarMonthName.empty());
    }
}

TEST(LunarLookupTest, DayBelowOneMeansTodaysDay) {
    // Noon UTC keeps the day the same in every zone from UTC-11 to UTC+11.
    foundation::ManualClock clock(1718798400.0);  // 2024-06-19 12:00 UTC
    const auto today = lunarLookup(2024, 2, 0, clock);
    const auto expected = lunarLookup(2024, 2, 19);
    EXPECT_FALSE(today.error.has_value());
    EXPECT_EQ(today.lunarMonthName, expected.lunarMonthName);
    EXPECT_EQ(today.lunarDayName, expected.lunarDayName);
    EXPECT_EQ(today.term, "雨水");
}

TEST(LunarLookupTest, MonthLengthsFollowTheBitsFromTheTop) {
    // 1890: leap month after the second, 13 months from 0101011010101 of 22184.
    EXPECT_EQ(lunarMonthLengths(1890),
              (std::vector<int>{29, 30, 29, 30, 29, 30, 30, 29, 30, 29, 30, 29, 30}));
    EXPECT_EQ(lunarMonthLengths(2024).size(), 12u);
    EXPECT_TRUE(lunarMonthLengths(1889).empty());
    EXPECT_TRUE(lunarMonthLengths(2101).empty());
}

TEST(LCMemoryCacheTest, HoldsOneYearAtATime) {
    LCMemoryCache cache;
    EXPECT_EQ(cache.get("termList"), nullptr);
    cache.setCurrent(2024);
    cache.setKey("termList",
                 std::make_shared<LCMemoryCache::Value>(LCMemoryCache::Value{{"d0204", "立春"}}));
    cache.setCurrent(2024);  // the same year keeps what is there
    ASSERT_NE(cache.get("termList"), nullptr);
    EXPECT_EQ(cache.get("termList")->at("d0204"), "立春");
    cache.setCurrent(2025);
    EXPECT_EQ(cache.current(), 2025);
    EXPECT_EQ(cache.get("termList"), nullptr);
    cache.setKey("termList", std::make_shared<LCMemoryCache::Value>());
    cache.clear();
    EXPECT_EQ(cache.get("termList"), nullptr);
    EXPECT_EQ(cache.current(), 2025);
}

TEST(LCMemoryCacheTest, LookupsOfDifferentYearsGetTheirOwnTerms) {
    // 2024-02-04 and 2025-02-03 are both 立春; alternating years rebuilds the cached list.
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(lunarLookup(2024, 2, 4).term, "立春");
        EXPECT_EQ(lunarLookup(2025, 2, 4).term, "");
        EXPECT_EQ(lunarLookup(2025, 2, 3).term, "立春");
        EXPECT_EQ(LCMemoryCache::shared().current(), 2025);
    }
}

TEST(LCMemoryCacheTest, LookupsOfTwoYearsOnTwoThreadsNeverSwapTermLists) {
    // Each thread alternates its year's 立春 with a day that has no term in either year, so a
    // list of the other year taken from the shared cache shows at once.
    auto lookups = [](int year, int springDay, int* wrong) {
        for (int i = 0; i < 10000; ++i) {
            if (lunarLookup(year, 2, springDay).term != "立春")
                ++*wrong;
            if (!lunarLookup(year, 3, 1).term.empty())
                ++*wrong;
        }
    };
    int wrong2024 = 0, wrong2025 = 0;
    std::thread first(lookups, 2024, 4, &wrong2024);
    std::thread second(lookups, 2025, 3, &wrong2025);
    first.join();
    second.join();
    EXPECT_EQ(wrong2024, 0);
    EXPECT_EQ(wrong2025, 0);
}

// A calendar at a fixed offset from UTC that counts how often it is asked.
struct FixedZoneCalendar {
    int* calls;
    int offsetHours;
    CivilDate operator()(double date) const {
        ++*calls;
        const auto seconds = static_cast<std::time_t>(date) + offsetHours * 3600;
        std::tm utc{};
        gmtime_r(&seconds, &utc);
        return {utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday};
    }
};

TEST(LunarLineTest, ComposesNameTermAndFestival) {
    int calls = 0;
    LunarLine line(FixedZoneCalendar{&calls, 0});
    struct Case {
        double date;
        const char* text;
    };
    const Case cases[] = {
        {1726574400.0, "农历八月十五 中秋节"},         // 2024-09-17
        {1707566400.0, "农历正月初一 春节"},           // 2024-02-10
        {1299412800.0, "农历二月初二 惊蛰 龙抬头节"},  // 2011-03-06: the term comes first
        {1713528000.0, "农历三月十一 谷雨"},           // 2024-04-19
        {1718539200.0, "农历五月十一"},                // 2024-06-16
        {4134110400.0, "农历(null)(null)"},            // 2101-01-01, past the tables
    };
    for (const auto& c : cases)
        EXPECT_EQ(line.getFormattedLunar(c.date), c.text) << c.date;
}

TEST(LunarLineTest, TheKeyFollowsTheDeviceZoneAcrossMidnight) {
    int calls = 0;
    const double date = 1707508800.0;  // 2024-02-09 20:00 UTC, 04:00 on the 10th in UTC+8
    LunarLine utc(FixedZoneCalendar{&calls, 0});
    LunarLine china(FixedZoneCalendar{&calls, 8});
    EXPECT_EQ(utc.getFormattedLunar(date), "农历腊月三十 除夕");
    EXPECT_EQ(china.getFormattedLunar(date), "农历正月初一 春节");
}

TEST(LunarLineTest, KeepsOneDayAndReplacesItTheNext) {
    int calls = 0;
    int zone = 0;
    // The zone is read through a pointer so that the same line sees the device move.
    struct MovingZone {
        int* calls;
        int* zone;
        CivilDate operator()(double date) const { return FixedZoneCalendar{calls, *zone}(date); }
    };
    LunarLine line(MovingZone{&calls, &zone});
    const double eve = 1707508800.0;  // 2024-02-09 20:00 UTC
    EXPECT_EQ(line.getFormattedLunar(eve), "农历腊月三十 除夕");
    EXPECT_EQ(line.getFormattedLunar(eve + 3599), "农历腊月三十 除夕");
    zone = 8;  // the device moves to UTC+8: it is already the 10th there
    EXPECT_EQ(line.getFormattedLunar(eve), "农历正月初一 春节");
    zone = 0;  // and back: the one entry held the 10th, so the 9th is looked up again
    EXPECT_EQ(line.getFormattedLunar(eve), "农历腊月三十 除夕");
    EXPECT_EQ(calls, 4);
}

// Sets the process's zone for one test and puts the old one back.
class ZoneForTest {
  public:
    explicit ZoneForTest(const char* zone) {
        if (const char* saved = std::getenv("TZ"))
            _previous = saved;
        set(zone);
    }
    ~ZoneForTest() {
        if (_previous)
            setenv("TZ", _previous->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    void set(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

  private:
    std::optional<std::string> _previous;
};

TEST(LunarLineTest, DeviceCalendarUsesTheLocalZone) {
    ZoneForTest zone("Asia/Shanghai");
    const double date = 1707508800.0;  // 2024-02-09 20:00 UTC
    const auto shanghai = deviceCalendarDate(date);
    zone.set("UTC");
    const auto utc = deviceCalendarDate(date);
    const auto beforeEpoch = deviceCalendarDate(-0.5);  // 1969-12-31 23:59:59.5
    EXPECT_EQ(shanghai.day, 10);
    EXPECT_EQ(utc.day, 9);
    EXPECT_EQ(utc.month, 2);
    EXPECT_EQ(utc.year, 2024);
    EXPECT_EQ(beforeEpoch.year, 1969);
    EXPECT_EQ(beforeEpoch.day, 31);
}

// Before 1970 the seconds are negative: midnight must still begin its own day. The lunar day of
// each instant is checked against ICU's Chinese calendar in the same zone.
TEST(LunarLineTest, MidnightBefore1970BeginsItsOwnDay) {
    ZoneForTest device("CST-8");  // UTC+8 with no summer time, whatever the zone database holds

    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> chinese(icu::Calendar::createInstance(
        icu::TimeZone::createTimeZone("GMT+08:00"), icu::Locale("zh@calendar=chinese"), status));
    ASSERT_TRUE(U_SUCCESS(status)) << u_errorName(status);

    struct Case {
        int year, month, day;  // a Gregorian date whose midnight in UTC+8 is tried
    };
    const Case cases[] = {
        {1969, 12, 31}, {1969, 2, 17}, {1950, 10, 1}, {1912, 2, 18}, {1900, 1, 31},
    };
    for (const auto& c : cases) {
        const double midnight =
            static_cast<double>(foundation::daysFromCivil(c.year, c.month, c.day)) * 86400 -
            8 * 3600;
        for (double offset : {-1.0, -0.25, 0.0, 0.25, 1.0}) {
            const double instant = midnight + offset;
            SCOPED_TRACE(testing::Message() << c.year << "-" << c.month << "-" << c.day << " "
                                            << offset << " s from midnight");
            const CivilDate civil = deviceCalendarDate(instant);
            const auto expectedDay =
                foundation::daysFromCivil(c.year, c.month, c.day) - (offset < 0 ? 1 : 0);
            EXPECT_EQ(foundation::daysFromCivil(civil.year, civil.month, civil.day), expectedDay);

            const auto position = lunarPosition(civil.year, civil.month, civil.day);
            ASSERT_TRUE(position.has_value());
            chinese->setTime(instant * 1000, status);
            const std::array<int, 3> icu = {chinese->get(UCAL_MONTH, status) + 1,
                                            chinese->get(UCAL_DATE, status),
                                            chinese->get(UCAL_IS_LEAP_MONTH, status)};
            ASSERT_TRUE(U_SUCCESS(status)) << u_errorName(status);
            EXPECT_EQ((std::array<int, 3>{position->monthNumber, position->day,
                                          position->isLeapMonth ? 1 : 0}),
                      icu);
        }
    }
}

}  // namespace
}  // namespace orvane::stamp
