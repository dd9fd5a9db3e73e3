#include "stamp/lunar/lunar.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <memory>
#include <mutex>
#include <string_view>

#include "foundation/civil_date.h"
#include "foundation/exceptions.h"
#include "foundation/strings.h"
#include "stamp/lunar/LCMemoryCache.h"
#include "stamp/lunar/lunar_tables.h"

namespace orvane::stamp {

namespace {

constexpr const char* kTermListKey = "termList";

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

const LunarYearRow& rowOf(int lunarYear) {
    return kLunarYearRows[static_cast<std::size_t>(lunarYear - kLunarFirstYear)];
}

std::string dateKey(int month, int day) {
    char key[16];
    std::snprintf(key, sizeof key, "d%02d%02d", month, day);
    return key;
}

// Puts `argument` in place of the first "%@" of a (translated) pattern.
std::string substitute(const std::string& pattern, const std::string& argument) {
    const auto at = pattern.find("%@");
    if (at == std::string::npos)
        return pattern;
    return pattern.substr(0, at) + argument + pattern.substr(at + 2);
}

std::shared_ptr<const LCMemoryCache::Value> termListOf(int year) {
    // One year's list at a time: the lock keeps a lookup of another year from swapping the
    // cache's year between this one's check and its store.
    static std::mutex mutex;
    std::lock_guard lock(mutex);
    auto& cache = LCMemoryCache::shared();
    cache.setCurrent(year);
    if (auto list = cache.get(kTermListKey))
        return list;
    const auto& names = lunarVocabulary().at("solarTerm");
    auto list = std::make_shared<LCMemoryCache::Value>();
    const auto& keys = kLunarTermRows[static_cast<std::size_t>(year - kLunarFirstYear)];
    for (std::size_t i = 0; i < keys.size(); ++i)
        (*list)[keys[i]] = names[i];
    cache.setKey(kTermListKey, list);
    return list;
}

LunarLookup failure(int code) {
    LunarLookup result;
    result.error = code;
    result.msg = lunarErrors().at(code);
    return result;
}

}  // namespace

const std::map<std::string, std::vector<std::string>>& lunarVocabulary() {
    static const std::map<std::string, std::vector<std::string>> vocabulary = {
        {"heavenlyStems", {"甲", "乙", "丙", "丁", "戊", "己", "庚", "辛", "壬", "癸"}},
        {"earthlyBranches",
         {"子", "丑", "寅", "卯", "辰", "巳", "午", "未", "申", "酉", "戌", "亥"}},
        {"zodiac", {"鼠", "牛", "虎", "兔", "龙", "蛇", "马", "羊", "猴", "鸡", "狗", "猪"}},
        {"solarTerm", {"立春", "雨水", "惊蛰", "春分", "清明", "谷雨", "立夏", "小满",
                       "芒种", "夏至", "小暑", "大暑", "立秋", "处暑", "白露", "秋分",
                       "寒露", "霜降", "立冬", "小雪", "大雪", "冬至", "小寒", "大寒"}},
        {"monthCn", {"正", "二", "三", "四", "五", "六", "七", "八", "九", "十", "冬", "腊"}},
        {"dateCn",
         {"初一", "初二", "初三", "初四", "初五", "初六", "初七", "初八", "初九", "初十", "十一",
          "十二", "十三", "十四", "十五", "十六", "十七", "十八", "十九", "二十", "廿一", "廿二",
          "廿三", "廿四", "廿五", "廿六", "廿七", "廿八", "廿九", "三十", "卅一"}},
    };
    return vocabulary;
}

const std::map<std::string, std::string>& lunarFestivals() {
    static const std::map<std::string, std::string> festivals = {
        {"d0101", "春节"},   {"d0115", "元宵节"}, {"d0202", "龙抬头节"}, {"d0505", "端午节"},
        {"d0707", "七夕节"}, {"d0715", "中元节"}, {"d0815", "中秋节"},   {"d0909", "重阳节"},
        {"d1001", "寒衣节"}, {"d1015", "下元节"}, {"d1208", "腊八节"},   {"d1223", "小年"},
        {"d0100", "除夕"},
    };
    return festivals;
}

const std::map<int, std::string>& lunarErrors() {
    static const std::map<int, std::string> errors = {
        {100, "输入的年份超过了可查询范围，仅支持1891至2100年"},
        {101, "参数输入错误，请查阅文档"},
    };
    return errors;
}

std::vector<int> lunarMonthLengths(int lunarYear) {
    if (lunarYear < kLunarFirstYear || lunarYear > kLunarLastYear)
        return {};
    const auto& row = rowOf(lunarYear);
    const int count = row.leapMonth > 0 ? 13 : 12;
    std::vector<int> lengths;
    for (int i = 0; i < count; ++i)
        lengths.push_back((row.monthBits >> (15 - i)) & 1 ? 30 : 29);
    return lengths;
}

std::optional<LunarPosition> lunarPosition(int year, int month, int day) {
    if (year < kLunarFirstYear || year > kLunarLastYear || month < 1 || month > 12 || day < 1 ||
        day > daysInMonth(year, month))
        return std::nullopt;
    int lunarYear = year;
    long n = foundation::daysFromCivil(year, month, day) -
             foundation::daysFromCivil(year, rowOf(year).firstMonth, rowOf(year).firstDay);
    if (n < 0) {
        // Before this year's new year: the date belongs to the previous lunar year.
        if (--lunarYear < kLunarFirstYear)
            return std::nullopt;
        const auto& previous = rowOf(lunarYear);
        n = foundation::daysFromCivil(year, month, day) -
            foundation::daysFromCivil(lunarYear, previous.firstMonth, previous.firstDay);
    }
    const auto lengths = lunarMonthLengths(lunarYear);
    const int leapMonth = rowOf(lunarYear).leapMonth;
    long before = 0;
    for (int m = 0; m < static_cast<int>(lengths.size()); ++m) {
        if (n < before + lengths[m]) {
            const int lunarDay = static_cast<int>(n - before) + 1;
            const bool leap = leapMonth >= 1 && m == leapMonth;
            return LunarPosition{
                lunarYear,
                m,
                leapMonth < 1 || m < leapMonth ? m + 1 : m,
                leap,
                lunarDay,
                m == static_cast<int>(lengths.size()) - 1 && lunarDay == lengths[m]};
        }
        before += lengths[m];
    }
    // The next row's new year must follow the last month of this one.
    throw foundation::InternalInconsistencyException(
        "Lunar year table does not cover its own year");
}

LunarLookup lunarLookup(int year, int month, int day, const foundation::Clock& clock) {
    if (day < 1)
        day = deviceCalendarDate(clock.timeIntervalSince1970()).day;
    if (year < kLunarFirstYear || year > kLunarLastYear)
        return failure(100);
    if (month < 1 || month > 12 || day > daysInMonth(year, month))
        return failure(101);
    const auto position = lunarPosition(year, month, day);
    // Only the days before the first lunar new year in the tables have no position left.
    if (!position)
        return failure(100);

    const auto& vocabulary = lunarVocabulary();
    const auto& monthCn = vocabulary.at("monthCn");
    LunarLookup result;
    result.lunarMonthName =
        position->isLeapMonth
            ? substitute(foundation::localized("闰%@月"),
                         monthCn[static_cast<std::size_t>(position->monthNumber - 1)])
            : substitute(foundation::localized("%@月"),
                         monthCn[static_cast<std::size_t>(position->monthNumber - 1)]);
    result.lunarDayName = vocabulary.at("dateCn")[static_cast<std::size_t>(position->day - 1)];

    const auto festivalKey = position->isLastDayOfYear
                                 ? std::string("d0100")
                                 : dateKey(position->monthNumber, position->day);
    const auto& festivals = lunarFestivals();
    if (auto found = festivals.find(festivalKey); found != festivals.end())
        result.lunarFestival = foundation::localized(found->second.c_str());

    const auto terms = termListOf(year);
    if (auto found = terms->find(dateKey(month, day)); found != terms->end())
        result.term = found->second;
    return result;
}

CivilDate deviceCalendarDate(double timeIntervalSince1970) {
    // Floored, so that an instant before 1970 stays in its own second: midnight is its day's.
    const auto seconds = static_cast<std::time_t>(std::floor(timeIntervalSince1970));
    std::tm local{};
    localtime_r(&seconds, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

LunarLine::LunarLine(Calendar calendar) : _calendar(std::move(calendar)) {}

const std::string& LunarLine::getFormattedLunar(double date) {
    const auto civil = _calendar(date);
    char buffer[48];
    const int length =
        std::snprintf(buffer, sizeof buffer, "%d-%d-%d", civil.year, civil.month, civil.day);
    const std::string_view key(buffer, static_cast<std::size_t>(length));
    if (auto found = _solarToLunarDic.find(key);
        found != _solarToLunarDic.end() && !found->second.empty())
        return found->second;

    const auto lookup = lunarLookup(civil.year, civil.month, civil.day);
    // A failed lookup leaves the names missing, and they print as missing objects do.
    std::string text = std::string(foundation::localized("农历")) +
                       (lookup.error ? "(null)" : lookup.lunarMonthName) +
                       (lookup.error ? "(null)" : lookup.lunarDayName);
    if (!lookup.term.empty())
        text += " " + lookup.term;
    if (!lookup.lunarFestival.empty())
        text += " " + lookup.lunarFestival;
    _solarToLunarDic.clear();
    return _solarToLunarDic.emplace(std::string(key), std::move(text)).first->second;
}

}  // namespace orvane::stamp
