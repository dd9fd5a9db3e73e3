// The frame pass on a real GL context: both camera roads, mirroring, the first frame's text
// place, sizes changing between frames, refusals, and golden frames.
#include <gtest/gtest.h>

#include "tests/compositor/frame_pass_support.h"

namespace orvane::compositor {
namespace {

using namespace frame_test;

TEST_F(FramePassTest, CopiedAndShadedCameraRoadsAgree) {
    const auto source = sceneBuffer(640, 360);
    // Every orientation, a corner and a centred position: the copied road blends the block on
    // the CPU, the shaded one through GL, and they must give the same pixels.
    for (int orientation = 1; orientation <= 4; ++orientation) {
        for (std::int64_t position : {0, 4}) {
            SCOPED_TRACE(::testing::Message()
                         << "orientation " << orientation << " position " << position);
            ZephrinOpenGLView::rotateWatermark(orientation);
            auto& v = makeView(19, position);
            const auto copied = render(v, source);
            EXPECT_TRUE(v.lastFrameStats().copiedCamera);
            EXPECT_LT(v.lastFrameStats().readPixels, 640 * 360);

            v.setCopyShortcutEnabled(false);
            const auto shaded = render(v, source);
            EXPECT_FALSE(v.lastFrameStats().copiedCamera);
            EXPECT_EQ(differingPixels(*copied, *shaded, 1), 0u);
            // The stamp is there: the frame is not the source.
            EXPECT_GT(differingPixels(*copied, *source, 8), 100u);
        }
    }
}

TEST_F(FramePassTest, ARunningFractionKeepsTheCopiedRoadExact) {
    const auto source = sceneBuffer(640, 360);
    auto& v = makeView(52, 2);  // HH:mm:ss.SS, top right
    render(v, source);
    const engine::Size block = v.lineDrawer()->textSize();
    auto output = makeBuffer(640, 360);
    std::int64_t fewest = 640 * 360;
    for (int frame = 0; frame < 4; ++frame) {
        clock.advance(0.04);
        ASSERT_EQ(v.displayAndRenderPixelBuffer(source, output, true), 0);
        fewest = std::min(fewest, v.lastFrameStats().readPixels);
    }
    // Within a second only the renewed digits travel back from GL.
    EXPECT_LT(fewest, block.width * block.height / 3);
    v.setCopyShortcutEnabled(false);
    auto shaded = makeBuffer(640, 360);
    ASSERT_EQ(v.displayAndRenderPixelBuffer(source, shaded, true), 0);
    EXPECT_EQ(differingPixels(*output, *shaded, 1), 0u);
}

TEST_F(FramePassTest, TheStampLiesOnlyInItsBlock) {
    const auto source = solidBuffer(640, 360, 0xff204060);
    auto& v = makeView(19, 0);
    const auto output = render(v, source);
    const engine::Size text = v.lineDrawer()->textSize();
    ASSERT_GT(text.width, 10);
    const RectF rect = ZephrinOpenGLView::getTextRect();
    // Top left in landscape: the block starts at the margins and nothing lies beyond it.
    EXPECT_EQ(rect.x, ZephrinOpenGLView::getTextDistance());
    EXPECT_EQ(rect.y, ZephrinOpenGLView::getTextDistance());
    const int right = static_cast<int>(rect.x + text.width);
    const int bottom = static_cast<int>(rect.y + text.height);
    EXPECT_EQ(bgrAt(*output, right + 2, 10), (std::array<int, 3>{0x60, 0x40, 0x20}));
    EXPECT_EQ(bgrAt(*output, 10, bottom + 2), (std::array<int, 3>{0x60, 0x40, 0x20}));
    EXPECT_GT(differingPixels(*output, *source, 8), 50u);
}

TEST_F(FramePassTest, TheStampStandsWholeInThePictureWhateverItsSize) {
    const std::string lines =
        "Site 14, north gate, delivery bay\nInspection by the county "
        "surveyor\nConcrete pour, second floor slab\nWeather: overcast";
    struct Case {
        const char* name;
        int width, height, orientation;
        std::int64_t position, margins, cameraMode, level;
        bool customText;
    };
    for (const Case& c : {
             Case{"photo font, largest level", 1920, 1080, 3, 0, 1, 1, 4, true},
             Case{"4K, largest photo font", 3840, 2160, 3, 5, 1, 1, 4, true},
             Case{"portrait on a landscape buffer", 1280, 720, 1, 2, 1, 0, 2, false},
             Case{"upside down, centred", 1280, 720, 2, 4, 2, 1, 3, true},
             Case{"landscape left, printable", 640, 360, 4, 3, 2, 0, 4, true},
             Case{"small portrait frame", 320, 240, 1, 5, 3, 1, 4, true},
         }) {
        SCOPED_TRACE(c.name);
        store.viewController.saveCameraModeIndex(c.cameraMode);
        store.viewController.setDefaultFontSizeLevel(c.level);
        cache.setMarginsMode(c.margins);
        state.setCustomText(c.customText ? lines : "");
        ZephrinOpenGLView::rotateWatermark(c.orientation);
        const auto source = solidBuffer(c.width, c.height, 0xff204060);
        for (const bool copied : {true, false}) {
            auto& v = makeView(1, c.position);
            v.setCopyShortcutEnabled(copied);
            const auto output = render(v, source);
            EXPECT_EQ(v.lastFrameStats().copiedCamera, copied);
            const engine::Size text = v.lineDrawer()->textSize();
            const RectF origin = ZephrinOpenGLView::getTextRect();
            const auto block =
                textScissor(c.orientation, {origin.x, origin.y}, text.width, text.height);
            ASSERT_TRUE(block);
            EXPECT_GE(block->x, 0);
            EXPECT_GE(block->y, 0);
            EXPECT_LE(block->x + block->width, c.width);
            EXPECT_LE(block->y + block->height, c.height);
            EXPECT_GT(differingPixels(*output, *source, 8), 50u) << "the stamp is drawn";
        }
    }
}

TEST_F(FramePassTest, TheCompassHasItsPlaceFromTheFirstFrame) {
    cache.setShowLuoPan(true);
    auto& v = makeView(19, 0);
    v.setLuoPanSource([] { return stamp::LineDrawer::LuoPanReading{true, 0.5}; });
    const auto source = solidBuffer(640, 360, 0xff204060);
    const auto output = render(v, source);
    // Placed, the compass and the block are two small rectangles, not the whole frame.
    EXPECT_EQ(v.lastFrameStats().shadedRects, 2);
    EXPECT_LT(v.lastFrameStats().readPixels, 640 * 360 / 2);
    // Text top left: the compass takes the viewer's bottom left corner.
    EXPECT_NE(bgrAt(*output, 20, 340), (std::array<int, 3>{0x60, 0x40, 0x20}));
}

TEST_F(FramePassTest, MirroringTurnsTheCameraAndNeverTheStamp) {
    cache.setIsMirrorFrontCamera(true);
    // On a uniform picture a mirrored camera looks the same, so any change would be the stamp.
    const auto plain = solidBuffer(640, 360, 0xff808080);
    auto& v = makeView();
    const auto back = render(v, plain);
    ZephrinOpenGLView::setCameraPosition(false);
    const auto front = render(v, plain);
    EXPECT_FALSE(v.lastFrameStats().copiedCamera);
    EXPECT_EQ(differingPixels(*back, *front, 1), 0u);

    // On the scene the camera layer is turned: in landscape the front camera's picture is
    // upside down from the buffer's table and then mirrored across x.
    const auto scene = sceneBuffer(640, 360);
    const auto mirrored = render(v, scene);
    const int x = 600;
    const int y = 350;
    EXPECT_EQ(bgrAt(*mirrored, x, y), bgrAt(*scene, 639 - x, 359 - y));
}

TEST_F(FramePassTest, FirstFrameTextLiesByItsOwnSize) {
    auto& v = makeView(19, 3);
    const auto source = solidBuffer(400, 300, 0xff000000);
    auto output = makeBuffer(400, 300);
    v.setDimensions(400, 300, 0);
    ASSERT_NE(ZephrinOpenGLView::getFrameSize().height, 300);
    ASSERT_EQ(v.displayAndRenderPixelBuffer(source, output, true), 0);
    // The size and the block are known before the block is placed: bottom left at once.
    const float th = v.lineDrawer()->textSize().height;
    const int d = ZephrinOpenGLView::getTextDistance();
    EXPECT_FLOAT_EQ(ZephrinOpenGLView::getTextRect().x, static_cast<float>(d));
    EXPECT_FLOAT_EQ(ZephrinOpenGLView::getTextRect().y, static_cast<float>(300 - d) - th);
    EXPECT_EQ(ZephrinOpenGLView::getFrameSize(), (SizeI{400, 300}));
}

TEST_F(FramePassTest, ASizeChangeRederivesTheQuad) {
    auto& v = makeView();
    v.setDimensions(640, 360, 0);
    ZephrinOpenGLView::rotateWatermark(1);
    auto output = makeBuffer(320, 480);
    ASSERT_EQ(v.displayAndRenderPixelBuffer(sceneBuffer(320, 480), output, true), 0);
    EXPECT_EQ(ZephrinOpenGLView::getStampQuadVertices(),
              (std::array<float, 8>{-1, 1, -1, -1, 1, 1, 1, -1}));
    // Portrait: the provisional origin sits against the far edge of the height.
    EXPECT_EQ(ZephrinOpenGLView::getFrameSize(), (SizeI{320, 480}));
}

TEST_F(FramePassTest, RefusesMissingBuffers) {
    auto& v = makeView();
    v.setDimensions(64, 64, 0);
    const auto buffer = makeBuffer(64, 64);
    EXPECT_EQ(v.displayAndRenderPixelBuffer(nullptr, buffer, true), kFramePassParameterError);
    EXPECT_EQ(v.displayAndRenderPixelBuffer(buffer, nullptr, true), kFramePassParameterError);
}

TEST_F(FramePassTest, WithoutAContextEveryPassIsRefused) {
    screen::GLViewStartValues start;
    ZephrinOpenGLView broken(
        store, start,
        [](std::string& problem) -> std::unique_ptr<platform::GLContext> {
            problem = "eglInitialize failed: EGL_NOT_INITIALIZED (0x3001)";
            return nullptr;
        },
        nullptr);
    testing::LogCapture log;
    broken.setDimensions(64, 64, 0);
    EXPECT_FALSE(broken.isReady());
    const auto lines = log.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_NE(lines.back().find("Problem with OpenGL context."), std::string::npos);
    const auto buffer = makeBuffer(64, 64);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(broken.displayAndRenderPixelBuffer(buffer, buffer, false),
                  kFramePassParameterError);
    }
}

TEST_F(FramePassTest, NoParticleNoEmitterWork) {
    auto& v = makeView();
    const auto source = sceneBuffer(320, 180);
    render(v, source);
    EXPECT_TRUE(v.lastFrameStats().copiedCamera);
    v.saveParticleIndex(1);
    render(v, source);
    EXPECT_FALSE(v.lastFrameStats().copiedCamera);
}

}  // namespace
}  // namespace orvane::compositor
