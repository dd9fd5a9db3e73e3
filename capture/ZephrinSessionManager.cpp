#include "capture/ZephrinSessionManager.h"

#include <cstdlib>
#include <system_error>

#include "capture/media_naming.h"
#include "foundation/application_state.h"
#include "foundation/exceptions.h"
#include "foundation/log.h"
#include "foundation/strings.h"
#include "screen/settings_store.h"

namespace orvane::capture {

using platform::MediaTime;
using platform::PixelBufferRef;
using platform::SampleBufferRef;

namespace {

// Process-wide, as the capture queues read them without the manager.
TimelapseRetimer timelapse;
std::atomic<double> audioLastSample{0};
std::atomic<bool> allocatorChanging{false};
std::atomic<bool> cameraRunning{false};

constexpr float kFocalLenIn35mmFilm = 35.0f;

}  // namespace

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

// MARK: Session

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

double ZephrinSessionManager::audioLastSampleTime() {
    return audioLastSample.load();
}

bool ZephrinSessionManager::isCameraRunning() {
    return cameraRunning.load();
}

// MARK: Frames

void ZephrinSessionManager::captureOutputDidOutputSampleBuffer(
    platform::CaptureOutput& output, SampleBufferRef sampleBuffer,
    platform::CaptureConnection& connection) {
    (void)output;
    bool audio = sampleBuffer->mediaType() == platform::kCMMediaType_Audio;
    {
        foundation::ObjectLockGuard guard(_lock);
        audio = audio || (_audioConnection && _audioConnection.get() == &connection);
    }
    if (audio) {
        audioBranch(sampleBuffer);
    } else {
        videoBranch(sampleBuffer);
    }
}

void ZephrinSessionManager::videoBranch(const SampleBufferRef& sampleBuffer) {
    if (_changingCamera.load() || !foundation::isAppActive()) {
        return;
    }
    const MediaTime time = sampleBuffer->presentationTimeStamp();
    PixelBufferRef image = sampleBuffer->imageBuffer();
    if (!image) {
        return;
    }
    std::shared_ptr<ZephrinSessionManagerDelegate> delegate;
    std::shared_ptr<foundation::DispatchQueue> queue;
    {
        foundation::ObjectLockGuard guard(_lock);
        const platform::VideoDimensions dimensions =
            sampleBuffer->formatDescription()->dimensions();
        if (dimensions != _videoDimensions || _cameraTypeChanged.load()) {
            _cameraTypeChanged.store(false);
            allocatorChanging.store(true);
            setupVideoPipelineForSampleBuffer(*sampleBuffer->formatDescription());
            allocatorChanging.store(false);
        }
        delegate = _delegate.lock();
        queue = _delegateCallbackQueue;
    }
    if (!delegate || !queue) {
        return;
    }
    queue->async([self = shared_from_this(), delegate, image = std::move(image), time]() mutable {
        self->renderStep(delegate, std::move(image), time);
    });
}

void ZephrinSessionManager::setupVideoPipelineForSampleBuffer(
    const platform::FormatDescription& format) {
    _videoDimensions = format.dimensions();
    _outputBufferPool.reset();
    const OutputPoolSize size =
        outputPoolSize(_cameraType.load(), _videoDimensions.width, _videoDimensions.height,
                       _environment.screenScale, _environment.processorCount);
    platform::PixelBufferPoolAttributes attributes;
    attributes.width = size.width;
    attributes.height = size.height;
    attributes.minimumBufferCount = size.bufferCount;
    attributes.openGLESCompatibility = true;
    attributes.ioSurfaceProperties = true;
    auto created = platform::PixelBufferPool::create(attributes);
    if (!created.pool) {
        foundation::log("The output pool of %dx%d cannot be made (%d)", size.width, size.height,
                        created.status);
        std::abort();
    }
    _outputBufferPool = std::move(created.pool);
    _outputBufferPoolAuxAttributes.allocationThreshold = size.bufferCount;
    // Preallocate up to the threshold, so the frame path never allocates.
    {
        std::vector<PixelBufferRef> buffers;
        for (;;) {
            auto result = _outputBufferPool->createPixelBuffer(_outputBufferPoolAuxAttributes);
            if (result.status == platform::kCVReturnWouldExceedAllocationThreshold) {
                break;
            }
            if (result.status != platform::kCVReturnSuccess) {
                foundation::log("Preallocating the output pool failed (%d)", result.status);
                std::abort();
            }
            buffers.push_back(std::move(result.buffer));
        }
    }
    auto one = _outputBufferPool->createPixelBuffer(_outputBufferPoolAuxAttributes);
    if (one.buffer) {
        _videoFormatDescription = platform::FormatDescription::createForImageBuffer(*one.buffer);
    }
    const platform::VideoDimensions dimensions = _videoDimensions;
    if (auto delegate = _delegate.lock(); delegate && _delegateCallbackQueue) {
        _delegateCallbackQueue->async([delegate, dimensions] {
            delegate->setDimensions(dimensions.width, dimensions.height, kFocalLenIn35mmFilm);
        });
    }
}

void ZephrinSessionManager::renderStep(
    const std::shared_ptr<ZephrinSessionManagerDelegate>& delegate, PixelBufferRef source,
    MediaTime time) {
    if (allocatorChanging.load()) {
        foundation::log("allocator changing");
        return;
    }
    PixelBufferRef destination;
    {
        foundation::ObjectLockGuard guard(_lock);
        if (_outputBufferPool) {
            destination =
                _outputBufferPool->createPixelBuffer(_outputBufferPoolAuxAttributes).buffer;
        }
    }
    if (!destination) {
        _droppedFrames.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    if (_lastRenderPixelBuffer) {
        delegate->finishRenderingPixelBuffer();
        {
            foundation::ObjectLockGuard guard(_lock);
            if (_status == RecordingStatus::Recording && !_bPause.load()) {
                if (const auto rebased = rebaseForAppend(_lastRenderPixelBufferTime,
                                                         _pauseTime.load(), _lastBufferTime)) {
                    appendPixelBuffer(_lastRenderPixelBuffer, *rebased);
                }
            }
        }
        _lastRenderPixelBuffer.reset();
    }
    delegate->displayAndRenderPixelBuffer(source, destination, false);
    _lastRenderPixelBuffer = std::move(destination);
    _lastRenderPixelBufferTime = time;
}

void ZephrinSessionManager::appendPixelBuffer(const PixelBufferRef& pixelBuffer,
                                              MediaTime presentationTime) {
    MediaTime outputTime = presentationTime;
    if (_timelapseMode.load()) {
        const auto kept = timelapse.retime(presentationTime, _store.cache().getTimelpaseInterval());
        if (!kept) {
            return;
        }
        outputTime = *kept;
    }
    platform::SampleTimingInfo timing;
    timing.presentationTimeStamp = outputTime;
    auto sample =
        platform::SampleBuffer::createForImageBuffer(pixelBuffer, _videoFormatDescription, timing);
    if (sample && _recorder) {
        _recorder->appendVideoSampleBuffer(std::move(sample));
    }
}

void ZephrinSessionManager::audioBranch(const SampleBufferRef& sampleBuffer) {
    audioLastSample.store(now());
    if (_changingCamera.load()) {
        return;
    }
    foundation::ObjectLockGuard guard(_lock);
    _audioFormatDescription = sampleBuffer->formatDescription();
    if (_status == RecordingStatus::Recording && !_bPause.load() && _recordingWithAudio.load() &&
        !_timelapseMode.load() && _recorder) {
        _recorder->appendAudioSampleBuffer(sampleBuffer);
    }
}

// MARK: Recording

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
        timelapse.reset();

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

void ZephrinSessionManager::recorderDidFinishRecording(MovieRecorder&) {
    {
        foundation::ObjectLockGuard guard(_lock);
        if (_status != RecordingStatus::StoppingRecording) {
            throw foundation::InternalInconsistencyException(
                "Expected to be in StoppingRecording state");
        }
    }
    auto self = shared_from_this();
    auto library = _environment.library;
    library->requestAuthorizationForAccessLevel(
        platform::PHAccessLevel::ReadWrite,
        [self, library](platform::PHAuthorizationStatus answer) {
            self->_mainQueue->async([self, library, answer] {
                using platform::PHAuthorizationStatus;
                if (answer == PHAuthorizationStatus::Authorized) {
                    self->_recorderDidFinishRecording(0);
                } else if (answer == PHAuthorizationStatus::Limited) {
                    self->_recorderDidFinishRecording(1);
                } else if (answer == PHAuthorizationStatus::Denied) {
                    library->requestAuthorizationForAccessLevel(
                        platform::PHAccessLevel::AddOnly, [self](PHAuthorizationStatus addOnly) {
                            self->_mainQueue->async([self, addOnly] {
                                if (addOnly == PHAuthorizationStatus::Authorized) {
                                    self->_recorderDidFinishRecording(2);
                                } else {
                                    self->deliveryFailed(std::nullopt);
                                }
                            });
                        });
                } else {
                    self->deliveryFailed(std::nullopt);
                }
            });
        });
}

void ZephrinSessionManager::deliveryFailed(const std::optional<foundation::Error>&) {
    std::error_code ignored;
    std::filesystem::remove(movieURL(), ignored);
    foundation::ObjectLockGuard guard(_lock);
    if (auto delegate = _delegate.lock(); delegate) {
        _mainQueue->async([delegate] { delegate->showPhotoAccessDeniedError(); });
    }
    _transitionToStatus(RecordingStatus::Idle, std::nullopt);
}

void ZephrinSessionManager::_recorderDidFinishRecording(int permissionStatus) {
    std::filesystem::path url;
    std::optional<std::string> name;
    {
        foundation::ObjectLockGuard guard(_lock);
        if (_status != RecordingStatus::StoppingRecording) {
            throw foundation::InternalInconsistencyException(
                "Expected to be in StoppingRecording state");
        }
        url = _movieURL;
        name = _movieFileName;
    }
    auto placeholder = std::make_shared<std::string>();
    auto self = shared_from_this();
    _environment.library->performChanges(
        [&](platform::PhotoLibraryChanges& changes) {
            platform::PHAssetResourceCreationOptions options;
            options.originalFilename = name;
            options.shouldMoveFile = true;
            *placeholder = changes.addResourceWithTypeFileURL(platform::PHAssetResourceType::Video,
                                                              url, options);
        },
        [self, placeholder, permissionStatus, url](bool success,
                                                   const std::optional<foundation::Error>& error) {
            self->_mainQueue->async([self, placeholder, permissionStatus, url, success, error] {
                std::shared_ptr<ZephrinSessionManagerDelegate> delegate;
                {
                    foundation::ObjectLockGuard guard(self->_lock);
                    delegate = self->_delegate.lock();
                }
                if (!success) {
                    if (delegate) {
                        delegate->insertMediaFile(std::nullopt, error);
                    }
                } else if (permissionStatus == 0 || permissionStatus == 1) {
                    std::error_code ignored;
                    std::filesystem::remove(url, ignored);
                    const auto assets =
                        self->_environment.library->fetchAssetsWithLocalIdentifiers({*placeholder});
                    if (delegate && !assets.values.empty()) {
                        delegate->movieDidSave(assets.values.front());
                        // The thumbnail may come after the manager and its screen are gone:
                        // the library's queue holds neither.
                        std::weak_ptr<ZephrinSessionManagerDelegate> weakDelegate = delegate;
                        self->_environment.library->requestImageForAsset(
                            *placeholder, 256,
                            [mainQueue = self->_mainQueue, weakDelegate](
                                const std::optional<platform::PhotoThumbnail>& thumb,
                                const std::optional<foundation::Error>&) {
                                if (thumb) {
                                    mainQueue->async([weakDelegate, thumb] {
                                        if (auto screen = weakDelegate.lock()) {
                                            screen->setNewFileThumbnail(*thumb);
                                        }
                                    });
                                }
                            });
                    }
                    if (const auto album = self->getCollection()) {
                        const std::string identifier = *placeholder;
                        self->_environment.library->performChanges(
                            [&](platform::PhotoLibraryChanges& changes) {
                                changes.addAssets(album->localIdentifier, {identifier});
                            },
                            [](bool, const std::optional<foundation::Error>& albumError) {
                                if (albumError) {
                                    foundation::log("The movie was not added to the album: %s",
                                                    albumError->message().c_str());
                                }
                            });
                    }
                } else if (delegate) {
                    delegate->movieDidSaveUnseen(*placeholder);
                }
                self->finishDelivery();
            });
        });
}

std::optional<platform::PhotoAlbum> ZephrinSessionManager::getCollection() {
    const std::string title = _environment.albumTitle.empty()
                                  ? std::string(foundation::localized("Orvane"))
                                  : _environment.albumTitle;
    if (auto album = _environment.library->albumWithTitle(title)) {
        return album;
    }
    // The first capture makes the album; it goes in from the second on.
    _environment.library->performChanges(
        [&](platform::PhotoLibraryChanges& changes) {
            changes.creationRequestForAssetCollectionWithTitle(title);
        },
        [](bool, const std::optional<foundation::Error>& error) {
            if (error) {
                foundation::log("The album cannot be made: %s", error->message().c_str());
            }
        });
    return std::nullopt;
}

void ZephrinSessionManager::finishDelivery() {
    foundation::ObjectLockGuard guard(_lock);
    if (_status != RecordingStatus::StoppingRecording) {
        throw foundation::InternalInconsistencyException(
            "Expected to be in StoppingRecording state");
    }
    _transitionToStatus(RecordingStatus::Idle, std::nullopt);
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
