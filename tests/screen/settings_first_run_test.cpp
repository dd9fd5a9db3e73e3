// The first-run block, the one-time migrations and the launch sequence as a whole.
#include <gtest/gtest.h>

#include "screen/settings_first_run.h"
#include "tests/screen/settings_test_support.h"

namespace orvane::screen {
namespace {

using testing::RecordingDefaults;
using testing::snapshot;

class FirstRunTest : public ::testing::Test {
  protected:
    RecordingDefaults defaults;
    SettingsCache cache;
    SettingsStore store{defaults, cache};
    ZephrinViewControllerStore& vc = store.viewController;
};

TEST_F(FirstRunTest, FreshStoreIsWrittenInTheBlocksOrder) {
    runFirstRunBlock(store, DeviceTraits{});
    const std::vector<std::string> expected = {
        "UIRotateMode",
        "HaveInitUIRotateMode",
        "cameraModeIndex",
        "timeSegIndex",
        "haveinit",
        "TextDistanceMode",
        "FileNameFormat",
        "PowerSaveBrightness",
        "HaveInitPowerSaveBrightness",
        "WaterPositionNotAuto",
        "WatermarkPosition",
        "WatermarkOpacity",
        "WatermarkSize",
        "WatermarkEdge",
        "HaveInitWatermarkSetting",
        "HaveInitWatermarkSetting2",
        "MapPositionNotAuto",
        "MapPosition",
        "MapType",
        "MapOpacity",
        "MapSize",
        "MapScale",
        "HaveInitMapSetting",
        "ASDisplay",
        "ASUnits",
        "HaveInitASSetting",
        "LuoPanPositionNotAuto",
        "LuoPanPosition",
        "LuoPanStyle",
        "LuoPanSize",
        "HaveInitLuoPanSetting",
        "VideoBitrateMode",
        "VideoExtensionMode",
        "HaveInitVideoBitrateAndExtensionSetting",
    };
    EXPECT_EQ(defaults.written(), expected);
    EXPECT_EQ(cache.getVideoBitrateMode(), 1) << "the bitrate step writes the cached copy too";
}

TEST_F(FirstRunTest, OlderStoreInHiddenDanceModeStartsInPhotoMode) {
    vc.SetHaveInit();
    vc.saveCameraModeIndex(4);
    runFirstRunBlock(store, DeviceTraits{});
    EXPECT_EQ(vc.getCameraModeIndex(), 1);
}

TEST_F(FirstRunTest, DanceModeSurvivesWhenTheUserShowsIt) {
    vc.SetHaveInit();
    vc.SetHideDanceMode(false);
    vc.saveCameraModeIndex(4);
    runFirstRunBlock(store, DeviceTraits{});
    EXPECT_EQ(vc.getCameraModeIndex(), 4);
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
        RecordingDefaults fresh;
        SettingsCache freshCache;
        SettingsStore freshStore(fresh, freshCache);
        runFirstRunBlock(freshStore, DeviceTraits{row.sizeCode, row.homeButton});
        EXPECT_EQ(freshStore.viewController.readTextDistanceMode(), row.margin)
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
    EXPECT_EQ(store.glView.getPaperIndex(), 2);
    EXPECT_EQ(store.glView.getTimePosition(), 2);
    EXPECT_EQ(store.glView.getWorldCupIndex(), 0);
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
        RecordingDefaults fresh;
        SettingsCache freshCache;
        SettingsStore freshStore(fresh, freshCache);
        const auto values = runStampLayerFirstRun(freshStore, language);
        EXPECT_EQ(values.timeFormatIndex, 1);
        EXPECT_EQ(values.locationType, form) << language;
        EXPECT_EQ(freshStore.lineDrawer.getSavedLocationType(), form) << language;
        EXPECT_EQ(freshStore.lineDrawer.getTimeFormatIndex(), 1);
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
        RecordingDefaults older;
        SettingsCache olderCache;
        SettingsStore olderStore(older, olderCache);
        olderStore.lineDrawer.SetHaveRun();
        olderStore.lineDrawer.saveTimeFormatIndex(33);
        olderStore.lineDrawer.saveLocationType(row.locationType);
        olderStore.lineDrawer.saveGpsType(row.gpsType);
        const auto values = runStampLayerFirstRun(olderStore, "en");
        const auto label = row.locationType.value_or("nil");
        EXPECT_EQ(values.timeFormatIndex, 33);
        EXPECT_EQ(olderStore.lineDrawer.getSavedLocationType(), row.locationAfter) << label;
        EXPECT_EQ(olderStore.lineDrawer.getSavedGpsType(), row.gpsAfter) << label;
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

TEST_F(FirstRunTest, EveryLaunchTurnsPowerSaveOffAndTheLunarLineOutsideChinese) {
    vc.SetPowerSaveMode(true);
    vc.SetShowLunar(true);
    loadSettingsAtLaunch(store, DeviceTraits{}, "fr");
    EXPECT_FALSE(vc.isPowerSaveMode());
    EXPECT_FALSE(cache.isPowerSaveMode());
    EXPECT_FALSE(vc.GetShowLunar());
    EXPECT_FALSE(cache.isShowLunar());
}

TEST_F(FirstRunTest, DimBrightnessIsRaisedWhenLoaded) {
    vc.SetHaveInitPowerSaveBrightness();
    defaults.setFloat("PowerSaveBrightness", 0.01f);
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    EXPECT_FLOAT_EQ(cache.getPowerSaveBrightness(), 0.02f);
}

TEST_F(FirstRunTest, SecondLaunchChangesNothing) {
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    const auto afterFirst = snapshot(defaults);
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    EXPECT_EQ(snapshot(defaults), afterFirst);
}

TEST_F(FirstRunTest, SecondLaunchOfAnOlderStoreChangesNothing) {
    vc.SetHaveInit();
    vc.saveCameraModeIndex(4);
    vc.setDefaultFont("Helvetica");
    vc.setDefaultFontSizeLevel(1);
    vc.SetHaveInitWatermarkSetting();
    store.watermark.saveWatermarkSize(2.0f);
    vc.SetSmallPhoto(true);
    store.lineDrawer.SetHaveRun();
    store.lineDrawer.saveLocationType("gps1");
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    const auto afterFirst = snapshot(defaults);
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    EXPECT_EQ(snapshot(defaults), afterFirst);
    EXPECT_EQ(vc.getDefaultFontSizeLevel(), 2);
    EXPECT_FLOAT_EQ(store.watermark.readWatermarkSize(), 3.25f);
    EXPECT_EQ(store.lineDrawer.getSavedGpsType(), "gps1");
}

}  // namespace
}  // namespace orvane::screen
