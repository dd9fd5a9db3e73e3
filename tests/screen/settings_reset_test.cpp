// The reset of the text settings touches the stamp keys, in order, and nothing else.
#include <gtest/gtest.h>

#include "screen/settings_first_run.h"
#include "screen/settings_reset.h"
#include "tests/screen/settings_test_support.h"

namespace orvane::screen {
namespace {

using foundation::Color;
using testing::RecordingDefaults;
using testing::snapshot;

class ResetTest : public ::testing::Test {
  protected:
    void SetUp() override {
        loadSettingsAtLaunch(store, DeviceTraits{}, "en");
        // Move every stamp key and some others away from their first values.
        auto& vc = store.viewController;
        store.glView.saveTimePosition(4);
        vc.setDefaultFont("Courier");
        vc.setDefaultFontSizeLevel(4);
        vc.setDefaultFontColor(Color{0.2, 0.4, 0.6, 1.0});
        store.lineDrawer.saveLocationType("formatAddress5");
        store.lineDrawer.saveTimeFormatIndex(40);
        store.lineDrawer.saveGps("N 1 E 2");
        store.lineDrawer.saveGpsType("gps3");
        vc.SetShowAltitudeAndSpeed(true);
        vc.SetNeedDisplayMap(true);
        vc.SetNeedDisplayLuoPan(true);
        vc.SetShowLunar(true);
        vc.saveTextDistanceMode(3);
        vc.saveBackgroundAlpha(60);
        vc.saveTextAlpha(30);
        vc.setTextBackgroundColor(Color{1.0, 1.0, 0.0, 1.0});
        store.glView.saveEffectIndex(5);
        store.glView.saveParticleIndex(9);
        vc.saveTimeAboveMode(1);
        vc.SetShowGrid(true);
        vc.saveCameraModeIndex(0);
        vc.setFileNamePrefix("site");
        vc.setDefaultResolution(9);
        vc.setTextStrokeColor(Color{0.0, 1.0, 0.0, 1.0});
        store.glView.saveBackgroundIndex(3);
        // Load the moved values into the copies; Chinese keeps the lunar line on.
        loadSettingsAtLaunch(store, DeviceTraits{}, "zh");
        defaults.clearWritten();
    }

    RecordingDefaults defaults;
    SettingsCache cache;
    SettingsStore store{defaults, cache};
};

TEST_F(ResetTest, WritesExactlyTheStampKeysInOrder) {
    resetTextSettings(store, "en");
    const std::vector<std::string> expected = {
        "timePosition",
        "defaultFontName",
        "defaultFontSizeLevel",
        "defaultFontColor",
        "SavedLocationType",
        "TimeFormatIndex",
        "SavedGps",
        "SavedGpsType",
        "ShowAltitudeAndSpeed",
        "NeedDisplayMap",
        "NeedDisplayLuoPan",
        "ShowLunar",
        "TextDistanceMode",
        "BackgroundAlpha",
        "TextAlpha",
        "TextBackgroundColor",
        "effectIndex",
        "particleIndex",
        "TimeAboveMode",
    };
    EXPECT_EQ(defaults.written(), expected);
}

TEST_F(ResetTest, LeavesCaptureFileAndScreenKeysAlone) {
    const auto before = snapshot(defaults);
    resetTextSettings(store, "en");
    const auto after = snapshot(defaults);
    for (const char* key : {"ShowGrid", "cameraModeIndex", "FileNamePrefix", "defaultresolution",
                            "TextStrokeColor", "backgroundIndex", "paperIndex", "UIRotateMode"}) {
        EXPECT_EQ(after.at(key), before.at(key)) << key;
    }
    EXPECT_EQ(after.size(), before.size());
}

TEST_F(ResetTest, StampReadsItsFactoryStateAndTheCopiesFollow) {
    resetTextSettings(store, "en");
    const auto& vc = store.viewController;
    EXPECT_EQ(store.glView.getTimePosition(), 2);
    EXPECT_EQ(vc.getDefaultFont(), "ArialMT");
    EXPECT_EQ(vc.getDefaultFontSizeLevel(), 2);
    EXPECT_EQ(vc.getDefaultFontColor(), Color::whiteColor());
    EXPECT_EQ(store.lineDrawer.getSavedLocationType(), "formatAddress2");
    EXPECT_EQ(store.lineDrawer.getTimeFormatIndex(), 1);
    EXPECT_EQ(store.lineDrawer.getSavedGps(), "None");
    EXPECT_EQ(store.lineDrawer.getSavedGpsType(), "");
    EXPECT_FALSE(vc.GetShowAltitudeAndSpeed());
    EXPECT_FALSE(vc.isNeedDisplayMap());
    EXPECT_FALSE(vc.isNeedDisplayLuoPan());
    EXPECT_FALSE(vc.GetShowLunar());
    EXPECT_EQ(vc.readTextDistanceMode(), 1);
    EXPECT_EQ(vc.readBackgroundAlpha(), 0);
    EXPECT_EQ(vc.readTextAlpha(), 100);
    EXPECT_EQ(store.viewController.getTextBackgroundColor().hexString(), "0xFF000000");
    EXPECT_EQ(store.glView.getEffectIndex(), 0);
    EXPECT_EQ(store.glView.getParticleIndex(), 0);
    EXPECT_EQ(vc.readTimeAboveMode(), 0);

    EXPECT_EQ(cache.getDefaultFontName(), "ArialMT");
    EXPECT_EQ(cache.getDefaultFontSizeLevel(), 2);
    EXPECT_EQ(cache.getDefaultFontColor(), Color::whiteColor());
    EXPECT_FALSE(cache.isShowAltitudeAndSpeed());
    EXPECT_FALSE(cache.isShowLuoPan());
    EXPECT_FALSE(cache.isShowLunar());
    EXPECT_EQ(cache.getMarginsMode(), 1);
    EXPECT_FLOAT_EQ(cache.getBackgroundAlpha(), 0.0f);
    EXPECT_FLOAT_EQ(cache.getTextAlpha(), 1.0f);
    EXPECT_EQ(cache.getBackgroundColor(), Color::blackColor());
    EXPECT_EQ(cache.getTimeInAbove(), 0);
}

TEST_F(ResetTest, ChineseResetsToTheFullAddress) {
    resetTextSettings(store, "zh");
    EXPECT_EQ(store.lineDrawer.getSavedLocationType(), "fulladdress");
}

}  // namespace
}  // namespace orvane::screen
