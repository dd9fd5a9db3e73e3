// The frame pass on 1920x1080 BGRA frames of the synthetic scene, with the stamp of time row 46
// (fraction digits change every frame), coordinates gps2, an address line, altitude and speed
// and the compass degrees, in video mode: the camera layer copied (filter "None") and, for
// comparison, shaded (the "Mono" filter). The clock moves a frame per iteration, so the stamp's
// texture is recomposed every frame as it is when recording.
//
// With ORVANE_BENCH_WRITE_DIR set, the first run also writes what bench/frame_vs_drawtext.sh
// hands FFmpeg: the unstamped frame (frame.bgra), the stamp's five lines (stamp.txt) and the
// font size in pixels (size.txt).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <fstream>

#include "compositor/ZephrinOpenGLView.h"
#include "engine/gl_objects.h"
#include "platform/capture/test_scene.h"
#include "platform/gl/EglContext.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_loading.h"

namespace {

using namespace orvane;

constexpr double kInstant = 1707537600.0;  // 2024-02-10 04:00 UTC

double processCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

struct Bench {
    Bench() {
        cache.setShowAltitudeAndSpeed(true);
        cache.setShowLuoPan(true);
        cache.setMarginsMode(1);
        // Display type 2: the degrees in the stamp, no compass picture.
        store.luoPan.saveLuoPanStyle(2);
        screen::reloadLuoPanSetting(store);
        store.viewController.saveCameraModeIndex(0);
        state.setAltitude(35.5f);
        state.setSpeed(12.0f);
        stampStart.timeFormatIndex = 46;
        stampStart.gpsType = "gps2";
        stampStart.locationType = "formatAddress";
    }

    bool open() {
        std::string problem;
        auto makeContext = [](std::string& contextProblem) {
            return platform::EglContext::create(platform::EglContext::Platform::automatic,
                                                contextProblem);
        };
        auto makeDrawer = [this] {
            auto drawer = std::make_unique<stamp::LineDrawer>(store, cache, stampStart, state,
                                                              stamp::DateSettings{"en_US", "UTC"});
            platform::Placemark place;
            place.formattedAddress = "5 Avenue Anatole France, 75007 Paris, France";
            drawer->processPlacement({place}, std::nullopt);
            drawer->coordinateCatalogue().rebuild({48.858370, 2.294481, 5.0});
            return drawer;
        };
        view = std::make_unique<compositor::ZephrinOpenGLView>(store, screen::GLViewStartValues{},
                                                               makeContext, makeDrawer);
        view->setLuoPanSource([] { return stamp::LineDrawer::LuoPanReading{true, 1.2}; });
        compositor::ZephrinOpenGLView::rotateWatermark(3);
        view->setDimensions(1920, 1080, 0);
        source = platform::PixelBuffer::create(1920, 1080).buffer;
        output = platform::PixelBuffer::create(1920, 1080).buffer;
        platform::drawTestScene(*source, 0.0);
        return view->isReady();
    }

    void writeForDrawtext() {
        const char* directory = std::getenv("ORVANE_BENCH_WRITE_DIR");
        if (directory == nullptr) {
            return;
        }
        const std::string base(directory);
        {
            platform::PixelBufferReadLock lock(*source);
            std::ofstream(base + "/frame.bgra", std::ios::binary)
                .write(reinterpret_cast<const char*>(lock.data()),
                       static_cast<std::streamsize>(source->dataSize()));
        }
        stamp::StampStrings strings;
        view->lineDrawer()->composeStrings(strings);
        std::ofstream text(base + "/stamp.txt");
        text << strings.time << strings.fraction << "\n"
             << strings.blocks.coordinateBlock << "\n"
             << strings.compassDegree << strings.compassTail << "\n"
             << strings.blocks.staticBlock;
        std::ofstream(base + "/size.txt") << static_cast<int>(view->lineDrawer()->fontSize());
    }

    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store{defaults, cache};
    foundation::ManualClock clock{kInstant};
    stamp::StampState state{clock};
    screen::StampLayerStartValues stampStart;
    std::unique_ptr<compositor::ZephrinOpenGLView> view;
    platform::PixelBufferRef source;
    platform::PixelBufferRef output;
};

// `dance` bends the camera on the mesh; an `effectScale` above 0 draws the preview grid.
void BM_FramePass(benchmark::State& state, std::int64_t effect, bool dance, int effectScale) {
    Bench bench;
    if (!bench.open()) {
        state.SkipWithError("no GL context");
        return;
    }
    bench.view->saveEffectIndex(effect);
    bench.view->setDanceMode(dance);
    bench.view->setEffectScale(effectScale);
    bench.writeForDrawtext();
    // Warm up: the first frames load the filter and set the frame size.
    for (int i = 0; i < 3; ++i) {
        bench.view->displayAndRenderPixelBuffer(bench.source, bench.output, false);
        bench.view->finishRenderingPixelBuffer();
    }
    const double cpuBefore = processCpuSeconds();
    for (auto _ : state) {
        bench.clock.advance(1.0 / 30);
        bench.view->displayAndRenderPixelBuffer(bench.source, bench.output, false);
        bench.view->finishRenderingPixelBuffer();
    }
    const double cpu = processCpuSeconds() - cpuBefore;
    state.counters["process_cpu_ms"] =
        benchmark::Counter(cpu * 1000.0 / static_cast<double>(state.iterations()));
    state.counters["read_pixels"] = static_cast<double>(bench.view->lastFrameStats().readPixels);
    state.SetLabel(bench.view->lastFrameStats().copiedCamera ? "camera copied" : "camera shaded");
    bench.view.reset();
    engine::SharedProgram::releaseAll();
}
BENCHMARK_CAPTURE(BM_FramePass, copy, 0, false, 0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_FramePass, mono, 8, false, 0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_FramePass, dance, 0, true, 0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_FramePass, grid, 0, false, 100)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
