// Render textures on a real context: exact clears, and the GL state they leave as they found it.
#include <gtest/gtest.h>

#include "engine/CCRenderTexture.h"
#include "engine/gl_objects.h"
#include "tests/engine/gl_test_support.h"

namespace orvane::engine {
namespace {

using testing::Rgba;

class RenderTextureTest : public testing::GLTest {};

bool everyPixelIs(const std::vector<std::uint8_t>& pixels, Rgba expected) {
    for (std::size_t at = 0; at < pixels.size(); at += 4) {
        if (pixels[at] != expected.r || pixels[at + 1] != expected.g ||
            pixels[at + 2] != expected.b || pixels[at + 3] != expected.a) {
            return false;
        }
    }
    return true;
}

TEST_F(RenderTextureTest, StartsTransparentAndClearsToExactComponents) {
    CCRenderTexture texture(33, 17);
    EXPECT_EQ(texture.width(), 33);
    EXPECT_EQ(texture.height(), 17);
    auto pixels = texture.readPixels();
    ASSERT_EQ(pixels.size(), 33u * 17u * 4u);
    EXPECT_TRUE(everyPixelIs(pixels, {0, 0, 0, 0}));

    struct Row {
        float r, g, b, a;
        Rgba expected;
    };
    const Row rows[] = {
        {1, 1, 1, 0, {255, 255, 255, 0}},  // the stamp's start: white, fully transparent
        {0, 0, 0, 1, {0, 0, 0, 255}},
        {51 / 255.0f, 102 / 255.0f, 153 / 255.0f, 204 / 255.0f, {51, 102, 153, 204}},
    };
    for (const Row& row : rows) {
        texture.clear(row.r, row.g, row.b, row.a);
        EXPECT_TRUE(everyPixelIs(texture.readPixels(), row.expected))
            << row.r << ", " << row.g << ", " << row.b << ", " << row.a;
    }
}

TEST_F(RenderTextureTest, ClearKeepsTheCallersStateAndIgnoresItsScissor) {
    CCRenderTexture texture(8, 8);
    GLFramebuffer other = makeFramebuffer();
    CCRenderTexture backing(4, 4);
    glBindFramebuffer(GL_FRAMEBUFFER, other.get());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                           backing.textureName(), 0);
    glClearColor(0.25f, 0.5f, 0.75f, 1.0f);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 1, 1);

    texture.clear(0.0f, 1.0f, 0.0f, 1.0f);

    GLint bound = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(static_cast<GLuint>(bound), other.get());
    GLfloat colour[4] = {};
    glGetFloatv(GL_COLOR_CLEAR_VALUE, colour);
    EXPECT_FLOAT_EQ(colour[0], 0.25f);
    EXPECT_FLOAT_EQ(colour[1], 0.5f);
    EXPECT_FLOAT_EQ(colour[2], 0.75f);
    EXPECT_FLOAT_EQ(colour[3], 1.0f);
    EXPECT_EQ(glIsEnabled(GL_SCISSOR_TEST), GL_TRUE);
    glDisable(GL_SCISSOR_TEST);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);

    EXPECT_TRUE(everyPixelIs(texture.readPixels(), {0, 255, 0, 255}));
    // The framebuffer that was bound saw nothing of it.
    EXPECT_TRUE(everyPixelIs(backing.readPixels(), {0, 0, 0, 0}));
}

TEST_F(RenderTextureTest, BeginAndEndBracketTheDrawing) {
    CCRenderTexture outer(16, 16);
    CCRenderTexture inner(8, 4);
    glViewport(3, 5, 7, 9);
    outer.begin();
    GLint viewport[4] = {};
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(viewport[2], 16);
    EXPECT_EQ(viewport[3], 16);

    // A render texture begun inside another hands the outer one back at its end.
    inner.begin();
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(viewport[0], 0);
    EXPECT_EQ(viewport[1], 0);
    EXPECT_EQ(viewport[2], 8);
    EXPECT_EQ(viewport[3], 4);
    glClearColor(1, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    inner.end();
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(viewport[2], 16);
    glClearColor(0, 0, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    outer.end();

    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(viewport[0], 3);
    EXPECT_EQ(viewport[1], 5);
    EXPECT_EQ(viewport[2], 7);
    EXPECT_EQ(viewport[3], 9);
    GLint bound = -1;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(bound, 0);
    EXPECT_TRUE(everyPixelIs(inner.readPixels(), {255, 0, 0, 255}));
    EXPECT_TRUE(everyPixelIs(outer.readPixels(), {0, 0, 255, 255}));
}

}  // namespace
}  // namespace orvane::engine
