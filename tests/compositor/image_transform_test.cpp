#include "compositor/image_transform.h"

#include <gtest/gtest.h>

namespace orvane::compositor {
namespace {

// A w x h image whose pixel (x, y) holds x in red, y in green, opaque.
Image coordinates(int width, int height, int orientation = 3) {
    Image image;
    image.width = width;
    image.height = height;
    image.orientation = orientation;
    image.rgba.resize(static_cast<std::size_t>(width) * height * 4);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t* p = image.rgba.data() + (static_cast<std::size_t>(y) * width + x) * 4;
            p[0] = static_cast<std::uint8_t>(x);
            p[1] = static_cast<std::uint8_t>(y);
            p[2] = 0;
            p[3] = 255;
        }
    }
    return image;
}

std::pair<int, int> sourceOf(const Image& image, int x, int y) {
    const std::uint8_t* p = image.rgba.data() + (static_cast<std::size_t>(y) * image.width + x) * 4;
    return {p[0], p[1]};
}

TEST(RotatedImage, QuarterTurnsMoveCornersClockwise) {
    const Image image = coordinates(4, 3);
    struct Row {
        int degrees;
        int width;
        int height;
        // Where the source's top-left pixel (0, 0) lands.
        int x;
        int y;
    };
    const Row rows[] = {{0, 4, 3, 0, 0},   {90, 3, 4, 2, 0},  {180, 4, 3, 3, 2},
                        {270, 3, 4, 0, 3}, {-90, 3, 4, 0, 3}, {450, 3, 4, 2, 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.degrees);
        const Image turned = rotatedImage(image, row.degrees);
        ASSERT_EQ(turned.width, row.width);
        ASSERT_EQ(turned.height, row.height);
        EXPECT_EQ(sourceOf(turned, row.x, row.y), (std::pair{0, 0}));
    }
    // Clockwise: the bottom-left corner goes to the top left.
    EXPECT_EQ(sourceOf(rotatedImage(image, 90), 0, 0), (std::pair{0, 2}));
}

TEST(FitWithin, ScalesTheLongSideDownOnly) {
    EXPECT_EQ(fitWithin(coordinates(100, 50), 1024).width, 100);
    const Image wide = fitWithin(coordinates(2048, 512), 1024);
    EXPECT_EQ(wide.width, 1024);
    EXPECT_EQ(wide.height, 256);
    const Image tall = fitWithin(coordinates(300, 3000), 1024);
    EXPECT_EQ(tall.width, 102);
    EXPECT_EQ(tall.height, 1024);
}

TEST(UprightLandscapePhoto, TurnsByOrientationAndEndsLandscape) {
    struct Row {
        int orientation;
        std::pair<int, int> topLeftFrom;  // which source pixel ends at (0, 0)
    };
    // A landscape 6 x 4 picture: 270 for 0 and 90 for 1 give portrait, so a quarter more
    // follows (a whole and a half turn in all); 180 for 2 stays landscape; 3 stays as it is.
    const Row rows[] = {{0, {0, 0}}, {1, {5, 3}}, {2, {5, 3}}, {3, {0, 0}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.orientation);
        const auto upright = uprightLandscapePhoto(coordinates(6, 4, row.orientation));
        ASSERT_TRUE(upright);
        EXPECT_GE(upright->width, upright->height);
        EXPECT_EQ(sourceOf(*upright, 0, 0), row.topLeftFrom);
    }
    EXPECT_FALSE(uprightLandscapePhoto(coordinates(6, 4, 4)));
    EXPECT_FALSE(uprightLandscapePhoto(Image{}));
}

TEST(UprightLandscapePhoto, LargePhotosGetAShortSideOf1080) {
    const auto upright = uprightLandscapePhoto(coordinates(2000, 1000, 3));
    ASSERT_TRUE(upright);
    EXPECT_EQ(upright->width, 2160);
    EXPECT_EQ(upright->height, 1080);
    // A side of 640 or less keeps the size.
    const auto small = uprightLandscapePhoto(coordinates(1000, 640, 3));
    ASSERT_TRUE(small);
    EXPECT_EQ(small->width, 1000);
}

}  // namespace
}  // namespace orvane::compositor
