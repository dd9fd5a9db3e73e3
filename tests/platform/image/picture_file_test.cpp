// Pictures read from PNG and JPEG files and written as PNG, all at once.
#include "platform/image/picture_file.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

namespace orvane::platform {
namespace {

namespace fs = std::filesystem;

class PictureFileTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = fs::temp_directory_path() / "orvane-picture-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override { fs::remove_all(folder); }

    void writeBytes(const fs::path& file, const std::string& bytes) {
        std::ofstream(file, std::ios::binary) << bytes;
    }

    fs::path folder;
};

TEST_F(PictureFileTest, APngKeepsItsPixelsAndTranslucencyThroughWriteAndRead) {
    // Premultiplied: a half-transparent red is (128, 0, 0, 128); an opaque pixel stands as is.
    Picture picture{3, 2, {128, 0,  0, 128, 10, 200, 30, 255, 0, 0, 0, 0,  //
                           0,   64, 0, 64,  1,  2,   3,  255, 0, 0, 0, 0}};
    const fs::path file = folder / "logo.png";
    ASSERT_EQ(writePictureAsPng(picture, file), std::nullopt);
    const PictureRead read = readPicture(file);
    ASSERT_TRUE(read.picture) << read.problem;
    EXPECT_EQ(read.picture->width, 3);
    EXPECT_EQ(read.picture->height, 2);
    ASSERT_EQ(read.picture->rgba.size(), picture.rgba.size());
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
        EXPECT_NEAR(read.picture->rgba[i], picture.rgba[i], 1) << i;
    }
    // Written all at once: nothing is left beside the file.
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST_F(PictureFileTest, WhatIsNotAPictureIsRefusedByName) {
    Picture picture{4, 4, std::vector<std::uint8_t>(64, 255)};
    ASSERT_EQ(writePictureAsPng(picture, folder / "whole.png"), std::nullopt);
    std::ifstream in(folder / "whole.png", std::ios::binary);
    const std::string png((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());

    const std::pair<const char*, std::string> rows[] = {
        {"text.png", "not a picture at all"},
        {"empty.jpg", ""},
        {"cut.png", png.substr(0, png.size() / 2)},
        {"cut.jpg", std::string("\xff\xd8\xff\xe0", 4)},
    };
    for (const auto& [name, bytes] : rows) {
        writeBytes(folder / name, bytes);
        const PictureRead read = readPicture(folder / name);
        EXPECT_FALSE(read.picture) << name;
        EXPECT_NE(read.problem.find(name), std::string::npos) << read.problem;
    }
    const PictureRead missing = readPicture(folder / "missing.png");
    EXPECT_NE(missing.problem.find("missing.png"), std::string::npos) << missing.problem;
    EXPECT_TRUE(writePictureAsPng(picture, folder / "no" / "such" / "folder.png"));
}

}  // namespace
}  // namespace orvane::platform
