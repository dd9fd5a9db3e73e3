// Pixel buffers into textures and back, on a real context, along every road: BGRA uploads or a
// swizzle, rectangles in one call or row by row, readback in BGRA or RGBA, synchronous or through
// pixel buffer objects.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "engine/PixelBufferTextures.h"
#include "engine/gl_objects.h"
#include "tests/engine/gl_test_support.h"

namespace orvane::engine {
namespace {

using platform::PixelBuffer;
using platform::PixelBufferRef;

PixelBufferRef makeBuffer(int width, int height) {
    auto made = PixelBuffer::create(width, height);
    EXPECT_EQ(made.status, platform::kCVReturnSuccess);
    return made.buffer;
}

// Every byte different from its neighbours, and `seed` changes them all.
void fillPattern(PixelBuffer& buffer, int seed) {
    for (int y = 0; y < buffer.height(); ++y) {
        std::uint8_t* row = buffer.baseAddress() + y * buffer.bytesPerRow();
        for (int x = 0; x < buffer.width(); ++x) {
            row[x * 4 + 0] = static_cast<std::uint8_t>(x * 7 + y + seed);           // B
            row[x * 4 + 1] = static_cast<std::uint8_t>(y * 5 + seed * 3);           // G
            row[x * 4 + 2] = static_cast<std::uint8_t>((x ^ y) + seed * 11);        // R
            row[x * 4 + 3] = static_cast<std::uint8_t>(x * 3 + y * 13 + seed * 5);  // A
        }
    }
}

struct Mismatch {
    int x = -1;
    int y = -1;
};

// The first pixel where the two buffers differ inside (or, with `inside` false, outside) the
// rectangle; x -1 when they agree there.
Mismatch firstDifference(const PixelBuffer& a, const PixelBuffer& b, int rx, int ry, int rw, int rh,
                         bool inside = true) {
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const bool in = x >= rx && x < rx + rw && y >= ry && y < ry + rh;
            if (in != inside) {
                continue;
            }
            const auto* pa = a.baseAddress() + y * a.bytesPerRow() + x * 4;
            const auto* pb = b.baseAddress() + y * b.bytesPerRow() + x * 4;
            if (std::memcmp(pa, pb, 4) != 0) {
                return {x, y};
            }
        }
    }
    return {};
}

::testing::AssertionResult sameInside(const PixelBuffer& a, const PixelBuffer& b, int x, int y,
                                      int w, int h, bool inside = true) {
    const Mismatch at = firstDifference(a, b, x, y, w, h, inside);
    if (at.x < 0) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "first difference at (" << at.x << ", " << at.y << ")";
}

struct Road {
    const char* name;
    void (*adjust)(GLCapabilities&);
};

const Road kRoads[] = {
    {"as offered", [](GLCapabilities&) {}},
    {"swizzled upload", [](GLCapabilities& c) { c.bgraTextures = false; }},
    {"rows one by one", [](GLCapabilities& c) { c.unpackRowLength = false; }},
    {"rgba readback", [](GLCapabilities& c) { c.bgraReadback = false; }},
    {"es2",
     [](GLCapabilities& c) {
         c = {c.bgraTextures, c.bgraReadback, false, false, false};
     }},
    {"bare es2", [](GLCapabilities& c) { c = {}; }},
};

class PixelBufferTexturesTest : public testing::GLTest, public ::testing::WithParamInterface<Road> {
  protected:
    void SetUp() override {
        testing::GLTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        _capabilities = GLCapabilities::of(context());
        GetParam().adjust(_capabilities);
    }

    // Binds a framebuffer onto the texture, so that reading back reads its texels.
    GLFramebuffer attach(const PixelBufferTexture& texture) {
        GLFramebuffer framebuffer = makeFramebuffer();
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.get());
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture.name(),
                               0);
        EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER),
                  static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
        return framebuffer;
    }

    void TearDown() override {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        testing::GLTest::TearDown();
    }

    GLCapabilities _capabilities;
};

