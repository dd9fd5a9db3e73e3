// Bitmaps decoded from PNG and JPEG and back, handed on in the compositor's byte order, drawn
// onto one another and faded.
#include "platform/image/Bitmap.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/image/bitmap_codec.h"
#include "platform/image/bitmap_drawing.h"
#include "tests/platform/map/map_test_support.h"

namespace orvane::platform {
namespace {

using testing::pixelIs;
using testing::Rgb;

std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

Bitmap filled(int width, int height, std::uint32_t argb) {
    Bitmap bitmap = Bitmap::transparent(width, height);
    for (std::size_t i = 0; i < bitmap.pixels.size(); i += 4) {
        std::memcpy(&bitmap.pixels[i], &argb, 4);
    }
    return bitmap;
}

TEST(BitmapTest, PngAndJpegTilesDecodeToTheirColours) {
    std::string problem;
    const auto png = decodeBitmap(bytesOf(testing::solidPngTile({200, 40, 10}, 64)), problem);
    ASSERT_TRUE(png) << problem;
    EXPECT_EQ(png->width, 64);
    EXPECT_EQ(png->height, 64);
    EXPECT_EQ(png->alpha(63, 63), 255);
    EXPECT_TRUE(pixelIs(*png, 0, 0, {200, 40, 10}, 0));

    const auto jpeg = decodeBitmap(bytesOf(testing::solidJpegTile({30, 90, 220}, 48)), problem);
    ASSERT_TRUE(jpeg) << problem;
    EXPECT_EQ(jpeg->width, 48);
    EXPECT_EQ(jpeg->alpha(10, 10), 255);
    EXPECT_TRUE(pixelIs(*jpeg, 10, 10, {30, 90, 220}, 4));
}

TEST(BitmapTest, WhatIsNoPictureIsRefusedWithAReason) {
    const std::string png = testing::solidPngTile({1, 2, 3}, 32);
    const struct {
        const char* name;
        std::string bytes;
        const char* reason;
    } rows[] = {
        {"empty", "", "not a PNG or JPEG"},
        {"HTML", "<html>404 Not Found</html>", "not a PNG or JPEG"},
        {"cut PNG", png.substr(0, png.size() / 2), "damaged PNG"},
        {"cut JPEG", testing::solidJpegTile({1, 2, 3}, 32).substr(0, 20), "damaged JPEG"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string problem;
        EXPECT_FALSE(decodeBitmap(bytesOf(row.bytes), problem));
        EXPECT_NE(problem.find(row.reason), std::string::npos) << problem;
    }
}

TEST(BitmapTest, PngKeepsTranslucentPixelsAndRgbaSwapsTheChannels) {
    // Half-transparent orange, premultiplied: 0x80 alpha, red 0x80, green 0x40.
    const Bitmap bitmap = filled(3, 2, 0x80804000u);
    std::string problem;
    const auto back = decodeBitmap(encodePng(bitmap), problem);
    ASSERT_TRUE(back) << problem;
    EXPECT_EQ(back->pixels, bitmap.pixels);
    const std::vector<std::uint8_t> rgba = premultipliedRgba(bitmap);
    ASSERT_EQ(rgba.size(), 3u * 2u * 4u);
    EXPECT_EQ((std::vector<std::uint8_t>(rgba.begin(), rgba.begin() + 4)),
              (std::vector<std::uint8_t>{0x80, 0x40, 0x00, 0x80}));
}

TEST(BitmapTest, AnImageIsDrawnCentredAtItsScale) {
    const Bitmap mark = filled(8, 8, 0xFFFF0000u);  // opaque red
    Bitmap target = filled(40, 40, 0xFF0000FFu);    // opaque blue
    drawCentred(target, mark, 20, 20, 1.0);
    EXPECT_TRUE(pixelIs(target, 16, 16, {255, 0, 0}, 0));
    EXPECT_TRUE(pixelIs(target, 23, 23, {255, 0, 0}, 0));
    EXPECT_TRUE(pixelIs(target, 15, 20, {0, 0, 255}, 0));
    EXPECT_TRUE(pixelIs(target, 24, 20, {0, 0, 255}, 0));
    drawCentred(target, filled(8, 8, 0xFF00FF00u), 5, 5, 0.5);  // green, 4 pixels wide
    EXPECT_TRUE(pixelIs(target, 3, 3, {0, 255, 0}, 0));
    EXPECT_TRUE(pixelIs(target, 6, 6, {0, 255, 0}, 0));
    EXPECT_TRUE(pixelIs(target, 8, 8, {0, 0, 255}, 0));
    // Half off the edge: what falls outside is cut.
    drawCentred(target, mark, 0, 39, 1.0);
    EXPECT_TRUE(pixelIs(target, 0, 39, {255, 0, 0}, 0));
}

TEST(BitmapTest, AnAlphaFactorScalesEveryPremultipliedChannel) {
    const Bitmap map = filled(2, 2, 0xFFC86432u);  // opaque (200, 100, 50)
    const struct {
        double factor;
        std::uint32_t expected;
    } rows[] = {{1.0, 0xFFC86432u}, {0.4, 0x66502814u}, {0.0, 0}, {1.5, 0xFFC86432u}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.factor);
        const Bitmap faded = withAlphaFactor(map, row.factor);
        EXPECT_NEAR(faded.alpha(1, 1), row.expected >> 24, 1);
        EXPECT_NEAR(faded.red(1, 1), row.expected >> 16 & 0xFF, 1);
        EXPECT_NEAR(faded.green(1, 1), row.expected >> 8 & 0xFF, 1);
        EXPECT_NEAR(faded.blue(1, 1), row.expected & 0xFF, 1);
    }
}

}  // namespace
}  // namespace orvane::platform
