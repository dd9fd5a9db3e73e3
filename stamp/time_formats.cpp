// Rows of the time catalogue turned into ICU date formatters in the user's locale and zone: the
// still path's formatter, the picker's previews and the live stamp's text and fraction.
#include "stamp/time_formats.h"

#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/fieldpos.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>
#include <unicode/utypes.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <mutex>

#include "foundation/log.h"
#include "foundation/strings.h"

namespace orvane::stamp {

namespace {

constexpr std::string_view kSystemPrefix = "system;";
constexpr std::string_view kPosixLocale = "en_US_POSIX";

// Beyond this many seconds from 1970 the microsecond count no longer fits 64 bits.
constexpr double kLimitSeconds = 9.0e12;

// The system zone is looked at again after this many seconds of instants.
constexpr double kZoneCheckInterval = 1.0;

// The script a POSIX locale modifier names ("sr_RS@latin"); other modifiers ("@euro") say
// nothing about how dates read.
std::string_view scriptOfModifier(std::string_view modifier) {
    if (modifier == "latin") {
        return "Latn";
    }
    if (modifier == "cyrillic") {
        return "Cyrl";
    }
    if (modifier == "devanagari") {
        return "Deva";
    }
    return {};
}

// "language[_territory][.codeset][@modifier]" as an ICU locale id.
std::string icuLocaleId(std::string_view posix) {
    const auto at = posix.find('@');
    const std::string_view modifier =
        at == std::string_view::npos ? std::string_view{} : posix.substr(at + 1);
    const std::string_view name = posix.substr(0, std::min(posix.find('.'), at));
    if (name.empty() || name == "C" || name == "POSIX") {
        return std::string(kPosixLocale);
    }
    const auto underscore = name.find('_');
    std::string id(name.substr(0, underscore));
    if (const auto script = scriptOfModifier(modifier); !script.empty()) {
        id.append("_").append(script);
    }
    if (underscore != std::string_view::npos) {
        id.append(name.substr(underscore));
    }
    return id;
}

// TZ as an Olson id: ":Europe/Berlin" and "/usr/share/zoneinfo/Europe/Berlin" both give
// "Europe/Berlin"; a path outside the zone database means the system's zone.
std::string olsonIdFromTz(std::string_view tz) {
    if (!tz.empty() && tz.front() == ':') {
        tz.remove_prefix(1);
    }
    if (!tz.empty() && tz.front() == '/') {
        constexpr std::string_view kZoneinfo = "zoneinfo/";
        const auto at = tz.find(kZoneinfo);
        if (at == std::string_view::npos) {
            return {};
        }
        tz.remove_prefix(at + kZoneinfo.size());
        for (std::string_view tree : {"posix/", "right/"}) {
            if (tz.starts_with(tree)) {
                tz.remove_prefix(tree.size());
            }
        }
    }
    return std::string(tz);
}

const char* environmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value && *value ? value : nullptr;
}

icu::UnicodeString unicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

std::string utf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

// ICU's host zone detection fills static buffers of its own.
std::mutex gHostZoneMutex;

std::unique_ptr<icu::TimeZone> systemZone() {
    const std::lock_guard lock(gHostZoneMutex);
    return std::unique_ptr<icu::TimeZone>(icu::TimeZone::detectHostTimeZone());
}

std::unique_ptr<icu::TimeZone> zoneOf(const DateSettings& settings) {
    if (!settings.timeZone.empty()) {
        std::unique_ptr<icu::TimeZone> zone(
            icu::TimeZone::createTimeZone(unicode(settings.timeZone)));
        if (zone && *zone != icu::TimeZone::getUnknown()) {
            return zone;
        }
        foundation::log("Unknown time zone \"%s\": dates are written in the system's zone",
                        settings.timeZone.c_str());
    }
    return systemZone();
}

icu::Locale localeOf(const DateSettings& settings) {
    return icu::Locale(settings.locale.empty() ? kPosixLocale.data() : settings.locale.c_str());
}

// The date style or time style of a system row: 0 none, 1 short, 2 medium, 3 long, 4 full. A
// field that does not read as a number is 0.
icu::DateFormat::EStyle icuStyle(std::string_view field) {
    int value = 0;
    std::from_chars(field.data(), field.data() + field.size(), value);
    switch (value) {
        case 1:
            return icu::DateFormat::kShort;
        case 2:
            return icu::DateFormat::kMedium;
        case 3:
            return icu::DateFormat::kLong;
        case 4:
            return icu::DateFormat::kFull;
        default:
            return icu::DateFormat::kNone;
    }
}

// ICU milliseconds for seconds since 1970. Whole microseconds first, so that 0.95 s, which a
// double holds as 0.94999..., still reads 950 ms; then truncated, as the fraction digits are.
std::optional<UDate> icuDate(double seconds) {
    if (!std::isfinite(seconds) || std::fabs(seconds) > kLimitSeconds) {
        return std::nullopt;
    }
    const std::int64_t micros = std::llround(seconds * 1e6);
    std::int64_t millis = micros / 1000;
    if (micros % 1000 < 0) {
        --millis;
    }
    return static_cast<UDate>(millis);
}

// A row ready for ICU. `format` is empty for a system row with neither date nor time, which
// writes "".
struct RowFormat {
    std::unique_ptr<icu::DateFormat> format;
    icu::Locale locale;
    bool capitals = false;
};

// The formatter of one catalogue text (a row, or one half of a split row); nothing when ICU
// refuses it, with a log line.
std::optional<RowFormat> makeRowFormat(std::string_view text, bool capitals,
                                       const icu::Locale& locale, const icu::TimeZone& zone) {
    RowFormat row{nullptr, locale, capitals};
    UErrorCode status = U_ZERO_ERROR;
    if (text.starts_with(kSystemPrefix)) {
        const std::string_view styles = text.substr(kSystemPrefix.size());
        const auto semicolon = styles.find(';');
        const auto dateStyle = icuStyle(styles.substr(0, semicolon));
        const auto timeStyle = semicolon == std::string_view::npos
                                   ? icu::DateFormat::kNone
                                   : icuStyle(styles.substr(semicolon + 1));
        if (dateStyle == icu::DateFormat::kNone && timeStyle == icu::DateFormat::kNone) {
            return row;
        }
        row.format.reset(icu::DateFormat::createDateTimeInstance(dateStyle, timeStyle, locale));
        if (!row.format) {
            status = U_UNSUPPORTED_ERROR;
        }
    } else {
        row.format = std::make_unique<icu::SimpleDateFormat>(unicode(text), locale, status);
    }
    if (U_FAILURE(status)) {
        foundation::log("The date format \"%.*s\" cannot be used in locale %s: %s",
                        static_cast<int>(text.size()), text.data(), locale.getName(),
                        u_errorName(status));
        return std::nullopt;
    }
    row.format->setTimeZone(zone);
    return row;
}

// The catalogue text a row is formatted with: split rows give their text pattern on the live
// stamp.
std::string_view rowText(int row, DateFormatter::Use use) {
    if (use == DateFormatter::Use::LiveStamp) {
        if (const auto split = fractionPatternOfRow(row)) {
            return split->text;
        }
    }
    return timeFormatRows()[static_cast<std::size_t>(row)];
}

bool isCatalogueRow(int row) {
    return row >= 1 && row < kTimeFormatRowCount;
}

void replaceLineFeeds(std::string& text) {
    constexpr std::string_view kEnter = "<enter>";
    for (auto at = text.find('\n'); at != std::string::npos; at = text.find('\n', at)) {
        text.replace(at, 1, kEnter);
        at += kEnter.size();
    }
}

}  // namespace

