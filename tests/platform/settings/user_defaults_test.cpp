#include "platform/settings/UserDefaults.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

#include "platform/settings/MemoryUserDefaults.h"

namespace orvane::platform {
namespace {

TEST(UserDefaultsReaders, CoerceBetweenShapes) {
    struct Row {
        DefaultsValue stored;
        bool asBool;
        std::int64_t asInteger;
        double asDouble;
        std::optional<std::string> asString;
    };
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    const Row rows[] = {
        {true, true, 1, 1.0, "1"},
        {std::int64_t{-3}, true, -3, -3.0, "-3"},
        {2.9, true, 2, 2.9, "2.9"},
        {-2.9, true, -2, -2.9, "-2.9"},
        {1e300, true, kMax, 1e300, "1e+300"},
        {std::nan(""), true, 0, std::nan(""), "nan"},
        {std::string("YES"), true, 0, 0.0, "YES"},
        {std::string(" 0.5x"), true, 0, 0.5, " 0.5x"},
        {std::string("12"), true, 12, 12.0, "12"},
        {std::string("no"), false, 0, 0.0, "no"},
        {StringArray{"1"}, false, 0, 0.0, std::nullopt},
        {Blob{1}, false, 0, 0.0, std::nullopt},
    };
    MemoryUserDefaults store;
    for (const auto& row : rows) {
        store.setObject("key", row.stored);
        SCOPED_TRACE(row.asString.value_or("(none)"));
        EXPECT_EQ(store.boolForKey("key"), row.asBool);
        EXPECT_EQ(store.integerForKey("key"), row.asInteger);
        if (std::isnan(row.asDouble)) {
            EXPECT_TRUE(std::isnan(store.doubleForKey("key")));
        } else {
            EXPECT_EQ(store.doubleForKey("key"), row.asDouble);
        }
        EXPECT_EQ(store.stringForKey("key"), row.asString);
    }
    EXPECT_FALSE(store.boolForKey("absent"));
    EXPECT_EQ(store.integerForKey("absent"), 0);
    EXPECT_FALSE(store.stringForKey("absent"));
}

TEST(UserDefaultsReaders, NumericTextIgnoresTheUserLocale) {
    const char* comma = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"}) {
        if (std::setlocale(LC_NUMERIC, name)) {
            comma = name;
            break;
        }
    }
    if (!comma) {
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    }
    MemoryUserDefaults store;
    store.setString("TimelpaseInterval", std::string("0.5"));
    const double read = store.doubleForKey("TimelpaseInterval");
    std::setlocale(LC_NUMERIC, "C");
    EXPECT_EQ(read, 0.5) << comma;
}

}  // namespace
}  // namespace orvane::platform
