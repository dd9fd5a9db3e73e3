#include "stamp/stamp_damage.h"

#include <gtest/gtest.h>

namespace orvane::stamp {
namespace {

// A stamp of a 600 x 60 pixel time line with two fraction digits after it.
struct Fixture {
    Fixture() {
        for (auto& glyph : measures.glyphs) {
            glyph = {40.0f, 100.0f};  // 20 x 50 pixels
        }
        measures.time = {1000.0f, 120.0f};
        layout.time = {kStampOrigin, kStampOrigin};
        layout.fraction.length = 2;
        layout.fraction.offset[0] = {kStampOrigin + 1000.0f, kStampOrigin + 10.0f};
        layout.fraction.offset[1] = {kStampOrigin + 1040.0f, kStampOrigin + 10.0f};
        layout.width = 1080.0f;
        layout.height = 120.0f;
    }
    StampMeasures measures;
    StampLayout layout;
};

TEST(StampDamage, DigitsAloneRenewOnlyTheirPlaces) {
    Fixture f;
    StampLayout next = f.layout;
    next.fraction.index = {3, 7, 0};
    const PixelRect damage = stampDamage(f.layout, next, f.measures, false);
    // Digits from pixel 500 to 540 wide, 5 to 55 down, with the shadow and a pixel of margin.
    EXPECT_EQ(damage, (PixelRect{499, 4, 44, 54}));
    EXPECT_LT(damage.width * damage.height, 540 * 60 / 10);
}

TEST(StampDamage, ChangedOrMovedLabelsRenewBothBlocks) {
    Fixture f;
    StampLayout wider = f.layout;
    wider.width = 1400.0f;
    wider.height = 200.0f;
    EXPECT_EQ(stampDamage(f.layout, wider, f.measures, true), (PixelRect{0, 0, 702, 102}));
    StampLayout moved = f.layout;
    moved.time.x += 10.0f;
    EXPECT_EQ(stampDamage(f.layout, moved, f.measures, false), (PixelRect{0, 0, 542, 62}));
}

TEST(StampDamage, TheCompassTailFollowsItsDigits) {
    Fixture f;
    f.measures.compassTail = {120.0f, 100.0f};
    f.layout.compass.length = 1;
    f.layout.compass.offset[0] = {kStampOrigin, kStampOrigin + 120.0f};
    f.layout.compassTail = {kStampOrigin + 40.0f, kStampOrigin + 120.0f};
    StampLayout next = f.layout;
    next.compass.length = 2;
    next.compass.offset[1] = {kStampOrigin + 40.0f, kStampOrigin + 120.0f};
    next.compassTail = {kStampOrigin + 80.0f, kStampOrigin + 120.0f};
    const PixelRect damage = stampDamage(f.layout, next, f.measures, false);
    // From the first digit to the moved tail's end: 40 + 60 pixels and the shadow.
    // From the first digit (its margin clipped by the square) to the moved tail's end: 40 + 60
    // pixels, the shadow and the margin; the unchanged fraction digits stay out of it.
    EXPECT_EQ(damage, (PixelRect{0, 59, 103, 54}));
}

TEST(StampDamage, NothingChangedRenewsNothing) {
    Fixture f;
    EXPECT_TRUE(stampDamage(f.layout, f.layout, f.measures, false).empty());
}

}  // namespace
}  // namespace orvane::stamp
