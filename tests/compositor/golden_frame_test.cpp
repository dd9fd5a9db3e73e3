// Whole stamped frames compared with the expected pictures kept beside this file: positions and
// orientations, the outline, the background plate, right alignment with fraction digits.
// ORVANE_UPDATE_GOLDEN=1 writes the pictures anew from what the frame pass draws now.
#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "compositor/ZephrinOpenGLView.h"
#include "engine/cairo_handles.h"
#include "engine/gl_objects.h"
#include "foundation/Clock.h"
#include "foundation/strings.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_first_run.h"
#include "screen/settings_loading.h"
#include "stamp/stamp_state.h"
#include "tests/compositor/golden_support.h"
#include "tests/engine/gl_test_support.h"

namespace orvane::compositor {
namespace {

// 2024-02-10 04:00:00.950 UTC.
constexpr double kInstant = 1707537600.95;
constexpr int kWidth = 1280;
constexpr int kHeight = 720;

struct Case {
    const char* name;
    int orientation;
    std::int64_t position;
    std::int64_t timeRow;
    bool stroke;
    float plateAlpha;
    bool lines;  // coordinates, altitude and speed under the time
    std::int64_t level = 0;
    bool customText = false;  // four long lines of the user's own
    bool compassAndLogo = false;
};

// A logo of rings, drawn here: premultiplied, its outer corners transparent.
Image ringsLogo() {
    constexpr int kSide = 200;
    Image logo{kSide, kSide, std::vector<std::uint8_t>(kSide * kSide * 4)};
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            const double r = std::hypot(x - kSide / 2.0, y - kSide / 2.0);
            if (r < kSide / 2.0 && static_cast<int>(r / 20) % 2 == 0) {
                std::uint8_t* p = logo.rgba.data() + (y * kSide + x) * 4;
                p[0] = 230;
                p[1] = 160;
                p[3] = 255;
            }
        }
    }
    return logo;
}

class GoldenFrameTest : public testing::GLTest, public ::testing::WithParamInterface<Case> {
  protected:
    static void SetUpTestSuite() {
        // The stamp's words ("Altitude:", "Speed") from the English catalogue of the build tree.
        foundation::initializeStrings();
    }

    void TearDown() override {
        engine::SharedProgram::releaseAll();
        testing::GLTest::TearDown();
    }

    platform::PixelBufferRef render(const Case& c) {
        platform::MemoryUserDefaults defaults;
        screen::SettingsCache cache;
        screen::SettingsStore store{defaults, cache};
        const auto launch = screen::loadSettingsAtLaunch(store, screen::DeviceTraits{}, "en");
        // 720 lines: the reference size of the fonts, 45 pixels at level 0.
        cache.setCurrentVideoResolution(3);
        defaults.setInteger("defaultFontSizeLevel", c.level);
        cache.setMarginsMode(1);
        cache.setUseTextStroke(c.stroke);
        cache.setStrokeColor({0.9, 0.1, 0.1, 1.0});
        cache.setBackgroundColor({0.0, 0.2, 0.6, 1.0});
        cache.setBackgroundAlpha(c.plateAlpha);
        cache.setShowAltitudeAndSpeed(c.lines);
        cache.setShowLuoPan(c.compassAndLogo);
        foundation::ManualClock clock{kInstant};
        stamp::StampState state{clock};
        if (c.customText) {
            state.setCustomText(
                "Site 14, north gate, delivery bay two\nInspection by the county surveyor's "
                "office\nConcrete pour, second floor slab, east wing\nWeather: overcast, 9 C");
        }
        if (c.lines) {
            state.setAltitude(35.5f);
            state.setSpeed(12.0f);
        }
        screen::StampLayerStartValues start = launch.stampLayer;
        start.timeFormatIndex = c.timeRow;
        start.gpsType = "gps2";
        auto makeDrawer = [&] {
            auto drawer = std::make_unique<stamp::LineDrawer>(store, cache, start, state,
                                                              stamp::DateSettings{"en_US", "UTC"});
            if (c.lines) {
                drawer->coordinateCatalogue().rebuild({48.858370, 2.294481, 5.0});
            }
            return drawer;
        };
        screen::GLViewStartValues viewStart = launch.glView;
        viewStart.timePosition = c.position;
        ZephrinOpenGLView::setCameraPosition(true);
        ZephrinOpenGLView::setOnlyFrontCamera(false);
        ZephrinOpenGLView::rotateWatermark(c.orientation);
        ZephrinOpenGLView view(
            store, viewStart,
            [this](std::string&) -> std::unique_ptr<platform::GLContext> {
                return std::make_unique<testing::BorrowedGLContext>(context());
            },
            makeDrawer);
        if (c.compassAndLogo) {
            view.setLuoPanSource([] { return stamp::LineDrawer::LuoPanReading{true, 0.8}; });
            view.setWatermark(ringsLogo());
        }
        view.setDimensions(kWidth, kHeight, 0);
        auto source = platform::PixelBuffer::create(kWidth, kHeight).buffer;
        {
            platform::PixelBufferWriteLock lock(*source);
            // A mid grey that both white text and a dark shadow stand out from.
            std::memset(lock.data(), 0x70, source->dataSize());
        }
        auto output = platform::PixelBuffer::create(kWidth, kHeight).buffer;
        EXPECT_EQ(view.displayAndRenderPixelBuffer(source, output, true), 0);
        return output;
    }
};

TEST_P(GoldenFrameTest, MatchesTheExpectedPicture) {
    const Case& c = GetParam();
    const auto frame = render(c);
    const auto compared = testing::compareWithGolden(*frame, c.name, 24, 0x70);
    ASSERT_TRUE(compared);
    if (compared->updated) {
        return;
    }
    EXPECT_GT(compared->inked, 500) << "the expected picture holds no stamp";
    EXPECT_LE(compared->differing, kWidth * kHeight / 500);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, GoldenFrameTest,
    ::testing::Values(Case{"top_left_landscape", 3, 0, 19, false, 0.0f, false},
                      Case{"bottom_right_portrait", 1, 5, 19, false, 0.0f, false},
                      Case{"bottom_centre_upside_down", 2, 4, 19, false, 0.0f, false},
                      Case{"top_right_turned_stroke", 4, 2, 19, true, 0.0f, false},
                      Case{"bottom_left_plate", 3, 3, 19, false, 0.5f, true},
                      Case{"top_right_fraction_lines", 3, 2, 46, false, 0.0f, true},
                      Case{"compass_and_logo", 3, 0, 19, false, 0.0f, true, 0, false, true},
                      // Taller and wider than the frame at this size: drawn smaller, whole.
                      Case{"block_larger_than_the_frame", 3, 5, 19, true, 0.3f, true, 4, true},
                      // A long time row in portrait wraps between words at the frame's height.
                      Case{"portrait_long_time", 1, 0, 4, false, 0.0f, false, 2}),
    [](const ::testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orvane::compositor
