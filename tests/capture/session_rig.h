// What the session manager's tests build on: a camera screen that renders by copying and notes
// every call, and the manager over synthetic devices paced by a manual clock.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <thread>

#include "capture/ZephrinSessionManager.h"
#include "foundation/Clock.h"
#include "platform/capture/SimCaptureDeviceDiscovery.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_store.h"

namespace orvane::capture::testing {

// The camera screen: copies each frame through and notes every call.
class RecordingDelegate final : public ZephrinSessionManagerDelegate {
  public:
    struct Events {
        int rendered = 0;
        int finished = 0;
        std::vector<std::string> calls;
        std::optional<foundation::Error> failure;
        std::optional<foundation::Error> insertError;
        std::optional<platform::PhotoAsset> saved;
        int count(const std::string& call) const {
            return static_cast<int>(std::count(calls.begin(), calls.end(), call));
        }
    };

    void setDimensions(std::int32_t width, std::int32_t height, float) override {
        note("setDimensions " + std::to_string(width) + "x" + std::to_string(height));
    }
    int displayAndRenderPixelBuffer(const platform::PixelBufferRef& source,
                                    const platform::PixelBufferRef& destination, bool) override {
        {
            platform::PixelBufferReadLock in(*source);
            platform::PixelBufferWriteLock out(*destination);
            std::memcpy(out.data(), in.data(),
                        std::min(source->dataSize(), destination->dataSize()));
        }
        update([](Events& e) { ++e.rendered; });
        return 0;
    }
    bool finishRenderingPixelBuffer() override {
        update([](Events& e) { ++e.finished; });
        return true;
    }
    void recordingDidStart() override { note("recordingDidStart"); }
    void recordingWillStop() override { note("recordingWillStop"); }
    void recordingDidStop() override { note("recordingDidStop"); }
    void recordingDidFailWithError(const foundation::Error& error) override {
        update([&](Events& e) {
            e.failure = error;
            e.calls.push_back("recordingDidFailWithError");
        });
    }
    void showPhotoAccessDeniedError() override { note("showPhotoAccessDeniedError"); }
    void insertMediaFile(const std::optional<std::string>&,
                         const std::optional<foundation::Error>& error) override {
        update([&](Events& e) {
            e.insertError = error;
            e.calls.push_back("insertMediaFile");
        });
    }
    void movieDidSave(const platform::PhotoAsset& asset) override {
        update([&](Events& e) {
            e.saved = asset;
            e.calls.push_back("movieDidSave");
        });
    }
    void movieDidSaveUnseen(const std::string&) override {
        update([&](Events& e) { e.calls.push_back("movieDidSaveUnseen"); });
    }

    Events events() const {
        std::lock_guard lock(_mutex);
        return _events;
    }
    bool waitUntil(const std::function<bool(const Events&)>& condition) const {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(20),
                                 [&] { return condition(_events); });
    }
    bool waitForCall(const std::string& call) const {
        return waitUntil([&](const Events& e) { return e.count(call) > 0; });
    }

  private:
    void note(const std::string& call) {
        update([&](Events& e) { e.calls.push_back(call); });
    }
    void update(const std::function<void(Events&)>& change) {
        {
            std::lock_guard lock(_mutex);
            change(_events);
        }
        _changed.notify_all();
    }
    mutable std::mutex _mutex;
    mutable std::condition_variable _changed;
    Events _events;
};

// The settings, the devices, the queues and the screen of one manager.
class SessionRig {
  public:
    // A manager over `library` and `writers`, with its temporary movie in `directory`.
    void makeManager(std::shared_ptr<platform::PhotoLibrary> library,
                     std::shared_ptr<platform::AssetWriterFactory> writers,
                     const std::filesystem::path& directory,
                     std::function<std::optional<platform::Location>()> location = {}) {
        ZephrinSessionManagerEnvironment environment;
        environment.store = &store;
        environment.devices = devices;
        environment.library = std::move(library);
        environment.recorder.writerFactory = std::move(writers);
        environment.recorder.settings = &cache;
        environment.recorder.location = std::move(location);
        environment.recorder.make = "Test Maker";
        environment.clock = &clock;
        environment.draftsFolder = directory / "drafts";
        environment.albumTitle = "Orvane";
        environment.mainQueue = mainQueue;
        manager = ZephrinSessionManager::create(std::move(environment));
        manager->setDelegate(delegate, delegateQueue);
    }

    // Stops the camera and lets the queues finish what was posted to them.
    void tearDownManager() {
        manager->stopAndTearDownCaptureSession();
        delegateQueue->sync([] {});
        mainQueue->sync([] {});
    }

    void startSession() {
        ASSERT_TRUE(manager->setupAndStartCaptureSession());
        manager->resumeCaptureSession();
        // The camera paces itself from the clock once it runs.
        ASSERT_TRUE(waitFor([&] { return manager->captureSession()->isRunning(); }));
    }

    // One frame time of the 30 fps camera at a time, each frame rendered before the next; with
    // a `pace`, that much real time passes between frames too.
    void frames(int count, std::chrono::milliseconds pace = {}) {
        for (int i = 0; i < count; ++i) {
            const int before = delegate->events().rendered;
            // A hair past the frame's time, which the clock holds in whole nanoseconds.
            clock.advance(1.0 / 30 + 1e-7);
            ASSERT_TRUE(delegate->waitUntil([&](const auto& e) { return e.rendered > before; }))
                << "frames made " << devices->backCamera()->deliveredFrameCount();
            std::this_thread::sleep_for(pace);
        }
    }

    static bool waitFor(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }

    foundation::ManualClock clock{1700000000.0};
    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store{defaults, cache};
    std::shared_ptr<platform::SimCaptureDeviceDiscovery> devices =
        std::make_shared<platform::SimCaptureDeviceDiscovery>(clock);
    std::shared_ptr<foundation::SerialQueue> delegateQueue =
        foundation::SerialQueue::create("test delegate queue");
    std::shared_ptr<foundation::SerialQueue> mainQueue =
        foundation::SerialQueue::create("test main queue");
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<ZephrinSessionManager> manager;
};

}  // namespace orvane::capture::testing
