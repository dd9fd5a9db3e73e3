#include "app/stamp_commands.h"

#include <cctype>
#include <cmath>
#include <ctime>

#include "app/row_output.h"
#include "foundation/Clock.h"
#include "stamp/LineDrawer.h"
#include "stamp/coordinate_formats.h"
#include "stamp/lunar/lunar.h"

namespace orvane::app {

namespace {

// Reads exactly `digits` digits at `pos`.
std::optional<int> digitsAt(std::string_view text, std::size_t& pos, int digits) {
    if (pos + static_cast<std::size_t>(digits) > text.size()) {
        return std::nullopt;
    }
    int value = 0;
    for (int i = 0; i < digits; ++i) {
        const char c = text[pos++];
        if (!std::isdigit(static_cast<unsigned char>(c))) {
            return std::nullopt;
        }
        value = value * 10 + (c - '0');
    }
    return value;
}

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// "YYYY-MM-DD" at `pos`, checked against the calendar.
std::optional<stamp::CivilDate> dateAt(std::string_view text, std::size_t& pos) {
    auto year = digitsAt(text, pos, 4);
    if (!year || pos >= text.size() || text[pos++] != '-') {
        return std::nullopt;
    }
    auto month = digitsAt(text, pos, 2);
    if (!month || pos >= text.size() || text[pos++] != '-') {
        return std::nullopt;
    }
    auto day = digitsAt(text, pos, 2);
    if (!day || *month < 1 || *month > 12 || *day < 1 || *day > daysInMonth(*year, *month)) {
        return std::nullopt;
    }
    return stamp::CivilDate{*year, *month, *day};
}

}  // namespace

std::optional<double> parseIsoInstant(std::string_view text) {
    std::size_t pos = 0;
    const auto date = dateAt(text, pos);
    if (!date) {
        return std::nullopt;
    }
    std::tm fields{};
    fields.tm_year = date->year - 1900;
    fields.tm_mon = date->month - 1;
    fields.tm_mday = date->day;
    double fraction = 0.0;
    if (pos < text.size() && (text[pos] == 'T' || text[pos] == ' ')) {
        ++pos;
        auto hour = digitsAt(text, pos, 2);
        if (!hour || pos >= text.size() || text[pos++] != ':') {
            return std::nullopt;
        }
        auto minute = digitsAt(text, pos, 2);
        if (!minute || *hour > 23 || *minute > 59) {
            return std::nullopt;
        }
        fields.tm_hour = *hour;
        fields.tm_min = *minute;
        if (pos < text.size() && text[pos] == ':') {
            ++pos;
            auto second = digitsAt(text, pos, 2);
            if (!second || *second > 59) {
                return std::nullopt;
            }
            fields.tm_sec = *second;
            if (pos < text.size() && (text[pos] == '.' || text[pos] == ',')) {
                const std::size_t first = ++pos;
                double scale = 0.1;
                while (pos < text.size() && std::isdigit(static_cast<unsigned char>(text[pos]))) {
                    fraction += (text[pos++] - '0') * scale;
                    scale /= 10;
                }
                if (pos == first) {
                    return std::nullopt;
                }
            }
        }
    }
    std::optional<int> offsetSeconds;
    if (pos < text.size()) {
        const char sign = text[pos++];
        if (sign == 'Z' && pos == text.size()) {
            offsetSeconds = 0;
        } else if (sign == '+' || sign == '-') {
            auto hours = digitsAt(text, pos, 2);
            int minutes = 0;
            if (pos < text.size()) {
                if (text[pos] == ':') {
                    ++pos;
                }
                auto parsed = digitsAt(text, pos, 2);
                if (!parsed) {
                    return std::nullopt;
                }
                minutes = *parsed;
            }
            if (!hours || pos != text.size() || *hours > 23 || minutes > 59) {
                return std::nullopt;
            }
            offsetSeconds = (sign == '-' ? -1 : 1) * (*hours * 3600 + minutes * 60);
        } else {
            return std::nullopt;
        }
    }
    if (offsetSeconds) {
        return static_cast<double>(timegm(&fields)) - *offsetSeconds + fraction;
    }
    fields.tm_isdst = -1;
    return static_cast<double>(std::mktime(&fields)) + fraction;
}

std::optional<std::string> checkFormatsOptions(const FormatsOptions& options) {
    if (options.latitude.has_value() != options.longitude.has_value()) {
        return "--lat and --lon go together";
    }
    if (options.latitude && !(std::abs(*options.latitude) <= 90.0)) {
        return "--lat must lie between -90 and 90 degrees";
    }
    if (options.longitude && !(std::abs(*options.longitude) <= 180.0)) {
        return "--lon must lie between -180 and 180 degrees";
    }
    if (!(options.accuracy >= 0.0) || !std::isfinite(options.accuracy)) {
        return "--accuracy must be a distance in metres, 0 or more";
    }
    for (const auto& value : {options.altitude, options.speed, options.heading}) {
        if (value && !std::isfinite(*value)) {
            return "--alt, --speed and --heading take finite numbers";
        }
    }
    if (!options.time.empty() && !parseIsoInstant(options.time)) {
        return "--time \"" + options.time +
               "\" is not an ISO 8601 time such as 2024-02-10T12:00:00+08:00";
    }
    return std::nullopt;
}

void printFormats(screen::SettingsStore& store, screen::SettingsCache& cache,
                  const screen::StampLayerStartValues& start, const FormatsOptions& options,
                  double now, std::ostream& out) {
    const double instant = options.time.empty() ? now : *parseIsoInstant(options.time);
    foundation::ManualClock clock(instant);
    stamp::StampState state(clock);
    if (options.altitude) {
        state.setAltitude(static_cast<float>(*options.altitude));
    }
    if (options.speed) {
        state.setSpeed(static_cast<float>(*options.speed * 3.6));
    }
    state.setCustomText(cache.inputString());
    stamp::LineDrawer drawer(store, cache, start, state);
    if (options.heading) {
        const double radians = *options.heading * 0.017453292519943295;
        drawer.setLuoPanSource([radians] {
            return stamp::LineDrawer::LuoPanReading{true, radians};
        });
    }

    const auto& previews = drawer.getTimeList();
    for (std::size_t row = 1; row < previews.size(); ++row) {
        out << "time." << row << '\t' << previews[row] << '\n';
    }
    if (options.latitude) {
        const stamp::CoordinateFix fix{*options.latitude, *options.longitude, options.accuracy};
        for (const auto& form : stamp::coordinateForms(fix)) {
            printRow(out, form.key, form.text);
        }
        drawer.coordinateCatalogue().rebuild(fix);
    }
    printRow(out, "lunar", drawer.getFormattedLunar(instant));

    stamp::StampStrings strings;
    drawer.composeStrings(strings);
    printRow(out, "stamp.time", strings.time);
    if (!strings.fraction.empty()) {
        printRow(out, "stamp.fraction", strings.fraction);
    }
    printRow(out, "stamp.coordinates", strings.blocks.coordinateBlock);
    if (strings.compassShown) {
        printRow(out, "stamp.compass", std::to_string(strings.compassDegree) + strings.compassTail);
    }
    printRow(out, "stamp.static", strings.blocks.staticBlock);
}

int printLunar(std::string_view text, std::ostream& out, std::ostream& err) {
    std::size_t pos = 0;
    const auto date = dateAt(text, pos);
    if (!date || pos != text.size()) {
        err << "orvane: \"" << text << "\" is not a date of the form YYYY-MM-DD\n";
        return 1;
    }
    const auto lookup = stamp::lunarLookup(date->year, date->month, date->day);
    if (lookup.error) {
        err << "orvane: " << text << ": " << lookup.msg << " (error " << *lookup.error << ")\n";
        return 1;
    }
    printRow(out, "lunarMonthName", lookup.lunarMonthName);
    printRow(out, "lunarDayName", lookup.lunarDayName);
    printRow(out, "lunarFestival", lookup.lunarFestival);
    printRow(out, "term", lookup.term);
    stamp::LunarLine line([day = *date](double) { return day; });
    printRow(out, "line", line.getFormattedLunar(0.0));
    return 0;
}

}  // namespace orvane::app
