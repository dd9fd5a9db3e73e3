#include "compositor/stamp_blend.h"

#include <gtest/gtest.h>

#include <cstring>

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

}  // namespace
}  // namespace orvane::compositor