TEST_P(PixelBufferTexturesTest, WholeBufferRoundTripsExactly) {
    // 37 is odd and leaves padding at the end of each row; 1920 x 1080 is a camera frame.
    for (const auto& [width, height] : {std::pair{37, 23}, std::pair{1920, 1080}}) {
        SCOPED_TRACE(::testing::Message() << width << "x" << height);
        const auto source = makeBuffer(width, height);
        fillPattern(*source, 1);
        PixelBufferTexture texture(_capabilities);
        ASSERT_TRUE(texture.upload(*source));
        EXPECT_EQ(texture.width(), width);
        EXPECT_EQ(texture.height(), height);
        const auto framebuffer = attach(texture);

        const auto synchronous = makeBuffer(width, height);
        PixelBufferReadback readback(_capabilities);
        ASSERT_TRUE(readback.read(*synchronous, 0, 0, width, height));
        EXPECT_TRUE(sameInside(*source, *synchronous, 0, 0, width, height));

        const auto asynchronous = makeBuffer(width, height);
        ASSERT_TRUE(readback.begin(0, 0, width, height));
        EXPECT_EQ(readback.pending(), 1u);
        ASSERT_TRUE(readback.finish(*asynchronous));
        EXPECT_EQ(readback.pending(), 0u);
        EXPECT_TRUE(sameInside(*source, *asynchronous, 0, 0, width, height));
    }
}

TEST_P(PixelBufferTexturesTest, RegionGoesIntoTheSamePlaceAndNowhereElse) {
    const int width = 37;
    const int height = 23;
    const auto first = makeBuffer(width, height);
    const auto second = makeBuffer(width, height);
    fillPattern(*first, 1);
    fillPattern(*second, 2);
    PixelBufferTexture texture(_capabilities);
    ASSERT_TRUE(texture.upload(*first));
    const GLuint name = texture.name();
    ASSERT_TRUE(texture.uploadRegion(*second, 3, 5, 17, 9));
    EXPECT_EQ(texture.name(), name) << "a region must not make the texture anew";
    const auto framebuffer = attach(texture);

    const auto back = makeBuffer(width, height);
    PixelBufferReadback readback(_capabilities);
    ASSERT_TRUE(readback.read(*back, 0, 0, width, height));
    EXPECT_TRUE(sameInside(*second, *back, 3, 5, 17, 9));
    EXPECT_TRUE(sameInside(*first, *back, 3, 5, 17, 9, false));
}

TEST_P(PixelBufferTexturesTest, RectanglesReadBackIntoTheSamePlaceByBothRoads) {
    const int width = 37;
    const int height = 23;
    const auto source = makeBuffer(width, height);
    fillPattern(*source, 3);
    PixelBufferTexture texture(_capabilities);
    ASSERT_TRUE(texture.upload(*source));
    const auto framebuffer = attach(texture);

    struct Rect {
        int x, y, w, h;
    };
    const Rect rects[] = {{5, 3, 11, 7}, {20, 12, 17, 11}, {0, 22, 37, 1}};
    PixelBufferReadback readback(_capabilities);
    const auto synchronous = makeBuffer(width, height);
    const auto asynchronous = makeBuffer(width, height);
    for (const Rect& r : rects) {
        ASSERT_TRUE(readback.read(*synchronous, r.x, r.y, r.w, r.h));
        ASSERT_TRUE(readback.begin(r.x, r.y, r.w, r.h));
    }
    EXPECT_EQ(readback.pending(), 3u);
    ASSERT_TRUE(readback.finish(*asynchronous));

    for (const Rect& r : rects) {
        EXPECT_TRUE(sameInside(*source, *synchronous, r.x, r.y, r.w, r.h));
    }
    EXPECT_TRUE(sameInside(*synchronous, *asynchronous, 0, 0, width, height));
    // Outside the rectangles the buffer is still blank.
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            bool covered = false;
            for (const Rect& r : rects) {
                covered |= x >= r.x && x < r.x + r.w && y >= r.y && y < r.y + r.h;
            }
            if (!covered) {
                const auto* p = synchronous->baseAddress() + y * synchronous->bytesPerRow() + x * 4;
                ASSERT_EQ(p[0] | p[1] | p[2] | p[3], 0) << "touched at (" << x << ", " << y << ")";
            }
        }
    }

    // A second frame of the same shape reuses what the first one made.
    fillPattern(*source, 4);
    ASSERT_TRUE(texture.upload(*source));
    for (const Rect& r : rects) {
        ASSERT_TRUE(readback.begin(r.x, r.y, r.w, r.h));
    }
    ASSERT_TRUE(readback.finish(*asynchronous));
    for (const Rect& r : rects) {
        EXPECT_TRUE(sameInside(*source, *asynchronous, r.x, r.y, r.w, r.h));
    }
}

