// The map overlay's updater on a manual clock with a scripted position and a snapshotter the test
// answers: no fix, no map; the ten metres and the five seconds; what is asked at each snapshot;
// the mark and the opacity in the map handed on; late answers after a stop; a failure that keeps
// the old map; the GCJ-02 shift in mainland China; the track.
#include "screen/MapOverlayUpdater.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/map/web_mercator.h"
#include "stamp/geodesy/geodesy.h"
#include "tests/screen/settings_test_support.h"

namespace orvane::screen {
namespace {

using platform::Bitmap;
using platform::Location;
using platform::LocationCoordinate2D;
using platform::MapSnapshotOptions;

constexpr double kStart = 1.7e9;  // the manual clock's wall time, well after 1970
constexpr double kLatitude = 51.38;
constexpr double kLongitude = -2.36;
// Metres north per degree of latitude near Bath, a little under the truth, so that a move asked
// for is at least that long.
constexpr double kMetresPerDegree = 111200;

Location fixAt(double latitude, double longitude) {
    return Location({latitude, longitude}, std::nullopt, 5, -1, kStart);
}

Location movedNorth(double metres) {
    return fixAt(kLatitude + metres / kMetresPerDegree, kLongitude);
}

Bitmap filled(int width, int height, std::uint32_t argb) {
    Bitmap bitmap = Bitmap::transparent(width, height);
    for (std::size_t i = 0; i < bitmap.pixels.size(); i += 4) {
        std::memcpy(&bitmap.pixels[i], &argb, 4);
    }
    return bitmap;
}

// Keeps every request; the test answers them when it likes, on the main thread as the real ones
// are answered.
class ScriptedSnapshotter final : public platform::MapSnapshotter {
  public:
    struct Request {
        MapSnapshotOptions options;
        Completion completion;
    };

    void startWithCompletionHandler(const MapSnapshotOptions& options,
                                    Completion completion) override {
        requests.push_back({options, std::move(completion)});
    }
    std::string description() const override { return "scripted"; }

    // Answers request `index` with an opaque green map of the request's frame, or of the frame
    // of `elsewhere` when given.
    void succeed(std::size_t index, std::optional<MapSnapshotOptions> elsewhere = std::nullopt) {
        std::string problem;
        const auto frame =
            platform::mercator::frameFor(elsewhere.value_or(requests.at(index).options), problem);
        ASSERT_TRUE(frame) << problem;
        requests.at(index).completion(
            platform::MapSnapshot(filled(frame->width, frame->height, 0xFF00C800u), *frame),
            std::nullopt);
    }

    void fail(std::size_t index) {
        requests.at(index).completion(
            std::nullopt, foundation::Error{kErrorDomain, kTransferFailed, "no map", "scripted"});
    }

    std::vector<Request> requests;
};

class MapOverlayUpdaterTest : public ::testing::Test, protected testing::TestStore {
  protected:
    void SetUp() override {
        store.map.saveMapScale_public(0.01);
        store.map.saveMapOpacity(0.4f);
    }

    void TearDown() override { updater.reset(); }

    MapOverlayUpdater& make(MapOverlayUpdater::Options options = {}) {
        auto scripted = std::make_unique<ScriptedSnapshotter>();
        snapshotter = scripted.get();
        if (options.markerPath.empty()) {
            options.markerPath = ORVANE_IMAGES_DIR "/currentlocation.png";
        }
        updater = std::make_unique<MapOverlayUpdater>(
            loop, store, std::move(scripted), [this] { return location; },
            [this](std::shared_ptr<const Bitmap> map) { received.push_back(std::move(map)); },
            options);
        updater->reloadMapSetting();
        return *updater;
    }

    // Moves the clock on a whole number of seconds, one timer tick at a time.
    void pass(int seconds) {
        for (int i = 0; i < seconds; ++i) {
            clock.advance(1.0);
            loop.runUntilIdle();
        }
    }

    std::size_t asked() const { return snapshotter->requests.size(); }

