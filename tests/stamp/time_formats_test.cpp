// The time catalogue: rows and their split, each row written by ICU in a given locale and zone,
// capitals, previews, the live stamp's kept formatters, and where the settings come from.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "foundation/log.h"
#include "foundation/strings.h"
#include "stamp/time_formats.h"

namespace orvane::stamp {
namespace {

// 2024-02-10 12:00:00.950 in Shanghai. 0.95 has no exact double, which the fraction must survive.
constexpr double kInstant = 1707537600.95;
// 12:00:00.946 as a nanosecond clock gives it: 1707537600.9459999, 945.9998 ms.
constexpr double kFromNanoseconds = 1707537600946000000LL * 1e-9;
// 2024-04-10 12:00 in Istanbul, where Turkish capitals put the dot on the i of "Nis".
constexpr double kApril = 1712739600;
const DateSettings kUsShanghai{"en_US", "Asia/Shanghai"};

std::string whole(int row, const DateSettings& settings = kUsShanghai, double at = kInstant) {
    const auto formatter = curDateFormatter(row, settings);
    return formatter ? formatter->format(at) : "<no formatter>";
}

void putEnvironment(const std::string& name, const char* value) {
    if (value) {
        setenv(name.c_str(), value, 1);
    } else {
        unsetenv(name.c_str());
    }
}

// Sets environment variables for one test and puts the old values back.
class EnvironmentGuard {
  public:
    void set(const char* name, const char* value) {
        const char* old = std::getenv(name);
        _saved.emplace(name, old ? std::optional<std::string>(old) : std::nullopt);
        putEnvironment(name, value);
    }
    ~EnvironmentGuard() {
        for (const auto& [name, value] : _saved) {
            putEnvironment(name, value ? value->c_str() : nullptr);
        }
    }

