// The reset of the text settings touches the stamp keys, in order, and nothing else.
#include <gtest/gtest.h>

#include "screen/settings_first_run.h"
#include "screen/settings_keys.h"
#include "screen/settings_reset.h"
#include "tests/screen/settings_test_support.h"

namespace orvane::screen {
namespace {

using foundation::Color;
using testing::TestStore;

class ResetTest : public ::testing::Test, protected testing::TestStore {
  protected:
    void SetUp() override {
        loadSettingsAtLaunch(store, DeviceTraits{}, "en");
        // Move every stamp key away from its first value.
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
        // And some keys it must leave alone.
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
};

TEST_F(ResetTest, WritesExactlyTheStampKeysInOrder) {
    resetTextSettings(store, "en");
    EXPECT_EQ(defaults.written(),
              (std::vector<std::string>{
                  "timePosition", "defaultFontName", "defaultFontSizeLevel", "defaultFontColor",
                  "SavedLocationType", "TimeFormatIndex", "SavedGps", "SavedGpsType",
                  // Then the overlay switches and the look of the text.
                  "ShowAltitudeAndSpeed", "NeedDisplayMap", "NeedDisplayLuoPan", "ShowLunar",
                  "TextDistanceMode", "BackgroundAlpha", "TextAlpha", "TextBackgroundColor",
                  "effectIndex", "particleIndex", "TimeAboveMode"}));
}

TEST_F(ResetTest, StampReadsItsFactoryStateAndTheCopiesFollow) {
    resetTextSettings(store, "en");
    // Every key it writes reads as on a fresh installation, but for the coordinates.
    TestStore fresh;
    loadSettingsAtLaunch(fresh.store, DeviceTraits{}, "en");
    for (const auto& name : defaults.written()) {
        if (name != "SavedGps" && name != "SavedGpsType") {
            const auto* key = findSettingKey(name);
            EXPECT_EQ(key->read(store), key->read(fresh.store)) << name;
        }
    }
    EXPECT_EQ(store.lineDrawer.getSavedGps(), "None");
    EXPECT_EQ(store.lineDrawer.getSavedGpsType(), "");

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
