// The first-run block, the one-time migrations and the launch sequence as a whole.
#include <gtest/gtest.h>

#include "screen/settings_first_run.h"
#include "tests/screen/settings_test_support.h"

namespace orvane::screen {
namespace {

using testing::snapshot;
using testing::TestStore;

class FirstRunTest : public ::testing::Test, protected testing::TestStore {};

TEST_F(FirstRunTest, FreshStoreIsWrittenInTheBlocksOrder) {
    runFirstRunBlock(store, DeviceTraits{});
    EXPECT_EQ(defaults.written(),
              (std::vector<std::string>{
                  "UIRotateMode", "HaveInitUIRotateMode", "cameraModeIndex", "timeSegIndex",
                  "haveinit", "TextDistanceMode", "FileNameFormat", "PowerSaveBrightness",
                  "HaveInitPowerSaveBrightness",
                  // The overlays and the video settings, each group closed by its flag.
                  "WaterPositionNotAuto", "WatermarkPosition", "WatermarkOpacity", "WatermarkSize",
                  "WatermarkEdge", "HaveInitWatermarkSetting", "HaveInitWatermarkSetting2",
                  "MapPositionNotAuto", "MapPosition", "MapType", "MapOpacity", "MapSize",
                  "MapScale", "HaveInitMapSetting", "ASDisplay", "ASUnits", "HaveInitASSetting",
                  "LuoPanPositionNotAuto", "LuoPanPosition", "LuoPanStyle", "LuoPanSize",
                  "HaveInitLuoPanSetting", "VideoBitrateMode", "VideoExtensionMode",
                  "HaveInitVideoBitrateAndExtensionSetting"}));
    EXPECT_EQ(cache.getVideoBitrateMode(), 1) << "the bitrate step writes the cached copy too";
}

// An older store keeps dance mode only where the user shows it.
TEST_F(FirstRunTest, OlderStoreInHiddenDanceModeStartsInPhotoMode) {
    for (const bool shown : {false, true}) {
        TestStore older;
        older.vc.SetHaveInit();
        if (shown) {
            older.vc.SetHideDanceMode(false);
        }
        older.vc.saveCameraModeIndex(4);
        runFirstRunBlock(older.store, DeviceTraits{});
        EXPECT_EQ(older.vc.getCameraModeIndex(), shown ? 4 : 1) << "shown " << shown;
    }
}

TEST_F(FirstRunTest, MarginModeOfTheFirstRunFollowsScreenSizeAndHomeButton) {
    struct Row {
        int sizeCode;
        bool homeButton;
        std::int64_t margin;
    };
    const std::vector<Row> rows = {
        {0, false, 1}, {0, true, 0},  {1, true, 0},  {4, true, 0},  {5, true, 1},
        {6, true, 1},  {10, true, 1}, {11, true, 0}, {3, false, 1},
    };
    for (const auto& row : rows) {
        TestStore fresh;
        runFirstRunBlock(fresh.store, DeviceTraits{row.sizeCode, row.homeButton});
        EXPECT_EQ(fresh.vc.readTextDistanceMode(), row.margin)
            << "size " << row.sizeCode << ", home button " << row.homeButton;
    }
}

TEST_F(FirstRunTest, AnInitialisedStoreKeepsTheUsersChoices) {
    runFirstRunBlock(store, DeviceTraits{});
    vc.saveTimeSegIndex(3);
    vc.saveTextDistanceMode(2);
    vc.saveFileNameFormat(7);
    vc.SetPowerSaveBrightness(0.6f);
    vc.saveUIRotateMode(2);
    store.map.saveMapOpacity(0.8f);
    store.luoPan.saveLuoPanStyle(1);
    store.altAndSpeed.saveASUnits(1);
    vc.saveVideoBitrateMode(2);
    store.watermark.saveWatermarkEdge(55);
    const auto before = snapshot(defaults);
    runFirstRunBlock(store, DeviceTraits{5, true});
    EXPECT_EQ(snapshot(defaults), before);
}

TEST_F(FirstRunTest, OlderWatermarkSizeMovesToTheNewScaleOnce) {
    vc.SetHaveInitWatermarkSetting();
    store.watermark.saveWatermarkSize(1.0f);
    store.watermark.saveWatermarkPosition(5);
    initWatermarkSetting(store);
    EXPECT_FLOAT_EQ(store.watermark.readWatermarkSize(), 1.75f);
    EXPECT_EQ(store.watermark.readWatermarkPosition(), 5);
    EXPECT_TRUE(vc.isHaveInitWatermarkSetting2());
    initWatermarkSetting(store);
    EXPECT_FLOAT_EQ(store.watermark.readWatermarkSize(), 1.75f);
}

TEST_F(FirstRunTest, OlderFontLevelIsRaisedOnceAndOnlyOnce) {
    vc.setDefaultFont("Helvetica");
    vc.setDefaultFontSizeLevel(1);
    initializeFontSettings(store);
    EXPECT_EQ(vc.getDefaultFontSizeLevel(), 2);
    EXPECT_EQ(vc.getDefaultFont(), "Helvetica");
    initializeFontSettings(store);
    EXPECT_EQ(vc.getDefaultFontSizeLevel(), 2);
}

TEST_F(FirstRunTest, GLViewSetsItsFirstValuesThenLoadsThem) {
    const auto first = runGLViewFirstRun(store);
    EXPECT_EQ(first.paperIndex, 2);
    EXPECT_EQ(first.penColorIndex, 2);
    EXPECT_EQ(first.timePosition, 2);
    EXPECT_TRUE(defaults.objectForKey("worldCup"));

    store.glView.saveEffectIndex(7);
    store.glView.saveTimePosition(4);
    store.glView.saveWorldCupIndex(3);
    defaults.clearWritten();
    const auto later = runGLViewFirstRun(store);
    EXPECT_EQ(later.effectIndex, 7);
    EXPECT_EQ(later.timePosition, 4);
    EXPECT_EQ(later.worldCupIndex, 3);
    EXPECT_TRUE(defaults.written().empty());
}

TEST_F(FirstRunTest, StampLayerStartsWithTheLanguagesAddressForm) {
    for (const auto& [language, form] : std::vector<std::pair<std::string, std::string>>{
             {"zh", "fulladdress"}, {"en", "formatAddress2"}, {"de", "formatAddress2"}}) {
        TestStore fresh;
        const auto values = runStampLayerFirstRun(fresh.store, language);
        EXPECT_EQ(values.timeFormatIndex, 1);
        EXPECT_EQ(values.locationType, form) << language;
        EXPECT_EQ(fresh.store.lineDrawer.getSavedLocationType(), form) << language;
        EXPECT_EQ(fresh.store.lineDrawer.getTimeFormatIndex(), 1);
    }
}

TEST_F(FirstRunTest, CoordinateFormsMoveOutOfTheAddressKey) {
    struct Row {
        std::optional<std::string> locationType;
        std::optional<std::string> gpsType;
        std::optional<std::string> locationAfter;
        std::optional<std::string> gpsAfter;
    };
    const std::vector<Row> rows = {
        {"gps2", std::nullopt, std::nullopt, "gps2"},
        {"gps1", "", std::nullopt, "gps1"},
        {"gps2", "gps5", "gps2", "gps5"},
        {"fulladdress", std::nullopt, "fulladdress", std::nullopt},
        {"gps3", std::nullopt, "gps3", std::nullopt},
    };
    for (const auto& row : rows) {
        TestStore older;
        auto& lineDrawer = older.store.lineDrawer;
        lineDrawer.SetHaveRun();
        lineDrawer.saveTimeFormatIndex(33);
        lineDrawer.saveLocationType(row.locationType);
        lineDrawer.saveGpsType(row.gpsType);
        const auto values = runStampLayerFirstRun(older.store, "en");
        const auto label = row.locationType.value_or("nil");
        EXPECT_EQ(values.timeFormatIndex, 33);
        EXPECT_EQ(lineDrawer.getSavedLocationType(), row.locationAfter) << label;
        EXPECT_EQ(lineDrawer.getSavedGpsType(), row.gpsAfter) << label;
        EXPECT_EQ(values.locationType, row.locationAfter) << label;
        EXPECT_EQ(values.gpsType, row.gpsAfter) << label;
    }
}

TEST_F(FirstRunTest, LegacySmallPhotoBecomesPhotoResolutionFour) {
    vc.SetSmallPhoto(true);
    vc.setDefaultPhotoResolution(6);
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    EXPECT_FALSE(vc.isSmallPhoto());
    EXPECT_EQ(vc.getDefaultPhotoResolution(), 4);
    EXPECT_FALSE(cache.isSmallPhoto());
    EXPECT_EQ(cache.getCurrentPhotoRes(), 4);
}

// Chinese also starts with the full address form.
TEST_F(FirstRunTest, EveryLaunchTurnsPowerSaveOffAndTheLunarLineOutsideChinese) {
    for (const std::string language : {"fr", "zh"}) {
        TestStore launched;
        launched.vc.SetPowerSaveMode(true);
        launched.vc.SetShowLunar(true);
        loadSettingsAtLaunch(launched.store, DeviceTraits{}, language);
        const bool chinese = language == "zh";
        EXPECT_FALSE(launched.vc.isPowerSaveMode()) << language;
        EXPECT_FALSE(launched.cache.isPowerSaveMode()) << language;
        EXPECT_EQ(launched.vc.GetShowLunar(), chinese) << language;
        EXPECT_EQ(launched.cache.isShowLunar(), chinese) << language;
        EXPECT_EQ(launched.store.lineDrawer.getSavedLocationType(),
                  chinese ? "fulladdress" : "formatAddress2")
            << language;
    }
}

TEST_F(FirstRunTest, DimBrightnessIsRaisedWhenLoaded) {
    vc.SetHaveInitPowerSaveBrightness();
    defaults.setFloat("PowerSaveBrightness", 0.01f);
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    EXPECT_FLOAT_EQ(cache.getPowerSaveBrightness(), 0.02f);
}

TEST_F(FirstRunTest, SecondLaunchOfAFreshOrAnOlderStoreChangesNothing) {
    vc.SetHaveInit();
    vc.saveCameraModeIndex(4);
    vc.setDefaultFont("Helvetica");
    vc.setDefaultFontSizeLevel(1);
    vc.SetHaveInitWatermarkSetting();
    store.watermark.saveWatermarkSize(2.0f);
    vc.SetSmallPhoto(true);
    store.lineDrawer.SetHaveRun();
    store.lineDrawer.saveLocationType("gps1");
    TestStore fresh;
    for (TestStore* launched : {&fresh, static_cast<TestStore*>(this)}) {
        loadSettingsAtLaunch(launched->store, DeviceTraits{}, "en");
        const auto afterFirst = snapshot(launched->defaults);
        loadSettingsAtLaunch(launched->store, DeviceTraits{}, "en");
        EXPECT_EQ(snapshot(launched->defaults), afterFirst)
            << (launched == &fresh ? "fresh" : "older");
    }
    // The older store's migrations ran once each.
    EXPECT_EQ(vc.getDefaultFontSizeLevel(), 2);
    EXPECT_FLOAT_EQ(store.watermark.readWatermarkSize(), 3.25f);
    EXPECT_EQ(store.lineDrawer.getSavedGpsType(), "gps1");
}

}  // namespace
}  // namespace orvane::screen
