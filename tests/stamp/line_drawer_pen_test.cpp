// The pen's point lists: how touches record a stroke and how runs of points are smoothed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "stamp/pen_stroke.h"

namespace orvane::stamp {
namespace {

TEST(PenStrokeTest, TouchesRecordPointsAtTheFixedWidth) {
    PenStroke pen;
    pen.addPoint({1, 1}, 3.0f);
    pen.touchbegin({10, 20});
    // The old stroke goes; the start and the two copies stand at the touch, all 10 wide.
    ASSERT_EQ(pen.points().size(), 3u);
    for (const LinePoint& point : pen.points()) {
        EXPECT_EQ(point, (LinePoint{{10, 20}, 10.0f}));
    }
    pen.touchmove({11, 20.5f});  // within 1.5 of the last point
    EXPECT_EQ(pen.points().size(), 3u);
    pen.touchmove({11.5f, 20});  // 1.5 away
    EXPECT_EQ(pen.points().size(), 4u);
    pen.touchup({30, 30});
    EXPECT_EQ(pen.points().size(), 4u);
    EXPECT_FALSE(pen.isFinishingLine());
    pen.endLineAt({40, 40}, 1.0f);
    EXPECT_TRUE(pen.isFinishingLine());
    EXPECT_EQ(pen.points().back(), (LinePoint{{40, 40}, 10.0f}));
    EXPECT_FLOAT_EQ(pen.overdraw(), 3.0f);
    pen.clear();
    EXPECT_TRUE(pen.points().empty());
}

TEST(PenStrokeTest, FewerThanThreePointsSmoothToNothing) {
    PenStroke pen;
    EXPECT_TRUE(pen.calculateSmoothLinePoints().empty());
    pen.addPoint({0, 0}, 1);
    pen.addPoint({10, 0}, 1);
    EXPECT_TRUE(pen.calculateSmoothLinePoints().empty());
    EXPECT_EQ(pen.points().size(), 2u);
}

TEST(PenStrokeTest, EachRunOfThreeBecomesACurveBetweenSegmentMidpoints) {
    PenStroke pen;
    pen.startNewLineFrom({0, 0}, 1);
    pen.addPoint({100, 0}, 1);
    pen.addPoint({100, 100}, 1);
    pen.addPoint({200, 100}, 1);
    const auto curve = pen.calculateSmoothLinePoints();
    ASSERT_GE(curve.size(), 2u);
    // The first run goes from (50, 0) to (100, 50), bent towards the corner (100, 0).
    EXPECT_EQ(curve.front().pos, (engine::Point{50, 0}));
    const auto end = std::find_if(curve.begin(), curve.end(), [](const LinePoint& p) {
        return p.pos == engine::Point{100, 50};
    });
    ASSERT_NE(end, curve.end());
    // The second run starts where the first ended and ends at (150, 100).
    EXPECT_EQ(std::next(end)->pos, (engine::Point{100, 50}));
    EXPECT_EQ(curve.back().pos, (engine::Point{150, 100}));
    // Every point lies on the quadratic from (50, 0) over (100, 0) to (100, 50): y = 50 t^2 and
    // x = 50 (1 - t)^2 + 200 (1 - t) t + 100 t^2, with t growing along the list.
    float lastT = -1.0f;
    for (auto p = curve.begin(); p <= end; ++p) {
        const float t = std::sqrt(p->pos.y / 50.0f);
        EXPECT_GT(t, lastT);
        lastT = t;
        EXPECT_NEAR(p->pos.x, 50 * (1 - t) * (1 - t) + 200 * (1 - t) * t + 100 * t * t, 1e-3f);
        EXPECT_FLOAT_EQ(p->width, 10.0f);
    }
    EXPECT_GE(end - curve.begin(), 8);  // enough points for a visible curve
    // The consumed points leave; the last two stay for the next run.
    ASSERT_EQ(pen.points().size(), 2u);
    EXPECT_EQ(pen.points()[0].pos, (engine::Point{100, 100}));
    EXPECT_EQ(pen.points()[1].pos, (engine::Point{200, 100}));
}

}  // namespace
}  // namespace orvane::stamp
