// The class-level cached copies: what the launch loads, what the reloads refresh, the selected
// tags string, and reads from other threads while the main thread writes.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "screen/settings_first_run.h"
#include "screen/settings_loading.h"
#include "screen/settings_reset.h"
#include "tests/screen/settings_test_support.h"

namespace orvane::screen {
namespace {

using foundation::Color;

class SettingsCacheTest : public ::testing::Test, protected testing::TestStore {
  protected:
    void launch() { loadSettingsAtLaunch(store, DeviceTraits{}, "en"); }
};

TEST(SelectTagsStringTest, TagsAreJoinedWithHashesAndNoTagsGiveNil) {
    EXPECT_EQ(selectTagsString({}), std::nullopt);
    EXPECT_EQ(selectTagsString({"site"}), "#site");
    EXPECT_EQ(selectTagsString({"site", "north wall", "day 3"}), "#site #north wall #day 3");
}

TEST_F(SettingsCacheTest, LaunchLoadsStoredValuesThroughTheirReadingRules) {
    launch();
    vc.saveTextAlpha(40);
    vc.saveBackgroundAlpha(30);
    defaults.setDouble("TimelpaseInterval", 10000.0);
    defaults.setInteger("defaultresolution", 12);
    vc.saveTextDistanceMode(3);
    vc.saveSelectTags(platform::StringArray{"a", "b"});
    vc.setInputText("hello");
    vc.SaveUseTextStroke(true);
    vc.setTextStrokeColor(Color{0.0, 1.0, 0.0, 1.0});
    vc.setTextBackgroundColor(Color{0.0, 0.0, 1.0, 0.5});
    vc.savePlanCaptureInterval(601);
    vc.savevideoSplitInterval(270);
    vc.SetEnableCaptureTimer(true);
    vc.saveCaptureTimerSeconds(5);
    vc.SetHideDanceMode(false);
    vc.saveTimeAboveMode(1);
    vc.setDefaultFont("Courier");
    store.sessionManager.saveFileNameIndex(77);
    store.luoPan.saveLuoPanSize(0.5f);
    store.luoPan.saveLuoPanStyle(2);
    store.map.saveMapSize(0.0f);
    store.watermark.saveWatermarkEdge(35);
    store.altAndSpeed.saveASDisplay(2);
    store.email.SetEmailAfterPhotoTaken(true);

    SettingsCache loaded;
    SettingsStore loading(defaults, loaded);
    loadSettingsAtLaunch(loading, DeviceTraits{}, "en");

    EXPECT_FLOAT_EQ(loaded.getTextAlpha(), 0.4f);
    EXPECT_FLOAT_EQ(loaded.getBackgroundAlpha(), 0.3f);
    EXPECT_DOUBLE_EQ(loaded.getTimelpaseInterval(), 0.5);
    EXPECT_EQ(loaded.getCurrentVideoResolution(), 2);
    EXPECT_EQ(loaded.getMarginsMode(), 3);
    EXPECT_EQ(loaded.getSelectTags(), (platform::StringArray{"a", "b"}));
    EXPECT_EQ(loaded.getSelectTagsString(), "#a #b");
    EXPECT_EQ(loaded.inputString(), "hello");
    EXPECT_TRUE(loaded.isUseTextStroke());
    EXPECT_EQ(loaded.getStrokeColor(), (Color{0.0, 1.0, 0.0, 1.0}));
    EXPECT_EQ(loaded.getBackgroundColor(), (Color{0.0, 0.0, 1.0, 0.5}));
    EXPECT_EQ(loaded.getPlanCaptureInterval(), 0);
    EXPECT_EQ(loaded.getvideoSplitInterval(), 270);
    EXPECT_TRUE(loaded.isCaptureTimerOn());
    EXPECT_EQ(loaded.getCaptureTimerSeconds(), 5);
    EXPECT_FALSE(loaded.isHideDanceMode());
    EXPECT_EQ(loaded.getTimeInAbove(), 1);
    EXPECT_EQ(loaded.getDefaultFontName(), "Courier");
    EXPECT_EQ(loaded.gGetFileNameIndex(), 77);
    EXPECT_FLOAT_EQ(loaded.readLuoPanSize(), 2.0f);
    EXPECT_EQ(loaded.getCompassDisplayType(), 2);
    EXPECT_DOUBLE_EQ(loaded.readMapSize(), 0.25);
    EXPECT_EQ(loaded.readWatermarkEdge(), 35);
    EXPECT_EQ(loaded.readASDisplay(), 2);
    EXPECT_TRUE(loaded.isNeedEmailAfterCapture());
}

TEST_F(SettingsCacheTest, FreshLaunchFillsTheOverlayCopiesWithTheirFirstValues) {
    launch();
    EXPECT_EQ(cache.readWatermarkPosition(), 2);
    EXPECT_FLOAT_EQ(cache.readWatermarkOpacity(), 1.0f);
    EXPECT_FLOAT_EQ(cache.readWatermarkSize(), 1.0f);
    EXPECT_EQ(cache.readMapPosition(), 2);
    EXPECT_FLOAT_EQ(cache.readMapOpacity(), 0.4f);
    EXPECT_DOUBLE_EQ(cache.readMapSize(), 1.0);
    EXPECT_EQ(cache.getCompassDisplayType(), 4);
    EXPECT_FLOAT_EQ(cache.readLuoPanSize(), 1.0f);
    EXPECT_FLOAT_EQ(cache.getTextAlpha(), 1.0f);
    EXPECT_EQ(cache.getMarginsMode(), 1);
    EXPECT_EQ(cache.getVideoBitrateMode(), 1);
    EXPECT_EQ(cache.getSelectTagsString(), std::nullopt);
    EXPECT_EQ(cache.inputString(), "");
}

TEST_F(SettingsCacheTest, CopiesStayStaleUntilTheirReloadRuns) {
    launch();
    store.map.saveMapPosition(5);
    store.map.saveMapSize(1.0f);
    store.luoPan.saveLuoPanSize(-0.5f);
    EXPECT_EQ(cache.readMapPosition(), 2);
    EXPECT_FLOAT_EQ(cache.readLuoPanSize(), 1.0f);

    reloadMapSetting(store);
    EXPECT_EQ(cache.readMapPosition(), 5);
    EXPECT_DOUBLE_EQ(cache.readMapSize(), 1.75);
    EXPECT_FLOAT_EQ(cache.readLuoPanSize(), 1.0f) << "the compass has its own reload";

    reloadOnAppear(store);
    EXPECT_FLOAT_EQ(cache.readLuoPanSize(), 0.5f);
}

TEST_F(SettingsCacheTest, EmptyInputTextIsIgnoredAndResetForgetsEverythingLoaded) {
    vc.saveSelectTags(platform::StringArray{"x"});
    vc.setInputText("text");
    launch();
    ASSERT_EQ(cache.getSelectTagsString(), "#x");
    cache.setInputString("");
    EXPECT_EQ(cache.inputString(), "text");
    cache.reset();
    EXPECT_EQ(cache.getSelectTagsString(), std::nullopt);
    EXPECT_EQ(cache.inputString(), "");
    EXPECT_EQ(cache.getMarginsMode(), 0);
    EXPECT_DOUBLE_EQ(cache.getTimelpaseInterval(), 0.0);
    EXPECT_EQ(cache.getDefaultFontName(), std::nullopt);
    EXPECT_EQ(cache.readWatermarkPosition(), 0);
}

// The frame path reads the copies on its own threads while the main thread changes settings.
TEST_F(SettingsCacheTest, OtherThreadsReadWhileTheMainThreadWrites) {
    launch();
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    auto reader = [this, &stop, &reads] {
        while (!stop.load()) {
            const auto color = cache.getBackgroundColor();
            const auto tags = cache.getSelectTagsString();
            const bool consistent = !tags || tags->front() == '#';
            if (color.alpha >= 0.0 && consistent && cache.getTextAlpha() >= 0.0f &&
                cache.getDefaultFontName().has_value() && cache.readMapSize() > 0.0) {
                reads.fetch_add(1);
            }
        }
    };
    std::thread frameThread(reader);
    std::thread stillThread(reader);
    // Let the readers get going, so the writes below overlap them.
    while (reads.load() < 2) {
        std::this_thread::yield();
    }
    for (int i = 0; i < 200; ++i) {
        vc.saveSelectTags(platform::StringArray{"tag" + std::to_string(i), "more"});
        vc.saveTextAlpha(i % 101);
        loadInitializeInterfaceCopies(store);
        reloadOnAppear(store);
        resetTextSettings(store, "en");
        cache.setMarginsMode(i % 4);
    }
    stop.store(true);
    frameThread.join();
    stillThread.join();
    EXPECT_EQ(cache.getMarginsMode(), 199 % 4);
}

}  // namespace
}  // namespace orvane::screen
