#include "capture/session_timing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace orvane::capture {
namespace {

using platform::MediaTime;

TEST(RebaseForAppend, PullsForwardByThePauseAndKeepsTheMovieMonotonic) {
    const struct {
        const char* what;
        MediaTime time;
        double pauseTime;
        std::int64_t lastBefore;
        std::optional<std::int64_t> appended;
    } cases[] = {
        {"the first frame of a recording", MediaTime::make(600, 600), 0, 0, 600},
        {"half a second paused", MediaTime::make(1000, 600), 0.5, 0, 700},
        {"a pause truncated toward zero", MediaTime::make(1000, 600), 0.0017, 0, 998},
        {"equal to the last appended", MediaTime::make(700, 600), 0, 700, std::nullopt},
        {"below the last appended", MediaTime::make(1000, 600), 0.5, 701, std::nullopt},
        {"a value of zero", MediaTime::make(0, 600), 0, 0, std::nullopt},
        {"pulled below zero by a long pause", MediaTime::make(600, 600), 2, 0, std::nullopt},
        {"a time that is not numeric", MediaTime::invalid(), 0, 0, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::int64_t last = c.lastBefore;
        const auto rebased = rebaseForAppend(c.time, c.pauseTime, last);
        ASSERT_EQ(rebased.has_value(), c.appended.has_value());
        if (c.appended) {
            EXPECT_EQ(rebased->value, *c.appended);
            EXPECT_EQ(rebased->timescale, c.time.timescale);
            EXPECT_EQ(last, *c.appended);
        } else {
            EXPECT_EQ(last, c.lastBefore);
        }
    }
}

// Feeds source times (in units of `timescale`) and answers the output value of each, or -1 for
// a dropped frame.
std::vector<std::int64_t> retimed(const std::vector<std::int64_t>& values, std::int32_t timescale,
                                  double interval) {
    TimelapseRetimer retimer;
    std::vector<std::int64_t> out;
    for (const std::int64_t value : values) {
        const auto time = retimer.retime(MediaTime::make(value, timescale), interval);
        out.push_back(time ? time->value : -1);
    }
    return out;
}

TEST(TimelapseRetimer, KeepsOneFramePerIntervalAndLaysThemAThirtiethApart) {
    // 30 fps source at timescale 600 (20 units a frame), one frame a second kept.
    std::vector<std::int64_t> source;
    for (std::int64_t v = 6000; v <= 6000 + 20 * 70; v += 20) {
        source.push_back(v);
    }
    const auto out = retimed(source, 600, 1.0);
    std::vector<std::int64_t> kept;
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (out[i] >= 0) {
            kept.push_back(out[i]);
            // Kept at the first frame, then where a second less the margin has passed: 580
            // units on is still short, 600 on is not.
            EXPECT_EQ((source[i] - 6000) % 600, 0) << source[i];
        }
    }
    EXPECT_EQ(kept, (std::vector<std::int64_t>{6000, 6020, 6040}));
}

TEST(TimelapseRetimer, IntervalEdges) {
    // An interval of 1/60 s or less keeps every frame, whatever the source's rate.
    EXPECT_EQ(retimed({600, 601, 602, 603}, 600, 1.0 / 60),
              (std::vector<std::int64_t>{600, 620, 640, 660}));
    // Exactly 1/60 s short of the interval is kept; a unit less is dropped.
    EXPECT_EQ(retimed({600, 1190}, 600, 1.0), (std::vector<std::int64_t>{600, 620}));
    EXPECT_EQ(retimed({600, 1189}, 600, 1.0), (std::vector<std::int64_t>{600, -1}));
    // A timescale below 30 cannot hold a thirtieth: the output time stands still.
    EXPECT_EQ(retimed({10, 20, 30}, 10, 0), (std::vector<std::int64_t>{10, 10, 10}));
}

TEST(TimelapseRetimer, ResetMakesTheNextFrameTheFirst) {
    TimelapseRetimer retimer;
    ASSERT_TRUE(retimer.retime(MediaTime::make(600, 600), 1.0));
    EXPECT_FALSE(retimer.retime(MediaTime::make(700, 600), 1.0));
    retimer.reset();
    const auto first = retimer.retime(MediaTime::make(700, 600), 1.0);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->value, 700);
}

TEST(TrackTransform, AnglesAndRotations) {
    const struct {
        std::int64_t orientation;
        double angle;
    } angles[] = {{0, 0},
                  {1, 0},
                  {2, std::numbers::pi},
                  {3, -std::numbers::pi / 2},
                  {4, std::numbers::pi / 2},
                  {5, 0},
                  {-1, 0}};
    for (const auto& a : angles) {
        EXPECT_DOUBLE_EQ(angleOffsetFromPortraitOrientationToOrientation(a.orientation), a.angle)
            << a.orientation;
    }
    // A landscape-right connection recorded for portrait turns a quarter counter-clockwise:
    // (1, 0) goes to (0, 1) as a row vector.
    const auto t = transformFromCurrentVideoOrientationToOrientation(1, 3);
    EXPECT_NEAR(t.a, 0, 1e-12);
    EXPECT_NEAR(t.b, 1, 1e-12);
    EXPECT_NEAR(t.c, -1, 1e-12);
    EXPECT_NEAR(t.d, 0, 1e-12);
    EXPECT_EQ(transformFromCurrentVideoOrientationToOrientation(3, 3),
              platform::AffineTransform::identity());
}

TEST(OutputPoolSize, ByCameraType) {
    const struct {
        std::int32_t cameraType;
        double scale;
        int processors;
        OutputPoolSize size;
    } cases[] = {
        {0, 1.0, 2, {1920, 1080, 4}}, {1, 1.0, 2, {1280, 960, 3}},  {1, 2.0, 2, {1920, 1440, 3}},
        {1, 2.0, 1, {1280, 960, 3}},  {2, 1.0, 2, {1080, 1080, 4}}, {7, 1.0, 2, {1280, 720, 4}},
    };
    for (const auto& c : cases) {
        const OutputPoolSize size = outputPoolSize(c.cameraType, 1920, 1080, c.scale, c.processors);
        EXPECT_EQ(size.width, c.size.width) << c.cameraType;
        EXPECT_EQ(size.height, c.size.height) << c.cameraType;
        EXPECT_EQ(size.bufferCount, c.size.bufferCount) << c.cameraType;
    }
}

TEST(FrameRateCalculator, AveragesTowardTheFramesOfTheLastSecond) {
    FrameRateCalculator calculator;
    for (int frame = 0; frame < 300; ++frame) {
        calculator.calculateFramerateAtTimestamp(MediaTime::make(frame * 20, 600));
    }
    // 31 times lie within a second of each (both ends included) once the window is full.
    EXPECT_NEAR(calculator.videoFrameRate(), 31, 1e-9);
    calculator.calculateFramerateAtTimestamp(MediaTime::make(300 * 20 + 6000, 600));
    EXPECT_NEAR(calculator.videoFrameRate(), (31 + 1) / 2.0, 1e-9);
}

}  // namespace
}  // namespace orvane::capture
