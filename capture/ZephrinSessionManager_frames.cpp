// The session manager's frames: each video frame stamped on the delegate queue and appended one
// frame later, with the pause cut out and time-lapse retiming; the audio branch.
#include "capture/ZephrinSessionManager.h"

#include <cstdlib>

#include "foundation/application_state.h"
#include "foundation/log.h"
#include "screen/settings_store.h"

namespace orvane::capture {

using platform::MediaTime;
using platform::PixelBufferRef;
using platform::SampleBufferRef;

namespace {

// Process-wide, as the capture queues read them without the manager.
std::atomic<double> audioLastSample{0};
std::atomic<bool> allocatorChanging{false};

constexpr float kFocalLenIn35mmFilm = 35.0f;

}  // namespace

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
        const auto kept =
            _timelapse.retime(presentationTime, _store.cache().getTimelpaseInterval());
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

double ZephrinSessionManager::audioLastSampleTime() {
    return audioLastSample.load();
}

}  // namespace orvane::capture
