// The frame pass on BGRA frames of the synthetic scene, with the stamp of time row 46 (fraction
// digits change every frame), coordinates gps2, an address line, altitude and speed and the
// compass degrees, in video mode: at 1920x1080 the camera layer copied (filter "None") and, for
// comparison, shaded (the "Mono" filter); then with every overlay on (map, compass picture,
// logo) at 1920x1080 and 3840x2160, the font sized for the resolution. The clock moves a frame
// per iteration, so the stamp's texture is recomposed every frame as it is when recording.
//
// With ORVANE_BENCH_WRITE_DIR set, the first run of each case also writes what
// bench/frame_vs_drawtext.sh hands FFmpeg, named by the case: the unstamped frame (NAME.bgra),
// the stamp's five lines (NAME.txt) and the font size in pixels (NAME.size).
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

// A premultiplied picture of stripes, `side` square, at `alpha`: the map and the logo. The frame
// pass's cost does not depend on what they show.
compositor::Image stripes(int side, std::uint8_t alpha) {
    compositor::Image image{side, side, std::vector<std::uint8_t>(std::size_t(side) * side * 4)};
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            std::uint8_t* p = image.rgba.data() + (std::size_t(y) * side + x) * 4;
            const bool dark = ((x / 16) + (y / 16)) % 2 == 0;
            p[0] = p[1] = p[2] = static_cast<std::uint8_t>((dark ? 60 : 200) * alpha / 255);
            p[3] = alpha;
        }
    }
    return image;
}

// One benchmark case: the frame's size, the filter, and whether the map, the compass picture
// and the logo are drawn too.
struct Case {
    const char* name;
    int width;
    int height;
    std::int64_t effect;
    bool overlays;
    bool dance = false;   // the camera bent on the mesh
    int effectScale = 0;  // above 0, the preview grid
};

struct Bench {
    explicit Bench(const Case& c) : c(c) {
        cache.setShowAltitudeAndSpeed(true);
        cache.setShowLuoPan(true);
        cache.setMarginsMode(1);
        // Display type 2: the degrees in the stamp, no compass picture; type 0 draws it as well.
        store.luoPan.saveLuoPanStyle(c.overlays ? 0 : 2);
        screen::reloadLuoPanSetting(store);
        if (c.overlays) {
            // The video resolution codes of 1080 and 2160 lines, which size the font.
            cache.setCurrentVideoResolution(c.height > 1080 ? 6 : 4);
        }
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
        view->setDimensions(c.width, c.height, 0);
        if (c.overlays) {
            view->setMap(stripes(512, 230));
            view->setWatermark(stripes(256, 255));
        }
        source = platform::PixelBuffer::create(c.width, c.height).buffer;
        output = platform::PixelBuffer::create(c.width, c.height).buffer;
        platform::drawTestScene(*source, 0.0);
        return view->isReady();
    }

    void writeForDrawtext() {
        const char* directory = std::getenv("ORVANE_BENCH_WRITE_DIR");
        if (directory == nullptr) {
            return;
        }
        const std::string base = std::string(directory) + "/" + c.name;
        {
            platform::PixelBufferReadLock lock(*source);
            std::ofstream(base + ".bgra", std::ios::binary)
                .write(reinterpret_cast<const char*>(lock.data()),
                       static_cast<std::streamsize>(source->dataSize()));
        }
        stamp::StampStrings strings;
        view->lineDrawer()->composeStrings(strings);
        std::ofstream text(base + ".txt");
        text << strings.time << strings.fraction << "\n"
             << strings.blocks.coordinateBlock << "\n"
             << strings.compassDegree << strings.compassTail << "\n"
             << strings.blocks.staticBlock;
        std::ofstream(base + ".size") << static_cast<int>(view->lineDrawer()->fittedFontSize());
    }

    Case c;
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

void BM_FramePass(benchmark::State& state, Case c) {
    Bench bench(c);
    if (!bench.open()) {
        state.SkipWithError("no GL context");
        return;
    }
    bench.view->saveEffectIndex(c.effect);
    bench.view->setDanceMode(c.dance);
    bench.view->setEffectScale(c.effectScale);
    // Warm up: the first frames load the filter and images and set the frame size.
    for (int i = 0; i < 3; ++i) {
        bench.view->displayAndRenderPixelBuffer(bench.source, bench.output, false);
        bench.view->finishRenderingPixelBuffer();
    }
    bench.writeForDrawtext();
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
BENCHMARK_CAPTURE(BM_FramePass, copy, Case{"copy", 1920, 1080, 0, false})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_FramePass, mono, Case{"mono", 1920, 1080, 8, false})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_FramePass, dance, Case{"dance", 1920, 1080, 0, false, true})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_FramePass, grid, Case{"grid", 1920, 1080, 0, false, false, 100})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_FramePass, overlays_1080, Case{"overlays_1080", 1920, 1080, 0, true})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_FramePass, overlays_2160, Case{"overlays_2160", 3840, 2160, 0, true})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
