// GPX files read into fixes, and the GPX replay on a manual clock and by media time.
#include <gtest/gtest.h>

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "location_test_support.h"
#include "platform/location/GpxLocationManager.h"
#include "platform/location/gpx.h"

namespace orvane::platform {
namespace {

using testing::RecordingDelegate;
using testing::TemporaryFile;

const char* const kTrack = R"(<?xml version="1.0" encoding="UTF-8"?>
<gpx version="1.1" creator="hand" xmlns="http://www.topografix.com/GPX/1/1"
     xmlns:gpxtpx="http://www.garmin.com/xmlschemas/TrackPointExtension/v2">
  <trk><trkseg>
    <trkpt lat="51.3814" lon="-2.3587"><ele>20.0</ele><time>2024-05-01T10:00:00Z</time></trkpt>
    <trkpt lat="51.3824" lon="-2.3587"><ele>30.0</ele><time>2024-05-01T10:00:10Z</time>
      <extensions><gpxtpx:TrackPointExtension><gpxtpx:speed>7.5</gpxtpx:speed>
      </gpxtpx:TrackPointExtension></extensions></trkpt>
  </trkseg><trkseg>
    <trkpt lat="51.3834" lon="-2.3587"><time>2024-05-01T12:00:30+02:00</time></trkpt>
  </trkseg></trk>
</gpx>
)";

TEST(GpxRead, PointsWithElevationTimeAndExtensionSpeed) {
    const auto read = gpx::parse(kTrack, "walk.gpx");
    ASSERT_TRUE(read.ok()) << read.error;
    ASSERT_EQ(read.points.size(), 3u);
    EXPECT_DOUBLE_EQ(read.points[0].latitude, 51.3814);
    EXPECT_DOUBLE_EQ(*read.points[0].elevation, 20.0);
    EXPECT_DOUBLE_EQ(*read.points[0].time, 1714557600.0);
    EXPECT_DOUBLE_EQ(*read.points[1].speed, 7.5);
    EXPECT_FALSE(read.points[2].elevation);
    EXPECT_DOUBLE_EQ(*read.points[2].time, 1714557630.0);  // the offset is taken off

    const auto fixes = gpx::fixesFromPoints(read.points);
    EXPECT_DOUBLE_EQ(fixes[1].speed(), 7.5);
    // 0.001 degree of latitude here is about 111.3 m, over 20 s.
    EXPECT_NEAR(fixes[2].speed(), 111.26 / 20, 0.01);
    EXPECT_NEAR(fixes[0].speed(), 111.26 / 10, 0.01);  // the first takes the second's
    EXPECT_FALSE(fixes[2].altitude());
}

TEST(GpxRead, MissingTimesAreSpreadAndARouteWithoutTimesHasNoSpeed) {
    const auto read = gpx::parse(R"(<gpx><trk><trkseg>
        <trkpt lat="1" lon="1"><time>2024-05-01T10:00:00Z</time></trkpt>
        <trkpt lat="1.001" lon="1"/><trkpt lat="1.002" lon="1"/>
        <trkpt lat="1.003" lon="1"><time>2024-05-01T10:00:30Z</time></trkpt>
        <trkpt lat="1.004" lon="1"/></trkseg></trk></gpx>)",
                                 "gaps.gpx");
    ASSERT_TRUE(read.ok()) << read.error;
    const auto fixes = gpx::fixesFromPoints(read.points);
    EXPECT_DOUBLE_EQ(fixes[1].timestamp() - fixes[0].timestamp(), 10.0);
    EXPECT_DOUBLE_EQ(fixes[2].timestamp() - fixes[0].timestamp(), 20.0);
    EXPECT_DOUBLE_EQ(fixes[4].timestamp() - fixes[3].timestamp(), 1.0);

    const auto route = gpx::parse(
        R"(<gpx><rte><rtept lat="1" lon="1"/><rtept lat="1.001" lon="1"/></rte></gpx>)", "r.gpx");
    ASSERT_TRUE(route.ok()) << route.error;
    const auto routeFixes = gpx::fixesFromPoints(route.points);
    EXPECT_DOUBLE_EQ(routeFixes[1].timestamp() - routeFixes[0].timestamp(), 1.0);
    EXPECT_DOUBLE_EQ(routeFixes[1].speed(), -1.0);
}

