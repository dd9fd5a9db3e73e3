// The images the build draws: their format and size, transparency where they are laid over the
// picture, and the features that make each one what it is.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "tests/assets/png_test_support.h"

namespace orvane::testing {
namespace {

std::vector<std::string> particleImages() {
    std::vector<std::string> names;
    for (int n = 0; n <= 21; ++n) {
        if (n != 4) {
            names.push_back("particle_" + std::to_string(n) + ".png");
        }
    }
    return names;
}

const std::array<std::string, 4> kCompassImages{"luopanzhen.png", "luopandi.png", "luopandicn.png",
                                                "luopanditw.png"};

// Bit depth and colour type from the PNG's header chunk, which always comes first.
std::pair<int, int> depthAndColourType(const std::string& name) {
    std::ifstream file(imagePath(name), std::ios::binary);
    std::array<unsigned char, 26> head{};
    file.read(reinterpret_cast<char*>(head.data()), head.size());
    if (!file || std::string(head.begin() + 12, head.begin() + 16) != "IHDR") {
        return {-1, -1};
    }
    return {head[24], head[25]};
}

TEST(GeneratedImagesTest, EveryImageIsAnEightBitRgbaPngOfItsSize) {
    struct Expected {
        std::string name;
        int size;
    };
    std::vector<Expected> all{{"stars-grayscale.png", 64}, {"currentlocation.png", 64}};
    for (const std::string& name : particleImages()) {
        all.push_back({name, 64});
    }
    for (const std::string& name : kCompassImages) {
        all.push_back({name, 512});
    }
    for (int n = 0; n <= 10; ++n) {
        all.push_back({"lomo" + std::to_string(n) + ".png", 0});
    }
    for (const Expected& expected : all) {
        SCOPED_TRACE(expected.name);
        EXPECT_EQ(depthAndColourType(expected.name), (std::pair{8, 6}));  // 6: RGB with alpha
        if (expected.size > 0) {
            const auto image = readImage(expected.name);
            ASSERT_TRUE(image);
            EXPECT_EQ(image->width, expected.size);
            EXPECT_EQ(image->height, expected.size);
        }
    }
}

int maxAlpha(const PngImage& image) {
    int most = 0;
    for (std::uint32_t p : image.argb) {
        most = std::max(most, static_cast<int>(p >> 24));
    }
    return most;
}

TEST(GeneratedImagesTest, ParticlesAreDistinctShapesOnTransparentCorners) {
    std::vector<PngImage> seen;
    for (const std::string& name : particleImages()) {
        SCOPED_TRACE(name);
        const auto image = readImage(name);
        ASSERT_TRUE(image);
        for (auto [x, y] : {std::pair{0, 0}, {63, 0}, {0, 63}, {63, 63}}) {
            EXPECT_EQ(image->alpha(x, y), 0) << "corner " << x << "," << y;
        }
        EXPECT_GT(maxAlpha(*image), 128) << "too faint to show";
        for (const PngImage& other : seen) {
            EXPECT_NE(image->argb, other.argb) << "the same drawing twice";
        }
        seen.push_back(*image);
    }
}

TEST(GeneratedImagesTest, EmitterTextureIsGrey) {
    const auto image = readImage("stars-grayscale.png");
    ASSERT_TRUE(image);
    EXPECT_GT(maxAlpha(*image), 200);
    for (int y = 0; y < image->height; ++y) {
        for (int x = 0; x < image->width; ++x) {
            ASSERT_EQ(image->red(x, y), image->green(x, y)) << x << "," << y;
            ASSERT_EQ(image->green(x, y), image->blue(x, y)) << x << "," << y;
        }
    }
}

TEST(GeneratedImagesTest, PositionMarkerIsABlueDotInAWhiteRing) {
    const auto image = readImage("currentlocation.png");
    ASSERT_TRUE(image);
    EXPECT_EQ(image->alpha(32, 32), 255);
    EXPECT_GT(image->blue(32, 32), image->red(32, 32) + 100);
    // The ring, on the four sides.
    for (auto [x, y] : {std::pair{32, 17}, {47, 32}, {32, 47}, {17, 32}}) {
        EXPECT_EQ(image->alpha(x, y), 255);
        EXPECT_GT(image->red(x, y), 240);
        EXPECT_GT(image->blue(x, y), 240);
    }
    EXPECT_EQ(image->alpha(0, 0), 0);
    // The shadow falls below the ring, not above it.
    EXPECT_GT(image->alpha(32, 53), image->alpha(32, 11));
}

TEST(GeneratedImagesTest, CompassImagesAreTransparentOutsideTheDial) {
    for (const std::string& name : kCompassImages) {
        SCOPED_TRACE(name);
        const auto image = readImage(name);
        ASSERT_TRUE(image);
        for (int y = 0; y < 512; ++y) {
            for (int x = 0; x < 512; ++x) {
                if (std::hypot(x + 0.5 - 256, y + 0.5 - 256) > 256) {
                    ASSERT_EQ(image->alpha(x, y), 0) << x << "," << y;
                }
            }
        }
    }
}

bool isRed(const PngImage& image, int x, int y) {
    return image.alpha(x, y) > 200 && image.red(x, y) > image.green(x, y) + 100;
}

TEST(GeneratedImagesTest, NeedlePointsToTheTopRowInRed) {
    const auto needle = readImage("luopanzhen.png");
    ASSERT_TRUE(needle);
    EXPECT_TRUE(isRed(*needle, 256, 120));
    EXPECT_FALSE(isRed(*needle, 256, 392));
    EXPECT_GT(needle->alpha(256, 392), 200);
    // It is a needle: nothing to the sides.
    EXPECT_EQ(needle->alpha(120, 256), 0);
    EXPECT_EQ(needle->alpha(392, 256), 0);
}

// The bounding box of the pixels where two images differ: {x0, y0, x1, y1}, or empty.
std::vector<int> differenceBox(const PngImage& a, const PngImage& b) {
    int x0 = a.width, y0 = a.height, x1 = -1, y1 = -1;
    for (int y = 0; y < a.height; ++y) {
        for (int x = 0; x < a.width; ++x) {
            if (a.at(x, y) != b.at(x, y)) {
                x0 = std::min(x0, x);
                y0 = std::min(y0, y);
                x1 = std::max(x1, x);
                y1 = std::max(y1, y);
            }
        }
    }
    return x1 < 0 ? std::vector<int>{} : std::vector<int>{x0, y0, x1, y1};
}

bool within(const std::vector<int>& box, int x0, int y0, int x1, int y1) {
    return !box.empty() && box[0] >= x0 && box[1] >= y0 && box[2] <= x1 && box[3] <= y1;
}

TEST(GeneratedImagesTest, DialsDifferOnlyWhereTheirLettersDo) {
    const auto latin = readImage("luopandi.png");
    const auto simplified = readImage("luopandicn.png");
    const auto traditional = readImage("luopanditw.png");
    ASSERT_TRUE(latin && simplified && traditional);
    // Simplified and traditional Chinese differ in east alone (东, 東), at the right of the dial.
    const auto east = differenceBox(*simplified, *traditional);
    ASSERT_EQ(east.size(), 4u);
    EXPECT_TRUE(within(east, 380, 200, 480, 312)) << ::testing::PrintToString(east);
    // The Latin dial differs in all four letters, and nowhere near the rim's ticks.
    const auto letters = differenceBox(*latin, *simplified);
    ASSERT_EQ(letters.size(), 4u);
    EXPECT_TRUE(within(letters, 30, 30, 482, 482)) << ::testing::PrintToString(letters);
    EXPECT_LT(letters[0], 130);  // west
    EXPECT_GT(letters[2], 380);  // east
    // North is red on every dial.
    for (const PngImage* dial : {&*latin, &*simplified, &*traditional}) {
        int red = 0;
        for (int y = 50; y < 110; ++y) {
            for (int x = 226; x < 286; ++x) {
                red += isRed(*dial, x, y);
            }
        }
        EXPECT_GT(red, 100);
    }
}

}  // namespace
}  // namespace orvane::testing
