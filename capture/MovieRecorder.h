// Writes one movie file: one video track of stamped frames, at most one audio track, and the
// file-level metadata of the moment the recording starts. A strict status machine around the
// platform's movie writer; a new recorder is made for each recording (and each segment).
//
// Calling order: the add...Track calls while idle, setDelegate, prepareToRecordToURL, then the
// append calls, then finishRecording. Programming mistakes against that order raise
// foundation::InternalInconsistencyException or InvalidArgumentException with fixed texts.
//
// Threads: preparation runs on the low-priority global queue, every append on the writing queue
// "Lenwick MovieRecorder writing queue", finishing on the default global queue; delegate calls on
// the callback queue given with the delegate. Appends never block their caller: they post to the
// writing queue, and a sample the writer cannot take at once is dropped with a log line.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "foundation/DispatchQueue.h"
#include "foundation/Error.h"
#include "foundation/ObjectLock.h"
#include "platform/location/Location.h"
#include "platform/media/FormatDescription.h"
#include "platform/media/SampleBuffer.h"
#include "platform/writer/AssetWriter.h"

namespace orvane::screen {
class SettingsCache;
}

namespace orvane::capture {

class MovieRecorder;

class MovieRecorderDelegate {
  public:
    virtual ~MovieRecorderDelegate() = default;
    // The writer is open: appends are written from now on.
    virtual void recorderDidFinishPreparingToRecord(MovieRecorder& recorder) = 0;
    // Preparation, an append or the finish failed; the recorder is done.
    virtual void recorderDidFailWithError(MovieRecorder& recorder,
                                          const foundation::Error& error) = 0;
    // The file is complete and closed.
    virtual void recorderDidFinishRecording(MovieRecorder& recorder) = 0;
};

enum class MovieRecorderStatus : std::int64_t {
    Idle = 0,
    PreparingToRecord = 1,
    Recording = 2,
    FinishingRecording = 3,
    Finished = 4,
    Failed = 5,
};

// What the recorder reads from outside, handed in so that it depends on nothing above it.
struct MovieRecorderEnvironment {
    // Makes the file's writer. Required.
    std::shared_ptr<platform::AssetWriterFactory> writerFactory;
    // The container, bit-rate, quality and codec settings, the custom text and the tags. Must
    // outlive the recorder; null reads screen::SettingsCache::shared().
    const screen::SettingsCache* settings = nullptr;
    // The position at the start of the recording, if any. Called on the preparing thread.
    std::function<std::optional<platform::Location>()> location;
    // The maker named in the file: this machine's vendor.
    std::string make;
};

class MovieRecorder : public std::enable_shared_from_this<MovieRecorder> {
    struct Private {};

  public:
    // Queued work keeps the recorder alive until it has run, so it is always shared.
    static std::shared_ptr<MovieRecorder> create(MovieRecorderEnvironment environment);
    MovieRecorder(Private, MovieRecorderEnvironment environment);
    ~MovieRecorder();
    MovieRecorder(const MovieRecorder&) = delete;
    MovieRecorder& operator=(const MovieRecorder&) = delete;

    // Only while idle, at most once each. A null video description is a mistake; a null audio
    // description adds no audio track, since a session that has not heard audio yet has none.
    void addVideoTrackWithSourceFormatDescription(platform::FormatDescriptionRef formatDescription,
                                                  const platform::AffineTransform& transform);
    void addAudioTrackWithSourceFormatDescription(platform::FormatDescriptionRef formatDescription);

    // The delegate is held weakly; a live delegate needs a queue to be called on.
    void setDelegate(std::weak_ptr<MovieRecorderDelegate> delegate,
                     std::shared_ptr<foundation::DispatchQueue> callbackQueue);

    // Opens the writer for the file at `url` on the low-priority global queue: the delegate
    // hears recorderDidFinishPreparingToRecord or recorderDidFailWithError. Only once.
    void prepareToRecordToURL(const std::string& url);

    // Post the sample to the writing queue and return. Null samples are ignored. Raises before
    // preparation has ended; samples that arrive once finishing has begun are let go unwritten.
    void appendVideoSampleBuffer(platform::SampleBufferRef sampleBuffer);
    void appendAudioSampleBuffer(platform::SampleBufferRef sampleBuffer);

    // Writes what was appended and closes the file, on the default global queue; the delegate
    // hears recorderDidFinishRecording or recorderDidFailWithError. After a failure it only logs.
    void finishRecording();

    MovieRecorderStatus status() const;

    // "Idle", "PreparingToRecord", "Recording", "FinishingRecording", "Finished", "Failed", or
    // "Unknown" for any other value. For logs.
    static const char* _stringForStatus(std::int64_t status);
    // The error of a writer input that cannot be set up: domain "Zephrin", code 0.
    static foundation::Error _cannotSetupInputError();

  private:
    // Low-priority global queue.
    void prepare(const std::string& url);
    std::optional<foundation::Error> _setupAssetWriterVideoInput(
        platform::AssetWriter& writer, const platform::FormatDescriptionRef& formatDescription,
        const platform::AffineTransform& transform, platform::AssetWriterInput*& input);
    std::optional<foundation::Error> _setupAssetWriterAudioInput(
        platform::AssetWriter& writer, const platform::FormatDescriptionRef& formatDescription,
        platform::AssetWriterInput*& input);

    void _appendSampleBuffer(platform::SampleBufferRef sampleBuffer, platform::CMMediaType type);
    // Writing queue.
    void writeSample(const platform::SampleBufferRef& sampleBuffer, platform::CMMediaType type);
    // Default global queue.
    void finish();

    void _transitionToStatus(MovieRecorderStatus newStatus,
                             const std::optional<foundation::Error>& error) REQUIRES(_lock);
    // Posts the delegate's call for the new status to the callback queue.
    void tellDelegate(MovieRecorderStatus newStatus, const std::optional<foundation::Error>& error)
        REQUIRES(_lock);
    // Writing queue. A writer that failed mid-recording is closed as far as it was written.
    void _teardownAssetWriterAndInputs(bool closeWriter);

    const MovieRecorderEnvironment _environment;
    const screen::SettingsCache& _settings;

    mutable foundation::ObjectLock _lock;
    MovieRecorderStatus _status GUARDED_BY(_lock) = MovieRecorderStatus::Idle;
    std::weak_ptr<MovieRecorderDelegate> _delegate GUARDED_BY(_lock);
    std::shared_ptr<foundation::DispatchQueue> _delegateCallbackQueue GUARDED_BY(_lock);
    const std::shared_ptr<foundation::SerialQueue> _writingQueue;

    // Set when preparation ends; used on the writing queue and by finishing; released on the
    // writing queue. Shared so that a finish in progress keeps its writer while it is released.
    std::shared_ptr<platform::AssetWriter> _assetWriter GUARDED_BY(_lock);
    // Only on the writing queue.
    bool _haveStartedSession = false;

    bool _addedAudioTrack GUARDED_BY(_lock) = false;
    platform::FormatDescriptionRef _audioTrackSourceFormatDescription GUARDED_BY(_lock);
    // Owned by the writer.
    platform::AssetWriterInput* _audioInput GUARDED_BY(_lock) = nullptr;
    bool _addedVideoTrack GUARDED_BY(_lock) = false;
    platform::FormatDescriptionRef _videoTrackSourceFormatDescription GUARDED_BY(_lock);
    platform::AffineTransform _videoTrackTransform GUARDED_BY(_lock);
    platform::AssetWriterInput* _videoInput GUARDED_BY(_lock) = nullptr;
};

}  // namespace orvane::capture