DateSettings dateSettingsFromEnvironment() {
    DateSettings settings;
    const char* locale = environmentValue("LC_ALL");
    if (!locale) {
        locale = environmentValue("LC_TIME");
    }
    if (!locale) {
        locale = environmentValue("LANG");
    }
    settings.locale = icuLocaleId(locale ? locale : "");
    if (const char* tz = environmentValue("TZ")) {
        settings.timeZone = olsonIdFromTz(tz);
    }
    return settings;
}

// ---- DateFormatter ----

struct DateFormatter::Impl {
    RowFormat row;
    // ICU formatters write through a calendar of their own, so callers on two threads take
    // turns.
    mutable std::mutex mutex;
};

DateFormatter::DateFormatter(std::unique_ptr<Impl> impl) : _impl(std::move(impl)) {}

DateFormatter::~DateFormatter() = default;

std::unique_ptr<DateFormatter> DateFormatter::forRow(int row, Use use,
                                                     const DateSettings& settings) {
    if (!isCatalogueRow(row)) {
        return nullptr;
    }
    auto format = makeRowFormat(rowText(row, use), row >= kFirstCapitalRow, localeOf(settings),
                                *zoneOf(settings));
    if (!format) {
        return nullptr;
    }
    auto impl = std::make_unique<Impl>();
    impl->row = std::move(*format);
    return std::unique_ptr<DateFormatter>(new DateFormatter(std::move(impl)));
}

