#include "platform/capture/SyntheticMicrophone.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <vector>

namespace orvane::platform {
namespace {

std::vector<CaptureDeviceFormat> microphoneFormats() {
    return {CaptureDeviceFormat::audio(AudioStreamBasicDescription::interleavedLinearPCM(
                                           SyntheticMicrophone::kSampleRate, 1, 16, false),
                                       AudioChannelLayout::mono())};
}

// A point on the clock's monotonic line, in frames of the sample rate.
std::int64_t frameUnits(foundation::MonotonicTime time) {
    const auto nanoseconds =
        std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
    const std::int64_t seconds = nanoseconds / 1'000'000'000;
    const std::int64_t rest = nanoseconds % 1'000'000'000;
    return seconds * SyntheticMicrophone::kSampleRate +
           rest * SyntheticMicrophone::kSampleRate / 1'000'000'000;
}

}  // namespace

SyntheticMicrophone::SyntheticMicrophone(std::string uniqueID, std::string localizedName,
                                         foundation::Clock& clock)
    : CaptureDevice(Description{
          std::move(uniqueID), std::move(localizedName), CaptureDevicePosition::Unspecified,
          CaptureDeviceType::BuiltInMicrophone, kCMMediaType_Audio, microphoneFormats(), 0}),
      _clock(clock),
      _pacer(clock) {}

SyntheticMicrophone::~SyntheticMicrophone() {
    stop();
}

std::int16_t SyntheticMicrophone::toneSample(std::int64_t frame) {
    static const double amplitude = 32767.0 * std::pow(10.0, kToneLevelDBFS / 20.0);
    // 440 whole periods fit one second exactly, so the phase is taken within the second: the
    // tone stays exact however long it runs.
    const double phase =
        2.0 * M_PI * kToneFrequency * static_cast<double>(frame % kSampleRate) / kSampleRate;
    return static_cast<std::int16_t>(std::lround(amplitude * std::sin(phase)));
}

void SyntheticMicrophone::start(SampleSink sink) {
    std::lock_guard pacing(_pacingMutex);
    _pacer.stop();
    {
        std::lock_guard lock(_mutex);
        _sink = std::make_shared<const SampleSink>(std::move(sink));
        _format = activeFormat().formatDescription;
        _startValue = frameUnits(_clock.now());
    }
    _pacer.start(
        [](std::size_t index) {
            return static_cast<double>(static_cast<std::int64_t>(index + 1) * kFramesPerBuffer) /
                   kSampleRate;
        },
        [this](std::size_t index) { produceBuffer(index); });
}

void SyntheticMicrophone::stop() {
    std::lock_guard pacing(_pacingMutex);
    _pacer.stop();
    std::lock_guard lock(_mutex);
    _sink.reset();
}

void SyntheticMicrophone::produceBuffer(std::size_t index) {
    std::shared_ptr<const SampleSink> sink;
    FormatDescriptionRef format;
    std::int64_t startValue;
    {
        std::lock_guard lock(_mutex);
        if (!_sink) {
            return;
        }
        sink = _sink;
        format = _format;
        startValue = _startValue;
    }
    const std::int64_t first = static_cast<std::int64_t>(index) * kFramesPerBuffer;
    std::vector<std::uint8_t> pcm(kFramesPerBuffer * sizeof(std::int16_t));
    for (std::int64_t i = 0; i < kFramesPerBuffer; ++i) {
        const std::int16_t value = toneSample(first + i);
        std::memcpy(pcm.data() + i * sizeof value, &value, sizeof value);
    }
    auto sample = SampleBuffer::createAudio(std::move(pcm), kFramesPerBuffer, format,
                                            MediaTime::make(startValue + first, kSampleRate));
    _delivered.fetch_add(1);
    (*sink)(std::move(sample));
}

}  // namespace orvane::platform
