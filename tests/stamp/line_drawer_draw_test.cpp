// The stamp layer on a real GL context: when a tick draws and rasterises, what the texture holds
// after a draw, and the inactive application.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "engine/CCTexture2D.h"
#include "engine/text_raster.h"
#include "foundation/application_state.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_loading.h"
#include "stamp/LineDrawer.h"
#include "stamp/stamp_font.h"
#include "tests/engine/gl_test_support.h"

namespace orvane::stamp {
namespace {

using orvane::testing::pixelAt;
using orvane::testing::pixelNear;
using orvane::testing::Rgba;

// 2024-02-10 04:00:00.000 UTC.
constexpr double kInstant = 1707537600.0;
constexpr int kSide = 1280;

// Rows of the time catalogue.
constexpr int kNoTime = 0;
constexpr int kSecondRow = 19;      // yyyy-MM-dd HH:mm:ss
constexpr int kMinuteRow = 20;      // yyyy-MM-dd HH:mm
constexpr int kHundredthsRow = 52;  // HH:mm:ss.SS

class LineDrawerDrawTest : public orvane::testing::GLTest {
  protected:
    void SetUp() override {
        GLTest::SetUp();
        foundation::setAppActive(true);
        engine::CCTexture2D::sethAlignment(0);
        cache.setTextAlpha(1.0f);
        cache.setBackgroundAlpha(0.5f);
        cache.setBackgroundColor({0.0, 0.0, 1.0, 1.0});
        state.setTimeBelow(0);
    }

    void TearDown() override {
        drawer.reset();
        foundation::setAppActive(true);
        GLTest::TearDown();
    }

    LineDrawer& makeDrawer(int timeRow) {
        screen::StampLayerStartValues start;
        start.timeFormatIndex = timeRow;
        drawer =
            std::make_unique<LineDrawer>(store, cache, start, state, DateSettings{"en_US", "UTC"});
        drawer->setGLContext(&context());
        return *drawer;
    }

    // Runs a tick and tells whether it drew and whether any label was rasterised.
    struct TickResult {
        bool drew;
        bool rasterised;
    };
    TickResult tick() {
        const auto draws = drawer->drawCount();
        const auto rasterizations = drawer->rasterizations();
        drawer->updateTime();
        return {drawer->drawCount() != draws, drawer->rasterizations() != rasterizations};
    }

