#include "platform/capture/SyntheticCamera.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "platform/capture/test_scene.h"

namespace orvane::platform {
namespace {

// A point on the clock's monotonic line in the camera's timescale.
std::int64_t timescaleUnits(foundation::MonotonicTime time) {
    const auto nanoseconds =
        std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
    // Split to keep the product inside 64 bits for any uptime.
    const std::int64_t seconds = nanoseconds / 1'000'000'000;
    const std::int64_t rest = nanoseconds % 1'000'000'000;
    return seconds * SyntheticCamera::kTimescale +
           rest * SyntheticCamera::kTimescale / 1'000'000'000;
}

}  // namespace

std::vector<CaptureDeviceFormat> SyntheticCamera::standardFormats() {
    const auto upTo30 = std::vector{FrameRateRange::make(1, 30)};
    const auto upTo60 = std::vector{FrameRateRange::make(1, 60)};
    return {
        CaptureDeviceFormat::video(640, 480, upTo30),
        CaptureDeviceFormat::video(640, 480, upTo60),
        CaptureDeviceFormat::video(960, 540, upTo30),
        CaptureDeviceFormat::video(960, 540, upTo60),
        CaptureDeviceFormat::video(1280, 720, upTo30),
        CaptureDeviceFormat::video(1280, 720, upTo60),
        CaptureDeviceFormat::video(1280, 960, upTo30),
        CaptureDeviceFormat::video(1920, 1080, upTo30),
    };
}

SyntheticCamera::SyntheticCamera(std::string uniqueID, std::string localizedName,
                                 CaptureDevicePosition position, foundation::Clock& clock)
    : CaptureDevice(Description{std::move(uniqueID), std::move(localizedName), position,
                                CaptureDeviceType::BuiltInWideAngleCamera, kCMMediaType_Video,
                                standardFormats(), 4}),
      _clock(clock),
      _pacer(clock) {}

SyntheticCamera::~SyntheticCamera() {
    stop();
}

void SyntheticCamera::start(SampleSink sink) {
    {
        std::lock_guard lock(_mutex);
        _sink = std::make_shared<const SampleSink>(std::move(sink));
        _running = true;
    }
    startPacing();
}

void SyntheticCamera::stop() {
    std::lock_guard pacing(_pacingMutex);
    _pacer.stop();
    std::lock_guard lock(_mutex);
    _running = false;
    _sink.reset();
}

void SyntheticCamera::activeConfigurationDidChange() {
    startPacing();
}

void SyntheticCamera::startPacing() {
    std::lock_guard pacing(_pacingMutex);
    // The old replay ends first, so no frame of it is stamped with the new start.
    _pacer.stop();
    const auto config = configuration();
    const auto size = config.format.dimensions();
    const std::int64_t units =
        std::max<std::int64_t>(1, std::llround(config.minFrameDuration.seconds() * kTimescale));
    {
        std::lock_guard lock(_mutex);
        if (!_running) {
            return;
        }
        if (!_pool || _pool->attributes().width != size.width ||
            _pool->attributes().height != size.height) {
            PixelBufferPoolAttributes attributes;
            attributes.width = size.width;
            attributes.height = size.height;
            attributes.minimumBufferCount = kBufferCount;
            auto created = PixelBufferPool::create(attributes);
            if (!created.pool) {
                // The formats are fixed and valid, so only memory can fail here: no frames.
                return;
            }
            if (_pool) {
                _retiredAllocations += _pool->allocationCount();
            }
            _pool = std::move(created.pool);
            _poolFormat = config.format.formatDescription;
        }
        _startValue = timescaleUnits(_clock.now());
        _frameUnits = units;
    }
    _pacer.start(
        [units](std::size_t index) {
            return static_cast<double>(static_cast<std::int64_t>(index + 1) * units) / kTimescale;
        },
        [this](std::size_t index) { produceFrame(index); });
}

void SyntheticCamera::produceFrame(std::size_t index) {
    std::shared_ptr<const SampleSink> sink;
    std::shared_ptr<PixelBufferPool> pool;
    FormatDescriptionRef format;
    MediaTime time;
    MediaTime duration;
    {
        std::lock_guard lock(_mutex);
        if (!_running || !_sink) {
            return;
        }
        sink = _sink;
        pool = _pool;
        format = _poolFormat;
        time = MediaTime::make(_startValue + static_cast<std::int64_t>(index + 1) * _frameUnits,
                               kTimescale);
        duration = MediaTime::make(_frameUnits, kTimescale);
    }
    auto taken = pool->createPixelBuffer({kBufferCount});
    if (!taken.buffer) {
        _dropped.fetch_add(1);
        return;
    }
    drawTestScene(*taken.buffer, time.seconds());
    auto sample = SampleBuffer::createForImageBuffer(std::move(taken.buffer), format,
                                                     {duration, time, MediaTime::invalid()});
    _delivered.fetch_add(1);
    (*sink)(std::move(sample));
}

std::uint64_t SyntheticCamera::bufferAllocationCount() const {
    std::lock_guard lock(_mutex);
    return _retiredAllocations + (_pool ? _pool->allocationCount() : 0);
}

}  // namespace orvane::platform
