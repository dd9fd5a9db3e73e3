// Reading rules and stored transformations of single keys: ranges, inversions, clamps, colours
// and the public forms of the map and compass sliders.
#include <gtest/gtest.h>

#include "platform/sim/MemoryUserDefaults.h"
#include "screen/settings_color.h"
#include "screen/settings_keys.h"
#include "screen/settings_store.h"

namespace orvane::screen {
namespace {

using foundation::Color;
using platform::DefaultsValue;

class ReadingRuleTest : public ::testing::Test {
  protected:
    SettingValue readKey(std::string_view name) { return findSettingKey(name)->read(store); }
    void writeKey(std::string_view name, const SettingValue& value) {
        const auto* key = findSettingKey(name);
        key->write(store, key->name, value);
    }

    platform::MemoryUserDefaults defaults;
    SettingsCache cache;
    SettingsStore store{defaults, cache};
};

struct StoredRead {
    const char* key;
    DefaultsValue stored;
    SettingValue read;
};

TEST_F(ReadingRuleTest, StoredValuesReadThroughTheirRules) {
    const std::vector<StoredRead> rows = {
        {"TimelpaseInterval", 0.0, 0.5},
        {"TimelpaseInterval", 10000.0, 0.5},
        {"TimelpaseInterval", 0.2499, 0.5},
        {"TimelpaseInterval", 0.25, 0.25},
        {"TimelpaseInterval", 7200.0, 7200.0},
        {"TimelpaseInterval", 7200.5, 0.5},
        {"TimelpaseInterval", 3.0, 3.0},
        {"videoSplitInterval", std::int64_t{14}, std::int64_t{0}},
        {"videoSplitInterval", std::int64_t{15}, std::int64_t{15}},
        {"videoSplitInterval", std::int64_t{270}, std::int64_t{270}},
        {"videoSplitInterval", std::int64_t{3600}, std::int64_t{3600}},
        {"videoSplitInterval", std::int64_t{3601}, std::int64_t{0}},
        {"PlanCaptureInterval", std::int64_t{1}, std::int64_t{0}},
        {"PlanCaptureInterval", std::int64_t{2}, std::int64_t{2}},
        {"PlanCaptureInterval", std::int64_t{600}, std::int64_t{600}},
        {"PlanCaptureInterval", std::int64_t{601}, std::int64_t{0}},
        {"defaultresolution", std::int64_t{0}, std::int64_t{2}},
        {"defaultresolution", std::int64_t{1}, std::int64_t{1}},
        {"defaultresolution", std::int64_t{11}, std::int64_t{11}},
        {"defaultresolution", std::int64_t{12}, std::int64_t{2}},
        {"defaultresolution", std::int64_t{-3}, std::int64_t{2}},
        {"defaultPhotoresolution", std::int64_t{0}, std::int64_t{5}},
        {"defaultPhotoresolution", std::int64_t{7}, std::int64_t{7}},
        {"defaultPhotoresolution", std::int64_t{8}, std::int64_t{5}},
        {"backFlashMode", std::int64_t{-1}, std::int64_t{0}},
        {"backFlashMode", std::int64_t{2}, std::int64_t{3}},
        {"frontFlashMode", std::int64_t{0}, std::int64_t{1}},
        {"TextAlpha", std::int64_t{20}, std::int64_t{80}},
        {"TextAlpha", std::int64_t{0}, std::int64_t{100}},
        {"TextAlpha", std::int64_t{100}, std::int64_t{0}},
        {"HideDanceMode", true, false},
        {"HideDanceMode", false, true},
        {"PowerSaveBrightness", 0.01, static_cast<double>(0.02f)},
        {"PowerSaveBrightness", 0.0, static_cast<double>(0.02f)},
        {"PowerSaveBrightness", -1.0, static_cast<double>(0.02f)},
        {"PowerSaveBrightness", 0.02, static_cast<double>(0.02f)},
        {"PowerSaveBrightness", 0.5, 0.5},
        {"VolumeButtonCapture", true, true},
    };
    for (const auto& row : rows) {
        defaults.setObject(row.key, row.stored);
        EXPECT_EQ(readKey(row.key), row.read) << row.key;
    }
}

struct WrittenStored {
    const char* key;
    SettingValue written;
    DefaultsValue stored;
};

TEST_F(ReadingRuleTest, SettersStoreTheTransformedValue) {
    const std::vector<WrittenStored> rows = {
        {"TextAlpha", std::int64_t{80}, std::int64_t{20}},
        {"TextAlpha", std::int64_t{100}, std::int64_t{0}},
        {"backFlashMode", std::int64_t{2}, std::int64_t{1}},
        {"frontFlashMode", std::int64_t{0}, std::int64_t{-1}},
        {"HideDanceMode", true, false},
        {"HideDanceMode", false, true},
        {"PowerSaveBrightness", 0.01, 0.02},
        {"PowerSaveBrightness", 0.3, 0.3},
        {"FileNameIndex", std::int64_t{9999}, std::int64_t{9999}},
        {"FileNameIndex", std::int64_t{10000}, std::int64_t{0}},
        {"FileNameIndex", std::int64_t{-1}, std::int64_t{0}},
        {"haveinit", false, false},
    };
    for (const auto& row : rows) {
        writeKey(row.key, row.written);
        EXPECT_EQ(defaults.objectForKey(row.key), row.stored) << row.key;
    }
}

TEST_F(ReadingRuleTest, PlateAndStrokeColoursDefaultToBlackAndKeepIt) {
    defaults.setData("TextStrokeColor", platform::Blob{1, 2, 3});
    EXPECT_EQ(store.viewController.getTextBackgroundColor(), Color::blackColor());
    EXPECT_EQ(store.viewController.getTextStrokeColor(), Color::blackColor());
    EXPECT_EQ(readColor(defaults, "TextBackgroundColor"), Color::blackColor());
    EXPECT_EQ(readColor(defaults, "TextStrokeColor"), Color::blackColor());
}

TEST_F(ReadingRuleTest, LineColourDefaultsToRedWithoutWritingIt) {
    EXPECT_EQ(store.imageDrawing.getDefaultLineColor(), Color::redColor());
    EXPECT_FALSE(defaults.objectForKey("defaultLineColor"));
    defaults.setData("defaultLineColor", platform::Blob{9, 9});
    EXPECT_EQ(store.imageDrawing.getDefaultLineColor(), Color::redColor());
    EXPECT_EQ(defaults.dataForKey("defaultLineColor"), (platform::Blob{9, 9}));
}

TEST_F(ReadingRuleTest, FontColourDefaultsToWhiteAndKeepsAChosenColour) {
    EXPECT_EQ(store.viewController.getDefaultFontColor(), Color::whiteColor());
    const Color teal{0.0, 0.5, 0.5, 1.0};
    store.viewController.setDefaultFontColor(teal);
    EXPECT_EQ(store.viewController.getDefaultFontColor(), teal);
    EXPECT_EQ(store.lineDrawer.getDefaultFontColor(), teal);
    EXPECT_EQ(store.sessionManager.getDefaultFontColor(), teal);
}

TEST_F(ReadingRuleTest, MapScaleSliderGivesTheSpanOnBothHalvesOfTheCurve) {
    const std::vector<std::pair<float, double>> rows = {
        {0.0f, 0.001}, {0.25f, 0.0055}, {0.5f, 0.01}, {0.75f, 0.055}, {1.0f, 0.1}};
    for (const auto& [slider, span] : rows) {
        store.map.saveMapScale(slider);
        EXPECT_NEAR(store.map.readMapScale_public(), span, 1e-9) << slider;
        store.map.saveMapScale_public(span);
        EXPECT_NEAR(store.map.readMapScale(), slider, 1e-6) << span;
    }
}

TEST_F(ReadingRuleTest, MapSizeSliderGivesTheShareFactor) {
    const std::vector<std::pair<float, double>> rows = {{0.0f, 0.25}, {0.5f, 1.0}, {1.0f, 1.75}};
    for (const auto& [slider, share] : rows) {
        store.map.saveMapSize(slider);
        EXPECT_DOUBLE_EQ(store.map.readMapSize_public(), share) << slider;
        store.map.saveMapSize_public(share);
        EXPECT_FLOAT_EQ(store.map.readMapSize(), slider) << share;
    }
}

TEST_F(ReadingRuleTest, PublicFormsRoundTripAcrossTheirRanges) {
    for (double span = 0.001; span <= 0.1; span += 0.0037) {
        store.map.saveMapScale_public(span);
        EXPECT_NEAR(store.map.readMapScale_public(), span, 1e-7) << span;
    }
    for (double share = 0.25; share <= 1.75; share += 0.13) {
        store.map.saveMapSize_public(share);
        EXPECT_NEAR(store.map.readMapSize_public(), share, 1e-6) << share;
    }
    store.watermark.saveWatermarkSize_public(3.5f);
    EXPECT_FLOAT_EQ(store.watermark.readWatermarkSize(), 3.5f);
    EXPECT_FLOAT_EQ(store.watermark.readWatermarkSize_public(), 3.5f);
}

TEST(LuoPanScaleTest, SliderMiddleIsOneAndTheEndsHalfAndDouble) {
    const std::vector<std::pair<float, float>> rows = {
        {-0.5f, 0.5f}, {-0.25f, 0.75f}, {0.0f, 1.0f}, {0.25f, 1.5f}, {0.5f, 2.0f}};
    for (const auto& [stored, scale] : rows) {
        EXPECT_FLOAT_EQ(luoPanScale(stored), scale) << stored;
    }
}

TEST_F(ReadingRuleTest, SetDefaultResolutionAlsoWritesTheCachedCopy) {
    store.viewController.setDefaultResolution(7);
    EXPECT_EQ(cache.getCurrentVideoResolution(), 7);
    EXPECT_EQ(store.viewController.getDefaultResolution(), 7);
    store.viewController.setDefaultPhotoResolution(3);
    EXPECT_EQ(cache.getCurrentPhotoRes(), 0) << "only the video resolution setter writes a copy";
}

TEST_F(ReadingRuleTest, OtherClassesReadersAgreeWithTheCameraScreen) {
    store.viewController.saveCameraModeIndex(3);
    store.viewController.setDefaultFont("Courier");
    store.viewController.setDefaultFontSizeLevel(4);
    store.viewController.saveTextDistanceMode(2);
    store.glView.saveTimePosition(5);
    store.lineDrawer.saveTimeFormatIndex(42);
    store.viewController.SetPowerSaveMode(true);
    store.viewController.SetPowerSaveBrightness(0.01f);

    EXPECT_EQ(store.lineDrawer.getCameraModeIndex(), 3);
    EXPECT_EQ(store.sessionManager.getCameraModeIndex(), 3);
    EXPECT_EQ(store.lineDrawer.getDefaultFont(), "Courier");
    EXPECT_EQ(store.sessionManager.getDefaultFont(), "Courier");
    EXPECT_EQ(store.lineDrawer.getDefaultFontSizeLevel(), 4);
    EXPECT_EQ(store.sessionManager.getDefaultFontSizeLevel(), 4);
    EXPECT_EQ(store.lineDrawer.readTextDistanceMode(), 2);
    EXPECT_EQ(store.sessionManager.readTextDistanceMode(), 2);
    EXPECT_EQ(store.sessionManager.getTimePosition(), 5);
    EXPECT_EQ(store.sessionManager.getTimeFormatIndex(), 42);
    EXPECT_TRUE(store.glView.isPowerSaveMode());
    EXPECT_FLOAT_EQ(store.glView.getPowerSaveBrightness(), 0.02f);
}

// Three keys share "isHaveRun"-like names on different classes; each must keep its own flag.
TEST_F(ReadingRuleTest, FirstRunFlagsOfTheViewAndTheLayerAreSeparate) {
    store.glView.SetHaveRun();
    EXPECT_FALSE(store.lineDrawer.isHaveRun());
    EXPECT_FALSE(store.glView.isHaveRun2());
    store.lineDrawer.SetHaveRun();
    EXPECT_EQ(defaults.allKeys(), (std::vector<std::string>{"haverun", "haverun1"}));
}

}  // namespace
}  // namespace orvane::screen
