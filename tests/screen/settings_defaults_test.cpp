// What a fresh installation reads for every key once the launch sequence has run.
#include <gtest/gtest.h>

#include <map>

#include "screen/settings_first_run.h"
#include "screen/settings_keys.h"
#include "tests/screen/settings_test_support.h"

namespace orvane::screen {
namespace {

using foundation::Color;

// Keys and the value each of them reads first.
struct Expected {
    std::vector<const char*> keys;
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
    // The first-run flags.
    {{"haveinit", "haverun", "haverun2", "haverun1", "HaveInitWatermarkSetting",
      "HaveInitWatermarkSetting2", "HaveInitMapSetting", "HaveInitASSetting",
      "HaveInitLuoPanSetting", "HaveInitUIRotateMode", "HaveInitPowerSaveBrightness",
      "HaveInitVideoBitrateAndExtensionSetting", "HaveAdjustFontLevel"},
     true},
    // Capture, files and timers.
    {{"cameraModeIndex", "backFlashMode", "frontFlashMode", "VideoBitrateMode", "FileNameFormat"},
     integer(1)},
    {{"currentWhichCamera", "VideoExtensionMode", "VideoCodec", "FileNameIndex",
      "PlanCaptureInterval", "videoSplitInterval", "CaptureTimerSeconds"},
     integer(0)},
    {{"defaultresolution"}, integer(2)},
    {{"defaultPhotoresolution"}, integer(5)},
    {{"SmallPhoto", "AudioMute", "EnableVideoStabilization", "MirrorFrontCamera",
      "KeepOriginalImage", "ShowFileIndex", "NameWithCustomText", "EnableCaptureTimer"},
     false},
    {{"FileNamePrefix"}, kNil},
    {{"PhotoLibraryAccessLevel"}, std::string("full")},
    {{"TimelpaseInterval"}, 0.5},
    // The screen.
    {{"UIMode", "UIRotateMode"}, integer(0)},
    {{"hideMenu", "ShowGrid", "hideLevelLine", "AlwaysShowZoomSlider", "TouchToCapture",
      "VolumeButtonCapture", "PowerSaveMode", "SupportTapToChangePowerSaveMode",
      "SupportSingleTapToChangeBrightenWhenPowerSaveMode", "ShowParticleEffect", "ShowShortcutText",
      "ShowShortcutTag", "ShowShortcutStopWatch", "ShowShortcutLock"},
     false},
    {{"PowerSaveBrightness"}, floating(0.1f)},
    {{"HideDanceMode"}, true},
    // The stamp.
    {{"defaultFontName"}, std::string("ArialMT")},
    {{"defaultFontSizeLevel", "timePosition"}, integer(2)},
    {{"defaultFontColor"}, Color::whiteColor()},
    {{"TextBackgroundColor", "TextStrokeColor"}, Color::blackColor()},
    {{"useTextStroke", "ShowTagOnCamera", "ShowAltitudeAndSpeed", "ShowLunar", "NeedDisplayLuoPan",
      "NeedDisplayMap"},
     false},
    {{"BackgroundAlpha", "TimeAboveMode", "CustomTextOrder"}, integer(0)},
    {{"TextAlpha"}, integer(100)},
    {{"TextDistanceMode", "timeSegIndex", "TimeFormatIndex"}, integer(1)},
    {{"SavedLocationType"}, std::string("formatAddress2")},
    {{"SavedLocation", "SavedGpsType", "SavedGps", "InputText", "CustomTextArray", "AllTags",
      "SelectTags", "GeocoderURL", "GeocoderContact"},
     kNil},
    // The overlays.
    {{"WaterPositionNotAuto", "MapPositionNotAuto", "LuoPanPositionNotAuto"}, false},
    {{"WatermarkPosition", "MapPosition"}, integer(2)},
    {{"WatermarkOpacity", "WatermarkSize"}, floating(1.0f)},
    {{"WatermarkEdge"}, integer(20)},
    {{"MapType", "MapAppearance", "ASDisplay", "ASUnits", "LuoPanPosition"}, integer(0)},
    {{"MapOpacity"}, floating(0.4f)},
    {{"MapSize", "MapScale"}, floating(0.5f)},
    {{"MapTileURL", "MapAttribution", "MapTilesFile"}, kNil},
    {{"LuoPanStyle"}, integer(4)},
    {{"LuoPanSize"}, floating(0.0f)},
    // Effects and drawing.
    {{"effectIndex", "backgroundIndex", "particleIndex", "worldCup"}, integer(0)},
    {{"paperIndex", "penColor"}, integer(2)},
    {{"defaultLineColor"}, Color::redColor()},
    // Mail after capture.
    {{"EmailAfterPhotoTaken", "PutAddressInSubject"}, false},
    {{"EmailTarget", "EmailSubject", "EmailContent"}, kNil},
};

class FreshStoreTest : public ::testing::Test, protected testing::TestStore {};

// The table names every key of the store once.
TEST_F(FreshStoreTest, EveryKeyReadsItsFirstValueAfterTheLaunchSequence) {
    std::map<std::string_view, SettingValue> table;
    for (const auto& expected : kFreshDesktop) {
        for (const char* key : expected.keys) {
            EXPECT_TRUE(table.emplace(key, expected.value).second) << "listed twice: " << key;
        }
    }
    EXPECT_EQ(table.size(), settingKeys().size());
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    for (const auto& key : settingKeys()) {
        const auto expected = table.find(key.name);
        ASSERT_NE(expected, table.end()) << "no first value for " << key.name;
        EXPECT_EQ(key.read(store), expected->second) << key.name;
    }
}

// The stored inversions let absent keys read the wanted values without any first-run write.
TEST_F(FreshStoreTest, InvertedKeysStayAbsent) {
    loadSettingsAtLaunch(store, DeviceTraits{}, "en");
    for (const char* key : {"backFlashMode", "frontFlashMode", "TextAlpha", "HideDanceMode"}) {
        EXPECT_FALSE(defaults.objectForKey(key)) << key;
    }
}

}  // namespace
}  // namespace orvane::screen