TEST(GpxRead, BrokenFilesNameTheFileAndLine) {
    struct Case {
        const char* name;
        const char* text;
        const char* error;
    };
    const Case cases[] = {
        {"unclosed", "<gpx>\n<trk><trkseg>\n<trkpt lat=\"1\" lon=\"2\">\n</trkseg>",
         "bad.gpx:4: mismatched tag"},
        {"not xml", "hello", "bad.gpx:1: syntax error"},
        {"not gpx", "<?xml version=\"1.0\"?>\n<kml><Document/></kml>",
         "bad.gpx:2: not a GPX file (the root element is <kml>)"},
        {"no points", "<gpx>\n</gpx>", "bad.gpx: no track or route points"},
        {"latitude 95", "<gpx><trk><trkseg>\n<trkpt lat=\"95\" lon=\"2\"/></trkseg></trk></gpx>",
         "bad.gpx:2: <trkpt> without a valid lat and lon"},
        {"no lon", "<gpx><trk><trkseg>\n\n<trkpt lat=\"5\"/></trkseg></trk></gpx>",
         "bad.gpx:3: <trkpt> without a valid lat and lon"},
        {"bad time",
         "<gpx><trk><trkseg><trkpt lat=\"5\" lon=\"1\">\n<time>yesterday</time></trkpt>"
         "</trkseg></trk></gpx>",
         "bad.gpx:2: unreadable time \"yesterday\""},
        {"bad ele",
         "<gpx><trk><trkseg><trkpt lat=\"5\" lon=\"1\"><ele>high</ele></trkpt></trkseg></trk>"
         "</gpx>",
         "bad.gpx:1: unreadable <ele> \"high\""},
        {"empty", "", "bad.gpx:1: no element found"},
    };
    for (const auto& c : cases) {
        const auto read = gpx::parse(c.text, "bad.gpx");
        EXPECT_EQ(read.error, c.error) << c.name;
        EXPECT_TRUE(read.points.empty()) << c.name;
    }
    const auto missing = gpx::readFile("/nonexistent/walk.gpx");
    EXPECT_EQ(missing.error.rfind("/nonexistent/walk.gpx: cannot be read", 0), 0u) << missing.error;
}

TEST(GpxRead, Times) {
    EXPECT_DOUBLE_EQ(*gpx::parseTime("1970-01-01T00:00:00Z"), 0.0);
    EXPECT_DOUBLE_EQ(*gpx::parseTime("2000-02-29T12:00:00.250Z"), 951825600.25);
    EXPECT_DOUBLE_EQ(*gpx::parseTime("2024-05-01T10:00:00-03:30"), 1714557600.0 + 12600);
    EXPECT_DOUBLE_EQ(*gpx::parseTime("2024-05-01T10:00:00"), 1714557600.0);
    for (const char* bad : {"2024-13-01T10:00:00Z", "2024-05-01", "2024-05-01T10:00:00Zx",
                            "2024-05-01T25:00:00Z", "2024-05-01T10:00:00+2"}) {
        EXPECT_FALSE(gpx::parseTime(bad)) << bad;
    }
}

class GpxReplayTest : public ::testing::Test {
  protected:
    foundation::ManualClock clock{1'000'000.0};
    foundation::RunLoop loop{clock};
    RecordingDelegate delegate;
    TemporaryFile file{".gpx", kTrack};
    GpxLocationManager manager{file.path(), loop.mainQueue(), clock};

    void SetUp() override { manager.setDelegate(&delegate); }
    void advance(double seconds) {
        clock.advance(seconds);
        loop.runUntilIdle();
    }
};

TEST_F(GpxReplayTest, PacedByTheClockFromTheFirstPoint) {
    ASSERT_FALSE(manager.startUpdatingLocation());
    loop.runUntilIdle();
    ASSERT_EQ(delegate.fixes().size(), 1u);
    EXPECT_DOUBLE_EQ(*delegate.fixes()[0].altitude(), 20.0);
    advance(9.9);
    EXPECT_EQ(delegate.fixes().size(), 1u);
    advance(0.1);
    ASSERT_EQ(delegate.fixes().size(), 2u);
    EXPECT_DOUBLE_EQ(delegate.fixes()[1].speed(), 7.5);
    advance(20);
    EXPECT_EQ(delegate.fixes().size(), 3u);
    // The end is told right after the last point.
    ASSERT_EQ(delegate.errors().size(), 1u);
    EXPECT_NE(delegate.errors()[0].description.find("the track has ended"), std::string::npos);
    EXPECT_TRUE(isEndOfSource(delegate.errors()[0]));
    EXPECT_DOUBLE_EQ(manager.duration(), 30.0);
}

TEST_F(GpxReplayTest, MediaTimeInterpolatesAndLeavesTheClock) {
    ASSERT_FALSE(manager.startUpdatingLocation());
    manager.setMediaTime(5.0);
    loop.runUntilIdle();
    ASSERT_EQ(delegate.fixes().size(), 2u);
    const Location half = delegate.fixes()[1];
    EXPECT_NEAR(half.coordinate().latitude, 51.3819, 1e-9);
    EXPECT_NEAR(*half.altitude(), 25.0, 1e-9);
    EXPECT_DOUBLE_EQ(half.timestamp(), 1714557605.0);
    manager.setMediaTime(1000);  // past the end: the last point
    loop.runUntilIdle();
    EXPECT_NEAR(delegate.fixes().back().coordinate().latitude, 51.3834, 1e-12);
    advance(60);  // the clock no longer paces the track
    EXPECT_EQ(delegate.fixes().size(), 3u);
    EXPECT_TRUE(delegate.errors().empty());
}

TEST(GpxReplay, ABrokenFileFailsToStartWithItsLine) {
    foundation::ManualClock clock;
    foundation::RunLoop loop{clock};
    TemporaryFile file(".gpx", "<gpx>\n<trk>\n</gpx>\n");
    GpxLocationManager manager(file.path(), loop.mainQueue(), clock);
    const auto error = manager.startUpdatingLocation();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description, file.path() + ":3: mismatched tag");
}

}  // namespace
}  // namespace orvane::platform
