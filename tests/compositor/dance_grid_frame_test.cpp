// Bending mode and the preview grid in the frame pass, on a real GL context: the bent picture
// keeps its corners and swings inside, for the camera and an imported photo; the grid draws its
// cells where their arithmetic puts them. A bent frame is also kept as a golden picture.
#include <cairo.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "engine/cairo_handles.h"
#include "tests/compositor/frame_pass_support.h"
#include "tests/compositor/golden_support.h"

namespace orvane::compositor {
namespace {

using namespace frame_test;

constexpr int kWidth = 640;
constexpr int kHeight = 360;

void expectCornersAgree(const platform::PixelBuffer& a, const platform::PixelBuffer& b) {
    for (const auto& [x, y] : {std::pair{0, 0}, std::pair{kWidth - 1, 0}, std::pair{0, kHeight - 1},
                               std::pair{kWidth - 1, kHeight - 1}}) {
        const auto pa = bgrAt(a, x, y);
        const auto pb = bgrAt(b, x, y);
        for (int c = 0; c < 3; ++c) {
            EXPECT_NEAR(pa[c], pb[c], 6) << "corner (" << x << ", " << y << ")";
        }
    }
}

::testing::AssertionResult isGrey(const std::array<int, 3>& bgr, int level) {
    if (std::abs(bgr[0] - level) <= 2 && std::abs(bgr[1] - level) <= 2 &&
        std::abs(bgr[2] - level) <= 2) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << bgr[0] << "," << bgr[1] << "," << bgr[2] << " is not grey " << level;
}

using DanceFrameTest = FramePassTest;

TEST_F(DanceFrameTest, TheCameraKeepsItsCornersWhileItsInsideSwings) {
    const auto source = sceneBuffer(kWidth, kHeight);
    // The front camera's picture is upside down in the buffer: the mesh turns it over as the
    // flat layer does, so the corners agree for both cameras.
    for (const bool back : {true, false}) {
        SCOPED_TRACE(back ? "back camera" : "front camera");
        ZephrinOpenGLView::setCameraPosition(back);
        auto& v = makeBareView();
        v.setCopyShortcutEnabled(false);
        const auto flat = render(v, source);
        v.setDanceMode(true);
        const auto bent = render(v, source);
        expectCornersAgree(*bent, *flat);
        EXPECT_GT(differingPixels(*bent, *flat, 24), std::size_t{kWidth * kHeight / 20});
    }
}

TEST_F(DanceFrameTest, TheSwingChangesTheFrameAndComesBackAfterFortyFrames) {
    const auto source = sceneBuffer(kWidth, kHeight);
    auto& v = makeBareView();
    v.setDanceMode(true);
    const auto first = render(v, source);
    // Bending mode alone takes the frame off the copy road.
    EXPECT_FALSE(v.lastFrameStats().copiedCamera);
    platform::PixelBufferRef twentyFirst;
    platform::PixelBufferRef last;
    for (int frame = 2; frame <= 41; ++frame) {
        last = render(v, source);
        twentyFirst = frame == 21 ? last : twentyFirst;
    }
    EXPECT_GT(differingPixels(*twentyFirst, *first, 24), std::size_t{kWidth * kHeight / 10});
    EXPECT_EQ(differingPixels(*last, *first, 0), 0u);
}

TEST_F(DanceFrameTest, AnImportedPhotoSwingsInItsOwnRectangle) {
    // A board of 40 pixel squares, red and blue, greener below: no corner looks like another.
    Image photo{kWidth, kHeight, std::vector<std::uint8_t>(std::size_t{kWidth} * kHeight * 4)};
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            std::uint8_t* p = &photo.rgba[(static_cast<std::size_t>(y) * kWidth + x) * 4];
            const bool red = (x / 40 + y / 40) % 2 == 0;
            p[0] = red ? 220 : 30;
            p[1] = y < kHeight / 2 ? 40 : 160;
            p[2] = red ? 30 : 220;
            p[3] = 255;
        }
    }
    auto& v = makeBareView();
    v.setDimensions(kWidth, kHeight, 0);
    v.setMainPhoto(photo);
    const auto flat = render(v, sceneBuffer(kWidth, kHeight));
    v.setDanceMode(true);
    const auto bent = render(v, sceneBuffer(kWidth, kHeight));
    expectCornersAgree(*bent, *flat);
    EXPECT_GT(differingPixels(*bent, *flat, 24), std::size_t{kWidth * kHeight / 10});
}

TEST_F(DanceFrameTest, MatchesTheExpectedPicture) {
    const auto source = sceneBuffer(kWidth, kHeight);
    auto& v = makeBareView();
    v.setDanceMode(true);
    platform::PixelBufferRef frame;
    // Eight frames in, t is 0.4: between the two poses.
    for (int i = 0; i < 8; ++i) {
        frame = render(v, source);
    }
    // Rasterisers may differ by a step along the mesh's folds; a wrong pose moves thousands.
    const auto compared = testing::compareWithGolden(*frame, "dance_swing", 24);
    ASSERT_TRUE(compared);
    EXPECT_LE(compared->differing, kWidth * kHeight / 500);
}

using PreviewGridFrameTest = FramePassTest;

TEST_F(PreviewGridFrameTest, CellsShowTheCameraWhereTheGridPutsThem) {
    const auto source = sceneBuffer(1280, 720);
    auto& v = makeBareView();
    v.setEffectScale(100);
    const auto grid = render(v, source);
    EXPECT_FALSE(v.lastFrameStats().copiedCamera);
    // Filter 0's cell, at (1, 1) 212 pixels a side, is the whole frame made small: the white
    // bar at its left, the black one at its right.
    EXPECT_TRUE(isGrey(bgrAt(*grid, 1 + 10, 1 + 50), 235));
    EXPECT_TRUE(isGrey(bgrAt(*grid, 1 + 204, 1 + 50), 16));
    // The gaps, the cells of filters not loaded and the frame beyond the square are black.
    for (const auto& [x, y] : {std::pair{0, 100}, std::pair{213, 100}, std::pair{100, 213},
                               std::pair{320, 320}, std::pair{900, 100}}) {
        EXPECT_TRUE(isGrey(bgrAt(*grid, x, y), 0)) << "at (" << x << ", " << y << ")";
    }
    // The list of backgrounds shows the filter in use in every cell: here the middle one.
    v.setPreviewEffect(1);
    EXPECT_TRUE(isGrey(bgrAt(*render(v, source), 214 + 10, 214 + 50), 235));
    // Zoomed nearly in, filter 0's cell all but fills the square: 635 pixels a side.
    v.setPreviewEffect(0);
    v.setEffectScale(1);
    EXPECT_TRUE(isGrey(bgrAt(*render(v, source), 620, 100), 16));
    // At 0 the frame is the camera again.
    v.setEffectScale(0);
    EXPECT_EQ(differingPixels(*render(v, source), *source, 0), 0u);
}

}  // namespace
}  // namespace orvane::compositor
