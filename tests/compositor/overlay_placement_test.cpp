// The geometry of the stamp and the overlays in the output buffer.
#include "compositor/overlay_placement.h"

#include <gtest/gtest.h>

namespace orvane::compositor {
namespace {

TEST(OverlayPlacementTest, PrintableModeAddsTheBandOfA3To2Crop) {
    struct Case {
        int width, height;
        Margins margins;
    };
    for (const Case& c : {
             Case{1920, 1080, {10 + (1920 - 1620) / 2, 10}},  // 16:9, 2W >= 3H: sides
             Case{1440, 1080, {10, 10 + (1080 - 960) / 2}},   // 4:3, 2W < 3H: top and bottom
             Case{1080, 1080, {10, 10 + (1080 - 720) / 2}},   // square: the vertical band
             Case{1080, 1920, {10, 10 + (1920 - 1620) / 2}},  // tall portrait
             Case{1080, 1440, {10 + (1080 - 960) / 2, 10}},   // 3:4 portrait
             Case{1000, 1001, {10 + (1000 - 667) / 2, 10}},   // thirds round down
         }) {
        EXPECT_EQ(marginsFor(10, 2, c.width, c.height), c.margins) << c.width << "x" << c.height;
    }
    EXPECT_EQ(marginsFor(10, 1, 1920, 1080), (Margins{10, 10}));
}

TEST(OverlayPlacementTest, TextOriginByOrientationAndPosition) {
    const Margins m{20, 30};
    constexpr double W = 1920, H = 1080, tw = 600, th = 200;
    struct Case {
        int orientation;
        int position;
        PointF origin;
    };
    for (const Case& c : {
             Case{3, 0, {20, 30}},
             Case{3, 1, {(W - tw) / 2, 30}},
             Case{3, 2, {W - 20 - tw, 30}},
             Case{3, 5, {W - 20 - tw, H - 30 - th}},
             Case{1, 0, {20, H - 1280 - 30}},
             Case{1, 4, {W - 20 - th, H / 2 + tw / 2 - 1280}},  // centred on y, no margin there
             Case{1, 2, {20, tw + 30 - 1280}},
             Case{2, 1, {W - 1280 - 20, (H - tw) / 2}},
             Case{2, 5, {th + 20 - 1280, H - 30 - tw}},
             Case{4, 0, {W - 1280 - 20, H - 1280 - 30}},
             Case{4, 4, {W / 2 + tw / 2 - 1280, th + 30 - 1280}},
         }) {
        EXPECT_EQ(textRectOrigin(c.orientation, c.position, m, false, W, H, tw, th), c.origin)
            << c.orientation << "/" << c.position;
    }
    EXPECT_FALSE(textRectOrigin(5, 0, m, false, W, H, tw, th));
    EXPECT_FALSE(textRectOrigin(3, 6, m, false, W, H, tw, th));
}

TEST(OverlayPlacementTest, OnlyFrontDeviceSwapsRowsAndDropsMargins) {
    const Margins m{20, 30};
    EXPECT_EQ(textRectOrigin(3, 0, m, true, 1920, 1080, 600, 200),
              textRectOrigin(4, 0, Margins{}, false, 1920, 1080, 600, 200));
    EXPECT_EQ(textRectOrigin(1, 3, m, true, 1920, 1080, 600, 200),
              textRectOrigin(2, 3, Margins{}, false, 1920, 1080, 600, 200));
    EXPECT_EQ(stampQuad(1, true), stampQuad(2, false));
    EXPECT_EQ(stampQuad(4, true), stampQuad(3, false));
    EXPECT_EQ(provisionalTextOrigin(3, true, 1920, 1080), (PointF{640, -200}));
    EXPECT_EQ(provisionalTextOrigin(1, false, 1920, 1080), (PointF{0, -200}));
    EXPECT_FALSE(stampQuad(0, false));
}

TEST(OverlayPlacementTest, ScissorFollowsTheOrientationItself) {
    const PointF o{100, 50};
    EXPECT_EQ(textScissor(1, o, 600, 200), (RectF{100, 50 + 1280 - 600, 200, 600}));
    EXPECT_EQ(textScissor(2, o, 600, 200), (RectF{100 + 1280 - 200, 50, 200, 600}));
    EXPECT_EQ(textScissor(3, o, 600, 200), (RectF{100, 50, 600, 200}));
    EXPECT_EQ(textScissor(4, o, 600, 200), (RectF{100 + 1280 - 600, 50 + 1280 - 200, 600, 200}));
    EXPECT_FALSE(textScissor(0, o, 600, 200));
}

TEST(OverlayPlacementTest, OverlaySizeFitsTheImageAndTransposesInPortrait) {
    // Map share 0.3 of 1920x1080, a 400x300 image: box 576x324, height bound.
    EXPECT_EQ(overlaySize(0.3, 1920, 1080, 400, 300, 3), (SizeI{432, 324}));
    // Portrait: box (324, 576) and image (300, 400): width bound.
    EXPECT_EQ(overlaySize(0.3, 1920, 1080, 400, 300, 1), (SizeI{324, 432}));
    // A wide image in landscape: width bound.
    EXPECT_EQ(overlaySize(0.16, 1920, 1080, 1000, 100, 3), (SizeI{307, 30}));
    EXPECT_EQ(overlaySize(0.3, 1920, 1080, 0, 300, 3), (SizeI{0, 0}));
}

TEST(OverlayPlacementTest, OverlayCornersAndTheLogosCentre) {
    const SizeI size{300, 200};
    constexpr int W = 1920, H = 1080, e = 10;
    struct Case {
        int orientation;
        int code;
        PointI origin;
    };
    for (const Case& c : {
             Case{3, 0, {e, e}},
             Case{3, 2, {W - 300 - e, e}},
             Case{3, 3, {e, H - 200 - e}},
             Case{3, 4, {W - 300 - e, H - 200 - e}},
             Case{1, 0, {e, H - 200 - e}},
             Case{1, 1, {e, e}},
             Case{2, 3, {e, e}},
             Case{2, 5, {e, H - 200 - e}},
             Case{4, 0, {W - 300 - e, H - 200 - e}},
             Case{4, 4, {e, e}},
             Case{2, 6, {(W - 300) / 2, (H - 200) / 2}},
         }) {
        EXPECT_EQ(overlayOrigin(c.orientation, c.code, W, H, size, e), c.origin)
            << c.orientation << "/" << c.code;
    }
    EXPECT_FALSE(overlayOrigin(3, 7, W, H, size, e));
    EXPECT_FALSE(overlayOrigin(0, 0, W, H, size, e));
    EXPECT_EQ(logoMargin(0, 1920), 0);
    EXPECT_EQ(logoMargin(10, 1920), 15);  // 19200 x 0.0008 = 15.36
}

TEST(OverlayPlacementTest, AutomaticPositionsKeepClearOfTheText) {
    EXPECT_EQ(automaticOverlayPositions(1), (OverlayPositions{0, 3, 5}));  // top centre: map left
    EXPECT_EQ(automaticOverlayPositions(0), (OverlayPositions{2, 3, 5}));
    EXPECT_EQ(automaticOverlayPositions(4), (OverlayPositions{3, 0, 2}));
    EXPECT_EQ(automaticOverlayPositions(5), (OverlayPositions{3, 0, 2}));
    EXPECT_FALSE(automaticOverlayPositions(6));
    EXPECT_EQ(alignmentForPosition(3), 0);
    EXPECT_EQ(alignmentForPosition(4), 1);
    EXPECT_EQ(alignmentForPosition(2), 2);
}

}  // namespace
}  // namespace orvane::compositor
