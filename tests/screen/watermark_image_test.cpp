// The logo's picture file: imported at a bounded size, kept when a bad picture is offered,
// loaded with its opacity baked in.
#include "screen/watermark_image.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

#include "platform/image/picture_file.h"

namespace orvane::screen {
namespace {

namespace fs = std::filesystem;

class WatermarkImageTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = fs::temp_directory_path() / "orvane-logo-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override { fs::remove_all(folder); }

    fs::path picture(const std::string& name, int width, int height, std::uint8_t alpha) {
        platform::Picture p{
            width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height * 4)};
        for (std::size_t i = 0; i < p.rgba.size(); i += 4) {
            p.rgba[i] = alpha;  // red, premultiplied
            p.rgba[i + 3] = alpha;
        }
        EXPECT_EQ(platform::writePictureAsPng(p, folder / name), std::nullopt);
        return folder / name;
    }

    fs::path folder;
};

TEST_F(WatermarkImageTest, ImportKeepsTheShortSideAt640OnlyWhenBothSidesAreLarger) {
    const fs::path logo = folder / "data" / "watermark.png";
    const struct {
        int width, height, keptWidth, keptHeight;
    } rows[] = {
        {1600, 900, 1138, 640}, {700, 2000, 640, 1829}, {2000, 500, 2000, 500}, {64, 64, 64, 64}};
    for (const auto& r : rows) {
        ASSERT_EQ(importWatermarkPicture(picture("in.png", r.width, r.height, 255), logo),
                  std::nullopt);
        std::string problem;
        const auto loaded = loadWatermarkImage(logo, 1.0f, problem);
        ASSERT_TRUE(loaded) << problem;
        EXPECT_EQ(loaded->width, r.keptWidth) << r.width << "x" << r.height;
        EXPECT_EQ(loaded->height, r.keptHeight) << r.width << "x" << r.height;
    }
}

TEST_F(WatermarkImageTest, ABadPictureLeavesThePreviousLogo) {
    const fs::path logo = folder / "watermark.png";
    ASSERT_EQ(importWatermarkPicture(picture("good.png", 40, 30, 255), logo), std::nullopt);
    std::ofstream(folder / "notes.png") << "shopping list";
    const auto problem = importWatermarkPicture(folder / "notes.png", logo);
    ASSERT_TRUE(problem);
    EXPECT_NE(problem->find("notes.png"), std::string::npos) << *problem;
    std::string loadProblem;
    const auto kept = loadWatermarkImage(logo, 1.0f, loadProblem);
    ASSERT_TRUE(kept) << loadProblem;
    EXPECT_EQ(kept->width, 40);
}

TEST_F(WatermarkImageTest, LoadingBakesTheOpacityAndNoFileIsNoLogo) {
    const fs::path logo = folder / "watermark.png";
    std::string problem;
    EXPECT_FALSE(loadWatermarkImage(logo, 1.0f, problem));
    EXPECT_EQ(problem, "");

    ASSERT_EQ(importWatermarkPicture(picture("half.png", 4, 4, 128), logo), std::nullopt);
    const auto loaded = loadWatermarkImage(logo, 0.5f, problem);
    ASSERT_TRUE(loaded) << problem;
    // (128, 0, 0, 128) at half opacity is (64, 0, 0, 64), premultiplied still.
    EXPECT_NEAR(loaded->rgba[0], 64, 1);
    EXPECT_NEAR(loaded->rgba[3], 64, 1);

    EXPECT_EQ(removeWatermarkImage(logo), std::nullopt);
    EXPECT_FALSE(loadWatermarkImage(logo, 1.0f, problem));
    EXPECT_EQ(removeWatermarkImage(logo), std::nullopt) << "a missing logo is no problem";

    std::ofstream(logo) << "damaged";
    EXPECT_FALSE(loadWatermarkImage(logo, 1.0f, problem));
    EXPECT_NE(problem.find("watermark.png"), std::string::npos) << problem;
}

}  // namespace
}  // namespace orvane::screen
