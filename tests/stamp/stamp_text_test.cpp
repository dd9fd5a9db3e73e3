// The stamp's wordings and the two orders of its blocks.
#include "stamp/stamp_text.h"

#include <gtest/gtest.h>

#include <string>

namespace orvane::stamp {
namespace {

std::string altitudeOf(const StampLines& lines) {
    std::string text;
    altitudeLine(lines, text);
    return text;
}

std::string speedOf(const StampLines& lines) {
    std::string text;
    speedLine(lines, text);
    return text;
}

StampLines withAltitudeAndSpeed(float altitude, float speed) {
    StampLines lines;
    lines.showAltitudeAndSpeed = true;
    lines.altitude = altitude;
    lines.speed = speed;
    return lines;
}

TEST(StampTextTest, OnlyTheExactNoAltitudeValueHidesTheAltitude) {
    EXPECT_EQ(altitudeOf(withAltitudeAndSpeed(-100000.0f, 0)), "");
    EXPECT_NE(altitudeOf(withAltitudeAndSpeed(-99999.0f, 0)), "");
    EXPECT_NE(altitudeOf(withAltitudeAndSpeed(0.0f, 0)), "");
    EXPECT_NE(altitudeOf(withAltitudeAndSpeed(-12.5f, 0)).find("-12.5"), std::string::npos);
}

TEST(StampTextTest, SpeedZeroShowsAndNegativeHides) {
    EXPECT_NE(speedOf(withAltitudeAndSpeed(0, 0.0f)).find(":0.0"), std::string::npos);
    EXPECT_EQ(speedOf(withAltitudeAndSpeed(0, -1.0f)), "");
    EXPECT_EQ(speedOf(withAltitudeAndSpeed(0, -3.6f)), "");
}

TEST(StampTextTest, DisplayChoiceAndSwitchPickTheLines) {
    struct Case {
        bool shown;
        int display;
        bool altitude;
        bool speed;
    };
    for (const Case& c :
         {Case{true, 0, true, true}, Case{true, 1, true, false}, Case{true, 2, false, true},
          Case{true, 3, false, false}, Case{false, 0, false, false}}) {
        auto lines = withAltitudeAndSpeed(100.0f, 36.0f);
        lines.showAltitudeAndSpeed = c.shown;
        lines.asDisplay = c.display;
        EXPECT_EQ(!altitudeOf(lines).empty(), c.altitude) << c.display;
        EXPECT_EQ(!speedOf(lines).empty(), c.speed) << c.display;
    }
}

TEST(StampTextTest, ImperialUnitsConvertBothValues) {
    auto lines = withAltitudeAndSpeed(100.0f, 100.0f);
    lines.asUnits = 1;
    EXPECT_NE(altitudeOf(lines).find("328.1"), std::string::npos);  // 100 m x 3.28084
    EXPECT_NE(speedOf(lines).find(":62.1"), std::string::npos);     // 100 km/h x 0.62137
    EXPECT_NE(speedOf(lines).find("mph"), std::string::npos);
    lines.asUnits = 0;
    EXPECT_NE(speedOf(lines).find(":100.0km/h"), std::string::npos);
}

TEST(StampTextTest, BlocksFollowTheTimeMode) {
    StampLines lines = withAltitudeAndSpeed(10.0f, 5.0f);
    lines.address = "address";
    lines.coordinates = "coordinates";
    lines.lunar = "lunar";
    lines.customText = "custom";
    lines.tags = "#tag";
    lines.showIndex = true;
    lines.index = 7;
    const std::string altitude = altitudeOf(lines);
    const std::string speed = speedOf(lines);
    std::string index;
    indexLine(7, index);
    EXPECT_NE(index.find(":7"), std::string::npos);

    StampBlocks blocks;
    lines.timeBelow = 0;
    composeStampBlocks(lines, blocks);
    EXPECT_EQ(blocks.coordinateBlock, "lunar\ncoordinates");
    EXPECT_EQ(blocks.staticBlock,
              "address\n" + altitude + "\n" + speed + "\ncustom\n#tag\n" + index);

    lines.timeBelow = 1;
    composeStampBlocks(lines, blocks);
    EXPECT_EQ(blocks.coordinateBlock, "coordinates\nlunar");
    EXPECT_EQ(blocks.staticBlock,
              "custom\n#tag\n" + index + "\n" + altitude + "\n" + speed + "\naddress");
}

TEST(StampTextTest, MissingLinesLeaveNoEmptyLines) {
    StampLines lines;
    lines.coordinates = "coordinates";
    lines.customText = "custom";
    StampBlocks blocks{"old", "old"};
    for (int mode : {0, 1}) {
        lines.timeBelow = mode;
        composeStampBlocks(lines, blocks);
        EXPECT_EQ(blocks.coordinateBlock, "coordinates");
        EXPECT_EQ(blocks.staticBlock, "custom");
    }
    composeStampBlocks(StampLines{}, blocks);
    EXPECT_EQ(blocks.coordinateBlock, "");
    EXPECT_EQ(blocks.staticBlock, "");
}

TEST(StampTextTest, CompassDegreeRoundsAndWraps) {
    constexpr double kRadiansPerDegree = 0.017453292519943295;
    EXPECT_EQ(compassDegree(359.6 * kRadiansPerDegree), 0);
    EXPECT_EQ(compassDegree(359.4 * kRadiansPerDegree), 359);
    EXPECT_EQ(compassDegree(22.6 * kRadiansPerDegree), 23);
    EXPECT_EQ(compassDegree(-90.0 * kRadiansPerDegree), 270);
    EXPECT_EQ(compassDegree(0.0), 0);
    const int farBelow = compassDegree(-1000.0 * kRadiansPerDegree);
    EXPECT_GE(farBelow, 0);
    EXPECT_LT(farBelow, 360);
}

TEST(StampTextTest, CompassTailsChangeAtTheirFirstDegree) {
    struct Case {
        int degree;
        const char* tail;
    };
    for (const Case& c :
         {Case{0, "° N"}, Case{22, "° N"}, Case{23, "° NE"}, Case{67, "° NE"}, Case{68, "° E"},
          Case{112, "° E"}, Case{113, "° SE"}, Case{158, "° S"}, Case{202, "° S"},
          Case{203, "° SW"}, Case{248, "° W"}, Case{292, "° W"}, Case{293, "° NW"},
          Case{337, "° NW"}, Case{338, "° N"}, Case{359, "° N"}}) {
        EXPECT_STREQ(getCompassTail(c.degree), c.tail) << c.degree;
    }
}

TEST(StampTextTest, StopWatchTextPadsAndTruncates) {
    struct Case {
        double seconds;
        const char* text;
    };
    for (const Case& c :
         {Case{0.0, "00:00:00:000"}, Case{0.9999, "00:00:00:999"}, Case{61.25, "00:01:01:250"},
          Case{3599.5, "00:59:59:500"}, Case{35999.5, "09:59:59:500"},
          Case{36000.0, "10:00:00:000"}, Case{359999.0, "99:59:59:000"},
          Case{360000.0, "100:00:00:000"}, Case{-5.0, "00:00:00:000"}}) {
        EXPECT_EQ(convertTimeFromSeconds(c.seconds), c.text) << c.seconds;
    }
}

}  // namespace
}  // namespace orvane::stamp
