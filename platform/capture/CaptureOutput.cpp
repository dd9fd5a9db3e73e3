#include "platform/capture/CaptureOutput.h"

#include "foundation/exceptions.h"

namespace orvane::platform {

CaptureConnection::CaptureConnection(Key, CMMediaType mediaType,
                                     std::shared_ptr<CaptureDeviceInput> input,
                                     CaptureOutput& output)
    : _mediaType(mediaType), _input(std::move(input)), _output(output) {}

void CaptureConnection::setVideoOrientation(CaptureVideoOrientation orientation) {
    if (orientation != videoOrientation()) {
        throw foundation::InvalidArgumentException(
            "The connection delivers frames in landscape right only");
    }
}

CaptureOutput::~CaptureOutput() = default;

std::vector<std::shared_ptr<CaptureConnection>> CaptureOutput::connections() const {
    std::lock_guard lock(_mutex);
    return _connections;
}

std::shared_ptr<CaptureConnection> CaptureOutput::connectionWithMediaType(
    CMMediaType mediaType) const {
    std::lock_guard lock(_mutex);
    for (const auto& connection : _connections) {
        if (connection->mediaType() == mediaType) {
            return connection;
        }
    }
    return nullptr;
}

void CaptureDataOutput::setSampleBufferDelegate(
    std::weak_ptr<CaptureDataOutputSampleBufferDelegate> delegate,
    std::shared_ptr<foundation::DispatchQueue> queue) {
    const bool hasDelegate = !delegate.expired();
    if (hasDelegate && !queue) {
        throw foundation::InvalidArgumentException("A sample buffer delegate needs a queue");
    }
    if (hasDelegate && queue->isConcurrent()) {
        throw foundation::InvalidArgumentException("A sample buffer delegate needs a serial queue");
    }
    std::lock_guard lock(_delegateMutex);
    _delegate = std::move(delegate);
    _queue = hasDelegate ? std::move(queue) : nullptr;
}

std::shared_ptr<CaptureDataOutputSampleBufferDelegate> CaptureDataOutput::sampleBufferDelegate()
    const {
    std::lock_guard lock(_delegateMutex);
    return _delegate.lock();
}

std::shared_ptr<foundation::DispatchQueue> CaptureDataOutput::sampleBufferCallbackQueue() const {
    std::lock_guard lock(_delegateMutex);
    return _queue;
}

void CaptureDataOutput::deliver(SampleBufferRef sample,
                                const std::shared_ptr<CaptureConnection>& connection) {
    std::weak_ptr<CaptureDataOutputSampleBufferDelegate> delegate;
    std::shared_ptr<foundation::DispatchQueue> queue;
    {
        std::lock_guard lock(_delegateMutex);
        delegate = _delegate;
        queue = _queue;
    }
    if (!queue || delegate.expired()) {
        return;
    }
    if (discardsLateSamples()) {
        std::int32_t none = 0;
        if (!_waiting.compare_exchange_strong(none, 1)) {
            _discarded.fetch_add(1);
            return;
        }
    } else {
        _waiting.fetch_add(1);
    }
    auto self = std::static_pointer_cast<CaptureDataOutput>(shared_from_this());
    queue->async([self = std::move(self), delegate = std::move(delegate),
                  sample = std::move(sample), connection] {
        // From here on the sample no longer waits: the next one may queue behind it.
        self->_waiting.fetch_sub(1);
        if (!connection->isActive()) {
            return;
        }
        if (auto receiver = delegate.lock()) {
            receiver->captureOutputDidOutputSampleBuffer(*self, sample, *connection);
        }
    });
}

void CaptureVideoDataOutput::setPixelFormatType(FourCharCode pixelFormat) {
    if (pixelFormat != kCVPixelFormatType_32BGRA) {
        throw foundation::InvalidArgumentException("Unsupported pixel format " +
                                                   fourCharCodeString(pixelFormat));
    }
}

}  // namespace orvane::platform
