// The video input of the FFmpeg movie writer: 32BGRA frames converted to YUV 4:2:0 and encoded
// with libx264 (H.264) or libx265 (HEVC, tagged hvc1).
//
// An append converts the frame on the calling queue into one of a few preallocated YUV frames,
// so the pixel buffer goes back to its pool at once, and hands it to the input's encoding
// thread; the input is ready while a YUV frame is free. The encoder runs without B-frames:
// every packet then decodes in presentation order and carries its frame's exact source time.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/writer/encoder_worker.h"
#include "platform/writer/ffmpeg_input.h"

namespace orvane::platform::ffmpeg {

class FfmpegVideoInput final : public FfmpegInput {
  public:
    // Whether a writer can encode with these settings: a codec whose encoder is present, even
    // positive sides, a positive bit rate and key frame interval.
    static bool canApply(const VideoOutputSettings& settings);

    FfmpegVideoInput(std::shared_ptr<FfmpegOutput> output, VideoOutputSettings settings,
                     FormatDescriptionRef sourceFormatHint);
    ~FfmpegVideoInput() override;

    CMMediaType mediaType() const override { return kCMMediaType_Video; }
    // Frames are shed, never waited for, whether the source is real time or not.
    void setExpectsMediaDataInRealTime(bool) override {}
    void setTransform(const AffineTransform& transform) override { _transform = transform; }
    bool isReadyForMoreMediaData() const override;
    bool appendSampleBuffer(const SampleBufferRef& sample) override;

    bool open() override;
    void prepareStream(MediaTime start) override;
    void start() override;
    void finish() override;

    // Frames dropped since the start: not ready, before the session, or out of order.
    std::int64_t droppedFrames() const { return _dropped.load(); }

  private:
    struct Job {
        int frame;
        std::int64_t encoderPts;
        std::int64_t streamPts;
    };
    struct PendingTime {
        std::int64_t encoderPts;
        std::int64_t streamPts;
    };

    void drop(const char* why, MediaTime time);
    bool convert(const PixelBuffer& source, AVFrame* destination);
    // On the encoding thread.
    void encode(Job& job);
    void writePackets();

    const VideoOutputSettings _settings;
    const FormatDescriptionRef _hint;
    AffineTransform _transform;

    CodecContextPtr _encoder;
    AVStream* _stream = nullptr;
    AVRational _streamTimeBase{1, 600};
    SwsContextPtr _converter;
    VideoDimensions _converterSource;
    std::vector<FramePtr> _frames;
    mutable std::mutex _framesMutex;  // guards _freeFrames
    std::vector<int> _freeFrames;
    std::optional<std::int64_t> _lastStreamPts;
    std::int64_t _lastEncoderPts = -1;
    std::atomic<bool> _accepting{false};
    std::atomic<std::int64_t> _dropped{0};

    // The encoding thread's own state.
    PacketPtr _packet;
    std::deque<PendingTime> _pendingTimes;
    std::int64_t _lastDuration = 0;
    std::unique_ptr<EncoderWorker<Job>> _worker;
};

}  // namespace orvane::platform::ffmpeg
