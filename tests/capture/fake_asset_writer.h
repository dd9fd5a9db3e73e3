// A movie writer for the recorder's tests: it records every call, and a script tells it to
// refuse settings or inputs, to fail at the start, on an append or at the finish, to report its
// inputs not ready, or to hold an append or the finish until the test lets it go.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/DispatchQueue.h"
#include "foundation/Error.h"
#include "platform/AssetWriter.h"

namespace orvane::capture::testing {

// What the next writers do. Flags read on the recorder's threads are atomic.
struct FakeWriterScript {
    std::optional<foundation::Error> makeWriterError;  // the factory refuses with this error
    bool refuseVideoSettings = false;
    bool refuseAudioSettings = false;
    bool refuseAddInput = false;
    bool failStartWriting = false;
    bool failFinish = false;
    std::atomic<bool> inputsReady{true};
    std::atomic<bool> failAppends{false};
    // Called inside an append, and inside makeWriter, on the recorder's threads: a test holds
    // the writing queue or the preparation there.
    std::function<void()> duringAppend;
    std::function<void()> duringMakeWriter;
    std::function<void()> duringFinish;
};

inline foundation::Error fakeWriterError(const std::string& description) {
    return {"FakeWriter", -42, description, "scripted"};
}

struct AppendedSample {
    platform::CMMediaType mediaType;
    platform::MediaTime time;
};

// Everything the writers of one factory were asked, safe to read from the test's thread.
class FakeWriterRecord {
  public:
    void add(std::string call) {
        std::lock_guard lock(_mutex);
        _calls.push_back(std::move(call));
        _changed.notify_all();
    }
    std::vector<std::string> calls() const {
        std::lock_guard lock(_mutex);
        return _calls;
    }
    bool called(const std::string& call) const {
        std::lock_guard lock(_mutex);
        for (const auto& each : _calls) {
            if (each == call) {
                return true;
            }
        }
        return false;
    }

    template <typename Change>
    void update(Change change) {
        std::lock_guard lock(_mutex);
        change(*this);
        _changed.notify_all();
    }
    // True once `condition` holds; false after a generous timeout.
    template <typename Condition>
    bool waitUntil(Condition condition) const {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(20), [&] { return condition(*this); });
    }
    template <typename Read>
    auto read(Read reader) const {
        std::lock_guard lock(_mutex);
        return reader(*this);
    }

    // Guarded by the record's mutex: reach them through update() and read().
    std::string path;
    platform::AssetFileType fileType = platform::AssetFileType::QuickTimeMovie;
    std::vector<platform::MetadataItem> metadata;
    std::optional<platform::VideoOutputSettings> videoSettings;
    std::optional<platform::AudioOutputSettings> audioSettings;
    platform::FormatDescriptionRef videoHint;
    platform::FormatDescriptionRef audioHint;
    std::optional<platform::AffineTransform> videoTransform;
    bool videoRealTime = false;
    bool audioRealTime = false;
    std::optional<platform::MediaTime> sessionStart;
    std::vector<AppendedSample> appended;
    bool writerDestroyed = false;

  private:
    mutable std::mutex _mutex;
    mutable std::condition_variable _changed;
    std::vector<std::string> _calls;
};

class FakeWriterInput final : public platform::AssetWriterInput {
  public:
    FakeWriterInput(platform::CMMediaType type, std::shared_ptr<FakeWriterScript> script,
                    std::shared_ptr<FakeWriterRecord> record)
        : _type(type), _script(std::move(script)), _record(std::move(record)) {}

    platform::CMMediaType mediaType() const override { return _type; }
    void setExpectsMediaDataInRealTime(bool realTime) override {
        const bool video = _type == platform::kCMMediaType_Video;
        _record->update(
            [&](FakeWriterRecord& r) { (video ? r.videoRealTime : r.audioRealTime) = realTime; });
    }
    void setTransform(const platform::AffineTransform& transform) override {
        _record->update([&](FakeWriterRecord& r) { r.videoTransform = transform; });
    }
    bool isReadyForMoreMediaData() const override { return _script->inputsReady.load(); }
    bool appendSampleBuffer(const platform::SampleBufferRef& sample) override {
        if (_script->duringAppend) {
            _script->duringAppend();
        }
        if (_script->failAppends.load()) {
            return false;
        }
        _record->update([&](FakeWriterRecord& r) {
            r.appended.push_back({_type, sample->presentationTimeStamp()});
        });
        return true;
    }

  private:
    const platform::CMMediaType _type;
    const std::shared_ptr<FakeWriterScript> _script;
    const std::shared_ptr<FakeWriterRecord> _record;
};

