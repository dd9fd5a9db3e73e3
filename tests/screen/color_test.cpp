// Colours as the command line writes them and as the settings store keeps them.
#include <gtest/gtest.h>

#include <cmath>

#include "foundation/Color.h"

namespace orvane::foundation {
namespace {

TEST(ColorTest, HexFormsParse) {
    struct Row {
        const char* text;
        Color color;
    };
    const std::vector<Row> rows = {
        {"0xFF000000", Color::blackColor()},         {"0xffffffff", Color::whiteColor()},
        {"0XFFFF0000", Color::redColor()},           {"0x00000000", Color{0, 0, 0, 0}},
        {"0x8000FF00", Color{0, 1, 0, 128 / 255.0}}, {"#FF0000", Color::redColor()},
        {"#0000ff80", Color{0, 0, 1, 128 / 255.0}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Color::fromHexString(row.text), row.color) << row.text;
    }
}

TEST(ColorTest, MalformedHexIsRejected) {
    for (const char* text : {"", "0x", "#", "FF000000", "0xFF00000", "0xFF0000000", "0xGG000000",
                             "#12345", "#1234567", "#12345G", "red", "0x FF000000"}) {
        EXPECT_EQ(Color::fromHexString(text), std::nullopt) << text;
    }
}

TEST(ColorTest, HexStringRoundsAndRoundTrips) {
    EXPECT_EQ(Color::blackColor().hexString(), "0xFF000000");
    EXPECT_EQ((Color{0.5, 0.25, 1.0, 0.0}).hexString(), "0x008040FF");
    for (const char* text : {"0x12345678", "0xFFABCDEF", "0x00000001"}) {
        EXPECT_EQ(Color::fromHexString(text)->hexString(), text);
    }
}

TEST(ColorTest, ArchiveKeepsEveryBitOfTheComponents) {
    const Color odd{0.1234567890123, 1.0 / 3.0, 0.0, 1.0};
    EXPECT_EQ(Color::unarchived(odd.archived()), odd);
}

TEST(ColorTest, UnreadableBlobsReadAsNothing) {
    const auto good = Color::redColor().archived();
    auto wrongMagic = good;
    wrongMagic[0] = 'X';
    auto laterVersion = good;
    laterVersion[4] = 2;
    const std::vector<std::uint8_t> truncated(good.begin(), good.end() - 1);
    auto longer = good;
    longer.push_back(0);
    auto outOfRange = Color{1.5, 0, 0, 1}.archived();
    auto notANumber = Color{std::nan(""), 0, 0, 1}.archived();
    for (const auto& blob : {std::vector<std::uint8_t>{}, wrongMagic, laterVersion, truncated,
                             longer, outOfRange, notANumber}) {
        EXPECT_EQ(Color::unarchived(blob), std::nullopt) << blob.size();
    }
}

}  // namespace
}  // namespace orvane::foundation
