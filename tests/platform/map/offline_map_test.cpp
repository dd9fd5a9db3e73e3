// The offline map: land and water where the bundled data puts them, names beside their places and
// never over one another, the track travelled, and a missing place file named in the error.
#include "platform/map/OfflineMapSnapshotter.h"

#include <gtest/gtest.h>

#include "platform/map/offline_map_drawing.h"
#include "platform/map/web_mercator.h"
#include "tests/platform/map/map_test_support.h"
#include "tests/platform/map/place_file_builder.h"

namespace orvane::platform {
namespace {

using testing::Rgb;
using testing::ScratchFolder;
using testing::SnapshotAnswer;
using testing::TestPlace;

Rgb rgbOf(const MapColour& colour) {
    return {static_cast<int>(std::lround(colour.red * 255)),
            static_cast<int>(std::lround(colour.green * 255)),
            static_cast<int>(std::lround(colour.blue * 255))};
}

bool near(const Bitmap& image, int x, int y, Rgb colour, int tolerance) {
    return std::abs(image.red(x, y) - colour.red) <= tolerance &&
           std::abs(image.green(x, y) - colour.green) <= tolerance &&
           std::abs(image.blue(x, y) - colour.blue) <= tolerance;
}

// How many pixels of the rows and columns given are within `tolerance` of the colour.
int countNear(const Bitmap& image, int x0, int y0, int x1, int y1, Rgb colour, int tolerance = 2) {
    int count = 0;
    for (int y = y0; y < y1; ++y) {
        for (int x = x0; x < x1; ++x) {
            count += near(image, x, y, colour, tolerance) ? 1 : 0;
        }
    }
    return count;
}

class OfflineMapTest : public ::testing::Test {
  protected:
    std::optional<MapSnapshot> snapshot(OfflineMapSnapshotter& snapshotter,
                                        const MapSnapshotOptions& options) {
        SnapshotAnswer answer;
        snapshotter.startWithCompletionHandler(options, answer.completion());
        EXPECT_TRUE(answer.wait());
        EXPECT_FALSE(answer.error) << answer.error->message();
        return std::move(answer.snapshot);
    }

    static MapSnapshotOptions around(double latitude, double longitude, double span,
                                     MapAppearance appearance = MapAppearance::Light) {
        MapSnapshotOptions options;
        options.region = {{latitude, longitude}, {span, span}};
        options.appearance = appearance;
        return options;
    }

    // A file of the places given, all land or all water.
    std::string placeFile(const std::vector<TestPlace>& places, bool land) {
        const std::string path = (scratch.path() / "places.bin").string();
        testing::writePlaceFile(path, places, [land](int, int) { return land; });
        return path;
    }

