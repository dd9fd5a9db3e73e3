// A long recording from the synthetic camera, stamped and written as H.264 through the real
// pipeline (session manager, GL frame pass, movie recorder over FFmpeg, folder library), with
// the frames lost on the way counted where they are lost:
// - by the camera: its own buffers all held downstream, or a frame discarded because the one
//   before still waited for the capture queue;
// - by the render step: the output pool at its threshold (every buffer in flight);
// - by the writer: an input not ready for more.
// It prints one "key value" line each, with the process's CPU time and its resident memory (all
// of it, and its own without the libraries' code) at every tenth of the run (or every EVERY
// seconds), so growth over a recording shows.
//
// Usage: orvane_record_bench WIDTHxHEIGHT SECONDS LIBRARY_DIR [EVERY]
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <thread>

#include "capture/ZephrinSessionManager.h"
#include "compositor/ZephrinOpenGLView.h"
#include "foundation/RunLoop.h"
#include "foundation/log.h"
#include "platform/capture/SimCaptureDeviceDiscovery.h"
#include "platform/gl/EglContext.h"
#include "platform/library/FolderPhotoLibrary.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "platform/writer/FfmpegAssetWriter.h"
#include "screen/settings_first_run.h"
#include "screen/settings_store.h"
#include "stamp/LineDrawer.h"

namespace {

using namespace orvane;

double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// A line of /proc/self/status in MiB: "VmRSS" for all resident memory, "RssAnon" for the part
// that is the process's own (not the shared libraries' code).
double statusMiB(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(key + ":", 0) == 0) {
            return std::stod(line.substr(key.size() + 1)) / 1024.0;
        }
    }
    return 0;
}

class BenchController final : public capture::ZephrinSessionManagerDelegate {
  public:
    BenchController(compositor::ZephrinOpenGLView& view, foundation::RunLoop& loop, double seconds,
                    double every)
        : _view(view), _loop(loop), _seconds(seconds), _every(every) {}
    std::weak_ptr<capture::ZephrinSessionManager> manager;
    std::atomic<std::uint64_t> rendered{0};
    std::string path;
    bool failed = false;

    void setDimensions(std::int32_t width, std::int32_t height, float focal) override {
        _view.setDimensions(width, height, focal);
        if (auto* drawer = _view.lineDrawer()) {
            platform::Placemark place;
            place.formattedAddress = "5 Avenue Anatole France, 75007 Paris, France";
            drawer->processPlacement({place}, std::nullopt);
            drawer->coordinateCatalogue().rebuild({48.858370, 2.294481, 5.0});
        }
    }
    int displayAndRenderPixelBuffer(const platform::PixelBufferRef& source,
                                    const platform::PixelBufferRef& destination,
                                    bool still) override {
        const int result = _view.displayAndRenderPixelBuffer(source, destination, still);
        if (rendered.fetch_add(1) == 0) {
            if (auto m = manager.lock()) {
                m->startRecording();
            }
        }
        return result;
    }
    bool finishRenderingPixelBuffer() override { return _view.finishRenderingPixelBuffer(); }
    // The drops the camera and the output pool counted so far, read when the recording starts:
    // those before it (the frame pass's first frames compile its shaders) lose nothing.
    std::function<std::array<std::uint64_t, 2>()> readDrops;
    std::array<std::uint64_t, 2> dropsBeforeRecording{};

    void recordingDidStart() override {
        _startCpu = cpuSeconds();
        if (readDrops) {
            dropsBeforeRecording = readDrops();
        }
        // A reading every interval from the start; the last, at the run's end, stops it.
        const int readings = static_cast<int>(std::ceil(_seconds / _every - 1e-9));
        for (int k = 1; k <= readings; ++k) {
            const double at = std::min(k * _every, _seconds);
            _loop.mainQueue()->after(at, [this, at, last = k == readings] {
                std::printf("rss_mib_at_%.0fs %.1f\n", at, statusMiB("VmRSS"));
                std::printf("anon_mib_at_%.0fs %.1f\n", at, statusMiB("RssAnon"));
                std::fflush(stdout);
                if (last) {
                    std::printf("cpu_seconds %.2f\n", cpuSeconds() - _startCpu);
                    if (auto m = manager.lock()) {
                        m->stopRecording();
                    }
                }
            });
        }
    }
    void recordingWillStop() override {}
    void recordingDidStop() override { _loop.quit(); }
    void recordingDidFailWithError(const foundation::Error& error) override {
        std::fprintf(stderr, "recording failed: %s\n", error.message().c_str());
        failed = true;
        _loop.quit();
    }
    void showPhotoAccessDeniedError() override { failed = true; }
    void insertMediaFile(const std::optional<std::string>&,
                         const std::optional<foundation::Error>& error) override {
        std::fprintf(stderr, "not saved: %s\n", error ? error->message().c_str() : "?");
        failed = true;
    }
    void movieDidSave(const platform::PhotoAsset& asset) override { path = asset.path.string(); }

  private:
    compositor::ZephrinOpenGLView& _view;
    foundation::RunLoop& _loop;
    double _seconds;
    double _every;
    double _startCpu = 0;
};

}  // namespace

