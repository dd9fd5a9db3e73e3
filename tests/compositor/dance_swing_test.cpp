#include "compositor/dance_swing.h"

#include <gtest/gtest.h>

namespace orvane::compositor {
namespace {

TEST(DanceSwingTest, WalksToOneAndBackEveryFortyFrames) {
    DanceState state;
    for (int frame = 1; frame <= 120; ++frame) {
        stepDance(state);
        const int phase = frame % 40;
        const int steps = phase <= 20 ? phase : 40 - phase;
        ASSERT_NEAR(state.t, steps * 0.05f, 1e-5f) << "frame " << frame;
        ASSERT_GE(state.t, 0.0f);
        ASSERT_LE(state.t, 1.0f);
        if (phase == 20) {
            EXPECT_EQ(state.t, 1.0f) << "frame " << frame;
            EXPECT_TRUE(state.direction);
        }
        if (phase == 0) {
            EXPECT_EQ(state.t, 0.0f) << "frame " << frame;
            EXPECT_FALSE(state.direction);
        }
    }
}

TEST(DanceSwingTest, ClampsAtEitherEnd) {
    struct Case {
        DanceState before;
        DanceState after;
    };
    for (const Case& c : {Case{{false, 0.98f}, {true, 1.0f}}, Case{{false, 1.0f}, {true, 1.0f}},
                          Case{{true, 0.03f}, {false, 0.0f}}, Case{{true, 0.0f}, {false, 0.0f}},
                          Case{{false, 0.5f}, {false, 0.55f}}, Case{{true, 0.5f}, {true, 0.45f}}}) {
        SCOPED_TRACE(::testing::Message() << c.before.direction << " " << c.before.t);
        DanceState state = c.before;
        stepDance(state);
        EXPECT_EQ(state.direction, c.after.direction);
        EXPECT_NEAR(state.t, c.after.t, 1e-6f);
    }
}

TEST(DanceSwingTest, ControlPointsArePoseAAtOneAndPoseBAtZeroWithCornersFixed) {
    const DanceControlPoints a = danceControlPoints(1);
    const DanceControlPoints b = danceControlPoints(0);
    const DanceControlPoints half = danceControlPoints(0.5f);
    for (std::size_t i = 0; i < 16; ++i) {
        SCOPED_TRACE(i);
        EXPECT_FLOAT_EQ(a[i * 3], danceBezierPoseA[i].x);
        EXPECT_FLOAT_EQ(a[i * 3 + 1], danceBezierPoseA[i].y);
        EXPECT_FLOAT_EQ(b[i * 3], danceBezierPoseB[i].x);
        EXPECT_FLOAT_EQ(b[i * 3 + 1], danceBezierPoseB[i].y);
        EXPECT_EQ(half[i * 3 + 2], 0.0f);
    }
    // The patch's corners are the frame's corners in every pose.
    for (const std::size_t corner : {0u, 3u, 12u, 15u}) {
        const float x = corner % 4 == 0 ? -0.5f : 0.5f;
        const float y = corner < 4 ? -0.5f : 0.5f;
        EXPECT_FLOAT_EQ(half[corner * 3], x);
        EXPECT_FLOAT_EQ(half[corner * 3 + 1], y);
    }
}

}  // namespace
}  // namespace orvane::compositor
