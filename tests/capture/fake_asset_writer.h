// A movie writer for the recorder's tests: it records every call, and a script tells it to
// refuse settings or inputs, to fail at the start, on an append or at the finish, to report its
// inputs not ready, or to hold an append or the preparation until the test lets it go.
#pragma once

#include <algorithm>
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

#include "platform/writer/AssetWriter.h"

namespace orvane::capture::testing {

inline foundation::Error fakeWriterError(const std::string& description) {
    return {"FakeWriter", -42, description, "scripted"};
}

// What the writers do. Set before recording, except the atomics.
struct FakeWriterScript {
    std::optional<foundation::Error> makeWriterError;  // the factory refuses with this error
    bool refuseVideoSettings = false, refuseAudioSettings = false, refuseAddInput = false;
    bool failStartWriting = false, failFinish = false;
    std::atomic<bool> inputsReady{true}, failAppends{false};
    std::function<void()> duringAppend, duringMakeWriter;  // run inside those calls
};

// Everything the writers of one factory were asked, kept under one mutex.
class FakeWriterRecord {
  public:
    struct State {
        std::vector<std::string> calls;
        std::string path;
        platform::AssetFileType fileType = platform::AssetFileType::QuickTimeMovie;
        std::vector<platform::MetadataItem> metadata;
        std::optional<platform::VideoOutputSettings> videoSettings;
        std::optional<platform::AudioOutputSettings> audioSettings;
        platform::FormatDescriptionRef videoHint, audioHint;
        std::optional<platform::AffineTransform> videoTransform;
        bool videoRealTime = false, audioRealTime = false;
        std::optional<platform::MediaTime> sessionStart;
        std::vector<std::pair<platform::CMMediaType, platform::MediaTime>> appended;
        bool writerDestroyed = false;

        bool called(const std::string& call) const {
            return std::find(calls.begin(), calls.end(), call) != calls.end();
        }
    };

    template <typename Change>
    void update(Change change) {
        std::lock_guard lock(_mutex);
        change(_state);
        _changed.notify_all();
    }
    void add(const std::string& call) {
        update([&](State& s) { s.calls.push_back(call); });
    }
    State state() const {
        std::lock_guard lock(_mutex);
        return _state;
    }
    // True once `condition` holds; false after a generous timeout.
    template <typename Condition>
    bool waitUntil(Condition condition) const {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(20), [&] { return condition(_state); });
    }

  private:
    mutable std::mutex _mutex;
    mutable std::condition_variable _changed;
    State _state;
};

using ScriptRef = std::shared_ptr<FakeWriterScript>;
using RecordRef = std::shared_ptr<FakeWriterRecord>;

class FakeWriterInput final : public platform::AssetWriterInput {
  public:
    FakeWriterInput(platform::CMMediaType type, ScriptRef script, RecordRef record)
        : _type(type), _script(std::move(script)), _record(std::move(record)) {}

    platform::CMMediaType mediaType() const override { return _type; }
    void setExpectsMediaDataInRealTime(bool realTime) override {
        _record->update([&](auto& s) {
            (_type == platform::kCMMediaType_Video ? s.videoRealTime : s.audioRealTime) = realTime;
        });
    }
    void setTransform(const platform::AffineTransform& transform) override {
        _record->update([&](auto& s) { s.videoTransform = transform; });
    }
    bool isReadyForMoreMediaData() const override { return _script->inputsReady; }
    bool appendSampleBuffer(const platform::SampleBufferRef& sample) override {
        if (_script->duringAppend) {
            _script->duringAppend();
        }
        if (_script->failAppends) {
            return false;
        }
        _record->update(
            [&](auto& s) { s.appended.emplace_back(_type, sample->presentationTimeStamp()); });
        return true;
    }

  private:
    const platform::CMMediaType _type;
    const ScriptRef _script;
    const RecordRef _record;
};

class FakeAssetWriter final : public platform::AssetWriter {
  public:
    FakeAssetWriter(platform::AssetFileType type, ScriptRef script, RecordRef record)
        : _type(type), _script(std::move(script)), _record(std::move(record)) {}
    ~FakeAssetWriter() override {
        _record->update([](auto& s) {
            s.calls.push_back("destroyed");
            s.writerDestroyed = true;
        });
    }

