#include "compositor/stamp_blend.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace orvane::compositor {
namespace {

TEST(TexelMap, EachOrientationIsAQuarterTurnOfTheSquare) {
    struct Row {
        int orientation;
        PointI origin;
        PointI uStep;
        PointI vStep;
    };
    // Viewport at (10, 20), side 1280.
    const Row rows[] = {{1, {10, 20 + 1279}, {0, -1}, {1, 0}},
                        {2, {10 + 1279, 20}, {0, 1}, {-1, 0}},
                        {3, {10, 20}, {1, 0}, {0, 1}},
                        {4, {10 + 1279, 20 + 1279}, {-1, 0}, {0, -1}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.orientation);
        const auto map = texelMapForQuad(*stampQuad(row.orientation, false), {10, 20}, 1280);
        ASSERT_TRUE(map);
        EXPECT_EQ(map->origin, row.origin);
        EXPECT_EQ(map->uStep, row.uStep);
        EXPECT_EQ(map->vStep, row.vStep);
    }
    EXPECT_FALSE(texelMapForQuad({-1, -1, 0, -1, -1, 1, 0, 1}, {0, 0}, 1280));
}

TEST(BlendStamp, PremultipliedOverInsideTheClipOnly) {
    auto frame = platform::PixelBuffer::create(4, 2).buffer;
    {
        platform::PixelBufferWriteLock lock(*frame);
        std::memset(lock.data(), 200, frame->dataSize());
    }
    // Two texels: opaque red, and half-transparent premultiplied green.
    const std::uint8_t texels[] = {255, 0, 0, 255, 0, 128, 0, 128};
    const TexelMap upright{{1, 0}, {1, 0}, {0, 1}};
    blendStamp(*frame, texels, 2, upright, {1, 0, 2, 1});
    platform::PixelBufferReadLock lock(*frame);
    const std::uint8_t* p = lock.data();
    // Pixel 0 lies outside the clip.
    EXPECT_EQ(p[0], 200);
    // Pixel 1: red over grey in BGRA order.
    EXPECT_EQ(p[4], 0);
    EXPECT_EQ(p[5], 0);
    EXPECT_EQ(p[6], 255);
    // Pixel 2: green at half over grey keeps half the grey: 200 * 127 / 255.
    EXPECT_EQ(p[8], 100);
    EXPECT_EQ(p[9], 128 + 100);
    EXPECT_EQ(p[10], 100);
    // The second row and the last pixel stay.
    EXPECT_EQ(p[12], 200);
    EXPECT_EQ(p[frame->bytesPerRow()], 200);
}

// Premultiplied texels with transparent runs, opaque runs and everything between, as text with
// an outline gives them.
std::vector<std::uint8_t> textLikeTexels(int count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<std::uint8_t> texels(static_cast<std::size_t>(count) * 4, 0);
    for (int i = 0; i < count; ++i) {
        const unsigned kind = random() % 4;
        if (kind == 0) {
            continue;
        }
        const unsigned alpha = kind == 1 ? 255 : random() % 256;
        for (int c = 0; c < 3; ++c) {
            texels[i * 4 + c] = static_cast<std::uint8_t>(alpha == 0 ? 0 : random() % (alpha + 1));
        }
        texels[i * 4 + 3] = static_cast<std::uint8_t>(alpha);
    }
    return texels;
}

platform::PixelBufferRef noiseFrame(int width, int height, unsigned seed) {
    auto frame = platform::PixelBuffer::create(width, height).buffer;
    std::mt19937 random(seed);
    platform::PixelBufferWriteLock lock(*frame);
    for (std::size_t i = 0; i < frame->dataSize(); ++i) {
        lock.data()[i] = static_cast<std::uint8_t>(random());
    }
    return frame;
}

// Every pixel of the clip against GL's rounding, computed here one channel at a time; widths
// that are not multiples of the vector width and both texel walks (along a row and down a
// column) included.
TEST(BlendStamp, EveryPixelRoundsAsGLBlendingDoes) {
    constexpr int kSide = 40;
    const std::vector<std::uint8_t> texels = textLikeTexels(kSide * kSide, 7);
    const TexelMap maps[] = {{{0, 0}, {1, 0}, {0, 1}}, {{kSide - 1, 0}, {0, 1}, {-1, 0}}};
    for (const TexelMap& map : maps) {
        for (const int width : {1, 15, 16, 17, 37}) {
            auto frame = noiseFrame(kSide, kSide, static_cast<unsigned>(width));
            std::vector<std::uint8_t> before;
            {
                platform::PixelBufferReadLock lock(*frame);
                before.assign(lock.data(), lock.data() + frame->dataSize());
            }
            const std::array<int, 4> clip{2, 3, width, 30};
            blendStamp(*frame, texels.data(), kSide, map, clip);
            platform::PixelBufferReadLock lock(*frame);
            for (int y = 0; y < kSide; ++y) {
                for (int x = 0; x < kSide; ++x) {
                    const std::size_t at = y * frame->bytesPerRow() + x * 4;
                    const bool inside = x >= clip[0] && x < clip[0] + clip[2] && y >= clip[1] &&
                                        y < clip[1] + clip[3];
                    const int dx = x - map.origin.x, dy = y - map.origin.y;
                    const int u = dx * map.uStep.x + dy * map.uStep.y;
                    const int v = dx * map.vStep.x + dy * map.vStep.y;
                    const std::uint8_t* t = texels.data() + (v * kSide + u) * 4;
                    const unsigned keep = 255 - t[3];
                    const unsigned bgra[4] = {t[2], t[1], t[0], t[3]};
                    for (int c = 0; c < 4; ++c) {
                        const unsigned expected =
                            inside ? bgra[c] + (before[at + c] * keep + 127) / 255 : before[at + c];
                        ASSERT_EQ(lock.data()[at + c], expected)
                            << "pixel " << x << "," << y << " channel " << c << " width " << width;
                    }
                }
            }
        }
    }
}

TEST(BlendStamp, CopyAndBlendEqualsCopyThenBlend) {
    constexpr int kWidth = 64, kHeight = 48;
    const std::vector<std::uint8_t> texels = textLikeTexels(kWidth * kHeight, 3);
    const TexelMap map{{0, 0}, {1, 0}, {0, 1}};
    const std::array<int, 4> clip{5, 10, 50, 20};
    auto source = noiseFrame(kWidth, kHeight, 1);
    auto fused = noiseFrame(kWidth, kHeight, 2);
    auto separate = noiseFrame(kWidth, kHeight, 3);
    copyAndBlendStamp(*source, *fused, texels.data(), kWidth, map, clip);
    copyPixels(*source, *separate);
    blendStamp(*separate, texels.data(), kWidth, map, clip);
    platform::PixelBufferReadLock a(*fused);
    platform::PixelBufferReadLock b(*separate);
    EXPECT_EQ(std::memcmp(a.data(), b.data(), fused->dataSize()), 0);
}

}  // namespace
}  // namespace orvane::compositor
