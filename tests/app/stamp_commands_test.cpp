// The instants `orvane formats --time` accepts.
#include "app/stamp_commands.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace orvane::app {
namespace {

TEST(ParseIsoInstantTest, OffsetsAndFractionsGiveTheInstant) {
    struct Case {
        const char* text;
        double seconds;
    };
    for (const Case& c :
         {Case{"2024-02-10T12:00:00+08:00", 1707537600.0},
          Case{"2024-02-10T04:00:00Z", 1707537600.0},
          Case{"2024-02-10T04:00:00.95Z", 1707537600.95},
          Case{"2024-02-10 06:30:00+0230", 1707537600.0}, Case{"2024-02-09T23:00-05", 1707537600.0},
          Case{"2024-02-29T00:00:00Z", 1709164800.0}, Case{"1969-12-31T23:59:59Z", -1.0}}) {
        const auto parsed = parseIsoInstant(c.text);
        ASSERT_TRUE(parsed) << c.text;
        EXPECT_DOUBLE_EQ(*parsed, c.seconds) << c.text;
    }
}

TEST(ParseIsoInstantTest, WithoutAnOffsetTheUsersZoneApplies) {
    const char* old = std::getenv("TZ");
    const std::string saved = old ? old : "";
    ::setenv("TZ", "Asia/Shanghai", 1);
    ::tzset();
    const auto local = parseIsoInstant("2024-02-10T12:00:00");
    const auto midnight = parseIsoInstant("2024-02-10");
    old ? ::setenv("TZ", saved.c_str(), 1) : ::unsetenv("TZ");
    ::tzset();
    ASSERT_TRUE(local);
    EXPECT_DOUBLE_EQ(*local, 1707537600.0);
    ASSERT_TRUE(midnight);
    EXPECT_DOUBLE_EQ(*midnight, 1707537600.0 - 12 * 3600);
}

TEST(ParseIsoInstantTest, MalformedOrImpossibleTextIsRefused) {
    for (const char* text :
         {"", "noon", "2024-02-30", "2023-02-29T00:00Z", "2024-13-01", "2024-02-10T24:00",
          "2024-02-10T12:60", "2024-02-10T12:00:61", "2024-02-10T12", "2024-02-10T12:00:00.",
          "2024-02-10T12:00:00+8", "2024-02-10T12:00:00+08:00x", "2024-02-10T12:00:00Zz",
          "24-02-10", "2024/02/10"}) {
        EXPECT_FALSE(parseIsoInstant(text)) << text;
    }
}

}  // namespace
}  // namespace orvane::app