  private:
    std::map<std::string, std::optional<std::string>> _saved;  // the values before the test
};

TEST(TimeFormatRowsTest, KindsSitWhereTheCatalogueSaysAndSplitsJoinBack) {
    const auto& rows = timeFormatRows();
    EXPECT_EQ(rows[0], "None");
    EXPECT_FALSE(fractionPatternOfRow(0).has_value());
    EXPECT_FALSE(fractionPatternOfRow(kTimeFormatRowCount).has_value());
    for (int row = 1; row < kTimeFormatRowCount; ++row) {
        SCOPED_TRACE(row);
        const std::string_view text = rows[static_cast<std::size_t>(row)];
        EXPECT_EQ(text.starts_with("system;"), row <= 12 || (row >= 31 && row <= 34));
        EXPECT_EQ(text.find('\n') != std::string_view::npos, (row >= 59 && row <= 80) || row == 85);
        const auto split = fractionPatternOfRow(row);
        ASSERT_EQ(split.has_value(), row >= 46 && row <= 55);
        if (split) {
            EXPECT_TRUE(split->text.ends_with("ss."));
            EXPECT_EQ(std::string(split->text) + std::string(split->fraction), text);
        }
    }
}

TEST(DateFormatterTest, PatternRowsInUsEnglish) {
    const struct {
        int row;
        const char* text;
    } cases[] = {
        {13, "02/10/2024 12:00:00"},
        {19, "2024-02-10 12:00:00"},
        {28, "10-Feb-2024 12:00:00"},
        {37, "10 Feb 2024  12:00:00 PM"},
        {38, "02/10/24 12:00PM"},
        {45, "Sat, Feb 10 2024 12:00:00"},  // the last row below the capitals keeps its case
        {46, "02/10/2024 12:00:00.950"},
        {48, "02/10/2024 12:00:00.9"},  // fractions are cut, never rounded
        {51, "12:00:00.950"},
        {60, "02/10/2024\n12:00:00"},
        {72, "10 Feb 2024\n12:00:00 PM"},
        {87, "SAT | 10 FEB 2024 | 12:00PM"},
        {89, "10/FEB/2024"},
        {90, "10.02.2024 12:00"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.row);
        EXPECT_EQ(whole(c.row), c.text);
    }
}

TEST(DateFormatterTest, SystemRowsFollowTheLocaleStyles) {
    const struct {
        int row;
        const char* locale;
        std::vector<std::string> holds;
        std::vector<std::string> lacks;
    } cases[] = {
        {1, "en_US", {"2024", "12:00:00"}, {}},
        {9, "en_US", {"2024"}, {":"}},       // date alone
        {31, "en_US", {"12:00"}, {"2024"}},  // time alone, short
        {12, "zh_CN", {"星期六", "2024年", "12:00:00"}, {}},
        {7, "de_DE", {"Februar", "2024"}, {":"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.row);
        const std::string text = whole(c.row, {c.locale, "Asia/Shanghai"});
        for (const auto& part : c.holds) {
            EXPECT_NE(text.find(part), std::string::npos) << text << " lacks " << part;
        }
        for (const auto& part : c.lacks) {
            EXPECT_EQ(text.find(part), std::string::npos) << text << " holds " << part;
        }
    }
}

TEST(DateFormatterTest, NamesMarksAndCapitalsFollowTheLocale) {
    const struct {
        int row;
        DateSettings settings;
        double at;
        const char* text;
    } cases[] = {
        {28, {"de_DE", "Asia/Shanghai"}, kInstant, "10-Feb.-2024 12:00:00"},
        {40, {"zh_CN", "Asia/Shanghai"}, kInstant, "二月 10, 2024 12:00下午"},
        {19, {"de_DE", "Europe/Berlin"}, kInstant, "2024-02-10 05:00:00"},
        {82, {"tr_TR", "Europe/Istanbul"}, kApril, "10 NİS 2024"},
        {82, {"en_US", "Europe/Istanbul"}, kApril, "10 APR 2024"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.row);
        EXPECT_EQ(whole(c.row, c.settings, c.at), c.text);
    }
}

TEST(DateFormatterTest, RowsOutsideTheCatalogueAndUnwritableInstantsGiveNothing) {
    for (int row : {-1, 0, kTimeFormatRowCount}) {
        EXPECT_EQ(curDateFormatter(row, kUsShanghai), nullptr) << row;
        LiveTimeFormatter live(kUsShanghai);
        LiveTime out{"old", "old"};
        live.format(row, kInstant, out);
        EXPECT_EQ(out.text, "") << row;
        EXPECT_EQ(out.fraction, "") << row;
    }
    const auto formatter = curDateFormatter(19, kUsShanghai);
    EXPECT_EQ(formatter->format(std::numeric_limits<double>::quiet_NaN()), "");
    EXPECT_EQ(formatter->format(std::numeric_limits<double>::infinity()), "");
}

TEST(DateFormatterTest, AnUnknownZoneFallsBackToTheSystemZone) {
    EnvironmentGuard environment;
    environment.set("TZ", "Asia/Tokyo");
    std::vector<std::string> lines;
    foundation::setLogSink([&](const std::string& line) { lines.push_back(line); });
    const std::string text = whole(19, {"en_US", "Mars/Olympus"});
    foundation::setLogSink({});
    EXPECT_EQ(text, "2024-02-10 13:00:00");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("Mars/Olympus"), std::string::npos);
}

TEST(LiveTimeFormatterTest, SplitRowsGiveTextAndFractionDigits) {
    const struct {
        int row;
        double at;
        const char* text;
        const char* fraction;
    } cases[] = {
        {46, kInstant, "02/10/2024 12:00:00.", "950"},
        {46, kInstant + 0.04, "02/10/2024 12:00:00.", "990"},  // the same second's text
        {46, kInstant + 0.06, "02/10/2024 12:00:01.", "010"},  // the next second's
        {48, kInstant, "02/10/2024 12:00:00.", "9"},
        {52, kInstant, "12:00:00.", "95"},
        {55, kInstant, "Sat, Feb 10 2024, 12:00:00.", "9"},
        {51, kInstant + 0.0496, "12:00:00.", "999"},  // 999.6 ms stays in its second
        {51, kFromNanoseconds, "12:00:00.", "946"},
        {19, kInstant, "2024-02-10 12:00:00", ""},
    };
    LiveTimeFormatter live(kUsShanghai);
    LiveTime out;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.row);
        live.format(c.row, c.at, out);
        EXPECT_EQ(out.text, c.text);
        EXPECT_EQ(out.fraction, c.fraction);
    }
    // Before 1970 the milliseconds still count forward within their second.
    live.setSettings({"en_US", "UTC"});
    live.format(51, -0.0505, out);
    EXPECT_EQ(out.text, "23:59:59.");
    EXPECT_EQ(out.fraction, "949");
}