    foundation::ManualClock clock{kStart};
    foundation::RunLoop loop{clock};
    std::optional<Location> location;
    std::vector<std::shared_ptr<const Bitmap>> received;
    ScriptedSnapshotter* snapshotter = nullptr;
    std::unique_ptr<MapOverlayUpdater> updater;
};

TEST_F(MapOverlayUpdaterTest, WithoutAFixThereIsNoSnapshotAndNoMap) {
    make().startUpdateMap();
    pass(12);
    EXPECT_EQ(asked(), 0u);
    EXPECT_TRUE(received.empty());
    EXPECT_FALSE(MapOverlayUpdater::loadMapImage());
}

TEST_F(MapOverlayUpdaterTest, TheFirstFixIsMappedAtOnceMarkedAndFaded) {
    location = fixAt(kLatitude, kLongitude);
    MapOverlayUpdater::Options options;
    options.screenScale = 2;
    make(options).startUpdateMap();
    ASSERT_EQ(asked(), 1u);
    const MapSnapshotOptions& request = snapshotter->requests[0].options;
    EXPECT_EQ(request.width, 256);
    EXPECT_EQ(request.height, 256);
    EXPECT_EQ(request.scale, 2);
    EXPECT_DOUBLE_EQ(request.region.center.latitude, kLatitude);
    EXPECT_DOUBLE_EQ(request.region.center.longitude, kLongitude);
    EXPECT_NEAR(request.region.span.latitudeDelta, 0.01, 1e-9);
    EXPECT_NEAR(request.region.span.longitudeDelta, 0.01, 1e-9);

    snapshotter->succeed(0);
    ASSERT_EQ(received.size(), 1u);
    ASSERT_TRUE(received[0]);
    EXPECT_EQ(MapOverlayUpdater::loadMapImage(), received[0]);
    const Bitmap& map = *received[0];
    ASSERT_EQ(map.width, 512);
    // Green at 0.4, premultiplied.
    EXPECT_EQ(map.alpha(5, 5), 102);
    EXPECT_EQ(map.green(5, 5), 80);
    EXPECT_EQ(map.red(5, 5), 0);
    // The mark's blue dot at the centre, its white ring 17 of its pixels out, drawn at half its
    // pixel size for every point of the screen's scale: here at its own size.
    EXPECT_GT(map.blue(256, 256), map.green(256, 256) + 40);
    EXPECT_GT(map.red(256, 256 - 17), 90);
}

TEST_F(MapOverlayUpdaterTest, OnlyAMoveOfTenMetresAsksForANewMap) {
    const struct {
        double metres;
        std::size_t asked;
    } rows[] = {{0, 1}, {9.0, 1}, {10.05, 2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.metres);
        location = fixAt(kLatitude, kLongitude);
        make().startUpdateMap();
        snapshotter->succeed(0);
        location = movedNorth(row.metres);
        EXPECT_EQ(location->distanceFromLocation(fixAt(kLatitude, kLongitude)) >= 10.0,
                  row.asked == 2);
        pass(5);
        EXPECT_EQ(asked(), row.asked);
        updater.reset();
    }
}

TEST_F(MapOverlayUpdaterTest, ANewMapWaitsForTheNextFiveSecondSlot) {
    location = fixAt(kLatitude, kLongitude);
    make().startUpdateMap();
    snapshotter->succeed(0);
    location = movedNorth(50);
    pass(4);
    EXPECT_EQ(asked(), 1u);
    pass(1);
    EXPECT_EQ(asked(), 2u);
    snapshotter->succeed(1);
    // The slot just taken is not given back when the position stays: the next comes five ticks on.
    location = movedNorth(100);
    pass(4);
    EXPECT_EQ(asked(), 2u);
    pass(1);
    EXPECT_EQ(asked(), 3u);
}

TEST_F(MapOverlayUpdaterTest, AnAnswerAfterAStopIsThrownAway) {
    location = fixAt(kLatitude, kLongitude);
    make().startUpdateMap();
    updater->stopUpdateMap();
    ASSERT_EQ(received.size(), 1u);
    EXPECT_FALSE(received[0]);  // the map taken away
    snapshotter->succeed(0);
    EXPECT_EQ(received.size(), 1u);
    EXPECT_FALSE(MapOverlayUpdater::loadMapImage());

    // Started again at once, before the first answer of the new run: a late answer from before the
    // stop is still thrown away, the new one is taken.
    updater->startUpdateMap();
    ASSERT_EQ(asked(), 2u);
    updater->stopUpdateMap();
    updater->startUpdateMap();
    ASSERT_EQ(asked(), 3u);
    snapshotter->succeed(1);
    EXPECT_FALSE(MapOverlayUpdater::loadMapImage());
    snapshotter->succeed(2);
    EXPECT_TRUE(MapOverlayUpdater::loadMapImage());
}

TEST_F(MapOverlayUpdaterTest, AnAnswerAfterTheUpdaterIsGoneReachesNothing) {
    location = fixAt(kLatitude, kLongitude);
    make().startUpdateMap();
    auto completion = std::move(snapshotter->requests[0].completion);
    updater.reset();
    completion(std::nullopt, foundation::Error{"test", 1, "late", ""});
    EXPECT_FALSE(MapOverlayUpdater::loadMapImage());
}

TEST_F(MapOverlayUpdaterTest, AFailedSnapshotKeepsTheOldMap) {
    location = fixAt(kLatitude, kLongitude);
    make().startUpdateMap();
    snapshotter->succeed(0);
    const auto first = MapOverlayUpdater::loadMapImage();
    ASSERT_TRUE(first);
    location = movedNorth(20);
    pass(5);
    ASSERT_EQ(asked(), 2u);
    snapshotter->fail(1);
    EXPECT_EQ(MapOverlayUpdater::loadMapImage(), first);
    EXPECT_EQ(received.size(), 1u);
}

TEST_F(MapOverlayUpdaterTest, InMainlandChinaThePositionIsShiftedIntoGcj02) {
    const double latitude = 39.908722, longitude = 116.397499;  // Tiananmen
    const stamp::LatitudeLongitude shifted = stamp::wgs84ToGcj02({latitude, longitude});
    ASSERT_GT(std::abs(shifted.longitude - longitude), 1e-3);
    for (const bool china : {false, true}) {
        SCOPED_TRACE(china ? "region China" : "elsewhere");
        location = fixAt(latitude, longitude);
        MapOverlayUpdater::Options options;
        options.regionChina = china;
        make(options).startUpdateMap();
        ASSERT_EQ(asked(), 1u);
        const LocationCoordinate2D centre = snapshotter->requests[0].options.region.center;
        EXPECT_DOUBLE_EQ(centre.latitude, china ? shifted.latitude : latitude);
        EXPECT_DOUBLE_EQ(centre.longitude, china ? shifted.longitude : longitude);
        ASSERT_EQ(updater->track().size(), 1u);
        EXPECT_DOUBLE_EQ(updater->track()[0].longitude, centre.longitude);
        // The mark goes where the shifted position is: the map's centre.
        snapshotter->succeed(0);
        const auto map = MapOverlayUpdater::loadMapImage();
        ASSERT_TRUE(map);
        EXPECT_GT(map->blue(128, 128), map->green(128, 128));
        updater.reset();
    }
}

TEST_F(MapOverlayUpdaterTest, EachSnapshotReadsTypeAppearanceAndScale) {
    struct Row {
        std::int64_t type, appearance;
        double scale;
        platform::MapType mapType;
        platform::MapAppearance expected;
    };
    using platform::MapAppearance;
    using platform::MapType;
    const Row rows[] = {
        {0, 0, 0.01, MapType::Standard, MapAppearance::Dark},  // the system's, here dark
        {0, 1, 0.001, MapType::Standard, MapAppearance::Light},
        {2, 2, 0.1, MapType::SatelliteHybrid, MapAppearance::Dark},
    };
    location = fixAt(kLatitude, kLongitude);
    MapOverlayUpdater::Options options;
    options.systemAppearance = MapAppearance::Dark;
    make(options).startUpdateMap();
    snapshotter->succeed(0);
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const Row& row = rows[i];
        SCOPED_TRACE(i);
        store.map.saveMapType(row.type);
        store.map.saveMapAppearance(row.appearance);
        store.map.saveMapScale_public(row.scale);
        location = movedNorth(20.0 * (i + 1));
        pass(5);
        ASSERT_EQ(asked(), i + 2);
        const MapSnapshotOptions& request = snapshotter->requests.back().options;
        EXPECT_EQ(request.mapType, row.mapType);
        EXPECT_EQ(request.appearance, row.expected);
        EXPECT_NEAR(request.region.span.latitudeDelta, row.scale, 1e-6);
        snapshotter->succeed(i + 1);
    }
}

TEST_F(MapOverlayUpdaterTest, ReloadingTheSettingsDropsTheMapSoTheNextSlotRedrawsIt) {
    location = fixAt(kLatitude, kLongitude);
    make().startUpdateMap();
    snapshotter->succeed(0);
    pass(5);
    EXPECT_EQ(asked(), 1u);
    store.map.saveMapOpacity(1.0f);
    updater->reloadMapSetting();
    EXPECT_FALSE(MapOverlayUpdater::loadMapImage());
    EXPECT_EQ(received.size(), 1u);  // what shows stays until the new map
    pass(5);
    ASSERT_EQ(asked(), 2u);
    snapshotter->succeed(1);
    ASSERT_EQ(received.size(), 2u);
    EXPECT_EQ(received[1]->alpha(5, 5), 255);
}

TEST_F(MapOverlayUpdaterTest, APositionOffTheMapGetsNoMark) {
    location = fixAt(kLatitude, kLongitude);
    make().startUpdateMap();
    MapSnapshotOptions elsewhere = snapshotter->requests[0].options;
    elsewhere.region.center.latitude += 0.1;
    snapshotter->succeed(0, elsewhere);
    const auto map = MapOverlayUpdater::loadMapImage();
    ASSERT_TRUE(map);
    for (int y = 0; y < map->height; y += 4) {
        for (int x = 0; x < map->width; x += 4) {
            ASSERT_EQ(map->argb(x, y), 0x66005000u) << x << ", " << y;
        }
    }
}

TEST_F(MapOverlayUpdaterTest, TheTrackHoldsThePositionsMappedUpToItsLength) {
    location = fixAt(kLatitude, kLongitude);
    MapOverlayUpdater::Options options;
    options.maxTrackPoints = 2;
    make(options).startUpdateMap();
    snapshotter->succeed(0);
    location = movedNorth(5);  // not mapped: too near
    pass(5);
    for (const double metres : {30.0, 60.0}) {
        location = movedNorth(metres);
        pass(5);
        snapshotter->succeed(asked() - 1);
    }
    ASSERT_EQ(asked(), 3u);
    const auto& track = snapshotter->requests.back().options.track;
    ASSERT_EQ(track.size(), 2u);
    EXPECT_DOUBLE_EQ(track[0].latitude, movedNorth(30).coordinate().latitude);
    EXPECT_DOUBLE_EQ(track[1].latitude, movedNorth(60).coordinate().latitude);
}

TEST_F(MapOverlayUpdaterTest, TheSwitchIsStoredAndStartsOrStops) {
    location = fixAt(kLatitude, kLongitude);
    make().displayMap_SwitchChange(true);
    EXPECT_TRUE(store.viewController.isNeedDisplayMap());
    EXPECT_TRUE(updater->isUpdating());
    EXPECT_EQ(asked(), 1u);
    updater->displayMap_SwitchChange(false);
    EXPECT_FALSE(store.viewController.isNeedDisplayMap());
    EXPECT_FALSE(updater->isUpdating());
    pass(10);
    EXPECT_EQ(asked(), 1u);
}

}  // namespace
}  // namespace orvane::screen
