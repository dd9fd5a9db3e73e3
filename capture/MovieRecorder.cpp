#include "capture/MovieRecorder.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "capture/movie_metadata.h"
#include "capture/video_bitrate.h"
#include "foundation/exceptions.h"
#include "foundation/log.h"
#include "foundation/strings.h"
#include "screen/settings_cache.h"

namespace orvane::capture {

namespace {

constexpr const char* kWritingQueueLabel = "Lenwick MovieRecorder writing queue";
constexpr std::int32_t kMaxKeyFrameInterval = 30;

// The writer's own error; a writer that failed without one still needs a message for the user.
foundation::Error writerFailure(const platform::AssetWriter* writer) {
    if (writer != nullptr) {
        if (auto error = writer->error()) {
            return *error;
        }
    }
    return {"Zephrin", 0, "Recording failed", "The movie writer stopped without giving a reason."};
}

}  // namespace

std::shared_ptr<MovieRecorder> MovieRecorder::create(MovieRecorderEnvironment environment) {
    if (!environment.writerFactory) {
        throw foundation::InvalidArgumentException("A movie recorder needs a writer factory");
    }
    return std::make_shared<MovieRecorder>(Private{}, std::move(environment));
}

MovieRecorder::MovieRecorder(Private, MovieRecorderEnvironment environment)
    : _environment(std::move(environment)),
      _settings(_environment.settings != nullptr ? *_environment.settings
                                                 : screen::SettingsCache::shared()),
      _writingQueue(foundation::SerialQueue::create(kWritingQueueLabel)) {}

MovieRecorder::~MovieRecorder() {
    // Nothing else can reach the recorder now: no queued work holds it.
    foundation::ObjectLockGuard guard(_lock);
    _delegate.reset();
    _delegateCallbackQueue.reset();
    _videoInput = nullptr;
    _audioInput = nullptr;
    _assetWriter.reset();
    _audioTrackSourceFormatDescription.reset();
    _videoTrackSourceFormatDescription.reset();
}

void MovieRecorder::addVideoTrackWithSourceFormatDescription(
    platform::FormatDescriptionRef formatDescription, const platform::AffineTransform& transform) {
    if (!formatDescription) {
        throw foundation::InvalidArgumentException("NULL format description");
    }
    foundation::ObjectLockGuard guard(_lock);
    if (_status != MovieRecorderStatus::Idle) {
        throw foundation::InternalInconsistencyException("Cannot add tracks while not idle");
    }
    if (_addedVideoTrack) {
        throw foundation::InternalInconsistencyException("Cannot add more than one video track");
    }
    _addedVideoTrack = true;
    _videoTrackSourceFormatDescription = std::move(formatDescription);
    _videoTrackTransform = transform;
}

void MovieRecorder::addAudioTrackWithSourceFormatDescription(
    platform::FormatDescriptionRef formatDescription) {
    if (!formatDescription) {
        return;
    }
    foundation::ObjectLockGuard guard(_lock);
    if (_status != MovieRecorderStatus::Idle) {
        throw foundation::InternalInconsistencyException("Cannot add tracks while not idle");
    }
    if (_addedAudioTrack) {
        throw foundation::InternalInconsistencyException("Cannot add more than one audio track");
    }
    _addedAudioTrack = true;
    _audioTrackSourceFormatDescription = std::move(formatDescription);
}

void MovieRecorder::setDelegate(std::weak_ptr<MovieRecorderDelegate> delegate,
                                std::shared_ptr<foundation::DispatchQueue> callbackQueue) {
    if (!delegate.expired() && !callbackQueue) {
        throw foundation::InvalidArgumentException("Caller must provide a delegateCallbackQueue");
    }
    foundation::ObjectLockGuard guard(_lock);
    _delegate = std::move(delegate);
    _delegateCallbackQueue = std::move(callbackQueue);
}

void MovieRecorder::prepareToRecordToURL(const std::string& url) {
    foundation::ObjectLockGuard guard(_lock);
    if (_status != MovieRecorderStatus::Idle) {
        throw foundation::InternalInconsistencyException("Already prepared, cannot prepare again");
    }
    _transitionToStatus(MovieRecorderStatus::PreparingToRecord, std::nullopt);
    foundation::globalQueue(foundation::QueuePriority::Low)
        ->async([self = shared_from_this(), url] { self->prepare(url); });
}

void MovieRecorder::prepare(const std::string& url) {
    // A file left by an earlier recording would make the writer refuse the path.
    std::error_code ignored;
    std::filesystem::remove(url, ignored);

    const auto fileType = _settings.getVideoExtensionMode() != 0
                              ? platform::AssetFileType::MPEG4
                              : platform::AssetFileType::QuickTimeMovie;
    std::optional<foundation::Error> error;
    std::shared_ptr<platform::AssetWriter> writer =
        _environment.writerFactory->makeWriter(url, fileType, error);
    if (!writer && !error) {
        error = writerFailure(nullptr);
    }

    platform::AssetWriterInput* videoInput = nullptr;
    platform::AssetWriterInput* audioInput = nullptr;
    if (writer) {
        MovieMetadataSource source;
        source.make = _environment.make;
        source.customText = _settings.inputString();
        source.tags = _settings.getSelectTags();
        if (_environment.location) {
            try {
                source.location = _environment.location();
            } catch (const std::exception& exception) {
                foundation::log("movie location left out: %s", exception.what());
            }
        }
        writer->setMetadata(movieMetadataItems(source));

        bool addVideo = false;
        platform::FormatDescriptionRef videoDescription;
        platform::AffineTransform transform;
        {
            foundation::ObjectLockGuard guard(_lock);
            addVideo = _addedVideoTrack;
            videoDescription = _videoTrackSourceFormatDescription;
            transform = _videoTrackTransform;
        }
        if (!error && addVideo) {
            error = _setupAssetWriterVideoInput(*writer, videoDescription, transform, videoInput);
            foundation::ObjectLockGuard guard(_lock);
            _videoTrackSourceFormatDescription.reset();
        }

        bool addAudio = false;
        platform::FormatDescriptionRef audioDescription;
        {
            foundation::ObjectLockGuard guard(_lock);
            addAudio = _addedAudioTrack;
            audioDescription = _audioTrackSourceFormatDescription;
        }
        if (!error && addAudio) {
            error = _setupAssetWriterAudioInput(*writer, audioDescription, audioInput);
            foundation::ObjectLockGuard guard(_lock);
            _audioTrackSourceFormatDescription.reset();
        }

        if (!error && !writer->startWriting()) {
            error = writerFailure(writer.get());
        }
    }

    foundation::ObjectLockGuard guard(_lock);
    _assetWriter = std::move(writer);
    _videoInput = videoInput;
    _audioInput = audioInput;
    _transitionToStatus(error ? MovieRecorderStatus::Failed : MovieRecorderStatus::Recording,
                        error);
}

std::optional<foundation::Error> MovieRecorder::_setupAssetWriterVideoInput(
    platform::AssetWriter& writer, const platform::FormatDescriptionRef& formatDescription,
    const platform::AffineTransform& transform, platform::AssetWriterInput*& input) {
    // The source format is the output pool's: the size the encoder receives.
    const platform::VideoDimensions dimensions = formatDescription->dimensions();
    const VideoBitrateChoice choice = videoBitrateForDimensions(
        dimensions.width, dimensions.height, _settings.getVideoBitrateMode(),
        _settings.getCurrentVideoResolution(), _settings.getVideoCodec());

    platform::VideoOutputSettings settings;
    settings.codec = choice.codec;
    settings.width = dimensions.width;
    settings.height = dimensions.height;
    settings.averageBitRate = choice.averageBitRate;
    settings.maxKeyFrameInterval = kMaxKeyFrameInterval;
    settings.expectedSourceFrameRate =
        frameRateForQualityIndex(_settings.getCurrentVideoResolution());

    if (!writer.canApplyVideoOutputSettings(settings)) {
        return _cannotSetupInputError();
    }
    auto made = writer.makeVideoInput(settings, formatDescription);
    if (!made) {
        return _cannotSetupInputError();
    }
    made->setExpectsMediaDataInRealTime(true);
    made->setTransform(transform);
    if (!writer.canAddInput(*made)) {
        return _cannotSetupInputError();
    }
    input = writer.addInput(std::move(made));
    return std::nullopt;
}

std::optional<foundation::Error> MovieRecorder::_setupAssetWriterAudioInput(
    platform::AssetWriter& writer, const platform::FormatDescriptionRef& formatDescription,
    platform::AssetWriterInput*& input) {
    // AAC, and everything else (rate, channels, layout) follows the source given as the hint.
    platform::AudioOutputSettings settings;
    settings.formatID = platform::kAudioFormatMPEG4AAC;

    if (!writer.canApplyAudioOutputSettings(settings)) {
        return _cannotSetupInputError();
    }
    auto made = writer.makeAudioInput(settings, formatDescription);
    if (!made) {
        return _cannotSetupInputError();
    }
    made->setExpectsMediaDataInRealTime(true);
    if (!writer.canAddInput(*made)) {
        return _cannotSetupInputError();
    }
    input = writer.addInput(std::move(made));
    return std::nullopt;
}

void MovieRecorder::appendVideoSampleBuffer(platform::SampleBufferRef sampleBuffer) {
    _appendSampleBuffer(std::move(sampleBuffer), platform::kCMMediaType_Video);
}

void MovieRecorder::appendAudioSampleBuffer(platform::SampleBufferRef sampleBuffer) {
    _appendSampleBuffer(std::move(sampleBuffer), platform::kCMMediaType_Audio);
}

void MovieRecorder::_appendSampleBuffer(platform::SampleBufferRef sampleBuffer,
                                        platform::CMMediaType type) {
    if (!sampleBuffer) {
        return;
    }
    foundation::ObjectLockGuard guard(_lock);
    if (_status < MovieRecorderStatus::Recording) {
        throw foundation::InternalInconsistencyException("Not ready to record yet");
    }
    _writingQueue->async([self = shared_from_this(), sample = std::move(sampleBuffer), type] {
        self->writeSample(sample, type);
    });
}

void MovieRecorder::writeSample(const platform::SampleBufferRef& sampleBuffer,
                                platform::CMMediaType type) {
    std::shared_ptr<platform::AssetWriter> writer;
    platform::AssetWriterInput* input = nullptr;
    {
        foundation::ObjectLockGuard guard(_lock);
        // Samples that were posted before finishing began are let go here unwritten.
        if (_status != MovieRecorderStatus::Recording || !_assetWriter) {
            return;
        }
        writer = _assetWriter;
        input = type == platform::kCMMediaType_Video ? _videoInput : _audioInput;
    }

    // The first sample of either kind is the movie's zero.
    if (!_haveStartedSession) {
        writer->startSessionAtSourceTime(sampleBuffer->presentationTimeStamp());
        _haveStartedSession = true;
    }

    const std::string typeName = platform::fourCharCodeString(type);
    if (input == nullptr) {
        foundation::log("no input of type %s, ignoring", typeName.c_str());
        return;
    }
    // Real-time capture never waits for the writer: a sample it cannot take now is dropped.
    if (!input->isReadyForMoreMediaData()) {
        foundation::log("%s input not ready for more media data, dropping buffer",
                        typeName.c_str());
        return;
    }
    if (!input->appendSampleBuffer(sampleBuffer)) {
        const foundation::Error error = writerFailure(writer.get());
        foundation::ObjectLockGuard guard(_lock);
        _transitionToStatus(MovieRecorderStatus::Failed, error);
    }
}

void MovieRecorder::finishRecording() {
    foundation::ObjectLockGuard guard(_lock);
    switch (_status) {
        case MovieRecorderStatus::Idle:
        case MovieRecorderStatus::PreparingToRecord:
            throw foundation::InternalInconsistencyException("Not yet recording");
        case MovieRecorderStatus::FinishingRecording:
        case MovieRecorderStatus::Finished:
            throw foundation::InternalInconsistencyException(
                "Already finishing or finished recording");
        case MovieRecorderStatus::Failed:
            foundation::log("Alread failed, nothing to do");
            return;
        case MovieRecorderStatus::Recording:
            break;
    }
    _transitionToStatus(MovieRecorderStatus::FinishingRecording, std::nullopt);
    foundation::globalQueue(foundation::QueuePriority::Default)->async([self = shared_from_this()] {
        self->finish();
    });
}

void MovieRecorder::finish() {
    // Every append posted before this point has ended once an empty block has run after them.
    _writingQueue->sync([] {});

    std::shared_ptr<platform::AssetWriter> writer;
    {
        foundation::ObjectLockGuard guard(_lock);
        // An append that failed meanwhile has already ended the recording.
        if (_status != MovieRecorderStatus::FinishingRecording || !_assetWriter) {
            return;
        }
        writer = _assetWriter;
    }
    platform::AssetWriter* finishing = writer.get();
    writer->finishWriting([this, finishing] {
        std::optional<foundation::Error> error;
        if (finishing->status() == platform::AssetWriterStatus::Failed) {
            error = writerFailure(finishing);
        }
        // The transition only posts blocks, so holding the lock here cannot stall the writer.
        foundation::ObjectLockGuard guard(_lock);
        if (_status == MovieRecorderStatus::FinishingRecording) {
            _transitionToStatus(error ? MovieRecorderStatus::Failed : MovieRecorderStatus::Finished,
                                error);
        }
    });
}

MovieRecorderStatus MovieRecorder::status() const {
    foundation::ObjectLockGuard guard(_lock);
    return _status;
}

void MovieRecorder::_transitionToStatus(MovieRecorderStatus newStatus,
                                        const std::optional<foundation::Error>& error) {
    if (newStatus == _status) {
        return;
    }
    const bool done =
        newStatus == MovieRecorderStatus::Finished || newStatus == MovieRecorderStatus::Failed;
    // A writer that fails while it writes still holds the recording so far.
    const bool closeWriter = newStatus == MovieRecorderStatus::Failed &&
                             (_status == MovieRecorderStatus::Recording ||
                              _status == MovieRecorderStatus::FinishingRecording);
    _status = newStatus;
    const bool tell = (done || newStatus == MovieRecorderStatus::Recording) &&
                      !_delegate.expired() && _delegateCallbackQueue;
    if (done) {
        // On the writing queue, so no append can find the writer half gone; the delegate hears
        // of the end once the file is closed, as it may hand the file on at once.
        _writingQueue->async([self = shared_from_this(), closeWriter, tell, newStatus, error] {
            self->_teardownAssetWriterAndInputs(closeWriter);
            if (tell) {
                foundation::ObjectLockGuard guard(self->_lock);
                self->tellDelegate(newStatus, error);
            }
        });
    } else if (tell) {
        tellDelegate(newStatus, error);
    }
}

void MovieRecorder::tellDelegate(MovieRecorderStatus newStatus,
                                 const std::optional<foundation::Error>& error) {
    if (!_delegateCallbackQueue) {
        return;
    }
    _delegateCallbackQueue->async(
        [self = shared_from_this(), delegate = _delegate, newStatus, error] {
            const auto target = delegate.lock();
            if (!target) {
                return;
            }
            switch (newStatus) {
                case MovieRecorderStatus::Recording:
                    target->recorderDidFinishPreparingToRecord(*self);
                    break;
                case MovieRecorderStatus::Finished:
                    target->recorderDidFinishRecording(*self);
                    break;
                default:
                    target->recorderDidFailWithError(*self, error.value_or(writerFailure(nullptr)));
                    break;
            }
        });
}

void MovieRecorder::_teardownAssetWriterAndInputs(bool closeWriter) {
    std::shared_ptr<platform::AssetWriter> writer;
    {
        foundation::ObjectLockGuard guard(_lock);
        _videoInput = nullptr;
        _audioInput = nullptr;
        writer = std::move(_assetWriter);
    }
    // The writer closes outside the lock: closing a file may take a while.
    if (writer && closeWriter) {
        writer->finishWriting([] {});
    }
}

const char* MovieRecorder::_stringForStatus(std::int64_t status) {
    switch (status) {
        case 0:
            return "Idle";
        case 1:
            return "PreparingToRecord";
        case 2:
            return "Recording";
        case 3:
            return "FinishingRecording";
        case 4:
            return "Finished";
        case 5:
            return "Failed";
        default:
            return "Unknown";
    }
}

foundation::Error MovieRecorder::_cannotSetupInputError() {
    return {"Zephrin", 0, foundation::localized("Recording cannot be started"),
            foundation::localized("Cannot setup asset writer input.")};
}

}  // namespace orvane::capture
