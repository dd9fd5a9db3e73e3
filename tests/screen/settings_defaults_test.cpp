// What a fresh installation reads for every key once the launch sequence has run.
#include <gtest/gtest.h>

#include <set>

#include "platform/sim/MemoryUserDefaults.h"
#include "screen/settings_first_run.h"
#include "screen/settings_keys.h"

namespace orvane::screen {
namespace {

using foundation::Color;

struct Expected {
    const char* key;
    SettingValue value;
};

const SettingValue kNil{};

SettingValue integer(std::int64_t value) {
    return value;
}

SettingValue floating(float value) {
    return static_cast<double>(value);
}

// A Linux desktop (no known screen size, no home button) in English.
const std::vector<Expected> kFreshDesktop = {
    {"haveinit", true},
    {"haverun", true},
    {"haverun2", true},
    {"haverun1", true},
    {"HaveInitWatermarkSetting", true},
    {"HaveInitWatermarkSetting2", true},
    {"HaveInitMapSetting", true},
    {"HaveInitASSetting", true},
    {"HaveInitLuoPanSetting", true},
    {"HaveInitUIRotateMode", true},
    {"HaveInitPowerSaveBrightness", true},
    {"HaveInitVideoBitrateAndExtensionSetting", true},
    {"HaveAdjustFontLevel", true},

    {"cameraModeIndex", integer(1)},
    {"currentWhichCamera", integer(0)},
    {"defaultresolution", integer(2)},
    {"defaultPhotoresolution", integer(5)},
    {"SmallPhoto", false},
    {"backFlashMode", integer(1)},
    {"frontFlashMode", integer(1)},
    {"AudioMute", false},
    {"EnableVideoStabilization", false},
    {"MirrorFrontCamera", false},
    {"KeepOriginalImage", false},
    {"VideoBitrateMode", integer(1)},
    {"VideoExtensionMode", integer(0)},
    {"VideoCodec", integer(0)},
    {"FileNameFormat", integer(1)},
    {"FileNameIndex", integer(0)},
    {"FileNamePrefix", kNil},
    {"ShowFileIndex", false},
    {"NameWithCustomText", false},
    {"TimelpaseInterval", 0.5},
    {"PlanCaptureInterval", integer(0)},
    {"videoSplitInterval", integer(0)},
    {"EnableCaptureTimer", false},
    {"CaptureTimerSeconds", integer(0)},

    {"UIMode", integer(0)},
    {"UIRotateMode", integer(0)},
    {"hideMenu", false},
    {"ShowGrid", false},
    {"hideLevelLine", false},
    {"AlwaysShowZoomSlider", false},
    {"TouchToCapture", false},
    {"VolumeButtonCapture", false},
    {"PowerSaveMode", false},
    {"PowerSaveBrightness", floating(0.1f)},
    {"SupportTapToChangePowerSaveMode", false},
    {"SupportSingleTapToChangeBrightenWhenPowerSaveMode", false},
    {"HideDanceMode", true},
    {"ShowParticleEffect", false},
    {"ShowShortcutText", false},
    {"ShowShortcutTag", false},
    {"ShowShortcutStopWatch", false},
    {"ShowShortcutLock", false},

    {"defaultFontName", std::string("ArialMT")},
    {"defaultFontSizeLevel", integer(2)},
    {"defaultFontColor", Color::whiteColor()},
    {"TextBackgroundColor", Color::blackColor()},
    {"TextStrokeColor", Color::blackColor()},
    {"useTextStroke", false},
    {"BackgroundAlpha", integer(0)},
    {"TextAlpha", integer(100)},
    {"TextDistanceMode", integer(1)},
    {"TimeAboveMode", integer(0)},
    {"timePosition", integer(2)},
    {"timeSegIndex", integer(1)},
    {"TimeFormatIndex", integer(1)},
    {"SavedLocationType", std::string("formatAddress2")},
    {"SavedLocation", kNil},
    {"SavedGpsType", kNil},
    {"SavedGps", kNil},
    {"InputText", kNil},
    {"CustomTextArray", kNil},
    {"CustomTextOrder", integer(0)},
    {"AllTags", kNil},
    {"SelectTags", kNil},
    {"ShowTagOnCamera", false},
    {"ShowAltitudeAndSpeed", false},
    {"ShowLunar", false},
    {"NeedDisplayLuoPan", false},
    {"NeedDisplayMap", false},

    {"WaterPositionNotAuto", false},
    {"WatermarkPosition", integer(2)},
    {"WatermarkOpacity", floating(1.0f)},
    {"WatermarkSize", floating(1.0f)},
    {"WatermarkEdge", integer(20)},
    {"MapPositionNotAuto", false},
    {"MapPosition", integer(2)},
    {"MapType", integer(0)},
    {"MapOpacity", floating(0.4f)},
    {"MapSize", floating(0.5f)},
    {"MapScale", floating(0.5f)},
    {"MapAppearance", integer(0)},
    {"ASDisplay", integer(0)},
    {"ASUnits", integer(0)},
    {"LuoPanPositionNotAuto", false},
    {"LuoPanPosition", integer(0)},
    {"LuoPanStyle", integer(4)},
    {"LuoPanSize", floating(0.0f)},

    {"effectIndex", integer(0)},
    {"backgroundIndex", integer(0)},
    {"particleIndex", integer(0)},
    {"paperIndex", integer(2)},
    {"penColor", integer(2)},
    {"worldCup", integer(0)},
    {"defaultLineColor", Color::redColor()},

    {"EmailAfterPhotoTaken", false},
    {"PutAddressInSubject", false},
    {"EmailTarget", kNil},
    {"EmailSubject", kNil},
    {"EmailContent", kNil},
};

class FreshStoreTest : public ::testing::Test {
  protected:
    platform::MemoryUserDefaults defaults;
    SettingsCache cache;
    SettingsStore store{defaults, cache};
};

TEST_F(FreshStoreTest, EveryKeyReadsItsFirstValueAfterTheLaunchSequence) {
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    for (const auto& expected : kFreshDesktop) {
        const auto* key = findSettingKey(expected.key);
        ASSERT_NE(key, nullptr) << expected.key;
        EXPECT_EQ(key->read(store), expected.value) << expected.key;
    }
}

TEST_F(FreshStoreTest, TheTableAboveCoversEveryKeyOfTheStore) {
    std::set<std::string_view> listed;
    for (const auto& expected : kFreshDesktop) {
        EXPECT_TRUE(listed.insert(expected.key).second) << "listed twice: " << expected.key;
    }
    for (const auto& key : settingKeys()) {
        EXPECT_TRUE(listed.contains(key.name)) << "no first value for " << key.name;
    }
    EXPECT_EQ(listed.size(), settingKeys().size());
}

// The three stored inversions let absent keys read the wanted values without any first-run write.
TEST_F(FreshStoreTest, InvertedKeysStayAbsentYetReadTheirDefaults) {
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    for (const char* key : {"backFlashMode", "frontFlashMode", "TextAlpha", "HideDanceMode"}) {
        EXPECT_FALSE(defaults.objectForKey(key)) << key;
    }
    EXPECT_EQ(store.viewController.readBackFlashMode(), 1);
    EXPECT_EQ(store.viewController.readTextAlpha(), 100);
    EXPECT_TRUE(store.viewController.isHideDanceMode());
}

TEST_F(FreshStoreTest, ChineseGetsTheFullAddressFormAndKeepsItsLunarSwitch) {
    store.viewController.SetShowLunar(true);
    loadSettingsAtLaunch(store, DeviceTraits{}, "zh");
    EXPECT_EQ(store.lineDrawer.getSavedLocationType(), "fulladdress");
    EXPECT_TRUE(store.viewController.GetShowLunar());
}

}  // namespace
}  // namespace orvane::screen
