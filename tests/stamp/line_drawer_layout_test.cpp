// The stamp's layout over made-up label sizes, its redraw test, and its font size.
#include <gtest/gtest.h>

#include "stamp/stamp_font.h"
#include "stamp/stamp_layout.h"

namespace orvane::stamp {
namespace {

TEST(StampFontTest, FontSizeFollowsModeLevelAndVideoHeight) {
    struct Case {
        std::int64_t mode, level, resolution;
        float size;
    };
    for (const Case& c :
         {Case{1, 0, 0, 70}, Case{1, 4, 6, 200}, Case{0, 2, 0, 70}, Case{2, 2, 1, 52.5f},
          Case{3, 0, 4, 60}, Case{0, 4, 9, 247.5f}, Case{0, 1, 7, 50}, Case{5, 2, 0, 80}}) {
        EXPECT_FLOAT_EQ(stampFontSize(c.mode, c.level, c.resolution), c.size)
            << c.mode << " " << c.level << " " << c.resolution;
    }
    EXPECT_EQ(textDistanceForMode(1, 52.5f), 26);
    EXPECT_EQ(textDistanceForMode(2, 70), 35);
    EXPECT_EQ(textDistanceForMode(3, 70), 17);
    EXPECT_EQ(textDistanceForMode(0, 70), 0);
}

// Sizes in offset units (two to the pixel). Digits are 40 wide and 52 high, the colon 20 by 52;
// text lines are 60 high.
StampMeasures measures(engine::Size time, engine::Size coordinates, engine::Size tail,
                       engine::Size staticBlock) {
    StampMeasures m;
    m.time = time;
    m.coordinates = coordinates;
    m.compassTail = tail;
    m.staticBlock = staticBlock;
    for (std::size_t i = 0; i < 10; ++i) {
        m.glyphs[i] = {40, 52};
    }
    m.glyphs[kGlyphColon] = {20, 52};
    return m;
}

StampLayout lay(const StampLayoutInput& in, const StampMeasures& m) {
    StampLayout out;
    layoutStamp(in, m, out);
    return out;
}

TEST(StampLayoutTest, FractionDigitsFollowTheTimeCentredOnItsLine) {
    StampLayoutInput in;
    in.fraction = "95";
    in.timeBelow = 0;
    const auto out = lay(in, measures({400, 60}, {}, {}, {}));
    ASSERT_EQ(out.fraction.length, 2);
    EXPECT_EQ(out.fraction.index[0], 9);
    EXPECT_EQ(out.fraction.index[1], 5);
    // 52 high on a 60 line: 4 units (2 pixels) down from the line's top.
    EXPECT_EQ(out.fraction.offset[0], (engine::Point{400 - 1280, -1276}));
    EXPECT_EQ(out.fraction.offset[1], (engine::Point{440 - 1280, -1276}));
    EXPECT_EQ(out.textSize(), (engine::Size{240, 30}));

    // A glyph taller than the line stands out above and below alike; an odd pixel goes above.
    auto tall = measures({400, 60}, {}, {}, {});
    tall.glyphs[9] = {40, 82};
    EXPECT_EQ(lay(in, tall).fraction.offset[0].y, -1280 - 12);
}

TEST(StampLayoutTest, AlignmentMovesEachBlockWithinTheWidest) {
    StampLayoutInput in;
    in.fraction = "12";
    in.timeBelow = 0;
    in.compassShown = true;
    in.compassDegree = 7;
    const auto m = measures({400, 60}, {302, 120}, {100, 60}, {1000, 180});

    in.hAlignment = 2;
    auto out = lay(in, m);
    EXPECT_EQ(out.width, 1000);
    // The time and its digits move as one block and end at the right edge together.
    EXPECT_EQ(out.time.x, -1280 + 520);
    EXPECT_EQ(out.fraction.offset[0].x, out.time.x + 400);
    EXPECT_EQ(out.fraction.offset[1].x + 40, 1000 - 1280);
    EXPECT_EQ(out.coordinates.x, -1280 + 698);
    EXPECT_EQ(out.compass.offset[0].x, -1280 + 860);
    EXPECT_EQ(out.compassTail.x, -1280 + 900);
    EXPECT_EQ(out.staticBlock.x, -1280);

    in.hAlignment = 1;
    out = lay(in, m);
    EXPECT_EQ(out.time.x, -1280 + 260);
    EXPECT_EQ(out.fraction.offset[0].x, out.time.x + 400);
    EXPECT_EQ(out.coordinates.x, -1280 + 348);  // half of 349 pixels, down to 174
    EXPECT_EQ(out.compassTail.x, out.compass.offset[0].x + 40);

    in.hAlignment = 0;
    out = lay(in, m);
    EXPECT_EQ(out.time.x, -1280);
    EXPECT_EQ(out.coordinates.x, -1280);
    EXPECT_EQ(out.compass.offset[0].x, -1280);
    EXPECT_EQ(out.compassTail.x, -1280 + 40);
}

TEST(StampLayoutTest, TimeModeOrdersTheBlocks) {
    StampLayoutInput in;
    in.fraction = "5";
    in.compassShown = true;
    in.compassDegree = 123;
    in.stopWatchShown = true;
    in.stopWatch = "00:00:01:500";
    // Tail 60 high, glyphs 52: the compass digits sit 4 units into the tail's line.
    const auto m = measures({400, 60}, {300, 120}, {100, 60}, {500, 180});

    in.timeBelow = 0;
    auto out = lay(in, m);
    EXPECT_EQ(out.time.y, -1280);
    EXPECT_EQ(out.fraction.offset[0].y, -1276);
    EXPECT_EQ(out.coordinates.y, -1280 + 60);
    EXPECT_EQ(out.compassTail.y, -1280 + 180);
    EXPECT_EQ(out.compass.offset[2].y, -1280 + 184);
    EXPECT_EQ(out.stopWatch.offset[11].y, -1280 + 240);
    EXPECT_EQ(out.staticBlock.y, -1280 + 292);
    EXPECT_EQ(out.height, 472);

    in.timeBelow = 1;
    out = lay(in, m);
    EXPECT_EQ(out.staticBlock.y, -1280);
    EXPECT_EQ(out.coordinates.y, -1280 + 180);
    EXPECT_EQ(out.compassTail.y, -1280 + 300);
    EXPECT_EQ(out.compass.offset[0].y, -1280 + 304);
    EXPECT_EQ(out.stopWatch.offset[0].y, -1280 + 360);
    EXPECT_EQ(out.time.y, -1280 + 412);
    EXPECT_EQ(out.fraction.offset[0].y, -1280 + 416);  // moved down with the time
    EXPECT_EQ(out.height, 472);

    // Without compass and stopwatch the time follows the coordinates directly.
    in.compassShown = false;
    in.stopWatchShown = false;
    out = lay(in, m);
    EXPECT_EQ(out.compass.length, 0);
    EXPECT_EQ(out.stopWatch.length, 0);
    EXPECT_EQ(out.time.y, -1280 + 300);
    EXPECT_EQ(out.height, 360);
}

TEST(StampLayoutTest, GlyphRunsTakeDigitsAndStandInTheColon) {
    StampLayoutInput in;
    in.stopWatchShown = true;
    in.stopWatch = "100:00:00:000";  // past 99 hours: the thirteenth character is dropped
    in.compassShown = true;
    in.compassDegree = 0;
    const auto out = lay(in, measures({}, {}, {100, 60}, {}));
    ASSERT_EQ(out.stopWatch.length, 12);
    EXPECT_EQ(out.stopWatch.index[3], kGlyphColon);
    EXPECT_EQ(out.stopWatch.index[11], 0);
    // Nine digits of 40 and three colons of 20, after the compass line.
    EXPECT_EQ(out.stopWatch.offset[11].x, -1280 + 9 * 40 + 3 * 20 - 40);
    EXPECT_EQ(out.width, 420);
    ASSERT_EQ(out.compass.length, 1);  // degree 0 is one glyph
    EXPECT_EQ(out.compass.index[0], 0);
    EXPECT_EQ(out.height, 60 + 52);
}

TEST(StampLayoutTest, NothingToShowTakesNoRoom) {
    StampLayoutInput in;
    in.hAlignment = 2;
    const auto out = lay(in, measures({}, {}, {}, {}));
    EXPECT_EQ(out.textSize(), (engine::Size{0, 0}));
    EXPECT_EQ(out.fraction.length + out.compass.length + out.stopWatch.length, 0);
}

TEST(StampRedrawTestTest, DrawsOnlyWhatChanged) {
    StampRedrawTest test;
    StampLook look;
    look.fraction = "12";
    look.compassDegree = 90;
    look.backgroundAlpha = 0.5f;
    look.backgroundColor = foundation::Color::blackColor();
    EXPECT_TRUE(test.needsDraw(false, look));  // the first tick
    EXPECT_FALSE(test.needsDraw(false, look));
    EXPECT_TRUE(test.needsDraw(true, look));

    struct Change {
        const char* what;
        void (*apply)(StampLook&);
    };
    for (const Change& change : {
             Change{"fraction", [](StampLook& l) { l.fraction = "13"; }},
             Change{"compass", [](StampLook& l) { l.compassDegree = 91; }},
             Change{"compass hidden", [](StampLook& l) { l.compassDegree = -1; }},
             Change{"alignment", [](StampLook& l) { l.hAlignment = 2; }},
             Change{"time mode", [](StampLook& l) { l.timeBelow = 0; }},
             Change{"plate alpha", [](StampLook& l) { l.backgroundAlpha = 0.6f; }},
             Change{"text alpha", [](StampLook& l) { l.textAlpha = 0.9f; }},
             Change{"plate colour", [](StampLook& l) { l.backgroundColor.red = 1.0; }},
         }) {
        StampLook changed = look;
        change.apply(changed);
        EXPECT_TRUE(test.needsDraw(false, changed)) << change.what;
        EXPECT_FALSE(test.needsDraw(false, changed)) << change.what << " remembered";
        EXPECT_TRUE(test.needsDraw(false, look)) << change.what << " back";
    }

    look.stopWatchShown = true;  // its digits are not compared: every tick draws
    EXPECT_TRUE(test.needsDraw(false, look));
    EXPECT_TRUE(test.needsDraw(false, look));
}

}  // namespace
}  // namespace orvane::stamp
