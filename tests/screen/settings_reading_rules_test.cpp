// Reading rules and stored transformations of single keys: ranges, inversions, clamps, colours
// and the public forms of the map and compass sliders.
#include <gtest/gtest.h>

#include "screen/settings_color.h"
#include "screen/settings_keys.h"
#include "screen/settings_store.h"
#include "tests/screen/settings_test_support.h"

namespace orvane::screen {
namespace {

using foundation::Color;
using platform::DefaultsValue;

class ReadingRuleTest : public ::testing::Test, protected testing::TestStore {
  protected:
    SettingValue readKey(std::string_view name) { return findSettingKey(name)->read(store); }
    void writeKey(std::string_view name, const SettingValue& value) {
        const auto* key = findSettingKey(name);
        key->write(store, key->name, value);
    }
};

using Int = std::int64_t;
const double kDim = 0.02f;  // the dimmest brightness, as the float the store keeps

// Each row: a key, then stored values with what they read as.
TEST_F(ReadingRuleTest, StoredValuesReadThroughTheirRules) {
    const std::vector<std::pair<const char*, std::vector<std::pair<DefaultsValue, SettingValue>>>>
        rows = {
            {"TimelpaseInterval", {{0.25, 0.25}, {7200.0, 7200.0}, {3.0, 3.0}}},
            {"TimelpaseInterval", {{0.0, 0.5}, {10000.0, 0.5}, {0.2499, 0.5}, {7200.5, 0.5}}},
            {"videoSplitInterval",
             {{Int{15}, Int{15}}, {Int{270}, Int{270}}, {Int{3600}, Int{3600}}}},
            {"videoSplitInterval", {{Int{14}, Int{0}}, {Int{3601}, Int{0}}}},
            {"PlanCaptureInterval", {{Int{2}, Int{2}}, {Int{600}, Int{600}}}},
            {"PlanCaptureInterval", {{Int{1}, Int{0}}, {Int{601}, Int{0}}}},
            {"defaultresolution", {{Int{1}, Int{1}}, {Int{11}, Int{11}}}},
            {"defaultresolution", {{Int{0}, Int{2}}, {Int{12}, Int{2}}, {Int{-3}, Int{2}}}},
            {"defaultPhotoresolution", {{Int{0}, Int{5}}, {Int{7}, Int{7}}, {Int{8}, Int{5}}}},
            {"backFlashMode", {{Int{-1}, Int{0}}, {Int{2}, Int{3}}}},
            {"frontFlashMode", {{Int{0}, Int{1}}}},
            {"TextAlpha", {{Int{20}, Int{80}}, {Int{0}, Int{100}}, {Int{100}, Int{0}}}},
            {"HideDanceMode", {{true, false}, {false, true}}},
            {"PowerSaveBrightness", {{0.01, kDim}, {0.0, kDim}, {-1.0, kDim}, {0.02, kDim}}},
            {"PowerSaveBrightness", {{0.5, 0.5}}},
            {"VolumeButtonCapture", {{true, true}}},
        };
    for (const auto& [key, cases] : rows) {
        for (const auto& [stored, read] : cases) {
            defaults.setObject(key, stored);
            EXPECT_EQ(readKey(key), read)
                << key << " stored as " << ::testing::PrintToString(stored);
        }
    }
}

TEST_F(ReadingRuleTest, SettersStoreTheTransformedValue) {
    const std::vector<std::pair<const char*, std::vector<std::pair<SettingValue, DefaultsValue>>>>
        rows = {
            {"TextAlpha", {{Int{80}, Int{20}}, {Int{100}, Int{0}}}},
            {"backFlashMode", {{Int{2}, Int{1}}}},
            {"frontFlashMode", {{Int{0}, Int{-1}}}},
            {"HideDanceMode", {{true, false}, {false, true}}},
            {"PowerSaveBrightness", {{0.01, 0.02}, {0.3, 0.3}}},
            {"FileNameIndex", {{Int{9999}, Int{9999}}, {Int{10000}, Int{0}}, {Int{-1}, Int{0}}}},
            {"haveinit", {{false, false}}},
        };
    for (const auto& [key, cases] : rows) {
        for (const auto& [written, stored] : cases) {
            writeKey(key, written);
            EXPECT_EQ(defaults.objectForKey(key), stored)
                << key << " written as " << ::testing::PrintToString(written);
        }
    }
}

// Plate and stroke read black over absent or broken data and keep it; the line colour reads red
// and leaves the stored data alone; the font colour reads white.
TEST_F(ReadingRuleTest, ColoursReadTheirDefaultsOverAbsentOrBrokenData) {
    defaults.setData("TextStrokeColor", platform::Blob{1, 2, 3});
    EXPECT_EQ(store.viewController.getTextBackgroundColor(), Color::blackColor());
    EXPECT_EQ(store.viewController.getTextStrokeColor(), Color::blackColor());
    EXPECT_EQ(readColor(defaults, "TextBackgroundColor"), Color::blackColor());
    EXPECT_EQ(readColor(defaults, "TextStrokeColor"), Color::blackColor());

    EXPECT_EQ(store.imageDrawing.getDefaultLineColor(), Color::redColor());
    EXPECT_FALSE(defaults.objectForKey("defaultLineColor"));
    defaults.setData("defaultLineColor", platform::Blob{9, 9});
    EXPECT_EQ(store.imageDrawing.getDefaultLineColor(), Color::redColor());
    EXPECT_EQ(defaults.dataForKey("defaultLineColor"), (platform::Blob{9, 9}));

    EXPECT_EQ(store.viewController.getDefaultFontColor(), Color::whiteColor());
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
    const Color teal{0.0, 0.5, 0.5, 1.0};
    store.viewController.setDefaultFontColor(teal);

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
    EXPECT_EQ(store.lineDrawer.getDefaultFontColor(), teal);
    EXPECT_EQ(store.sessionManager.getDefaultFontColor(), teal);
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
