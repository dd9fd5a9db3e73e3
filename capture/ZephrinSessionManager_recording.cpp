// The session manager's recording control: start, stop and pause, and the recorder's calls
// while it prepares and writes.
#include "capture/ZephrinSessionManager.h"

#include "capture/media_naming.h"
#include "foundation/exceptions.h"
#include "foundation/strings.h"
#include "screen/settings_store.h"

namespace orvane::capture {

void ZephrinSessionManager::startRecording() {
    {
        foundation::ObjectLockGuard guard(_lock);
        if (_status != RecordingStatus::Idle) {
            throw foundation::InternalInconsistencyException("Already recording");
        }
        _transitionToStatus(RecordingStatus::StartingRecording, std::nullopt);
        _bPause.store(false);
        _pauseTime.store(0);
        _lastBufferTime = 0;
        _timelapse.reset();
    }
    try {
        beginRecording();
    } catch (const std::exception& exception) {
        // Whatever failed, the manager is never left starting: the next start must work.
        foundation::ObjectLockGuard guard(_lock);
        if (_status == RecordingStatus::StartingRecording) {
            _transitionToStatus(
                RecordingStatus::Idle,
                foundation::Error{"Zephrin", 0,
                                  foundation::localized("Recording cannot be started"),
                                  exception.what()});
        }
    }
}

void ZephrinSessionManager::beginRecording() {
    const auto name = capture::movieFileName(_store.cache(), _store.sessionManager,
                                             std::chrono::system_clock::now());
    const bool mp4 = _store.cache().getVideoExtensionMode() != 0;
    std::optional<foundation::Error> draftError;
    auto draft = platform::MovieDraft::create(
        _environment.draftsFolder, name.value_or(mp4 ? "Movie.MP4" : "Movie.MOV"), draftError);

    std::shared_ptr<MovieRecorder> recorder;
    std::filesystem::path url;
    {
        foundation::ObjectLockGuard guard(_lock);
        if (!draft) {
            _transitionToStatus(RecordingStatus::Idle, draftError);
            return;
        }
        if (!_videoFormatDescription) {
            // No frame has come yet: the movie's format is not known.
            _transitionToStatus(
                RecordingStatus::Idle,
                foundation::Error{"Zephrin", 0,
                                  foundation::localized("Recording cannot be started"),
                                  "No camera frame has arrived yet."});
            return;
        }
        recorder = MovieRecorder::create(_environment.recorder);
        if (_recordingWithAudio.load() && !_timelapseMode.load()) {
            recorder->addAudioTrackWithSourceFormatDescription(_audioFormatDescription);
        }
        recorder->addVideoTrackWithSourceFormatDescription(
            _videoFormatDescription, transformFromCurrentVideoOrientationToOrientation(
                                         _referenceOrientation, _videoOrientation));
        recorder->setDelegate(
            weak_from_this(),
            foundation::SerialQueue::create("Lenwick MovieRecorder delegate callback queue"));
        _movieURL = draft->movie();
        _movieFileName = name;
        _draft = std::move(draft);
        url = _movieURL;
        _recorder = recorder;
    }
    recorder->prepareToRecordToURL(url.string());
}

void ZephrinSessionManager::stopRecording() {
    std::shared_ptr<MovieRecorder> recorder;
    {
        foundation::ObjectLockGuard guard(_lock);
        if (_status != RecordingStatus::Recording) {
            return;
        }
        _transitionToStatus(RecordingStatus::StoppingRecording, std::nullopt);
        _store.cache().gSetFileNameIndex(_store.sessionManager.readFileNameIndex());
        recorder = _recorder;
    }
    recorder->finishRecording();
}

void ZephrinSessionManager::pauseChange() {
    const bool pausing = !_bPause.load();
    if (pausing) {
        _lastPauseTime.store(now());
    } else {
        _pauseTime.store(_pauseTime.load() + now() - _lastPauseTime.load());
    }
    _bPause.store(pausing);
}

bool ZephrinSessionManager::isPaused() const {
    return _bPause.load();
}

RecordingStatus ZephrinSessionManager::status() const {
    foundation::ObjectLockGuard guard(_lock);
    return _status;
}

std::filesystem::path ZephrinSessionManager::movieURL() const {
    foundation::ObjectLockGuard guard(_lock);
    return _movieURL;
}

std::optional<std::string> ZephrinSessionManager::movieFileName() const {
    foundation::ObjectLockGuard guard(_lock);
    return _movieFileName;
}

platform::VideoDimensions ZephrinSessionManager::videoDimensions() const {
    foundation::ObjectLockGuard guard(_lock);
    return _videoDimensions;
}

void ZephrinSessionManager::recorderDidFinishPreparingToRecord(MovieRecorder&) {
    foundation::ObjectLockGuard guard(_lock);
    if (_status != RecordingStatus::StartingRecording) {
        throw foundation::InternalInconsistencyException(
            "Expected to be in StartingRecording state");
    }
    _transitionToStatus(RecordingStatus::Recording, std::nullopt);
}

void ZephrinSessionManager::recorderDidFailWithError(MovieRecorder&,
                                                     const foundation::Error& error) {
    {
        foundation::ObjectLockGuard guard(_lock);
        std::error_code ignored;
        const bool recorded = (_status == RecordingStatus::Recording ||
                               _status == RecordingStatus::StoppingRecording) &&
                              std::filesystem::file_size(_movieURL, ignored) > 0 && !ignored;
        if (!recorded) {
            std::filesystem::remove(_movieURL, ignored);
            _transitionToStatus(RecordingStatus::Idle, error);
            return;
        }
        // The recorder has closed the movie as far as it was written: a user never loses what
        // was recorded, so it is delivered, and the error reported once the library has it.
        _recordingError = error;
        if (_status == RecordingStatus::Recording) {
            _transitionToStatus(RecordingStatus::StoppingRecording, std::nullopt);
            _store.cache().gSetFileNameIndex(_store.sessionManager.readFileNameIndex());
        }
    }
    deliverMovie();
}

}  // namespace orvane::capture