    std::vector<std::uint8_t> pixels() {
        std::vector<std::uint8_t> rgba(static_cast<std::size_t>(kSide) * kSide * 4);
        GLuint framebuffer = 0;
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                               drawer->textureName(), 0);
        glReadPixels(0, 0, kSide, kSide, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDeleteFramebuffers(1, &framebuffer);
        return rgba;
    }

    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store{defaults, cache};
    foundation::ManualClock clock{kInstant};
    StampState state{clock};
    std::unique_ptr<LineDrawer> drawer;
};

TEST_F(LineDrawerDrawTest, CreationBuildsTheTextureAndTellsFontAndDistance) {
    auto& layer = makeDrawer(kSecondRow);
    EXPECT_NE(layer.textureName(), 0u);
    // Defaults: video mode at level 2 and "One line" margins.
    EXPECT_FLOAT_EQ(layer.fontSize(), stampFontSize(store.lineDrawer.getCameraModeIndex(),
                                                    store.lineDrawer.getDefaultFontSizeLevel(),
                                                    cache.getCurrentVideoResolution()));
    EXPECT_EQ(layer.textDistance(),
              textDistanceForMode(store.lineDrawer.readTextDistanceMode(), layer.fontSize()));
    // A fresh stamp is transparent until its first draw.
    const auto rgba = pixels();
    EXPECT_TRUE(std::all_of(rgba.begin(), rgba.end(), [](std::uint8_t c) { return c == 0; }));
}

TEST_F(LineDrawerDrawTest, SecondAndMinuteRowsDrawOnlyWhenTheirTextChanges) {
    makeDrawer(kSecondRow);
    EXPECT_TRUE(tick().drew);
    EXPECT_EQ(tick().drew, false);
    EXPECT_EQ(tick().rasterised, false);
    clock.advance(0.5);
    auto result = tick();
    EXPECT_FALSE(result.drew);
    EXPECT_FALSE(result.rasterised);
    clock.advance(0.5);
    result = tick();
    EXPECT_TRUE(result.drew);
    EXPECT_TRUE(result.rasterised);

    makeDrawer(kMinuteRow);  // at 04:00:01
    EXPECT_TRUE(tick().drew);
    for (int second = 2; second < 60; ++second) {
        clock.advance(1.0);
        result = tick();
        ASSERT_FALSE(result.drew) << second;
        ASSERT_FALSE(result.rasterised) << second;
    }
    clock.advance(1.0);
    EXPECT_TRUE(tick().drew);
}

TEST_F(LineDrawerDrawTest, FractionRowDrawsEveryTickWithoutRasterising) {
    makeDrawer(kHundredthsRow);
    tick();
    for (int frame = 0; frame < 20; ++frame) {
        clock.advance(0.03);
        const auto result = tick();
        ASSERT_TRUE(result.drew) << frame;
        ASSERT_FALSE(result.rasterised) << frame;
    }
    // Two glyphs after the time label, centred on its line.
    const auto layout = drawer->layout();
    ASSERT_EQ(layout.fraction.length, 2);
    EXPECT_GE(layout.fraction.offset[0].x, layout.time.x);
    EXPECT_EQ(layout.fraction.offset[1].y, layout.fraction.offset[0].y);
    EXPECT_NEAR(layout.fraction.offset[0].y, layout.time.y, 4.0f);
}

TEST_F(LineDrawerDrawTest, FractionDrawsRenewOnlyTheDigitsAndMatchAWholeDraw) {
    makeDrawer(kHundredthsRow);
    tick();
    const engine::Size block = drawer->textSize();
    for (int frame = 0; frame < 5; ++frame) {
        clock.advance(0.07);
        ASSERT_TRUE(tick().drew);
        const PixelRect renewed = drawer->lastDrawRect();
        // Only the digits' corner of the block, not the block.
        EXPECT_GT(renewed.width * renewed.height, 0);
        EXPECT_LT(renewed.width * renewed.height, block.width * block.height / 4);
    }
    const auto partial = pixels();
    drawer->draw();
    EXPECT_EQ(drawer->lastDrawRect(), wholeStamp());
    EXPECT_EQ(pixels(), partial);
}

TEST_F(LineDrawerDrawTest, CompassDegreeAndStopWatchDrawWithoutRasterising) {
    std::atomic<double> radians{0.10};  // 6 degrees
    auto& layer = makeDrawer(kNoTime);
    layer.setLuoPanSource([&] { return LineDrawer::LuoPanReading{true, radians.load()}; });
    cache.setShowLuoPan(true);
    store.luoPan.saveLuoPanStyle(2);
    screen::reloadLuoPanSetting(store);
    EXPECT_TRUE(tick().drew);
    EXPECT_FALSE(tick().drew);
    radians = 0.15;  // 9 degrees: same tail, new digit
    auto result = tick();
    EXPECT_TRUE(result.drew);
    EXPECT_FALSE(result.rasterised);
    EXPECT_EQ(drawer->layout().compass.length, 1);
    radians = 0.20;  // 11 degrees: two digits
    EXPECT_TRUE(tick().drew);
    EXPECT_EQ(drawer->layout().compass.length, 2);

    state.displayStopWatch(true);
    for (int frame = 0; frame < 3; ++frame) {
        result = tick();  // at rest, yet every tick draws
        EXPECT_TRUE(result.drew);
        EXPECT_FALSE(result.rasterised);
    }
    EXPECT_EQ(drawer->layout().stopWatch.length, 12);
}

TEST_F(LineDrawerDrawTest, NothingShownLeavesAnEmptyBlockDrawnOnce) {
    makeDrawer(kNoTime);
    EXPECT_TRUE(tick().drew);
    EXPECT_EQ(drawer->textSize(), (engine::Size{0, 0}));
    for (int frame = 0; frame < 5; ++frame) {
        clock.advance(1.0);
        EXPECT_FALSE(tick().drew);
    }
    // A change of the plate's alpha shows at the next tick.
    cache.setBackgroundAlpha(0.25f);
    EXPECT_TRUE(tick().drew);
}

TEST_F(LineDrawerDrawTest, TextInkShadowAndPlateLieWhereTheLayoutSays) {
    makeDrawer(kSecondRow);
    drawer->setFont(std::nullopt, foundation::Color::redColor(), 0);
    const auto rgba = pixels();
    const auto layout = drawer->layout();
    const engine::Size size = drawer->textSize();
    ASSERT_GT(size.width, 0);
    ASSERT_GT(size.height, 0);

    // The plate: blue at half alpha, premultiplied, beyond the block and wherever no ink fell.
    const Rgba plate{0, 0, 128, 128};
    EXPECT_TRUE(pixelNear(pixelAt(rgba, kSide, kSide - 1, kSide - 1), plate));
    EXPECT_TRUE(pixelNear(pixelAt(rgba, kSide, 0, kSide - 1), plate));

    // Full ink is the text colour; full shadow is black at half the text's opacity over the
    // plate. Every pixel of full shadow lies 2 pixels right of and below one of full ink.
    const auto near = [](Rgba p, Rgba q, int tolerance) {
        return std::abs(p.r - q.r) <= tolerance && std::abs(p.g - q.g) <= tolerance &&
               std::abs(p.b - q.b) <= tolerance && std::abs(p.a - q.a) <= tolerance;
    };
    const auto isInk = [&](Rgba p) { return near(p, {255, 0, 0, 255}, 3); };
    const auto isShadow = [&](Rgba p) { return near(p, {0, 0, 64, 191}, 2); };
    // Where a glyph's edge covers a pixel nearly fully, text and shadow are both nearly full.
    const auto isMostlyInk = [](Rgba p) { return p.r >= 230 && p.g <= 10; };
    const int left = static_cast<int>((layout.time.x + kSide) / 2);
    const int top = static_cast<int>((layout.time.y + kSide) / 2);
    int ink = 0;
    int shadow = 0;
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            const Rgba p = pixelAt(rgba, kSide, x, y);
            if (isInk(p)) {
                ++ink;
                ASSERT_GE(x, left);
                ASSERT_GE(y, top);
                ASSERT_LT(x, size.width);
                ASSERT_LT(y, size.height);
            } else if (isShadow(p)) {
                ++shadow;
                ASSERT_GE(x, 2);
                ASSERT_GE(y, 2);
                ASSERT_TRUE(isMostlyInk(pixelAt(rgba, kSide, x - 2, y - 2))) << x << ", " << y;
            }
        }
    }
    EXPECT_GT(ink, 200);
    EXPECT_GT(shadow, 50);
}

