// The synthetic microphone: an audio device that hears a steady 440 Hz tone at -12 dBFS, for
// machines without a microphone and for tests.
//
// It produces mono 16-bit interleaved PCM at 48 kHz in buffers of 1024 frames, paced by the
// clock: buffer k after start is delivered when its last frame has been "heard", (k + 1) * 1024
// frames after start, and is stamped with the time of its first frame on the clock's monotonic
// line (timescale 48000, the sample rate), so its times sit on the same line as the synthetic
// camera's. The tone's phase runs on across buffers.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "foundation/Clock.h"
#include "platform/capture/CaptureDevice.h"
#include "platform/replay_pacer.h"

namespace orvane::platform {

class SyntheticMicrophone final : public CaptureDevice {
  public:
    static constexpr std::int32_t kSampleRate = 48000;
    static constexpr std::int64_t kFramesPerBuffer = 1024;
    static constexpr double kToneFrequency = 440.0;
    static constexpr double kToneLevelDBFS = -12.0;

    SyntheticMicrophone(std::string uniqueID, std::string localizedName, foundation::Clock& clock);
    ~SyntheticMicrophone() override;

    // The tone's value at frame `frame` counted from the start, as a 16-bit sample.
    static std::int16_t toneSample(std::int64_t frame);

    void start(SampleSink sink) override;
    void stop() override;

    std::uint64_t deliveredBufferCount() const { return _delivered.load(); }

  private:
    void produceBuffer(std::size_t index);

    foundation::Clock& _clock;
    std::mutex _pacingMutex;  // held while pacing stops and starts
    ReplayPacer _pacer;
    mutable std::mutex _mutex;  // guards the three below
    std::shared_ptr<const SampleSink> _sink;
    FormatDescriptionRef _format;
    std::int64_t _startValue = 0;  // presentation time of the start, in frames
    std::atomic<std::uint64_t> _delivered{0};
};

}  // namespace orvane::platform