    platform::AssetFileType fileType() const override { return _type; }
    void setMetadata(std::vector<platform::MetadataItem> items) override {
        _record->update([&](auto& s) {
            s.metadata = std::move(items);
            s.calls.push_back("setMetadata");
        });
    }
    bool canApplyVideoOutputSettings(const platform::VideoOutputSettings& settings) const override {
        _record->update([&](auto& s) { s.videoSettings = settings; });
        return !_script->refuseVideoSettings;
    }
    bool canApplyAudioOutputSettings(const platform::AudioOutputSettings& settings) const override {
        _record->update([&](auto& s) { s.audioSettings = settings; });
        return !_script->refuseAudioSettings;
    }
    std::unique_ptr<platform::AssetWriterInput> makeVideoInput(
        const platform::VideoOutputSettings&, platform::FormatDescriptionRef hint) override {
        _record->update([&](auto& s) { s.videoHint = hint; });
        return std::make_unique<FakeWriterInput>(platform::kCMMediaType_Video, _script, _record);
    }
    std::unique_ptr<platform::AssetWriterInput> makeAudioInput(
        const platform::AudioOutputSettings&, platform::FormatDescriptionRef hint) override {
        _record->update([&](auto& s) { s.audioHint = hint; });
        return std::make_unique<FakeWriterInput>(platform::kCMMediaType_Audio, _script, _record);
    }
    bool canAddInput(const platform::AssetWriterInput&) const override {
        return !_script->refuseAddInput;
    }
    platform::AssetWriterInput* addInput(
        std::unique_ptr<platform::AssetWriterInput> input) override {
        const bool video = input->mediaType() == platform::kCMMediaType_Video;
        _record->add(video ? "addInput video" : "addInput audio");
        _inputs.push_back(std::move(input));
        return _inputs.back().get();
    }
    bool startWriting() override {
        _record->add("startWriting");
        if (_script->failStartWriting) {
            failWith("cannot open the file");
        }
        return !_script->failStartWriting;
    }
    void startSessionAtSourceTime(platform::MediaTime startTime) override {
        _record->update([&](auto& s) { s.sessionStart = startTime; });
    }
    void finishWriting(std::function<void()> completion) override {
        _record->add("finishWriting");
        if (_script->failFinish) {
            failWith("disk full");
        }
        completion();
        // Still inside the writer after the completion: the recorder must not have freed it.
        _record->add("finishWriting returns");
    }
    platform::AssetWriterStatus status() const override {
        std::lock_guard lock(_mutex);
        return _error ? platform::AssetWriterStatus::Failed : platform::AssetWriterStatus::Writing;
    }
    std::optional<foundation::Error> error() const override {
        if (_script->failAppends) {
            return fakeWriterError("encoder failed");
        }
        std::lock_guard lock(_mutex);
        return _error;
    }

  private:
    void failWith(const std::string& description) {
        std::lock_guard lock(_mutex);
        _error = fakeWriterError(description);
    }

    const platform::AssetFileType _type;
    const ScriptRef _script;
    const RecordRef _record;
    std::vector<std::unique_ptr<platform::AssetWriterInput>> _inputs;
    mutable std::mutex _mutex;
    std::optional<foundation::Error> _error;
};

class FakeAssetWriterFactory final : public platform::AssetWriterFactory {
  public:
    ScriptRef script = std::make_shared<FakeWriterScript>();
    RecordRef record = std::make_shared<FakeWriterRecord>();

    std::unique_ptr<platform::AssetWriter> makeWriter(
        const std::string& path, platform::AssetFileType type,
        std::optional<foundation::Error>& error) override {
        record->update([&](auto& s) {
            s.path = path;
            s.fileType = type;
            s.calls.push_back("makeWriter");
        });
        if (script->duringMakeWriter) {
            script->duringMakeWriter();
        }
        if (script->makeWriterError) {
            error = script->makeWriterError;
            return nullptr;
        }
        return std::make_unique<FakeAssetWriter>(type, script, record);
    }
    // A fake writer's file is never interrupted: the fake writes nothing.
    platform::InterruptedMovie closeInterruptedMovie(const std::string&,
                                                     platform::AssetFileType) override {
        return {0, 0, 0, foundation::Error{"Fake", 0, "The fake writer writes no files", ""}};
    }
};

}  // namespace orvane::capture::testing
