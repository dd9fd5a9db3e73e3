// The session manager's recording control: start, stop and pause, and the recorder's calls
// while it prepares and writes.
#include "capture/ZephrinSessionManager.h"

#include "capture/media_naming.h"
#include "foundation/exceptions.h"
#include "foundation/strings.h"
#include "screen/settings_store.h"

namespace orvane::capture {

void ZephrinSessionManager::startRecording() {
    std::shared_ptr<MovieRecorder> recorder;
    std::filesystem::path url;
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

        recorder = MovieRecorder::create(_environment.recorder);
        if (_recordingWithAudio.load() && !_timelapseMode.load()) {
            recorder->addAudioTrackWithSourceFormatDescription(_audioFormatDescription);
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
        recorder->addVideoTrackWithSourceFormatDescription(
            _videoFormatDescription, transformFromCurrentVideoOrientationToOrientation(
                                         _referenceOrientation, _videoOrientation));
        recorder->setDelegate(
            weak_from_this(),
            foundation::SerialQueue::create("Lenwick MovieRecorder delegate callback queue"));
        _movieURL = _environment.temporaryDirectory /
                    (_store.cache().getVideoExtensionMode() != 0 ? "Movie.MP4" : "Movie.MOV");
        url = _movieURL;
        _recorder = recorder;
    }
    recorder->prepareToRecordToURL(url.string());
    auto name = capture::movieFileName(_store.cache(), _store.sessionManager,
                                       std::chrono::system_clock::now());
    foundation::ObjectLockGuard guard(_lock);
    _movieFileName = std::move(name);
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
    foundation::ObjectLockGuard guard(_lock);
    _transitionToStatus(RecordingStatus::Idle, error);
}

}  // namespace orvane::capture
