// Labels on a real GL context: when they rasterise, their size, and what they draw.
#include "engine/CCLabelTTF.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "engine/CCRenderTexture.h"
#include "engine/text_raster.h"
#include "tests/engine/gl_test_support.h"

namespace orvane::engine {
namespace {

using testing::pixelAt;
using testing::pixelNear;
using testing::Rgba;

class LabelTest : public testing::GLTest {
  protected:
    void TearDown() override {
        CCTexture2D::sethAlignment(0);
        CCLabelTTF::setScreenScale(1.0f);
        GLTest::TearDown();
    }
};

TEST_F(LabelTest, RasterisesOnlyWhenWhatItShowsChanges) {
    auto label = CCLabelTTF::labelWithString("12:00", "ArialMT", 40);
    ASSERT_EQ(label->rasterizations(), 1u);
    struct Step {
        const char* what;
        std::function<void(CCLabelTTF&)> act;
        std::uint64_t expected;
    };
    const Step steps[] = {
        {"the same text", [](CCLabelTTF& l) { l.setString("12:00"); }, 1},
        {"a new text", [](CCLabelTTF& l) { l.setString("12:01"); }, 2},
        {"that text again", [](CCLabelTTF& l) { l.setString("12:01"); }, 2},
        {"fill without update",
         [](CCLabelTTF& l) {
             l.setFontFillColor({255, 0, 0}, false);
         },
         2},
        {"fill with update",
         [](CCLabelTTF& l) {
             l.setFontFillColor({255, 0, 0}, true);
         },
         3},
        {"stroke without update",
         [](CCLabelTTF& l) {
             l.enableStrokeWithColor({0, 0, 0}, -3.0f, false);
         },
         3},
        {"stroke off with update", [](CCLabelTTF& l) { l.disableStrokeAndUpdateImage(true); }, 4},
        {"update", [](CCLabelTTF& l) { l.updateTexture(); }, 5},
        {"font size", [](CCLabelTTF& l) { l.setFontSize(50); }, 6},
        {"font name", [](CCLabelTTF& l) { l.setFontName("TimesNewRomanPSMT"); }, 7},
        {"tint and opacity",
         [](CCLabelTTF& l) {
             l.setColor({0, 0, 0});
             l.setOpacity(10);
         },
         7},
    };
    for (const Step& step : steps) {
        step.act(*label);
        EXPECT_EQ(label->rasterizations(), step.expected) << step.what;
    }
}

TEST_F(LabelTest, ContentSizeIsTwiceTheBitmapAndTheGLNameStays) {
    auto label = CCLabelTTF::labelWithString("08:15", "ArialMT", 70);
    const GLuint name = label->texture()->name();
    ASSERT_NE(name, 0u);

    label->setString("2024-02-10 08:15:00");
    TextStyle style;
    style.fontName = "ArialMT";
    style.fontSize = 70;
    const TextBitmap bitmap = rasterizeText("2024-02-10 08:15:00", style);
    EXPECT_EQ(label->contentSize(), (Size{2.0f * bitmap.width, 2.0f * bitmap.height}));
    EXPECT_EQ(label->texture()->name(), name);

    label->setString("");
    EXPECT_EQ(label->contentSize(), (Size{0, 0}));
    label->setString("1");
    EXPECT_GT(label->contentSize().width, 0.0f);
}

TEST_F(LabelTest, WrapsBeyondTheScreenScaleOfTheStamp) {
    std::string line;  // far wider than 1280 pixels at 100 px, in words that wrap
    for (int i = 0; i < 15; ++i) {
        line += "WWWW ";
    }
    auto narrow = CCLabelTTF::labelWithString(line, "ArialMT", 100);
    EXPECT_LE(narrow->contentSize().width, 2.0f * 1280);
    CCLabelTTF::setScreenScale(3.0f);  // counts as 2
    auto wide = CCLabelTTF::labelWithString(line, "ArialMT", 100);
    EXPECT_GT(wide->contentSize().width, 2.0f * 1280);
    EXPECT_LE(wide->contentSize().width, 2.0f * 2560);
    EXPECT_LT(wide->contentSize().height, narrow->contentSize().height);
}

TEST_F(LabelTest, DrawsUprightInItsFillColourWithTheAlignmentOfItsRasterising) {
    const std::string text = "Temp 21\nT";
    CCTexture2D::sethAlignment(2);
    auto label = CCLabelTTF::labelWithString(text, "ArialMT", 60);
    label->setFontFillColor({255, 160, 0}, true);
    CCTexture2D::sethAlignment(0);  // read when rasterising, not when drawing
    label->setFlipY(true);
    label->setOffsetPosition({-1280, -1280});
    label->resetByOffsetPosition();

    CCRenderTexture target(1280, 1280);
    target.begin();
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    label->visit();
    glDisable(GL_BLEND);
    target.end();
    const std::vector<std::uint8_t> pixels = target.readPixels();

    TextStyle style;
    style.fontName = "ArialMT";
    style.fontSize = 60;
    style.fill = {255, 160, 0};
    style.alignment = 2;
    const TextBitmap expected = rasterizeText(text, style);
    style.alignment = 0;
    ASSERT_NE(rasterizeText(text, style).rgba, expected.rgba) << "the alignments must differ";

    int inked = 0;
    for (int y = 0; y < expected.height; ++y) {
        for (int x = 0; x < expected.width; ++x) {
            const Rgba want = pixelAt(expected.rgba, expected.width, x, y);
            ASSERT_TRUE(pixelNear(pixelAt(pixels, 1280, x, y), want)) << "at " << x << ", " << y;
            if (want.a == 255) {
                ++inked;
                ASSERT_TRUE(pixelNear(want, {255, 160, 0, 255}));
            }
        }
    }
    EXPECT_GT(inked, 100);
    EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, expected.width + 1, 0), {0, 0, 0, 0}));
    EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 0, expected.height + 1), {0, 0, 0, 0}));
}

}  // namespace
}  // namespace orvane::engine
