#include "foundation/strings.h"

#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "foundation/log.h"
#include "tests/foundation/dispatch_test_support.h"

namespace orvane::foundation {
namespace {

constexpr const char* kLocaleNames[] = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG",
                                        "ORVANE_LOCALEDIR"};

// Clears the locale variables for one test and restores what was there before, the process's
// locale included.
class LocaleEnvironment {
  public:
    LocaleEnvironment() {
        for (const char* name : kLocaleNames) {
            const char* value = std::getenv(name);
            _saved[name] = value ? std::optional<std::string>(value) : std::nullopt;
            unsetenv(name);
        }
    }
    ~LocaleEnvironment() {
        std::setlocale(LC_ALL, "C");
        for (const auto& [name, value] : _saved) {
            if (value) {
                setenv(name.c_str(), value->c_str(), 1);
            } else {
                unsetenv(name.c_str());
            }
        }
    }
    void set(const char* name, const char* value) { setenv(name, value, 1); }

  private:
    std::map<std::string, std::optional<std::string>> _saved;
};

TEST(PreferredLanguageCode, ReadsTheFirstUsableVariable) {
    struct Row {
        const char* values[4];  // LANGUAGE, LC_ALL, LC_MESSAGES, LANG; null: unset
        const char* expected;
    };
    const Row rows[] = {
        {{nullptr, nullptr, nullptr, nullptr}, "en"},
        {{nullptr, nullptr, nullptr, "zh_CN.UTF-8"}, "zh"},
        {{nullptr, nullptr, nullptr, "C.UTF-8"}, "en"},
        {{nullptr, nullptr, nullptr, "POSIX"}, "en"},
        {{nullptr, nullptr, "de_DE@euro", "zh_TW.UTF-8"}, "de"},
        {{nullptr, "fr_FR.UTF-8", "de_DE", "zh_CN"}, "fr"},
        {{"zh_TW:en", "fr_FR.UTF-8", nullptr, nullptr}, "zh"},
        // An unusable first preference falls through to the next one.
        {{"C:ja_JP", nullptr, nullptr, "en_US"}, "ja"},
        // A LANGUAGE with nothing usable leaves the decision to the locale variables.
        {{"C", nullptr, nullptr, "zh_HK.UTF-8"}, "zh"},
        {{"", nullptr, nullptr, "ZH_cn"}, "zh"},
    };
    for (const Row& row : rows) {
        LocaleEnvironment environment;
        std::string described;
        for (int i = 0; i < 4; ++i) {
            if (row.values[i]) {
                environment.set(kLocaleNames[i], row.values[i]);
                described += std::string(kLocaleNames[i]) + "=" + row.values[i] + " ";
            }
        }
        EXPECT_EQ(preferredLanguageCode(), row.expected) << described;
    }
}

// Texts through the real catalogues, as the stamp looks them up.
TEST(Localized, FollowsTheUsersLanguageAndFallsBackToEnglish) {
    struct Row {
        const char* lcAll;
        const char* language;  // null: unset
        const char* key;
        const char* expected;
    };
    const Row rows[] = {
        // gettext translates nothing in the C locale, even with LANGUAGE set; the English
        // catalogue still gives the keys that are names their texts.
        {"C", "zh_CN", "meter", "Altitude:%.1fm"},
        {"C", nullptr, "ft", "Altitude:%.1fft"},
        {"C", nullptr, "STRNone", "None"},
        {"C", nullptr, "° NE", "° NE"},
        {"C", nullptr, "农历", "农历"},
        {"C.UTF-8", "en", "STRNone", "None"},
        {"C.UTF-8", "en", "Speed", "Speed"},
        {"C.UTF-8", "zh_CN", "meter", "海拔:%.1f米"},
        {"C.UTF-8", "zh_CN", "STRNone", "无"},
        {"C.UTF-8", "zh_CN", "km/h", "公里/小时"},
        {"C.UTF-8", "zh_CN", "° SW", "° 西南"},
        {"C.UTF-8", "zh_TW", "ft", "海拔:%.1f英尺"},
        {"C.UTF-8", "zh_TW", "Index", "序號"},
        {"C.UTF-8", "zh_TW", "° NE", "° 東北"},
        {"C.UTF-8", "zh_TW", "农历", "農曆"},
        {"C.UTF-8", "zh_TW", "腊八节", "臘八節"},
        // A language without a catalogue reads English.
        {"C.UTF-8", "de", "meter", "Altitude:%.1fm"},
        {"C.UTF-8", "de", "mph", "mph"},
        // A key no catalogue knows stays itself.
        {"C.UTF-8", "zh_TW", "no such key", "no such key"},
    };
    for (const Row& row : rows) {
        LocaleEnvironment environment;
        environment.set("LC_ALL", row.lcAll);
        if (row.language) {
            environment.set("LANGUAGE", row.language);
        }
        initializeStrings(ORVANE_CATALOGUE_DIR);
        EXPECT_STREQ(localized(row.key), row.expected)
            << "LC_ALL=" << row.lcAll << " LANGUAGE=" << (row.language ? row.language : "");
    }
}

// Collects log lines while alive.
class CapturedLog {
  public:
    CapturedLog() {
        setLogSink([this](const std::string& line) { lines.push_back(line); });
    }
    ~CapturedLog() { setLogSink({}); }
    std::vector<std::string> lines;
};

// A locale directory of its own under the temporary directory, removed afterwards.
class ScratchDirectory {
  public:
    ScratchDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "orvane-strings-XXXXXX");
        path = mkdtemp(pattern.data()) ? pattern : std::string();
    }
    ~ScratchDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::string path;
};