TEST(LiveTimeFormatterTest, FractionDigitsAreLatinWhereTheLocaleWritesOthers) {
    LiveTimeFormatter live({"ar_EG", "Africa/Cairo"});
    LiveTime out;
    live.format(51, kInstant, out);
    EXPECT_EQ(out.fraction, "950");
    EXPECT_EQ(out.text.find('0'), std::string::npos) << out.text;  // the text keeps the locale's
}

TEST(LiveTimeFormatterTest, KeptFormattersWriteWhatNewOnesWrite) {
    LiveTimeFormatter live(kUsShanghai);
    LiveTime out;
    const int rows[] = {19, 1, 60, 87, 12, 19};
    for (int row : rows) {
        live.format(row, kInstant, out);
        EXPECT_EQ(out.text, whole(row)) << row;
        live.format(row, kInstant + 61, out);
        EXPECT_EQ(out.text, whole(row, kUsShanghai, kInstant + 61)) << row;
    }
    for (const DateSettings& settings :
         {DateSettings{"de_DE", "Europe/Berlin"}, DateSettings{"tr_TR", "Europe/Istanbul"}}) {
        live.setSettings(settings);
        for (int row : {19, 28, 4, 82}) {
            live.format(row, kApril, out);
            EXPECT_EQ(out.text, whole(row, settings, kApril)) << settings.locale << " " << row;
        }
    }
}

TEST(LiveTimeFormatterTest, TheSystemZoneIsFollowedWhenItChanges) {
    EnvironmentGuard environment;
    environment.set("TZ", "Asia/Shanghai");
    LiveTimeFormatter live({"en_US", ""});
    LiveTime out;
    live.format(35, kInstant, out);
    EXPECT_EQ(out.text, "12:00:00");
    environment.set("TZ", "Europe/Berlin");
    live.format(35, kInstant + 1, out);
    EXPECT_EQ(out.text, "05:00:01");
}

TEST(TimeFormatPreviewsTest, OneLinePerRowAtTheGivenMoment) {
    const auto previews = timeFormatPreviews(kInstant, kUsShanghai);
    ASSERT_EQ(previews.size(), static_cast<std::size_t>(kTimeFormatRowCount));
    EXPECT_EQ(previews[0], foundation::localized("STRNone"));
    EXPECT_EQ(previews[60], "02/10/2024<enter>12:00:00");
    EXPECT_EQ(previews[85], "10 FEB 2024<enter>SAT 12:00PM");
    for (int row = 1; row < kTimeFormatRowCount; ++row) {
        SCOPED_TRACE(row);
        std::string expected = whole(row);
        for (auto at = expected.find('\n'); at != std::string::npos; at = expected.find('\n')) {
            expected.replace(at, 1, "<enter>");
        }
        EXPECT_EQ(previews[static_cast<std::size_t>(row)], expected);
    }
}

TEST(DateSettingsTest, LocaleAndZoneComeFromTheEnvironmentInOrder) {
    const struct {
        const char* lcAll;
        const char* lcTime;
        const char* lang;
        const char* tz;
        const char* locale;
        const char* zone;
    } cases[] = {
        {"de_DE.UTF-8", "fr_FR.UTF-8", "zh_CN.UTF-8", "Asia/Tokyo", "de_DE", "Asia/Tokyo"},
        {"", "fr_FR.UTF-8", "zh_CN.UTF-8", nullptr, "fr_FR", ""},
        {nullptr, nullptr, "zh_CN.UTF-8", ":Europe/Berlin", "zh_CN", "Europe/Berlin"},
        {nullptr, nullptr, "sr_RS@latin", "/usr/share/zoneinfo/Asia/Shanghai", "sr_Latn_RS",
         "Asia/Shanghai"},
        {nullptr, "de_DE@euro", nullptr, "/etc/localtime", "de_DE", ""},
        {"C", nullptr, "zh_CN.UTF-8", "", "en_US_POSIX", ""},
        {nullptr, "C.UTF-8", nullptr, nullptr, "en_US_POSIX", ""},
        {nullptr, nullptr, nullptr, nullptr, "en_US_POSIX", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.locale) + " " + c.zone);
        EnvironmentGuard environment;
        environment.set("LC_ALL", c.lcAll);
        environment.set("LC_TIME", c.lcTime);
        environment.set("LANG", c.lang);
        environment.set("TZ", c.tz);
        const DateSettings settings = dateSettingsFromEnvironment();
        EXPECT_EQ(settings.locale, c.locale);
        EXPECT_EQ(settings.timeZone, c.zone);
    }
}

}  // namespace
}  // namespace orvane::stamp