class FakeAssetWriter final : public platform::AssetWriter {
  public:
    FakeAssetWriter(platform::AssetFileType type, std::shared_ptr<FakeWriterScript> script,
                    std::shared_ptr<FakeWriterRecord> record)
        : _type(type), _script(std::move(script)), _record(std::move(record)) {}
    ~FakeAssetWriter() override {
        _record->add("destroyed");
        _record->update([](FakeWriterRecord& r) { r.writerDestroyed = true; });
    }

    platform::AssetFileType fileType() const override { return _type; }
    void setMetadata(std::vector<platform::MetadataItem> items) override {
        _record->update([&](FakeWriterRecord& r) { r.metadata = std::move(items); });
        _record->add("setMetadata");
    }
    bool canApplyVideoOutputSettings(const platform::VideoOutputSettings& settings) const override {
        _record->update([&](FakeWriterRecord& r) { r.videoSettings = settings; });
        return !_script->refuseVideoSettings;
    }
    bool canApplyAudioOutputSettings(const platform::AudioOutputSettings& settings) const override {
        _record->update([&](FakeWriterRecord& r) { r.audioSettings = settings; });
        return !_script->refuseAudioSettings;
    }
    std::unique_ptr<platform::AssetWriterInput> makeVideoInput(
        const platform::VideoOutputSettings&, platform::FormatDescriptionRef hint) override {
        _record->update([&](FakeWriterRecord& r) { r.videoHint = hint; });
        return std::make_unique<FakeWriterInput>(platform::kCMMediaType_Video, _script, _record);
    }
    std::unique_ptr<platform::AssetWriterInput> makeAudioInput(
        const platform::AudioOutputSettings&, platform::FormatDescriptionRef hint) override {
        _record->update([&](FakeWriterRecord& r) { r.audioHint = hint; });
        return std::make_unique<FakeWriterInput>(platform::kCMMediaType_Audio, _script, _record);
    }
    bool canAddInput(const platform::AssetWriterInput&) const override {
        return !_script->refuseAddInput;
    }
    platform::AssetWriterInput* addInput(
        std::unique_ptr<platform::AssetWriterInput> input) override {
        _record->add(input->mediaType() == platform::kCMMediaType_Video ? "addInput video"
                                                                        : "addInput audio");
        _inputs.push_back(std::move(input));
        return _inputs.back().get();
    }
    bool startWriting() override {
        _record->add("startWriting");
        if (_script->failStartWriting) {
            fail("cannot open the file");
            return false;
        }
        _status = platform::AssetWriterStatus::Writing;
        return true;
    }
    void startSessionAtSourceTime(platform::MediaTime startTime) override {
        _record->update([&](FakeWriterRecord& r) { r.sessionStart = startTime; });
    }
    void finishWriting(std::function<void()> completion) override {
        _record->add("finishWriting");
        if (_script->duringFinish) {
            _script->duringFinish();
        }
        if (_script->failFinish) {
            fail("disk full");
        } else {
            std::lock_guard lock(_mutex);
            _status = platform::AssetWriterStatus::Completed;
        }
        completion();
        // Still inside the writer after the completion: the recorder must not have freed it.
        _record->add("finishWriting returns");
    }
    platform::AssetWriterStatus status() const override {
        std::lock_guard lock(_mutex);
        return _status;
    }
    std::optional<foundation::Error> error() const override {
        if (_script->failAppends.load()) {
            return fakeWriterError("encoder failed");
        }
        std::lock_guard lock(_mutex);
        return _error;
    }

  private:
    void fail(const std::string& description) {
        std::lock_guard lock(_mutex);
        _status = platform::AssetWriterStatus::Failed;
        _error = fakeWriterError(description);
    }

    const platform::AssetFileType _type;
    const std::shared_ptr<FakeWriterScript> _script;
    const std::shared_ptr<FakeWriterRecord> _record;
    std::vector<std::unique_ptr<platform::AssetWriterInput>> _inputs;
    mutable std::mutex _mutex;
    platform::AssetWriterStatus _status = platform::AssetWriterStatus::Unknown;
    std::optional<foundation::Error> _error;
};

class FakeAssetWriterFactory final : public platform::AssetWriterFactory {
  public:
    std::shared_ptr<FakeWriterScript> script = std::make_shared<FakeWriterScript>();
    std::shared_ptr<FakeWriterRecord> record = std::make_shared<FakeWriterRecord>();

    std::unique_ptr<platform::AssetWriter> makeWriter(
        const std::string& path, platform::AssetFileType type,
        std::optional<foundation::Error>& error) override {
        record->update([&](FakeWriterRecord& r) {
            r.path = path;
            r.fileType = type;
        });
        record->add("makeWriter");
        if (script->duringMakeWriter) {
            script->duringMakeWriter();
        }
        if (script->makeWriterError) {
            error = script->makeWriterError;
            return nullptr;
        }
        return std::make_unique<FakeAssetWriter>(type, script, record);
    }
};

}  // namespace orvane::capture::testing