TEST_F(LineDrawerDrawTest, ABlockLargerThanItsRoomIsDrawnSmallerWithWordsWhole) {
    auto& d = makeDrawer(1);  // "Feb 10, 2024, 4:00:00 AM", "AM" held by a no-break space
    tick();
    const engine::Size natural = d.textSize();
    const float size = d.fontSize();
    ASSERT_GT(natural.width, 100);

    // Narrower than its last word: the lines wrap between words, and the time with its "AM" is
    // drawn smaller rather than broken.
    const engine::Size narrow{natural.width * 0.3f, 1280};
    d.setTextRoom(narrow);
    tick();
    EXPECT_LT(d.fittedFontSize(), size);
    EXPECT_LE(d.textSize().width, narrow.width);
    engine::TextStyle style;
    style.fontName = "ArialMT";
    style.fontSize = d.fittedFontSize();
    EXPECT_LE(engine::rasterizeText("4:00:00\u202FAM", style).width, narrow.width);

    // Lower than the block: smaller until it fits.
    const engine::Size low{1280, natural.height * 0.5f};
    d.setTextRoom(low);
    tick();
    EXPECT_LE(d.textSize().height, low.height);
    EXPECT_LT(d.fittedFontSize(), size);

    // Room enough again gives the size back.
    d.setTextRoom({1280, 1280});
    tick();
    EXPECT_EQ(d.fittedFontSize(), size);
    EXPECT_EQ(d.textSize(), natural);
}

