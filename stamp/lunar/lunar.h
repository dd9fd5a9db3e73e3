// The Chinese lunar calendar from tables: a Gregorian date's lunar month and day, its festival and
// its solar term, and the one-line text the stamp shows.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Clock.h"

namespace orvane::stamp {

// Keys "heavenlyStems", "earthlyBranches", "zodiac", "solarTerm", "monthCn", "dateCn".
const std::map<std::string, std::vector<std::string>>& lunarVocabulary();
// Festival names by lunar date key "dMMDD"; "d0100" is the last day of the year. The names are
// the untranslated keys of the string tables.
const std::map<std::string, std::string>& lunarFestivals();
// Error texts by code: 100 for a year outside the tables, 101 for a malformed date.
const std::map<int, std::string>& lunarErrors();

// Where a Gregorian date falls in the lunar calendar.
struct LunarPosition {
    int lunarYear;    // the Gregorian year whose lunar new year starts this lunar year
    int monthIndex;   // 0 for the first month; a leap month has its own index
    int monthNumber;  // 1 to 12; a leap month has the number of the month it follows
    bool isLeapMonth;
    int day;  // 1 to 30
    bool isLastDayOfYear;
};

// The lengths (29 or 30) of the 12 or 13 months of the lunar year starting in `lunarYear`, in
// order; empty outside the tables.
std::vector<int> lunarMonthLengths(int lunarYear);

// The lunar position of a Gregorian date, or nothing for a date the tables do not reach (before
// the lunar new year of the first year, after the last year) or a malformed date.
std::optional<LunarPosition> lunarPosition(int year, int month, int day);

// The lookup's answer: the four texts on success (an empty text for no festival or term), or an
// error code with its message.
struct LunarLookup {
    std::optional<int> error;
    std::string msg;
    std::string lunarMonthName;
    std::string lunarDayName;
    std::string lunarFestival;
    std::string term;
};

// The lunar month and day names, festival and solar term of a Gregorian date. A day below 1
// means today's day of the month on `clock`, in the device's time zone.
LunarLookup lunarLookup(int year, int month, int day,
                        const foundation::Clock& clock = foundation::systemClock());

struct CivilDate {
    int year;
    int month;
    int day;
};

// The date of an instant (seconds since 1970) in the device's own time zone.
CivilDate deviceCalendarDate(double timeIntervalSince1970);

// The stamp's lunar line, remembered for one date at a time so that every frame of a day costs
// one string lookup. Used on the frame pass only.
class LunarLine {
  public:
    using Calendar = std::function<CivilDate(double)>;

    explicit LunarLine(Calendar calendar = deviceCalendarDate);

    // "农历" with the month and day names, then the solar term and the festival after a blank
    // each. Outside the tables the names read "(null)". The text stays valid until the next call;
    // on a day already seen, nothing is allocated.
    const std::string& getFormattedLunar(double date);

  private:
    Calendar _calendar;
    std::map<std::string, std::string, std::less<>> _solarToLunarDic;
};

}  // namespace orvane::stamp
