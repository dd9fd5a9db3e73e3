// The audio input of the FFmpeg movie writer: interleaved linear PCM (16 or 32-bit integers,
// 32 or 64-bit floats, any channel count) resampled to what FFmpeg's AAC encoder takes and cut
// into its frames.
//
// An append only queues the sample for the input's encoding thread; the input is ready while
// that small queue has room. Samples are laid on the file's timeline by their presentation
// times: a hole longer than a few hundredths of a second is filled with silence and an overlap
// is cut, so the sound stays with the picture.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/writer/encoder_worker.h"
#include "platform/writer/ffmpeg_input.h"

namespace orvane::platform::ffmpeg {

class FfmpegAudioInput final : public FfmpegInput {
  public:
    // Whether FFmpeg's AAC encoder takes these settings: AAC, a sample rate it supports, one to
    // eight channels agreeing with the layout, a positive bit rate.
    static bool canApply(const AudioOutputSettings& settings);

    FfmpegAudioInput(std::shared_ptr<FfmpegOutput> output, AudioOutputSettings settings,
                     FormatDescriptionRef sourceFormatHint);
    ~FfmpegAudioInput() override;

    CMMediaType mediaType() const override { return kCMMediaType_Audio; }
    // Samples are shed, never waited for, whether the source is real time or not.
    void setExpectsMediaDataInRealTime(bool) override {}
    void setTransform(const AffineTransform&) override {}
    bool isReadyForMoreMediaData() const override;
    bool appendSampleBuffer(const SampleBufferRef& sample) override;

    bool open() override;
    void prepareStream(MediaTime start) override;
    void start() override;
    void finish() override;

  private:
    struct Job {
        SampleBufferRef sample;
        MediaTime offset;  // from the session start
    };

    // On the encoding thread.
    void process(Job& job);
    bool configureResampler(const AudioStreamBasicDescription& source);
    bool resample(const std::uint8_t* interleaved, int frames);
    void writeSilence(std::int64_t frames);
    void encodeFrames(bool flush);
    void writePackets();

    const AudioOutputSettings _settings;
    const FormatDescriptionRef _hint;

    CodecContextPtr _encoder;
    AVStream* _stream = nullptr;
    AVRational _streamTimeBase{1, 48000};
    std::atomic<bool> _accepting{false};

    // The encoding thread's own state.
    SwrContextPtr _resampler;
    std::optional<AudioStreamBasicDescription> _resamplerSource;
    AudioFifoPtr _fifo;
    FramePtr _frame;
    PacketPtr _packet;
    std::vector<std::vector<float>> _planes;  // resampled samples, one plane per channel
    bool _started = false;
    std::int64_t _fifoStart = 0;  // the position of the fifo's first sample, in output samples
    std::unique_ptr<EncoderWorker<Job>> _worker;
};

}  // namespace orvane::platform::ffmpeg
