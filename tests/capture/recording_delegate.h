// The camera screen of the session manager's tests: a pass-through renderer that notes every
// call, with waits for the calls to come.
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

#include "capture/ZephrinSessionManager.h"

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

}  // namespace orvane::capture::testing
