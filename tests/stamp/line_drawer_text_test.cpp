// The stamp layer's texts over a memory store, a manual clock and fixed date settings.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_loading.h"
#include "stamp/LineDrawer.h"

namespace orvane::stamp {
namespace {

// 2024-02-10 04:00:00.950 UTC: the lunar new year in China.
constexpr double kInstant = 1707537600.95;

class LineDrawerTextTest : public ::testing::Test {
  protected:
    LineDrawer& makeDrawer(std::int64_t timeRow, std::optional<std::string> gpsType = "gps1",
                           std::optional<std::string> locationType = "locality") {
        screen::StampLayerStartValues start;
        start.timeFormatIndex = timeRow;
        start.gpsType = std::move(gpsType);
        start.locationType = std::move(locationType);
        drawer =
            std::make_unique<LineDrawer>(store, cache, start, state, DateSettings{"en_US", "UTC"});
        return *drawer;
    }

    StampStrings tick() {
        StampStrings strings;
        drawer->composeStrings(strings);
        return strings;
    }

    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store{defaults, cache};
    foundation::ManualClock clock{kInstant};
    StampState state{clock};
    std::unique_ptr<LineDrawer> drawer;
};

TEST_F(LineDrawerTextTest, EverythingOffGivesEmptyStrings) {
    makeDrawer(0);
    const auto strings = tick();
    EXPECT_EQ(strings.time, "");
    EXPECT_EQ(strings.fraction, "");
    EXPECT_EQ(strings.blocks.coordinateBlock, "");
    EXPECT_EQ(strings.blocks.staticBlock, "");
    EXPECT_FALSE(strings.compassShown);
    EXPECT_FALSE(strings.stopWatchShown);
    EXPECT_EQ(state.location(), "");
    EXPECT_EQ(state.gps(), "");
}

TEST_F(LineDrawerTextTest, FractionRowsSplitTextAndDigits) {
    makeDrawer(48);
    const auto strings = tick();
    EXPECT_EQ(strings.time, "02/10/2024 04:00:00.");
    EXPECT_EQ(strings.fraction, "9");
    drawer->setTimeFormatIndex(19);
    EXPECT_EQ(tick().time, "2024-02-10 04:00:00");
    EXPECT_EQ(tick().fraction, "");
}

TEST_F(LineDrawerTextTest, CoordinateBlockFollowsTheModeAndIsRemembered) {
    cache.setShowLunar(true);
    auto& layer = makeDrawer(1);
    layer.coordinateCatalogue().rebuild({48.858370, 2.294481, 5.0});
    ASSERT_GE(layer.getGpsIndex(), 1);

    state.setTimeBelow(0);
    auto strings = tick();
    const std::string lunar = layer.getFormattedLunar(kInstant);
    EXPECT_EQ(lunar.rfind("农历", 0), 0u);
    EXPECT_EQ(strings.blocks.coordinateBlock, lunar + "\n+48.858370,+2.294481");
    EXPECT_EQ(state.gps(), strings.blocks.coordinateBlock);

    state.setTimeBelow(1);
    strings = tick();
    EXPECT_EQ(strings.blocks.coordinateBlock, "+48.858370,+2.294481\n" + lunar);
}

TEST_F(LineDrawerTextTest, AddressRowAndCustomTextFillTheStaticBlock) {
    auto& layer = makeDrawer(0);
    platform::Placemark place;
    place.locality = "Paris";
    layer.processPlacement({place}, std::nullopt);
    state.setCustomText("site 4");
    state.setTimeBelow(0);
    EXPECT_EQ(tick().blocks.staticBlock, "Paris\nsite 4");
    EXPECT_EQ(state.location(), "Paris");

    layer.setLocationIndex(static_cast<int>(layer.getLocalList().size()));  // past the end
    EXPECT_EQ(tick().blocks.staticBlock, "site 4");
    EXPECT_EQ(state.location(), "");
}

TEST_F(LineDrawerTextTest, ChoosingNoCoordinatesClearsTheStampAndStoresNone) {
    auto& layer = makeDrawer(1);
    layer.coordinateCatalogue().rebuild({48.858370, 2.294481, 5.0});
    tick();
    ASSERT_NE(state.gps(), "");
    layer.saveGpsIndex(0);
    EXPECT_EQ(state.gps(), "");
    EXPECT_EQ(store.lineDrawer.getSavedGps(), "None");
    EXPECT_EQ(store.lineDrawer.getSavedGpsType(), "");
    EXPECT_EQ(tick().blocks.coordinateBlock, "");
}

TEST_F(LineDrawerTextTest, AnsweredAddressIsStampedUntilTheNoneRowIsSaved) {
    screen::StampLayerStartValues start;
    start.locationType = "locality";
    drawer = std::make_unique<LineDrawer>(store, cache, start, state, DateSettings{"en_US", "UTC"},
                                          "en");
    platform::Placemark place;
    place.locality = "Lyon";
    place.country = "France";
    drawer->processPlacement({place}, std::nullopt);
    state.setTimeBelow(0);
    EXPECT_EQ(tick().blocks.staticBlock, "Lyon");
    EXPECT_EQ(state.location(), "Lyon");

    drawer->saveLocationIndex(0);
    EXPECT_EQ(state.location(), "");
    EXPECT_EQ(store.lineDrawer.getSavedLocation(), "None");
    EXPECT_EQ(tick().blocks.staticBlock, "");
}

TEST_F(LineDrawerTextTest, CompassNeedsSettingReadingAndADrawingType) {
    auto& layer = makeDrawer(0);
    layer.setLuoPanSource([] { return LineDrawer::LuoPanReading{true, 0.4}; });  // 22.9 degrees
    cache.setShowLuoPan(true);
    store.luoPan.saveLuoPanStyle(2);
    screen::reloadLuoPanSetting(store);
    auto strings = tick();
    EXPECT_TRUE(strings.compassShown);
    EXPECT_EQ(strings.compassDegree, 23);
    EXPECT_EQ(strings.compassTail, "° NE");

    store.luoPan.saveLuoPanStyle(1);
    screen::reloadLuoPanSetting(store);
    EXPECT_FALSE(tick().compassShown);

    store.luoPan.saveLuoPanStyle(2);
    screen::reloadLuoPanSetting(store);
    layer.setLuoPanSource([] { return LineDrawer::LuoPanReading{false, 0.4}; });
    strings = tick();
    EXPECT_FALSE(strings.compassShown);
    EXPECT_EQ(strings.compassTail, "");
}

TEST_F(LineDrawerTextTest, StopWatchRunsHoldsAndRestarts) {
    makeDrawer(0);
    EXPECT_FALSE(tick().stopWatchShown);
    state.displayStopWatch(true);
    EXPECT_EQ(tick().stopWatch, "00:00:00:000");

    state.startStopWatch();
    clock.advance(61.25);
    EXPECT_EQ(tick().stopWatch, "00:01:01:250");
    state.stopStopWatch();
    clock.advance(10);
    EXPECT_EQ(tick().stopWatch, "00:01:01:250");
    state.resetStopWatch();
    EXPECT_EQ(tick().stopWatch, "00:00:00:000");
    state.startStopWatch();
    clock.advance(2.5);
    EXPECT_EQ(tick().stopWatch, "00:00:02:500");
}

TEST_F(LineDrawerTextTest, FrameThreadComposesWhileTheMainThreadChangesRows) {
    auto& layer = makeDrawer(19);
    std::atomic<bool> done{false};
    std::thread frames([&] {
        StampStrings strings;
        while (!done.load()) {
            layer.composeStrings(strings);
        }
    });
    for (int i = 0; i < 200; ++i) {
        layer.coordinateCatalogue().rebuild({10.0 + i * 1e-4, 20.0, 3.0});
        platform::Placemark place;
        place.locality = "street " + std::to_string(i);
        layer.processPlacement({place}, std::nullopt);
        if (i % 2 == 0) {
            layer.setLocationIndex(0);
        }
        layer.setTimeFormatIndex(i % 2 ? 46 : 19);
        state.setCustomText("text " + std::to_string(i));
    }
    done.store(true);
    frames.join();
    StampStrings strings;
    layer.composeStrings(strings);
    EXPECT_EQ(strings.blocks.staticBlock, "street 199\ntext 199");
}

}  // namespace
}  // namespace orvane::stamp
