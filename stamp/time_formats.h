// The time format catalogue: the 91 rows the user picks from, each row's date formatter in the
// user's locale and time zone, the picker's previews, and the live stamp's split of a time into
// text and fraction digits.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::stamp {

inline constexpr int kTimeFormatRowCount = 91;  // row 0 is "None"
inline constexpr int kFirstCapitalRow = 82;     // rows from here on are shown in capitals

// The rows in stored order: "None", "system;<date style>;<time style>" (0 none, 1 short,
// 2 medium, 3 long, 4 full) or a date pattern; "\n" in a pattern is a line break.
const std::array<std::string_view, kTimeFormatRowCount>& timeFormatRows();

// How the live stamp splits a row with fractions of a second: `text` keeps the decimal point,
// `fraction` is the digits after it.
struct FractionPattern {
    std::string_view text;
    std::string_view fraction;
};
std::optional<FractionPattern> fractionPatternOfRow(int row);  // rows 46..55 only

// The locale and zone dates are written in. locale is an ICU id ("en_US", "zh_CN", "de_DE");
// timeZone an Olson id or "" for the system's.
struct DateSettings {
    std::string locale;
    std::string timeZone;
};

// LC_ALL, then LC_TIME, then LANG, the first that is set and not empty ("zh_CN.UTF-8" ->
// "zh_CN", "sr_RS@latin" -> "sr_Latn_RS"; "C", "POSIX" or nothing -> "en_US_POSIX"); the zone
// from TZ (":Europe/Berlin" and zoneinfo paths reduced to the Olson id), else "".
DateSettings dateSettingsFromEnvironment();

// One row's formatter. Rows below 1 or above 90 have no formatter (the caller shows no time).
// A zone ICU does not know falls back to the system's, with a log line.
class DateFormatter {
  public:
    enum class Use { LiveStamp, Whole };  // LiveStamp: rows 46..55 take their text pattern
    static std::unique_ptr<DateFormatter> forRow(int row, Use use, const DateSettings& settings);

    ~DateFormatter();
    DateFormatter(const DateFormatter&) = delete;
    DateFormatter& operator=(const DateFormatter&) = delete;

    // The instant in UTF-8, capitals for rows from 82 on; "" for an instant that is not finite
    // or lies beyond ICU's calendar. Safe to call from several threads at once.
    std::string format(double timeIntervalSince1970) const;

  private:
    struct Impl;
    explicit DateFormatter(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> _impl;
};

// For the still path: the row itself, fraction included.
std::unique_ptr<DateFormatter> curDateFormatter(
    int row, const DateSettings& settings = dateSettingsFromEnvironment());

// The picker's list: [0] is the localised "STRNone", then rows 1..90 formatted whole at `now`,
// capitals from row 82, each line feed replaced by "<enter>".
std::vector<std::string> timeFormatPreviews(double now, const DateSettings& settings);

// The live stamp's time: text and fraction digits for a row at an instant.
struct LiveTime {
    std::string text;
    std::string fraction;  // ASCII digits, whatever digits the locale writes in the text
};

// Keeps its formatters while row and settings stay the same; with the system's zone it looks at
// that zone again once a second of the instants it is given, so a change of the machine's zone
// shows within a second. One instance per stamp layer, used on one thread at a time.
class LiveTimeFormatter {
  public:
    explicit LiveTimeFormatter(DateSettings settings = dateSettingsFromEnvironment());
    ~LiveTimeFormatter();
    LiveTimeFormatter(const LiveTimeFormatter&) = delete;
    LiveTimeFormatter& operator=(const LiveTimeFormatter&) = delete;

    void setSettings(DateSettings settings);  // drops kept formatters
    const DateSettings& settings() const;

    // Row below 1 or above 90: both empty. Reuses `out`'s storage.
    void format(int row, double timeIntervalSince1970, LiveTime& out);

  private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

}  // namespace orvane::stamp
