#include "foundation/strings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace orvane::foundation {
namespace {

constexpr const char* kLocaleNames[] = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG",
                                        "ORVANE_LOCALEDIR"};

// Clears the locale variables for one test and restores what was there before.
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

TEST(Localized, TranslatesFromAnInstalledCatalogue) {
    LocaleEnvironment environment;
    environment.set("LC_ALL", "C.UTF-8");
    environment.set("LANGUAGE", "zh_CN");
    initializeStrings(ORVANE_TEST_LOCALEDIR);
    EXPECT_STREQ(localized("Recording cannot be started"), "无法开始录制");
    // A text the catalogue lacks stays English.
    EXPECT_STREQ(localized("Cannot setup asset writer input."), "Cannot setup asset writer input.");

    // The environment variable wins over the argument, so a build tree can point at its own;
    // without a catalogue there the literal stands.
    environment.set("ORVANE_LOCALEDIR", "/nonexistent/orvane/locale");
    initializeStrings(ORVANE_TEST_LOCALEDIR);
    EXPECT_STREQ(localized("Recording cannot be started"), "Recording cannot be started");
}

}  // namespace
}  // namespace orvane::foundation