TEST_P(PixelBufferTexturesTest, SamplingGivesTheBuffersColours) {
    // One opaque pixel each of blue, green, red and grey, in BGRA bytes.
    const auto source = makeBuffer(4, 1);
    const std::uint8_t bgra[] = {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 10, 20, 30, 255};
    std::memcpy(source->baseAddress(), bgra, sizeof bgra);
    PixelBufferTexture texture(_capabilities);
    ASSERT_TRUE(texture.upload(*source));

    std::string log;
    GLProgram program = compileProgram(
        "attribute vec2 position; varying vec2 c;"
        "void main() { c = position * 0.5 + 0.5; gl_Position = vec4(position, 0.0, 1.0); }",
        "precision mediump float; varying vec2 c; uniform sampler2D t;"
        "void main() { gl_FragColor = texture2D(t, c); }",
        log);
    ASSERT_TRUE(program) << log;
    PixelBufferTexture target(_capabilities);
    ASSERT_TRUE(target.resize(4, 1));
    const auto framebuffer = attach(target);
    glViewport(0, 0, 4, 1);
    glUseProgram(program.get());
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, texture.name());
    glUniform1i(glGetUniformLocation(program.get(), "t"), 0);
    const float quad[] = {-1, -1, 1, -1, -1, 1, 1, 1};
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, quad);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glDisableVertexAttribArray(0);
    glBindTexture(GL_TEXTURE_2D, 0);

    std::uint8_t rgba[16] = {};
    glReadPixels(0, 0, 4, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    const std::uint8_t expected[] = {0,   0, 255, 255, 0,  255, 0,  255,
                                     255, 0, 0,   255, 30, 20,  10, 255};
    EXPECT_EQ(0, std::memcmp(rgba, expected, sizeof expected));
}

TEST_P(PixelBufferTexturesTest, RefusesRectanglesOutsideTheBuffer) {
    const auto buffer = makeBuffer(16, 8);
    PixelBufferTexture texture(_capabilities);
    ASSERT_TRUE(texture.upload(*buffer));
    const GLuint name = texture.name();
    ASSERT_TRUE(texture.upload(*buffer));
    EXPECT_EQ(texture.name(), name) << "the same size keeps the texture";
    const auto framebuffer = attach(texture);

    struct Rect {
        int x, y, w, h;
    };
    testing::LogCapture log;
    PixelBufferReadback readback(_capabilities);
    for (const Rect& r : {Rect{-1, 0, 4, 4}, Rect{13, 0, 4, 4}, Rect{0, 5, 4, 4}, Rect{0, 0, 0, 4},
                          Rect{0, 0, 4, -1}}) {
        SCOPED_TRACE(::testing::Message() << r.x << "," << r.y << " " << r.w << "x" << r.h);
        log.clear();
        EXPECT_FALSE(texture.uploadRegion(*buffer, r.x, r.y, r.w, r.h));
        EXPECT_FALSE(readback.read(*buffer, r.x, r.y, r.w, r.h));
        EXPECT_EQ(log.lines().size(), 2u) << "each refusal says why";
    }
    const auto other = makeBuffer(8, 8);
    EXPECT_FALSE(texture.uploadRegion(*other, 0, 0, 4, 4)) << "a buffer of another size";

    // A rectangle begun on a big framebuffer does not fit a small buffer: it is reported, the
    // others are still copied, and nothing stays pending.
    ASSERT_TRUE(readback.begin(0, 0, 4, 4));
    ASSERT_TRUE(readback.begin(10, 4, 6, 4));
    const auto small = makeBuffer(8, 8);
    EXPECT_FALSE(readback.finish(*small));
    EXPECT_EQ(readback.pending(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Roads, PixelBufferTexturesTest, ::testing::ValuesIn(kRoads),
                         [](const ::testing::TestParamInfo<Road>& info) {
                             std::string name = info.param.name;
                             for (char& c : name) {
                                 c = (c == ' ') ? '_' : c;
                             }
                             return name;
                         });

}  // namespace
}  // namespace orvane::engine
