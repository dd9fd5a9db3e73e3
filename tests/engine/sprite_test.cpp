// Sprites drawn into a real render texture: where the quad lands, which way up, tint and
// opacity, and the shared program.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "engine/CCRenderTexture.h"
#include "engine/CCSprite.h"
#include "engine/gl_objects.h"
#include "tests/engine/gl_test_support.h"

namespace orvane::engine {
namespace {

using testing::pixelAt;
using testing::pixelNear;
using testing::Rgba;

// A texture of one column: `rows` pixels from top to bottom.
std::shared_ptr<CCTexture2D> columnTexture(const std::vector<Rgba>& rows) {
    std::vector<std::uint8_t> pixels;
    for (const Rgba& each : rows) {
        pixels.insert(pixels.end(),
                      {static_cast<std::uint8_t>(each.r), static_cast<std::uint8_t>(each.g),
                       static_cast<std::uint8_t>(each.b), static_cast<std::uint8_t>(each.a)});
    }
    return CCTexture2D::fromPixels(1, static_cast<int>(rows.size()), pixels.data());
}

class SpriteTest : public testing::GLTest {
  protected:
    // Draws the sprite into a fresh 1280 render texture cleared to transparent black, blending
    // as the stamp does, and returns the pixels.
    std::vector<std::uint8_t> drawAlone(CCSprite& sprite) {
        CCRenderTexture target(1280, 1280);
        target.begin();
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        sprite.visit();
        glDisable(GL_BLEND);
        target.end();
        return target.readPixels();
    }
};

TEST_F(SpriteTest, FlipYDecidesWhichBitmapRowIsOnTop) {
    const Rgba red{255, 0, 0, 255};
    const Rgba green{0, 255, 0, 255};
    struct Row {
        bool flipY;
        Rgba row0;
        Rgba row1;
    };
    for (const Row& row : {Row{true, red, green}, Row{false, green, red}}) {
        SCOPED_TRACE(row.flipY ? "flipped" : "not flipped");
        CCSprite sprite(columnTexture({red, green}));
        sprite.setFlipY(row.flipY);
        sprite.setOffsetPosition({-1280, -1280});
        sprite.resetByOffsetPosition();
        const auto pixels = drawAlone(sprite);
        EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 0, 0), row.row0));
        EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 0, 1), row.row1));
        EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 0, 2), {0, 0, 0, 0}));
        EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 1, 0), {0, 0, 0, 0}));
    }
}

TEST_F(SpriteTest, TwoByTwoTextureLandsPixelForPixelAtItsOffset) {
    // Row 0: red, green; row 1: blue, half-transparent white (premultiplied).
    const std::uint8_t texels[] = {255, 0, 0,   255, 0,   255, 0,   255,
                                   0,   0, 255, 255, 128, 128, 128, 128};
    struct Row {
        Point offset;
        int column;
        int row;
    };
    for (const Row& row : {Row{{-1280, -1280}, 0, 0}, Row{{0, 0}, 640, 640},
                           Row{{1276, -4}, 1278, 638}, Row{{-1000, 600}, 140, 940}}) {
        SCOPED_TRACE(::testing::Message() << "offset " << row.offset.x << ", " << row.offset.y);
        CCSprite sprite(CCTexture2D::fromPixels(2, 2, texels));
        EXPECT_EQ(sprite.contentSize(), (Size{4, 4}));
        sprite.setFlipY(true);
        sprite.setOffsetPosition(row.offset);
        sprite.resetByOffsetPosition();
        const auto pixels = drawAlone(sprite);
        const int x = row.column;
        const int y = row.row;
        EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, x, y), {255, 0, 0, 255}));
        EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, x + 1, y), {0, 255, 0, 255}));
        EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, x, y + 1), {0, 0, 255, 255}));
        EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, x + 1, y + 1), {128, 128, 128, 128}));
        // Nothing around it.
        if (x > 0) {
            EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, x - 1, y), {0, 0, 0, 0}));
        }
        if (y + 2 < 1280) {
            EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, x, y + 2), {0, 0, 0, 0}));
        }
    }
}

TEST_F(SpriteTest, OffsetMovesTheQuadOnlyAtReset) {
    const Rgba white{255, 255, 255, 255};
    CCSprite sprite(columnTexture({white}));
    sprite.setOffsetPosition({-1280, -1280});
    sprite.resetByOffsetPosition();
    sprite.setOffsetPosition({0, 0});
    EXPECT_EQ(sprite.offsetPosition(), (Point{0, 0}));
    auto pixels = drawAlone(sprite);
    EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 0, 0), white));
    EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 640, 640), {0, 0, 0, 0}));

    sprite.resetByOffsetPosition();
    pixels = drawAlone(sprite);
    EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 0, 0), {0, 0, 0, 0}));
    EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 640, 640), white));
}

