#include "compositor/dance_swing.h"

#include <gtest/gtest.h>

namespace orvane::compositor {
namespace {

TEST(DanceSwingTest, WalksToOneAndBackEveryFortyFramesTurningExactlyAtTheEnds) {
    DanceState state;
    for (int frame = 1; frame <= 120; ++frame) {
        stepDance(state);
        const int phase = frame % 40;
        const int steps = phase <= 20 ? phase : 40 - phase;
        ASSERT_NEAR(state.t, steps * 0.05f, 1e-5f) << "frame " << frame;
        if (phase == 20 || phase == 0) {
            // Clamped onto the end, so the rounding of forty steps never builds up.
            EXPECT_EQ(state.t, phase == 20 ? 1.0f : 0.0f) << "frame " << frame;
            EXPECT_EQ(state.direction, phase == 20) << "frame " << frame;
        }
    }
}

}  // namespace
}  // namespace orvane::compositor