std::string DateFormatter::format(double timeIntervalSince1970) const {
    const auto date = icuDate(timeIntervalSince1970);
    const RowFormat& row = _impl->row;
    if (!date || !row.format) {
        return {};
    }
    icu::UnicodeString text;
    {
        const std::lock_guard lock(_impl->mutex);
        row.format->format(*date, text);
    }
    if (row.capitals) {
        text.toUpper(row.locale);
    }
    return utf8(text);
}

std::unique_ptr<DateFormatter> curDateFormatter(int row, const DateSettings& settings) {
    return DateFormatter::forRow(row, DateFormatter::Use::Whole, settings);
}

std::vector<std::string> timeFormatPreviews(double now, const DateSettings& settings) {
    std::vector<std::string> previews;
    previews.reserve(kTimeFormatRowCount);
    previews.emplace_back(foundation::localized("STRNone"));
    const icu::Locale locale = localeOf(settings);
    const auto zone = zoneOf(settings);
    const auto date = icuDate(now);
    for (int row = 1; row < kTimeFormatRowCount; ++row) {
        const auto format = makeRowFormat(rowText(row, DateFormatter::Use::Whole),
                                          row >= kFirstCapitalRow, locale, *zone);
        icu::UnicodeString text;
        if (format && format->format && date) {
            format->format->format(*date, text);
            if (format->capitals) {
                text.toUpper(locale);
            }
        }
        std::string preview = utf8(text);
        replaceLineFeeds(preview);
        previews.push_back(std::move(preview));
    }
    return previews;
}

// ---- LiveTimeFormatter ----

namespace {

// A kept formatter with its own calendar, so a tick neither builds a formatter nor lets ICU
// clone a calendar.
struct KeptFormat {
    RowFormat row;
    std::unique_ptr<icu::Calendar> calendar;

    static std::optional<KeptFormat> make(std::string_view text, bool capitals,
                                          const icu::Locale& locale, const icu::TimeZone& zone) {
        auto row = makeRowFormat(text, capitals, locale, zone);
        if (!row) {
            return std::nullopt;
        }
        KeptFormat kept{std::move(*row), nullptr};
        if (kept.row.format) {
            kept.calendar.reset(kept.row.format->getCalendar()->clone());
            if (!kept.calendar) {
                return std::nullopt;
            }
        }
        return kept;
    }

    // Replaces `out` with the instant's text.
    void formatInto(UDate date, icu::UnicodeString& out) const {
        out.remove();
        if (!row.format) {
            return;
        }
        UErrorCode status = U_ZERO_ERROR;
        calendar->setTime(date, status);
        if (U_FAILURE(status)) {
            return;
        }
        icu::FieldPosition position(icu::FieldPosition::DONT_CARE);
        row.format->format(*calendar, out, position);
        if (row.capitals) {
            out.toUpper(row.locale);
        }
    }
};

}  // namespace

