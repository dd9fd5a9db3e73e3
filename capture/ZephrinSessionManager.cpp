// The session manager's life, its settings and its recording status machine.
#include "capture/ZephrinSessionManager.h"

#include "foundation/exceptions.h"

namespace orvane::capture {

std::shared_ptr<ZephrinSessionManager> ZephrinSessionManager::create(
    ZephrinSessionManagerEnvironment environment) {
    return std::make_shared<ZephrinSessionManager>(Private{}, std::move(environment));
}

ZephrinSessionManager::ZephrinSessionManager(Private, ZephrinSessionManagerEnvironment environment)
    : _environment(std::move(environment)),
      _store(*_environment.store),
      _mainQueue(_environment.mainQueue ? _environment.mainQueue : foundation::mainQueue()) {}

ZephrinSessionManager::~ZephrinSessionManager() {
    if (_captureSession) {
        _captureSession->stopRunning();
        _captureSession->removeDidStopRunningObserver(_stopObserver);
    }
}

double ZephrinSessionManager::now() const {
    return (_environment.clock ? *_environment.clock : foundation::systemClock())
        .timeIntervalSince1970();
}

void ZephrinSessionManager::setDelegate(
    std::weak_ptr<ZephrinSessionManagerDelegate> delegate,
    std::shared_ptr<foundation::DispatchQueue> delegateCallbackQueue) {
    if (!delegate.expired() && !delegateCallbackQueue) {
        throw foundation::InvalidArgumentException("Caller must provide a delegateCallbackQueue");
    }
    foundation::ObjectLockGuard guard(_lock);
    _delegate = std::move(delegate);
    _delegateCallbackQueue = std::move(delegateCallbackQueue);
}

void ZephrinSessionManager::setRecordWithAudio(bool recordWithAudio) {
    _recordingWithAudio.store(recordWithAudio);
}

bool ZephrinSessionManager::isRecordingWithAudio() const {
    return _recordingWithAudio.load();
}

void ZephrinSessionManager::setReferenceOrientation(std::int64_t orientation) {
    foundation::ObjectLockGuard guard(_lock);
    _referenceOrientation = orientation;
}

void ZephrinSessionManager::setCameraType(std::int32_t cameraType) {
    _cameraType.store(cameraType);
    _cameraTypeChanged.store(true);
}

std::int32_t ZephrinSessionManager::cameraType() const {
    return _cameraType.load();
}

void ZephrinSessionManager::setTimelapseMode(bool timelapse) {
    _timelapseMode.store(timelapse);
}

bool ZephrinSessionManager::isTimelapseMode() const {
    return _timelapseMode.load();
}

// MARK: Status

const char* ZephrinSessionManager::_stringForStatus(std::int64_t status) {
    switch (status) {
        case 0:
            return "Idle";
        case 1:
            return "StartingRecording";
        case 2:
            return "Recording";
        case 3:
            return "StoppingRecording";
        default:
            return "Unknown";
    }
}

void ZephrinSessionManager::_transitionToStatus(RecordingStatus newStatus,
                                                const std::optional<foundation::Error>& error) {
    const RecordingStatus oldStatus = _status;
    _status = newStatus;
    if (newStatus == oldStatus) {
        return;
    }
    if (newStatus == RecordingStatus::Idle) {
        _recorder.reset();
        // A movie the library did not take stays in its draft for the next recovery.
        _draft.reset();
        _recordingError.reset();
    }
    if (error && newStatus == RecordingStatus::Idle) {
        const foundation::Error copy = *error;
        postToDelegate(
            [copy](ZephrinSessionManagerDelegate& d) { d.recordingDidFailWithError(copy); });
    } else if (oldStatus == RecordingStatus::StartingRecording &&
               newStatus == RecordingStatus::Recording) {
        postToDelegate([](ZephrinSessionManagerDelegate& d) { d.recordingDidStart(); });
    } else if (oldStatus == RecordingStatus::Recording &&
               newStatus == RecordingStatus::StoppingRecording) {
        postToDelegate([](ZephrinSessionManagerDelegate& d) { d.recordingWillStop(); });
    } else if (oldStatus == RecordingStatus::StoppingRecording &&
               newStatus == RecordingStatus::Idle) {
        postToDelegate([](ZephrinSessionManagerDelegate& d) { d.recordingDidStop(); });
    }
}

void ZephrinSessionManager::postToDelegate(
    std::function<void(ZephrinSessionManagerDelegate&)> call) {
    auto delegate = _delegate.lock();
    if (!delegate || !_delegateCallbackQueue) {
        return;
    }
    _delegateCallbackQueue->async(
        [delegate = std::move(delegate), call = std::move(call)] { call(*delegate); });
}

}  // namespace orvane::capture
