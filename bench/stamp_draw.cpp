// The stamp layer's per-frame cost on GL: a tick with a fraction row, which draws the texture
// on every frame from glyph labels made once, and a tick with nothing changed, which must cost
// no GL at all. Runs on whatever EGL offers (llvmpipe without a GPU).
#include <benchmark/benchmark.h>

#include <GLES2/gl2.h>

#include <memory>
#include <string>

#include "platform/gl/EglContext.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_loading.h"
#include "stamp/LineDrawer.h"

namespace {

using namespace orvane;

constexpr double kInstant = 1707537600.0;  // 2024-02-10 04:00 UTC
constexpr int kFractionRow = 46;           // MM/dd/yyyy HH:mm:ss.SSS
constexpr int kSecondRow = 19;             // yyyy-MM-dd HH:mm:ss

struct DrawnStamp {
    explicit DrawnStamp(int timeRow) {
        cache.setShowAltitudeAndSpeed(true);
        cache.setShowLunar(true);
        cache.setBackgroundAlpha(0.4f);
        cache.setTextAlpha(1.0f);
        state.setAltitude(35.5f);
        state.setSpeed(12.0f);
        state.setCustomText("Orvane bench");
        screen::StampLayerStartValues start;
        start.timeFormatIndex = timeRow;
        start.gpsType = "gps1";
        start.locationType = "formatAddress";
        drawer = std::make_unique<stamp::LineDrawer>(store, cache, start, state,
                                                     stamp::DateSettings{"en_US", "UTC"});
        platform::Placemark place;
        place.formattedAddress = "5 Avenue Anatole France, 75007 Paris, France";
        drawer->processPlacement({place}, std::nullopt);
        drawer->coordinateCatalogue().rebuild({48.858370, 2.294481, 5.0});
        context = platform::EglContext::create(platform::EglContext::Platform::automatic, problem);
        if (context) {
            drawer->setGLContext(context.get());
            drawer->updateTime();
        }
    }

    ~DrawnStamp() { drawer.reset(); }

    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store{defaults, cache};
    foundation::ManualClock clock{kInstant};
    stamp::StampState state{clock};
    std::string problem;
    std::unique_ptr<platform::GLContext> context;
    std::unique_ptr<stamp::LineDrawer> drawer;
};

void finishGL() {
    // The drawing is queued; the frame's cost includes llvmpipe's work.
    glFinish();
}

void BM_StampDrawFractionRow(benchmark::State& state) {
    DrawnStamp stamp(kFractionRow);
    if (!stamp.context) {
        state.SkipWithError(("no GL context: " + stamp.problem).c_str());
        return;
    }
    const auto draws = stamp.drawer->drawCount();
    for (auto _ : state) {
        stamp.clock.advance(1.0 / 30);
        stamp.drawer->updateTime();
        finishGL();
    }
    state.counters["draws/frame"] = static_cast<double>(stamp.drawer->drawCount() - draws) /
                                    static_cast<double>(state.iterations());
    state.counters["rasterizations"] = static_cast<double>(stamp.drawer->rasterizations());
}
BENCHMARK(BM_StampDrawFractionRow)->Unit(benchmark::kMicrosecond);

void BM_StampTickNothingChanged(benchmark::State& state) {
    DrawnStamp stamp(kSecondRow);
    if (!stamp.context) {
        state.SkipWithError(("no GL context: " + stamp.problem).c_str());
        return;
    }
    const auto draws = stamp.drawer->drawCount();
    for (auto _ : state) {
        stamp.drawer->updateTime();
    }
    finishGL();
    state.counters["draws"] = static_cast<double>(stamp.drawer->drawCount() - draws);
}
BENCHMARK(BM_StampTickNothingChanged)->Unit(benchmark::kMicrosecond);

}  // namespace