struct LiveTimeFormatter::Impl {
    DateSettings settings;
    icu::Locale locale;
    std::unique_ptr<icu::TimeZone> zone;  // made on the first tick after a change
    double zoneCheckedAt = 0;             // instant of the last look at the system zone
    int row = 0;                          // the row the kept formatters are for
    std::optional<KeptFormat> text;       // nothing when ICU refused the row
    // The fraction's digits, rows 46 to 55 only. They are drawn from glyphs of 0 to 9, so they
    // are Latin digits whatever the locale, and are written here without ICU: they change on
    // every frame.
    int fractionDigits = 0;
    icu::UnicodeString buffer;
    // The text changes at most once a second: it is formatted again only for a new second.
    std::optional<UDate> textSecond;
    std::string textOfSecond;

    void apply(DateSettings newSettings) {
        settings = std::move(newSettings);
        locale = localeOf(settings);
        zone.reset();
        row = 0;
    }

    // Makes the zone, or with the system's zone notices a change of it.
    void updateZone(double now) {
        if (!zone) {
            zone = zoneOf(settings);
            zoneCheckedAt = now;
            return;
        }
        if (!settings.timeZone.empty() || std::fabs(now - zoneCheckedAt) < kZoneCheckInterval) {
            return;
        }
        zoneCheckedAt = now;
        auto current = systemZone();
        icu::UnicodeString keptId;
        icu::UnicodeString currentId;
        if (current->getID(currentId) != zone->getID(keptId)) {
            zone = std::move(current);
            row = 0;
        }
    }

    void prepare(int newRow) {
        if (newRow == row) {
            return;
        }
        row = newRow;
        textSecond.reset();
        fractionDigits = 0;
        text = KeptFormat::make(rowText(row, DateFormatter::Use::LiveStamp),
                                row >= kFirstCapitalRow, locale, *zone);
        if (const auto split = fractionPatternOfRow(row); split && text) {
            fractionDigits = static_cast<int>(split->fraction.size());
        }
    }
};

LiveTimeFormatter::LiveTimeFormatter(DateSettings settings) : _impl(std::make_unique<Impl>()) {
    _impl->apply(std::move(settings));
}

LiveTimeFormatter::~LiveTimeFormatter() = default;

void LiveTimeFormatter::setSettings(DateSettings settings) {
    _impl->apply(std::move(settings));
}

const DateSettings& LiveTimeFormatter::settings() const {
    return _impl->settings;
}

void LiveTimeFormatter::format(int row, double timeIntervalSince1970, LiveTime& out) {
    out.text.clear();
    out.fraction.clear();
    const auto date = icuDate(timeIntervalSince1970);
    if (!isCatalogueRow(row) || !date) {
        return;
    }
    Impl& d = *_impl;
    d.updateZone(timeIntervalSince1970);
    d.prepare(row);
    if (!d.text) {
        return;
    }
    // ICU milliseconds split into the whole second and the milliseconds in it, below zero too.
    const UDate millis = *date;
    const UDate second = std::floor(millis / 1000.0) * 1000.0;
    if (d.textSecond != second) {
        d.text->formatInto(second, d.buffer);
        d.textOfSecond.clear();
        d.buffer.toUTF8String(d.textOfSecond);
        d.textSecond = second;
    }
    out.text = d.textOfSecond;
    if (d.fractionDigits > 0) {
        // "S", "SS", "SSS": the leading digits of the milliseconds, truncated.
        int value = static_cast<int>(millis - second);
        char digits[3];
        for (int i = 2; i >= 0; --i) {
            digits[i] = static_cast<char>('0' + value % 10);
            value /= 10;
        }
        out.fraction.assign(digits, static_cast<std::size_t>(std::min(d.fractionDigits, 3)));
    }
}

}  // namespace orvane::stamp
