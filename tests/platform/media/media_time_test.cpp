#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/media/MediaTime.h"

namespace orvane::platform {
namespace {

constexpr std::int64_t kMax64 = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int32_t kMax32 = std::numeric_limits<std::int32_t>::max();

MediaTime t(std::int64_t value, std::int32_t timescale) {
    return MediaTime::make(value, timescale);
}

TEST(MediaTime, TimescaleThatIsNotPositiveIsInvalid) {
    EXPECT_FALSE(t(1, 0).isValid());
    EXPECT_FALSE(t(1, -600).isValid());
    // Built field by field with the valid flag: still invalid, and nothing divides by zero.
    const MediaTime raw{5, 0, MediaTime::kValid};
    EXPECT_FALSE(raw.isValid());
    EXPECT_TRUE(std::isnan(raw.seconds()));
    EXPECT_EQ(raw, MediaTime::invalid());
    EXPECT_FALSE(raw.convertScale(600)->isValid());
}

TEST(MediaTime, ComparesByRationalValueAndKind) {
    const struct {
        MediaTime a, b;
        std::weak_ordering expected;
    } rows[] = {
        {t(1, 2), t(300, 600), std::weak_ordering::equivalent},
        {t(0, 600), MediaTime::zero(), std::weak_ordering::equivalent},
        {t(1, 3), t(333, 1000), std::weak_ordering::greater},
        {t(kMax64, 1), t(kMax64, 2), std::weak_ordering::greater},
        {t(kMin64, 1), t(kMin64, kMax32), std::weak_ordering::less},
        {MediaTime::invalid(), MediaTime::invalid(), std::weak_ordering::equivalent},
        {MediaTime::invalid(), MediaTime::positiveInfinity(), std::weak_ordering::greater},
        {MediaTime::positiveInfinity(), MediaTime::indefinite(), std::weak_ordering::greater},
        {MediaTime::indefinite(), t(kMax64, 1), std::weak_ordering::greater},
        {MediaTime::negativeInfinity(), t(kMin64, 1), std::weak_ordering::less},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.a.description() + " vs " + row.b.description());
        EXPECT_EQ(row.a <=> row.b, row.expected);
        EXPECT_EQ(row.b <=> row.a, 0 <=> row.expected);
    }
}

TEST(MediaTime, AddsAndSubtractsOnTheCommonTimescaleUntilItOverflows) {
    const struct {
        MediaTime sum;
        std::int64_t value;
        std::int32_t timescale;
    } rows[] = {
        {t(1, 600) + t(1, 1000), 8, 3000},
        {t(1, 600) - t(1, 1000), 2, 3000},
        {t(90000, 600) + t(1, 30), 90020, 600},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sum.description());
        EXPECT_EQ(row.sum.value, row.value);
        EXPECT_EQ(row.sum.timescale, row.timescale);
        EXPECT_FALSE(row.sum.hasBeenRounded());
    }

    // Both primes: the common multiple of the timescales is far past 32 bits.
    const MediaTime sum = t(1, 1000000007) + t(1, 1000000009);
    EXPECT_EQ(sum.timescale, 1000000009);
    EXPECT_EQ(sum.value, 2);
    EXPECT_TRUE(sum.hasBeenRounded());
    EXPECT_TRUE((sum + t(1, 1)).hasBeenRounded());  // the flag carries on

    const MediaTime inf = MediaTime::positiveInfinity();
    EXPECT_TRUE((t(kMax64, 1) + t(1, 2)).isPositiveInfinity());
    EXPECT_TRUE((t(kMin64, 1) - t(1, 1)).isNegativeInfinity());
    EXPECT_TRUE((t(5, 1) - inf).isNegativeInfinity());
    EXPECT_TRUE((inf - inf).isIndefinite());
    EXPECT_FALSE((MediaTime::indefinite() - MediaTime::invalid()).isValid());
}

TEST(MediaTime, ConvertScaleRoundsAsAskedOrRefuses) {
    using R = MediaTimeRounding;
    const struct {
        MediaTime time;
        std::int32_t to;
        R rounding;
        std::int64_t expected;
        bool rounded;
    } rows[] = {
        {t(1, 3), 1000, R::halfAwayFromZero, 333, true},
        {t(-2, 3), 1000, R::halfAwayFromZero, -667, true},
        {t(1, 2), 1, R::halfAwayFromZero, 1, true},
        {t(1, 3), 1000, R::towardZero, 333, true},
        {t(-1, 3), 1000, R::awayFromZero, -334, true},
        {t(-1, 3), 1000, R::towardPositiveInfinity, -333, true},
        {t(-1, 3), 1000, R::towardNegativeInfinity, -334, true},
        {t(300, 600), 2, R::halfAwayFromZero, 1, false},
        {t(kMax64, kMax32), 1, R::towardZero, kMax64 / kMax32, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.time.description() + " to " + std::to_string(row.to));
        const auto converted = row.time.convertScale(row.to, row.rounding);
        ASSERT_TRUE(converted.has_value());
        EXPECT_EQ(converted->value, row.expected);
        EXPECT_EQ(converted->timescale, row.to);
        EXPECT_EQ(converted->hasBeenRounded(), row.rounded);
    }
    // What the new scale cannot hold.
    EXPECT_FALSE(t(1, 600).convertScale(0).has_value());
    EXPECT_FALSE(t(1, 600).convertScale(-30).has_value());
    EXPECT_FALSE(t(kMax64, 1).convertScale(600).has_value());
    EXPECT_TRUE(MediaTime::positiveInfinity().convertScale(600)->isPositiveInfinity());
    EXPECT_FALSE(MediaTime::invalid().convertScale(600)->isValid());
}