int main(int argc, char** argv) {
    // As the orvane command runs: llvmpipe draws in the rendering thread.
    setenv("LP_NUM_THREADS", "0", 0);
    int width = 0, height = 0;
    double seconds = 0;
    double every = 0;
    if ((argc != 4 && argc != 5) || std::sscanf(argv[1], "%dx%d", &width, &height) != 2 ||
        std::sscanf(argv[2], "%lf", &seconds) != 1 || seconds <= 0 ||
        (argc == 5 && (std::sscanf(argv[4], "%lf", &every) != 1 || every <= 0))) {
        std::fprintf(stderr,
                     "usage: orvane_record_bench WIDTHxHEIGHT SECONDS LIBRARY_DIR [EVERY]\n");
        return 2;
    }
    if (every == 0) {
        every = seconds / 10;
    }
    std::atomic<std::uint64_t> writerDrops{0};
    foundation::setLogSink([&](const std::string& line) {
        if (line.find("not ready for more media data") != std::string::npos) {
            writerDrops.fetch_add(1);
        }
    });

    auto& loop = foundation::mainRunLoop();
    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store(defaults, cache);
    const auto launch = screen::loadSettingsAtLaunch(store);
    cache.setShowAltitudeAndSpeed(true);

    auto makeContext = [](std::string& problem) {
        return platform::EglContext::create(platform::EglContext::Platform::automatic, problem);
    };
    auto makeDrawer = [&] {
        return std::make_unique<stamp::LineDrawer>(store, cache, launch.stampLayer,
                                                   stamp::StampState::shared(),
                                                   stamp::DateSettings{"en_US", "UTC"});
    };
    compositor::ZephrinOpenGLView view(store, launch.glView, makeContext, makeDrawer);
    compositor::ZephrinOpenGLView::rotateWatermark(3);
    auto controller = std::make_shared<BenchController>(view, loop, seconds, every);

    // The synthetic devices draw and fill their buffers on their clock's thread: a clock of
    // their own keeps that work off the thread that serves the program's timers.
    foundation::SystemClock deviceClock;
    auto devices = std::make_shared<platform::SimCaptureDeviceDiscovery>(deviceClock);
    platform::FolderPhotoLibraryOptions libraryOptions;
    libraryOptions.location = {argv[3], true};
    capture::ZephrinSessionManagerEnvironment environment;
    environment.store = &store;
    environment.devices = devices;
    auto library = std::make_shared<platform::FolderPhotoLibrary>(libraryOptions, defaults);
    std::optional<foundation::Error> draftsError;
    const auto draftsFolder = library->draftsFolder(draftsError);
    if (!draftsFolder) {
        std::fprintf(stderr, "%s\n",
                     draftsError ? draftsError->message().c_str() : "no drafts folder");
        return 1;
    }
    environment.library = std::move(library);
    environment.draftsFolder = *draftsFolder;
    environment.recorder.writerFactory = std::make_shared<platform::FfmpegAssetWriterFactory>();
    environment.recorder.settings = &cache;
    environment.recorder.make = "bench";
    environment.cameraModeIndex = 0;
    environment.mainQueue = loop.mainQueue();
    auto manager = capture::ZephrinSessionManager::create(std::move(environment));
    controller->manager = manager;
    manager->setReferenceOrientation(3);
    manager->setDelegate(controller, loop.mainQueue());
    if (!manager->setupAndStartCaptureSession()) {
        std::fprintf(stderr, "no camera\n");
        return 1;
    }
    // The camera's format of the size asked, at 30 frames a second.
    auto camera = devices->backCamera();
    bool found = false;
    for (const auto& format : camera->formats()) {
        if (format.dimensions().width == width && format.dimensions().height == height) {
            camera->lockForConfiguration();
            camera->setActiveFormat(format);
            camera->unlockForConfiguration();
            found = true;
            break;
        }
    }
    if (!found) {
        std::fprintf(stderr, "the synthetic camera has no %dx%d format\n", width, height);
        return 2;
    }
    controller->readDrops = [camera, weak = std::weak_ptr(manager)] {
        const auto held = weak.lock();
        return std::array<std::uint64_t, 2>{camera->droppedFrameCount(),
                                            held ? held->droppedFrameCount() : 0};
    };
    manager->resumeCaptureSession();
    loop.run();
    manager->setDelegate({}, nullptr);
    manager->stopAndTearDownCaptureSession();
    const std::uint64_t outputPoolDrops = manager->droppedFrameCount();
    // The library, held by the manager alone, drains its queue as it goes.
    manager.reset();
    loop.runUntilIdle();

    std::printf("size %dx%d\n", width, height);
    std::printf("seconds %.0f\n", seconds);
    std::printf("camera_frames %llu\n",
                static_cast<unsigned long long>(camera->deliveredFrameCount()));
    std::printf("dropped_by_camera_pool %llu\n",
                static_cast<unsigned long long>(camera->droppedFrameCount()));
    std::printf("rendered %llu\n", static_cast<unsigned long long>(controller->rendered.load()));
    std::printf("dropped_by_output_pool %llu\n", static_cast<unsigned long long>(outputPoolDrops));
    std::printf("dropped_while_recording_by_camera_pool %llu\n",
                static_cast<unsigned long long>(camera->droppedFrameCount() -
                                                controller->dropsBeforeRecording[0]));
    std::printf(
        "dropped_while_recording_by_output_pool %llu\n",
        static_cast<unsigned long long>(outputPoolDrops - controller->dropsBeforeRecording[1]));
    std::printf("dropped_by_writer %llu\n", static_cast<unsigned long long>(writerDrops.load()));
    std::printf("peak_rss_mib %.1f\n", [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return static_cast<double>(usage.ru_maxrss) / 1024.0;
    }());
    std::printf("movie %s\n", controller->path.c_str());
    return controller->failed ? 1 : 0;
}