TEST(Localized, AMissingOrCorruptEnglishCatalogueLeavesTheKeysAndSaysSoOnce) {
    ScratchDirectory corrupt;
    ASSERT_FALSE(corrupt.path.empty());
    std::filesystem::create_directories(corrupt.path + "/en/LC_MESSAGES");
    std::ofstream(corrupt.path + "/en/LC_MESSAGES/orvane.mo") << "not a catalogue at all";
    for (const std::string& dir : {std::string("/nonexistent/orvane/locale"), corrupt.path}) {
        LocaleEnvironment environment;
        environment.set("LC_ALL", "C");
        CapturedLog captured;
        initializeStrings(dir);
        EXPECT_STREQ(localized("meter"), "meter") << dir;
        EXPECT_STREQ(localized("STRNone"), "STRNone") << dir;
        ASSERT_EQ(captured.lines.size(), 1u) << dir;
        EXPECT_NE(captured.lines[0].find(dir + "/en/LC_MESSAGES/orvane.mo"), std::string::npos)
            << captured.lines[0];
    }
}

TEST(Localized, TextsHandedOutOutliveALaterInitialisation) {
    LocaleEnvironment environment;
    environment.set("LC_ALL", "C");
    initializeStrings(ORVANE_CATALOGUE_DIR);
    const char* none = localized("STRNone");
    ASSERT_STREQ(none, "None");

    CapturedLog quiet;
    initializeStrings("/nonexistent/orvane/locale");
    EXPECT_STREQ(localized("STRNone"), "STRNone");
    // The earlier text is still readable: the stamp may hold it for the next frame.
    EXPECT_STREQ(none, "None");
}

TEST(Localized, LooksUpFromManyThreads) {
    LocaleEnvironment environment;
    environment.set("LC_ALL", "C");
    initializeStrings(ORVANE_CATALOGUE_DIR);
    std::atomic<int> wrong{0};
    testing::repeatOnThreads(4, 2000, [&](int, int i) {
        const bool meter = i % 2 == 0;
        const char* text = localized(meter ? "meter" : "Speed");
        if (std::strcmp(text, meter ? "Altitude:%.1fm" : "Speed") != 0) {
            wrong.fetch_add(1);
        }
    });
    EXPECT_EQ(wrong.load(), 0);
}

TEST(InitializeStrings, TakesTheLocaleButKeepsTheDecimalPoint) {
    LocaleEnvironment environment;
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) {
        GTEST_SKIP() << "the de_DE.UTF-8 locale is not installed";
    }
    environment.set("LC_ALL", "de_DE.UTF-8");
    initializeStrings(ORVANE_CATALOGUE_DIR);
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
    EXPECT_STREQ(std::setlocale(LC_TIME, nullptr), "de_DE.UTF-8");
    char altitude[32];
    std::snprintf(altitude, sizeof altitude, localized("meter"), 1234.56);
    EXPECT_STREQ(altitude, "Altitude:1234.6m");
}

TEST(LocaleDirectory, TakesTheEnvironmentThenTheArgumentThenTheProgramsOwnTree) {
    LocaleEnvironment environment;
    // The test program sits in the build tree, whose share/locale holds the catalogues.
    EXPECT_TRUE(std::filesystem::equivalent(localeDirectory(), ORVANE_CATALOGUE_DIR))
        << localeDirectory();
    EXPECT_EQ(localeDirectory("/opt/orvane/locale"), "/opt/orvane/locale");
    environment.set("ORVANE_LOCALEDIR", "/srv/locale");
    EXPECT_EQ(localeDirectory("/opt/orvane/locale"), "/srv/locale");
    EXPECT_EQ(localeDirectory(), "/srv/locale");
}

}  // namespace
}  // namespace orvane::foundation