TEST_F(LineDrawerDrawTest, InactiveApplicationKeepsTheTexture) {
    makeDrawer(kSecondRow);
    tick();
    const auto before = pixels();
    foundation::setAppActive(false);
    clock.advance(1.0);
    const auto result = tick();
    EXPECT_FALSE(result.drew);
    EXPECT_FALSE(result.rasterised);
    drawer->draw();
    EXPECT_EQ(drawer->drawCount(), 1u);
    EXPECT_TRUE(pixels() == before);

    foundation::setAppActive(true);
    EXPECT_TRUE(tick().drew);

    // A colour chosen while inactive shows at the first tick back, though no text changed.
    foundation::setAppActive(false);
    drawer->setFont(std::nullopt, foundation::Color::redColor(), 0);
    EXPECT_EQ(drawer->drawCount(), 2u);
    foundation::setAppActive(true);
    EXPECT_TRUE(tick().drew);
    EXPECT_FALSE(tick().drew);
}

TEST_F(LineDrawerDrawTest, FontChosenWhileFramesRenderElsewhereShowsAtTheirNextTick) {
    makeDrawer(kSecondRow);
    tick();
    const auto before = drawer->rasterizations();
    context().doneCurrent();
    std::atomic<bool> ticking{false};
    std::atomic<bool> done{false};
    std::thread frames([&] {
        while (!done.load()) {
            drawer->updateTime();
            ticking.store(true);
        }
        context().doneCurrent();
    });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!ticking.load() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    // The context is current on the frame thread: the colour waits for its next tick, where
    // fifteen labels take it.
    drawer->setFont(std::nullopt, foundation::Color{0.0, 1.0, 0.0, 1.0}, 0);
    EXPECT_FALSE(context().makeCurrent());
    while (drawer->rasterizations() < before + 15 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    done.store(true);
    frames.join();
    ASSERT_TRUE(context().makeCurrent());
    EXPECT_GE(drawer->rasterizations(), before + 15);
    drawer->updateTime();
    const auto rgba = pixels();
    const engine::Size size = drawer->textSize();
    int green = 0;
    for (int y = 0; y < static_cast<int>(size.height); ++y) {
        for (int x = 0; x < static_cast<int>(size.width); ++x) {
            const Rgba p = pixelAt(rgba, kSide, x, y);
            green += p.g >= 250 && p.r <= 3 && p.a >= 250;
        }
    }
    EXPECT_GT(green, 200);
}

TEST_F(LineDrawerDrawTest, ClearPenBlanksTheStampUntilTheNextDraw) {
    makeDrawer(kSecondRow);
    tick();
    drawer->touchbegin({10, 10});
    drawer->clearPen();
    EXPECT_TRUE(drawer->penPoints().empty());
    auto rgba = pixels();
    EXPECT_TRUE(std::all_of(rgba.begin(), rgba.end(), [](std::uint8_t c) { return c == 0; }));
    drawer->draw();
    rgba = pixels();
    EXPECT_TRUE(pixelNear(pixelAt(rgba, kSide, kSide - 1, kSide - 1), {0, 0, 128, 128}));
}

}  // namespace
}  // namespace orvane::stamp
