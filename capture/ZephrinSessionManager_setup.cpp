// The session manager's capture session: the devices it chooses, the session it builds, the
// microphone, and pausing, resuming and tearing down.
#include "capture/ZephrinSessionManager.h"

#include "foundation/log.h"
#include "foundation/strings.h"
#include "screen/settings_store.h"

namespace orvane::capture {

namespace {

// Process-wide, as the capture queues read it without the manager.
std::atomic<bool> cameraRunning{false};

}  // namespace

std::shared_ptr<platform::CaptureDevice> ZephrinSessionManager::backFacingCamera() const {
    using platform::CaptureDeviceType;
    for (const auto type :
         {CaptureDeviceType::BuiltInTripleCamera, CaptureDeviceType::BuiltInDualWideCamera,
          CaptureDeviceType::BuiltInDualCamera}) {
        if (auto device = _environment.devices->defaultDeviceWithDeviceType(
                type, platform::kCMMediaType_Video, platform::CaptureDevicePosition::Back)) {
            return device;
        }
    }
    return backFacingCameraNoraml();
}

std::shared_ptr<platform::CaptureDevice> ZephrinSessionManager::backFacingCameraNoraml() const {
    if (auto device = _environment.devices->defaultDeviceWithDeviceType(
            platform::CaptureDeviceType::BuiltInWideAngleCamera, platform::kCMMediaType_Video,
            platform::CaptureDevicePosition::Back)) {
        return device;
    }
    // A camera that says nothing of where it looks (a webcam) serves as the back one.
    for (const auto& device :
         _environment.devices->devicesWithMediaType(platform::kCMMediaType_Video)) {
        if (device->position() != platform::CaptureDevicePosition::Front) {
            return device;
        }
    }
    return nullptr;
}

std::shared_ptr<platform::CaptureDevice> ZephrinSessionManager::frontFacingCamera() const {
    for (const auto& device :
         _environment.devices->devicesWithMediaType(platform::kCMMediaType_Video)) {
        if (device->position() == platform::CaptureDevicePosition::Front) {
            return device;
        }
    }
    return nullptr;
}

std::shared_ptr<platform::CaptureDevice> ZephrinSessionManager::audioDevice() const {
    return _environment.devices->defaultDeviceWithMediaType(platform::kCMMediaType_Audio);
}

bool ZephrinSessionManager::setupAndStartCaptureSession() {
    if (!_captureSession && !setupCaptureSession()) {
        return false;
    }
    if (_videoDevice && _videoDevice->isLowLightBoostSupported()) {
        // Nothing on this platform brightens by itself yet; the device says so.
        foundation::log("low light boost offered by %s", _videoDevice->localizedName().c_str());
    }
    return true;
}

bool ZephrinSessionManager::setupCaptureSession() {
    _cameraQueue = foundation::SerialQueue::create("com.brevoli.session.queue");
    auto session = std::make_shared<platform::CaptureSession>();
    _stopObserver = session->addDidStopRunningObserver([] {});

    _audioOut = std::make_shared<platform::CaptureAudioDataOutput>();
    _audioCaptureQueue = foundation::SerialQueue::create("Lenwick Audio Capture Queue");
    _audioOut->setSampleBufferDelegate(weak_from_this(), _audioCaptureQueue);

    const std::int64_t resolution = _store.cache().getCurrentVideoResolution();
    const std::int64_t mode =
        _environment.cameraModeIndex.value_or(_store.sessionManager.getCameraModeIndex());
    _timelapseMode.store(mode == 3);
    std::shared_ptr<platform::CaptureDevice> device =
        (mode == 0 || mode == 3) && resolution == 7 ? backFacingCameraNoraml() : backFacingCamera();
    auto input = platform::CaptureDeviceInput::deviceInputWithDevice(device);
    std::shared_ptr<ZephrinSessionManagerDelegate> delegate;
    {
        foundation::ObjectLockGuard guard(_lock);
        delegate = _delegate.lock();
    }
    bool back = true;
    if (!input.input) {
        device = frontFacingCamera();
        input = platform::CaptureDeviceInput::deviceInputWithDevice(device);
        back = false;
        if (delegate) {
            delegate->setOnlyFrontCamera(true);
        }
    }
    if (!input.input) {
        foundation::log("No camera: %s",
                        input.error ? input.error->message().c_str() : "none was found");
        return false;
    }
    session->beginConfiguration();
    if (session->canAddInput(input.input)) {
        if (delegate) {
            delegate->setCameraPosition(back);
        }
        session->addInput(input.input);
        _input = input.input;
        _videoDevice = device;
    }

    _videoOut = std::make_shared<platform::CaptureVideoDataOutput>();
    _videoCaptureQueue = foundation::SerialQueue::create(
        "Lenwick Video Capture Queue", foundation::globalQueue(foundation::QueuePriority::High));
    _videoOut->setSampleBufferDelegate(weak_from_this(), _videoCaptureQueue);
    if (session->canAddOutput(_videoOut)) {
        session->addOutput(_videoOut);
    }
    _videoOut->setAlwaysDiscardsLateVideoFrames(true);

    using Preset = platform::CaptureSessionPreset;
    const auto choosePreset = [&](std::initializer_list<Preset> presets) {
        for (const Preset preset : presets) {
            if (session->canSetSessionPreset(preset)) {
                session->setSessionPreset(preset);
                return;
            }
        }
    };
    if (mode == 1) {
        choosePreset({Preset::Photo, Preset::Preset1280x720, Preset::Preset640x480});
        _cameraType.store(1);
    } else if (mode == 2) {
        _cameraType.store(2);
    } else if (mode == 0 || mode == 3) {
        _cameraType.store(0);
    }
    if (mode == 0 || mode == 2 || mode == 3) {
        choosePreset({Preset::Preset1280x720, Preset::iFrame960x540, Preset::Preset640x480});
    }
    session->commitConfiguration();
    _captureSession = session;

    if (delegate) {
        if (mode == 0) {
            back ? delegate->changeResolutionFps() : delegate->changeResolutionFpsFrontCamera();
        } else if (mode == 2 && back) {
            delegate->changeResolutionFps();
        }
    }
    if (mode == 1) {
        removeAudioInput();
    } else {
        addAudioInput();
    }
    {
        foundation::ObjectLockGuard guard(_lock);
        _videoConnection = _videoOut->connectionWithMediaType(platform::kCMMediaType_Video);
        if (_videoConnection) {
            _videoOrientation = static_cast<std::int64_t>(_videoConnection->videoOrientation());
        }
    }
    if (delegate) {
        delegate->whenVideoDeviceChanged(_videoDevice);
    }
    return true;
}

void ZephrinSessionManager::addAudioInput() {
    if (!_recordingWithAudio.load() || _timelapseMode.load()) {
        removeAudioInput();
        return;
    }
    if (!_captureSession) {
        return;
    }
    {
        foundation::ObjectLockGuard guard(_lock);
        if (_audioIn) {
            return;
        }
    }
    auto input = platform::CaptureDeviceInput::deviceInputWithDevice(audioDevice());
    if (!input.input) {
        foundation::log("No microphone: %s",
                        input.error ? input.error->message().c_str() : "none was found");
        return;
    }
    _captureSession->beginConfiguration();
    if (_captureSession->canAddInput(input.input)) {
        _captureSession->addInput(input.input);
    }
    if (_captureSession->canAddOutput(_audioOut)) {
        _captureSession->addOutput(_audioOut);
    }
    _captureSession->commitConfiguration();
    foundation::ObjectLockGuard guard(_lock);
    _audioIn = input.input;
    _audioConnection = _audioOut->connectionWithMediaType(platform::kCMMediaType_Audio);
}

void ZephrinSessionManager::removeAudioInput() {
    std::shared_ptr<platform::CaptureDeviceInput> audioIn;
    {
        foundation::ObjectLockGuard guard(_lock);
        audioIn = std::move(_audioIn);
        _audioIn.reset();
        _audioConnection.reset();
    }
    if (!audioIn || !_captureSession) {
        return;
    }
    _captureSession->beginConfiguration();
    _captureSession->removeOutput(_audioOut);
    _captureSession->removeInput(audioIn);
    _captureSession->commitConfiguration();
}

void ZephrinSessionManager::pauseCaptureSession() {
    cameraRunning.store(false);
    if (_captureSession && _captureSession->isRunning()) {
        _captureSession->stopRunning();
    }
}

void ZephrinSessionManager::resumeCaptureSession() {
    if (!_captureSession) {
        return;
    }
    _cameraQueue->async([self = shared_from_this()] {
        if (!self->_captureSession->isRunning()) {
            self->_captureSession->startRunning();
        }
        self->_mainQueue->async([] { cameraRunning.store(true); });
    });
}

void ZephrinSessionManager::stopAndTearDownCaptureSession() {
    if (!_captureSession) {
        return;
    }
    _captureSession->stopRunning();
    _captureSession->removeDidStopRunningObserver(_stopObserver);
    _captureSession.reset();
    // Samples already on the capture queues still run; once these return, nothing more is
    // posted to the delegate's queue.
    _videoCaptureQueue->sync([] {});
    _audioCaptureQueue->sync([] {});
}

bool ZephrinSessionManager::isCameraRunning() {
    return cameraRunning.load();
}

}  // namespace orvane::capture