TEST(MediaTime, SecondsRoundTripAndOutsideTheNumbers) {
    const struct {
        double seconds;
        std::int32_t timescale;
        std::int64_t value;
    } rows[] = {
        {1.5, 600, 900}, {0.1, 90000, 9000}, {-2.25, 4, -9},      {0.001, 30, 0},
        {0.049, 30, 1},  {-0.049, 30, -1},   {150.0, 600, 90000}, {9.2e18, 1, 9200000000000000000},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.seconds) + " at " + std::to_string(row.timescale));
        const MediaTime time = MediaTime::makeWithSeconds(row.seconds, row.timescale);
        EXPECT_EQ(time.value, row.value);
        EXPECT_EQ(time.timescale, row.timescale);
        EXPECT_LE(std::abs(time.seconds() - row.seconds),
                  0.5 / row.timescale + 1e-12 * std::abs(row.seconds));
    }
    EXPECT_FALSE(MediaTime::makeWithSeconds(1.5, 600).hasBeenRounded());
    EXPECT_TRUE(MediaTime::makeWithSeconds(0.001, 30).hasBeenRounded());
    EXPECT_FALSE(MediaTime::makeWithSeconds(std::nan(""), 600).isValid());
    EXPECT_FALSE(MediaTime::makeWithSeconds(1.0, 0).isValid());
    EXPECT_TRUE(MediaTime::makeWithSeconds(1e30, 600).isPositiveInfinity());
    EXPECT_TRUE(MediaTime::makeWithSeconds(-1e30, 600).isNegativeInfinity());
}

TEST(MediaTime, SubtractingPauseSecondsTruncatesTowardZeroOnTheOwnTimescale) {
    const struct {
        std::int64_t value;
        std::int32_t timescale;
        double pause;
        std::int64_t expected;
    } rows[] = {
        {90000, 600, 1.5, 89100},
        {3003, 30000, 0.05, 1503},
        {300, 600, 1.0, -300},     // earlier than the movie's start
        {1000, 600, 0.0001, 999},  // 999.94
        {0, 600, 0.0001, 0},       // -0.06 truncates up to 0, not down to -1
        {10, 600, 0.0205, -2},     // -2.3
        // The arithmetic is double: 2^53 + 1 is not representable and comes back as 2^53.
        {9007199254740993, 1, 0.0, 9007199254740992},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.value) + "/" + std::to_string(row.timescale) + " - " +
                     std::to_string(row.pause));
        const MediaTime rebased = t(row.value, row.timescale).subtractingSeconds(row.pause);
        EXPECT_EQ(rebased.value, row.expected);
        EXPECT_EQ(rebased.timescale, row.timescale);
        EXPECT_TRUE(rebased.isNumeric());
    }
    EXPECT_FALSE(t(600, 600).subtractingSeconds(std::nan("")).isValid());
    EXPECT_TRUE(t(600, 600).subtractingSeconds(1e300).isNegativeInfinity());
    EXPECT_FALSE(MediaTime::invalid().subtractingSeconds(1.0).isValid());
}

TEST(MediaTime, OneFrameAtThirtyAddsWholeUnitsOfTheTimescale) {
    const struct {
        std::int32_t timescale;
        std::int64_t added;
    } rows[] = {
        {600, 20}, {90000, 3000}, {1000, 33}, {30, 1}, {29, 0}, {1, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.timescale);
        const MediaTime next = t(1234, row.timescale).advancedByOneFrameAt(30);
        EXPECT_EQ(next.value, 1234 + row.added);
        EXPECT_EQ(next.timescale, row.timescale);
    }
    EXPECT_FALSE(t(1, 600).advancedByOneFrameAt(0).isValid());
    EXPECT_FALSE(t(1, 600).advancedByOneFrameAt(-30).isValid());
    EXPECT_TRUE(t(kMax64, 600).advancedByOneFrameAt(30).isPositiveInfinity());
}

}  // namespace
}  // namespace orvane::platform