TEST_F(SpriteTest, TintAndOpacityMultiplyThePremultipliedTexel) {
    struct Row {
        Rgba texel;  // premultiplied
        Color3B tint;
        std::uint8_t opacity;
        Rgba expected;  // rgb * tint * opacity, a * opacity, over transparent black
    };
    const Row rows[] = {
        {{200, 100, 50, 255}, {255, 255, 255}, 255, {200, 100, 50, 255}},
        {{200, 100, 50, 255}, {0, 0, 0}, 255, {0, 0, 0, 255}},  // a shadow: black, opaque
        {{200, 100, 50, 255}, {255, 128, 0}, 255, {200, 50, 0, 255}},
        {{200, 100, 50, 255}, {255, 255, 255}, 128, {100, 50, 25, 128}},
        {{128, 128, 128, 128}, {255, 0, 255}, 128, {64, 0, 64, 64}},
        {{200, 100, 50, 255}, {255, 255, 255}, 0, {0, 0, 0, 0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message()
                     << "tint " << int(row.tint.r) << "," << int(row.tint.g) << ","
                     << int(row.tint.b) << " opacity " << int(row.opacity));
        CCSprite sprite(columnTexture({row.texel}));
        sprite.setColor(row.tint);
        sprite.setOpacity(row.opacity);
        sprite.setOffsetPosition({-1280, -1280});
        sprite.resetByOffsetPosition();
        EXPECT_TRUE(pixelNear(pixelAt(drawAlone(sprite), 1280, 0, 0), row.expected));
    }
}

TEST_F(SpriteTest, PremultipliedSpriteBlendsOverWhatIsThere) {
    CCRenderTexture target(1280, 1280);
    target.clear(1.0f, 0.0f, 0.0f, 1.0f);
    CCSprite sprite(columnTexture({{128, 128, 128, 128}}));  // half-transparent white
    sprite.setOffsetPosition({-1280, -1280});
    sprite.resetByOffsetPosition();
    target.begin();
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    sprite.visit();
    glDisable(GL_BLEND);
    target.end();
    const auto pixels = target.readPixels();
    EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 0, 0), {255, 128, 128, 255}));
    EXPECT_TRUE(pixelNear(pixelAt(pixels, 1280, 1, 0), {255, 0, 0, 255}));
}

TEST_F(SpriteTest, VisitDrawsOnlyWithATextureAndCountsTheDraws) {
    CCSprite empty;
    const auto untouched = drawAlone(empty);
    EXPECT_EQ(empty.visits(), 0u);
    EXPECT_TRUE(pixelNear(pixelAt(untouched, 1280, 640, 640), {0, 0, 0, 0}));

    CCSprite sprite(columnTexture({{255, 255, 255, 255}}));
    drawAlone(sprite);
    drawAlone(sprite);
    EXPECT_EQ(sprite.visits(), 2u);
}

TEST_F(SpriteTest, SharedProgramIsMadeAgainAfterRelease) {
    CCSprite sprite(columnTexture({{0, 0, 255, 255}}));
    sprite.setOffsetPosition({-1280, -1280});
    sprite.resetByOffsetPosition();
    EXPECT_TRUE(pixelNear(pixelAt(drawAlone(sprite), 1280, 0, 0), {0, 0, 255, 255}));
    SharedProgram::releaseAll();
    // A program of the compositor may now take the old name; the sprite must not use it.
    std::string log;
    GLProgram other = compileProgram(
        "attribute vec2 position; void main() { gl_Position = vec4(position, 0.0, 1.0); }",
        "precision mediump float; void main() { gl_FragColor = vec4(1.0); }", log);
    ASSERT_TRUE(other) << log;
    sprite.setColor({255, 255, 255});
    sprite.setOpacity(128);
    EXPECT_TRUE(pixelNear(pixelAt(drawAlone(sprite), 1280, 0, 0), {0, 0, 128, 128}));
}

TEST_F(SpriteTest, CompileProgramBindsTheAttributesAndReportsFailures) {
    const char* vertex =
        "attribute vec2 texturecoordinate; attribute vec2 position; varying vec2 c;"
        "void main() { c = texturecoordinate; gl_Position = vec4(position, 0.0, 1.0); }";
    const char* fragment =
        "precision mediump float; varying vec2 c; void main() { gl_FragColor = vec4(c, 0, 1); }";
    std::string log;
    GLProgram program = compileProgram(vertex, fragment, log);
    ASSERT_TRUE(program) << log;
    EXPECT_EQ(glGetAttribLocation(program.get(), "position"), 0);
    EXPECT_EQ(glGetAttribLocation(program.get(), "texturecoordinate"), 1);

    struct Row {
        const char* vertex;
        const char* fragment;
        const char* stage;
    };
    const Row broken[] = {
        {"void main() { gl_Position = nonsense; }", fragment, "vertex"},
        {vertex, "precision mediump float; void main() { gl_FragColor = 1; }", "fragment"},
        // Each stage compiles; the varying's types disagree only at link.
        {vertex,
         "precision mediump float; varying vec3 c; void main() { gl_FragColor = vec4(c, 1); }",
         "link"},
    };
    for (const Row& row : broken) {
        SCOPED_TRACE(row.stage);
        log.clear();
        EXPECT_FALSE(compileProgram(row.vertex, row.fragment, log));
        EXPECT_NE(log.find(row.stage), std::string::npos) << log;
    }
}

}  // namespace
}  // namespace orvane::engine