    std::shared_ptr<foundation::DispatchQueue> queue =
        foundation::SerialQueue::create("test.map.callback");
    ScratchFolder scratch;
};

TEST_F(OfflineMapTest, TheSeaLiesSouthOfBrighton) {
    // The land mask's coast near Brighton runs along 50.75 degrees: a map centred there is land
    // in its top half and sea in its bottom half, in either palette. The scale bar sits bottom
    // left and the north arrow top right; names may cover a little.
    OfflineMapSnapshotter snapshotter(queue, ORVANE_PLACES_FILE);
    for (const MapAppearance appearance : {MapAppearance::Light, MapAppearance::Dark}) {
        SCOPED_TRACE(appearance == MapAppearance::Light ? "light" : "dark");
        const auto map = snapshot(snapshotter, around(50.75, -0.14, 0.1, appearance));
        ASSERT_TRUE(map);
        const Bitmap& image = map->image();
        ASSERT_EQ(image.width, 256);
        const OfflineMapPalette& palette = offlineMapPalette(appearance);
        const int band = 100 * 200;
        EXPECT_GT(countNear(image, 0, 10, 200, 110, rgbOf(palette.land)), band * 6 / 10);
        EXPECT_EQ(countNear(image, 0, 10, 200, 110, rgbOf(palette.water)), 0);
        EXPECT_GT(countNear(image, 100, 140, 256, 220, rgbOf(palette.water)), 156 * 80 * 9 / 10);
        EXPECT_EQ(countNear(image, 100, 140, 256, 220, rgbOf(palette.land)), 0);
        EXPECT_EQ(image.alpha(0, 0), 255);
    }
}

TEST_F(OfflineMapTest, AWideMapShowsContinentsAndOceans) {
    // Eighty degrees around the Gulf of Guinea: more mask cells than are drawn one by one.
    OfflineMapSnapshotter snapshotter(queue, ORVANE_PLACES_FILE);
    const auto map = snapshot(snapshotter, around(0, 0, 80));
    ASSERT_TRUE(map);
    const OfflineMapPalette& palette = offlineMapPalette(MapAppearance::Light);
    const struct {
        const char* name;
        double latitude, longitude;
        bool land;
    } rows[] = {{"the Sahara", 22, 25, true},
                {"Zambia", -14, 27, true},
                {"Atlantic off Liberia", 0, -20, false},
                {"South Atlantic", -20, -10, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        // Most of the pixels around the point: a name may cross it.
        const PixelPoint point = map->pointForCoordinate({row.latitude, row.longitude});
        const int x = static_cast<int>(point.x), y = static_cast<int>(point.y);
        const Rgb colour = rgbOf(row.land ? palette.land : palette.water);
        EXPECT_GT(countNear(map->image(), x - 5, y - 5, x + 6, y + 6, colour, 1), 80);
    }
}

TEST_F(OfflineMapTest, APlaceIsNamedBesideItsDot) {
    // Testford lies a quarter of the map west of the centre; its name goes beside its dot, where
    // nothing else is drawn, and the same map without it has no lettering there.
    const MapSnapshotOptions options = around(10.0, 10.0, 0.1);
    std::string problem;
    const auto frame = mercator::frameFor(options, problem);
    ASSERT_TRUE(frame);
    const LocationCoordinate2D place = mercator::coordinateAt(*frame, {64, 60});
    const Rgb ink = rgbOf(offlineMapPalette(MapAppearance::Light).placeName);

    OfflineMapSnapshotter named(queue,
                                placeFile({{place.latitude, place.longitude, "Testford"}}, true));
    const auto withName = snapshot(named, options);
    ASSERT_TRUE(withName);
    const PixelPoint dot = withName->pointForCoordinate(place);
    EXPECT_NEAR(dot.x, 64, 0.5);
    // A name of eight letters at 12 pixels is some 50 pixels long, right of the dot.
    EXPECT_GT(countNear(withName->image(), 64, 50, 130, 70, ink, 40), 40);

    OfflineMapSnapshotter empty(queue, placeFile({}, true));
    const auto withoutName = snapshot(empty, options);
    ASSERT_TRUE(withoutName);
    EXPECT_EQ(countNear(withoutName->image(), 30, 40, 140, 80, ink, 40), 0);
}

TEST_F(OfflineMapTest, ThePlaceUnderThePositionMarkIsNamedBesideTheMark) {
    // The mark covers the map's centre; the place there, the one the camera is in, is named to
    // its right, clear of it.
    const Rgb ink = rgbOf(offlineMapPalette(MapAppearance::Light).placeName);
    OfflineMapSnapshotter snapshotter(queue, placeFile({{10.0, 10.0, "Midtown"}}, true));
    const auto map = snapshot(snapshotter, around(10.0, 10.0, 0.1));
    ASSERT_TRUE(map);
    EXPECT_GT(countNear(map->image(), 146, 118, 220, 138, ink, 40), 30);
    EXPECT_EQ(countNear(map->image(), 110, 110, 146, 146, ink, 40), 0);
}

TEST_F(OfflineMapTest, NamesNeverCoverOneAnother) {
    // Upton lies two pixels from Testford, farther from the centre: with no free place for its
    // name it is left out whole, and the map is the one Testford alone gives.
    const MapSnapshotOptions options = around(10.0, 10.0, 0.1);
    std::string problem;
    const auto frame = mercator::frameFor(options, problem);
    ASSERT_TRUE(frame);
    const LocationCoordinate2D testford = mercator::coordinateAt(*frame, {64, 60});
    const LocationCoordinate2D upton = mercator::coordinateAt(*frame, {62, 59});

    OfflineMapSnapshotter alone(
        queue, placeFile({{testford.latitude, testford.longitude, "Testford"}}, true));
    const auto one = snapshot(alone, options);
    OfflineMapSnapshotter both(queue,
                               placeFile({{testford.latitude, testford.longitude, "Testford"},
                                          {upton.latitude, upton.longitude, "Upton"}},
                                         true));
    const auto two = snapshot(both, options);
    ASSERT_TRUE(one && two);
    EXPECT_EQ(one->image().pixels, two->image().pixels);
}

TEST_F(OfflineMapTest, TheTrackTravelledIsDrawn) {
    MapSnapshotOptions options = around(10.0, 10.0, 0.1);
    std::string problem;
    const auto frame = mercator::frameFor(options, problem);
    ASSERT_TRUE(frame);
    // In from beyond the west edge along row 180, above the scale bar, then north to the centre.
    options.track = {mercator::coordinateAt(*frame, {-40, 180}),
                     mercator::coordinateAt(*frame, {128, 180}),
                     mercator::coordinateAt(*frame, {128, 128})};
    OfflineMapSnapshotter snapshotter(queue, placeFile({}, true));
    const auto map = snapshot(snapshotter, options);
    ASSERT_TRUE(map);
    const Rgb track = rgbOf(offlineMapPalette(MapAppearance::Light).track);
    for (const int x : {2, 60, 120}) {
        EXPECT_TRUE(testing::pixelIs(map->image(), x, 180, track, 3));
    }
    EXPECT_TRUE(testing::pixelIs(map->image(), 128, 150, track, 3));
    EXPECT_FALSE(testing::pixelIs(map->image(), 128, 190, track, 60));
}

TEST_F(OfflineMapTest, AMissingPlaceFileIsNamedAndTriedAgain) {
    const std::string path = (scratch.path() / "missing.bin").string();
    OfflineMapSnapshotter snapshotter(queue, path);
    for (int attempt = 0; attempt < 2; ++attempt) {
        SnapshotAnswer answer;
        snapshotter.startWithCompletionHandler(around(10, 10, 0.01), answer.completion());
        ASSERT_TRUE(answer.wait());
        EXPECT_FALSE(answer.snapshot);
        ASSERT_TRUE(answer.error);
        EXPECT_EQ(answer.error->code, MapSnapshotter::kSourceUnavailable);
        EXPECT_NE(answer.error->failureReason.find(path), std::string::npos);
    }
    testing::writePlaceFile(path, {}, [](int, int) { return true; });
    EXPECT_TRUE(snapshot(snapshotter, around(10, 10, 0.01)));
}

TEST_F(OfflineMapTest, ARequestOutOfRangeIsAnsweredWithAReason) {
    OfflineMapSnapshotter snapshotter(queue, placeFile({}, true));
    SnapshotAnswer answer;
    snapshotter.startWithCompletionHandler(around(10, 10, 0), answer.completion());
    ASSERT_TRUE(answer.wait());
    ASSERT_TRUE(answer.error);
    EXPECT_EQ(answer.error->code, MapSnapshotter::kInvalidRequest);
    EXPECT_NE(answer.error->failureReason.find("span"), std::string::npos);
}

TEST(ScaleBarTest, LengthsAreRoundNumbersNoLongerThanTheRoom) {
    const struct {
        double room, length;
        const char* text;
    } rows[] = {
        {1, 1, "1 m"},        {4.99, 2, "2 m"},     {5, 5, "5 m"},
        {99.9, 50, "50 m"},   {100, 100, "100 m"},  {740, 500, "500 m"},
        {1999, 1000, "1 km"}, {2000, 2000, "2 km"}, {33000, 20000, "20 km"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.room);
        EXPECT_EQ(roundScaleLength(row.room), row.length);
        EXPECT_EQ(scaleLengthText(row.length), row.text);
    }
}

}  // namespace
}  // namespace orvane::platform
