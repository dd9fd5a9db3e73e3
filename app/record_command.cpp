#include "app/record_command.h"

#include <filesystem>
#include <memory>
#include <thread>

#include "app/geocoder_choice.h"
#include "app/interrupts.h"
#include "app/library_command.h"
#include "app/logo_command.h"
#include "app/map_overlay.h"
#include "capture/ZephrinSessionManager.h"
#include "capture/media_report.h"
#include "compositor/ZephrinOpenGLView.h"
#include "foundation/RunLoop.h"
#include "foundation/log.h"
#include "platform/capture/SimCaptureDeviceDiscovery.h"
#include "platform/gl/EglContext.h"
#include "platform/library/FolderPhotoLibrary.h"
#include "platform/location/location_sources.h"
#include "platform/system/machine_info.h"
#include "platform/writer/FfmpegAssetWriter.h"
#include "stamp/LineDrawer.h"
#include "stamp/location_updater.h"

namespace orvane::app {

namespace {

// Dance mode records video with the picture swinging on the bent mesh.
constexpr std::int64_t kDanceModeIndex = 4;

std::optional<std::int64_t> modeIndex(const std::string& mode) {
    if (mode == "video") {
        return 0;
    }
    if (mode == "square") {
        return 2;
    }
    if (mode == "timelapse") {
        return 3;
    }
    if (mode == "dance") {
        return kDanceModeIndex;
    }
    return std::nullopt;
}

// The camera screen of a command: renders through the GL view, starts the position updates
// once the stamp layer exists, starts the recording when the first frame and the first address
// are there, stops it after the duration, and ends the run loop when the movie is saved.
class RecordController final : public capture::ZephrinSessionManagerDelegate,
                               public std::enable_shared_from_this<RecordController> {
  public:
    RecordController(const RecordOptions& options, compositor::ZephrinOpenGLView& view,
                     foundation::RunLoop& loop, std::ostream& out, std::ostream& err)
        : _options(options), _view(view), _loop(loop), _out(out), _err(err) {}

    void setManager(std::weak_ptr<capture::ZephrinSessionManager> manager) {
        _manager = std::move(manager);
    }
    void setUpdaterFactory(
        std::function<std::unique_ptr<stamp::LocationUpdater>(stamp::LineDrawer&)> make) {
        _makeUpdater = std::move(make);
    }
    int status() const { return _status; }

    // Main queue: a signal before the recording began ends at once; during it, stops it; while
    // it starts, stops it as soon as it has started, so the movie is kept.
    void interrupt() {
        auto manager = _manager.lock();
        const auto status = manager ? manager->status() : capture::RecordingStatus::Idle;
        if (status == capture::RecordingStatus::Recording) {
            manager->stopRecording();
        } else if (status == capture::RecordingStatus::StartingRecording) {
            _stopOnceStarted = true;
        } else if (status == capture::RecordingStatus::Idle && !_started) {
            _err << "orvane record: interrupted before the recording began\n";
            finish(1);
        }
    }

    void setDimensions(std::int32_t width, std::int32_t height, float focal) override {
        _view.setDimensions(width, height, focal);
        if (!_view.isReady()) {
            _err << "orvane record: no GL context could be made (the log above says why)\n";
            finish(1);
            return;
        }
        _width = width;
        _height = height;
        if (!_updater && _makeUpdater && _view.lineDrawer()) {
            _updater = _makeUpdater(*_view.lineDrawer());
            stamp::LocationUpdater::Observer observer;
            observer.didGeocode = [this](const std::vector<platform::Placemark>&,
                                         const std::optional<foundation::Error>& error) {
                if (error) {
                    _err << "orvane record: no address: " << error->message() << "\n";
                }
                _located = true;
                maybeStart();
            };
            observer.didFail = [this](const foundation::Error& error) {
                _err << "orvane record: the position source failed: " << error.message() << "\n";
                _located = true;
                maybeStart();
            };
            _updater->setObserver(std::move(observer));
            if (auto error = _updater->getCurrentLocation()) {
                _err << "orvane record: the position source could not start: " << error->message()
                     << "\n";
                _located = true;
            }
            _loop.mainQueue()->after(_options.locationWaitSeconds, [weak = weak_from_this()] {
                if (auto self = weak.lock()) {
                    self->_located = true;
                    self->maybeStart();
                }
            });
        }
    }

    int displayAndRenderPixelBuffer(const platform::PixelBufferRef& source,
                                    const platform::PixelBufferRef& destination,
                                    bool isStillImage) override {
        const int result = _view.displayAndRenderPixelBuffer(source, destination, isStillImage);
        if (result == 0 && !_rendered) {
            _rendered = true;
            maybeStart();
        }
        return result;
    }
    bool finishRenderingPixelBuffer() override { return _view.finishRenderingPixelBuffer(); }

    void recordingDidStart() override {
        if (_stopOnceStarted) {
            _err << "orvane record: interrupted while the recording started; it stops now\n";
            if (auto manager = _manager.lock()) {
                manager->stopRecording();
            }
            return;
        }
        _err << "orvane record: recording " << _width << "x" << _height;
        if (_options.duration > 0) {
            _err << " for " << _options.duration << " s";
            _loop.mainQueue()->after(_options.duration, [weak = weak_from_this()] {
                auto self = weak.lock();
                if (auto manager = self ? self->_manager.lock() : nullptr) {
                    manager->stopRecording();
                }
            });
        } else {
            _err << " until interrupted";
        }
        _err << "\n";
    }
    void recordingWillStop() override {}
    void recordingDidStop() override {
        if (!_saved && _status == 0) {
            _status = 1;
        }
        finish(_status);
    }
    void recordingDidFailWithError(const foundation::Error& error) override {
        if (_saved) {
            _err << "orvane record: the recording ended early: " << error.message()
                 << "; the movie so far is in the library\n";
            finish(kRecordingEndedEarly);
            return;
        }
        _err << "orvane record: " << error.message() << "\n";
        finish(1);
    }
    void showPhotoAccessDeniedError() override { report(capture::photoAccessDeniedReport()); }
    void insertMediaFile(const std::optional<std::string>& localIdentifier,
                         const std::optional<foundation::Error>& error) override {
        report(capture::reportInsertedMediaFile(localIdentifier, error));
        // The library leaves a file it could not take where it was, until the next recording.
        if (auto manager = _manager.lock(); manager && !localIdentifier) {
            std::error_code ignored;
            if (std::filesystem::exists(manager->movieURL(), ignored)) {
                _err << "orvane record: the movie stays at " << manager->movieURL().string()
                     << " until the next recording\n";
            }
        }
    }
    void movieDidSaveUnseen(const std::string& localIdentifier) override {
        _saved = true;
        _err << "orvane record: the movie is in the library as " << localIdentifier
             << "; add-only access cannot read it back (" << platform::kPhotoLibraryAccessLevelKey
             << ")\n";
    }
    void movieDidSave(const platform::PhotoAsset& asset) override {
        _saved = true;
        _out << asset.path.string() << "\n";
        _out.flush();
    }

  private:
    // Without a screen the alert becomes a line; the denied library's "Open Settings" is the
    // access level in the settings file.
    void report(const capture::MediaFileReport& report) {
        if (report.kind == capture::MediaFileReport::Kind::Nothing) {
            return;
        }
        _err << "orvane record: " << report.title;
        if (!report.message.empty()) {
            _err << ": " << report.message;
        }
        if (report.kind == capture::MediaFileReport::Kind::AccessDenied) {
            _err << " (" << platform::kPhotoLibraryAccessLevelKey << ")";
        }
        _err << "\n";
        _status = 1;
    }
    void maybeStart() {
        if (_started || !_rendered || !_located) {
            return;
        }
        auto manager = _manager.lock();
        if (!manager) {
            return;
        }
        _started = true;
        manager->startRecording();
    }
    void finish(int status) {
        _status = status;
        _loop.quit();
    }

    const RecordOptions& _options;
    compositor::ZephrinOpenGLView& _view;
    foundation::RunLoop& _loop;
    std::ostream& _out;
    std::ostream& _err;
    std::weak_ptr<capture::ZephrinSessionManager> _manager;
    std::function<std::unique_ptr<stamp::LocationUpdater>(stamp::LineDrawer&)> _makeUpdater;
    std::unique_ptr<stamp::LocationUpdater> _updater;
    int _status = 0;
    int _width = 0;
    int _height = 0;
    bool _rendered = false;
    bool _located = false;
    bool _started = false;
    bool _stopOnceStarted = false;
    bool _saved = false;
};

}  // namespace

std::optional<std::string> checkRecordOptions(const RecordOptions& options) {
    if (!(options.duration >= 0)) {
        return "--duration takes seconds, 0 or more";
    }
    if (!modeIndex(options.mode)) {
        return "--mode takes video, timelapse, square or dance, not \"" + options.mode + "\"";
    }
    if (options.camera != "sim") {
        return "--camera takes sim (the synthetic camera); no other camera can be used yet";
    }
    if (options.geocoder && *options.geocoder != "offline" && !isUrl(*options.geocoder)) {
        return "--geocoder takes \"offline\" or an http:// or https:// URL, not \"" +
               *options.geocoder + "\"";
    }
    if (!platform::EglContext::platformFromName(options.gl)) {
        return "--gl takes auto, device or surfaceless";
    }
    return std::nullopt;
}

int runRecord(const RecordOptions& options, screen::SettingsStore& store,
              screen::SettingsCache& cache, const screen::LaunchValues& launch,
              const std::string& languageCode, std::ostream& out, std::ostream& err) {
    auto& loop = foundation::mainRunLoop();
    const auto queue = loop.mainQueue();
    auto& clock = loop.clock();
    // The mode is the camera's mode, as the screen's mode switch makes it: every part that reads
    // it (the stamp's font size above all) sees the mode this recording is made in.
    store.viewController.saveCameraModeIndex(*modeIndex(options.mode));

    std::string problem;
    auto locationManager = platform::makeLocationManager(options.location, queue, clock, problem);
    if (!locationManager) {
        err << "orvane record: " << problem << "\n";
        return 1;
    }
    auto geocoder = makeGeocoder(options.geocoder, store, languageCode, queue);

    auto& state = stamp::StampState::shared();
    state.setCustomText(cache.inputString());
    const auto glPlatform = *platform::EglContext::platformFromName(options.gl);
    auto makeContext = [glPlatform](std::string& contextProblem) {
        return platform::EglContext::create(glPlatform, contextProblem);
    };
    auto makeLineDrawer = [&] {
        return std::make_unique<stamp::LineDrawer>(store, cache, launch.stampLayer, state,
                                                   stamp::dateSettingsFromEnvironment(),
                                                   languageCode);
    };
    compositor::ZephrinOpenGLView view(store, launch.glView, makeContext, makeLineDrawer);
    view.setDanceMode(*modeIndex(options.mode) == kDanceModeIndex);
    loadSavedLogo(view, cache, "orvane record: ", err);
    compositor::ZephrinOpenGLView::rotateWatermark(3);

    // The map follows the position the stamp last geocoded; a failure is said once, and the
    // recording goes on with the map it has.
    auto mapOverlay = startMapOverlay(
        loop, store, view, [&state] { return state.lastGeocodedLocation(); },
        "orvane record: ", err, {},
        [&err, said = false](const std::string& message) mutable {
            if (!said) {
                err << "orvane record: " << message << "\n";
                said = true;
            }
        });
    auto controller = std::make_shared<RecordController>(options, view, loop, out, err);
    controller->setUpdaterFactory([&](stamp::LineDrawer& drawer) {
        return std::make_unique<stamp::LocationUpdater>(
            drawer, [&locationManager] { return std::move(locationManager); },
            [&geocoder] { return std::move(geocoder); }, state);
    });

    // The synthetic devices draw and fill their buffers on their clock's thread: a clock of
    // their own keeps that work off the thread that serves the program's timers.
    foundation::SystemClock deviceClock;
    auto devices = std::make_shared<platform::SimCaptureDeviceDiscovery>(deviceClock);
    // The library answers on a queue of the command's own, so the command can wait for it: a
    // thumbnail may still be in the making when the recording is done.
    const auto libraryQueue = foundation::SerialQueue::create("orvane library queue");
    auto library = std::make_shared<platform::FolderPhotoLibrary>(
        platform::FolderPhotoLibraryOptions{}, store.defaults(), clock, libraryQueue);
    // Movies killed recordings left go to the library first; this one is made beside them.
    bool keptBack = false;
    if (auto error = recoverLeftMovies(*library, "orvane record: ", err, keptBack)) {
        err << "orvane record: " << error->message() << "\n";
        return 1;
    }
    std::optional<foundation::Error> draftsError;
    const auto draftsFolder = library->draftsFolder(draftsError);
    capture::ZephrinSessionManagerEnvironment environment;
    environment.store = &store;
    environment.devices = devices;
    environment.library = library;
    environment.draftsFolder = draftsFolder.value_or(std::filesystem::path());
    environment.recorder.writerFactory = std::make_shared<platform::FfmpegAssetWriterFactory>();
    environment.recorder.settings = &cache;
    environment.recorder.location = [&state] { return state.lastGeocodedLocation(); };
    environment.recorder.make = platform::machineVendor();
    environment.clock = &clock;
    environment.processorCount =
        static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    environment.cameraModeIndex = modeIndex(options.mode);
    environment.mainQueue = queue;
    auto manager = capture::ZephrinSessionManager::create(std::move(environment));
    controller->setManager(manager);
    // A camera without a screen stands in landscape, as its frames come: the track is not turned.
    manager->setReferenceOrientation(3);
    manager->setDelegate(controller, queue);
    if (!manager->setupAndStartCaptureSession()) {
        err << "orvane record: no camera could be opened\n";
        return 1;
    }
    manager->resumeCaptureSession();

    int status = 0;
    {
        InterruptWatcher interrupts(
            [queue, controller] { queue->async([controller] { controller->interrupt(); }); });
        try {
            loop.run();
            status = controller->status();
        } catch (const std::exception& e) {
            err << "orvane record: " << e.what() << "\n";
            status = 1;
        }
    }
    // Nothing reaches the controller once the delegate is gone and the capture queues are
    // drained; blocks already queued for the main queue run here, while the view, the stamp
    // layer and the stores they use still stand.
    manager->setDelegate({}, nullptr);
    manager->stopAndTearDownCaptureSession();
    // The library's last work ends here, on this thread's watch; what it posts to the main
    // queue runs while the view still stands.
    manager.reset();
    library.reset();
    libraryQueue->sync([] {});
    loop.runUntilIdle();
    return status;
}

}  // namespace orvane::app
