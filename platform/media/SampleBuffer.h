// A timed sample on its way to a writer: one image (a pixel buffer) or a run of interleaved PCM
// audio, with its format description and timing. Immutable and shared; the payload stays
// retained for as long as the sample lives, so a pooled pixel buffer goes back to its pool only
// when the last sample that holds it is gone.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/media/FormatDescription.h"
#include "platform/media/MediaTime.h"
#include "platform/media/PixelBuffer.h"

namespace orvane::platform {

struct SampleTimingInfo {
    MediaTime duration = MediaTime::invalid();
    MediaTime presentationTimeStamp = MediaTime::invalid();
    MediaTime decodeTimeStamp = MediaTime::invalid();
};

class SampleBuffer;
using SampleBufferRef = std::shared_ptr<const SampleBuffer>;

class SampleBuffer {
  public:
    // An image sample, its data ready. Null when the buffer or description is missing, the
    // description does not fit the buffer (video, same size and pixel format), or the
    // presentation time is not numeric. Duration and decode time may be invalid.
    static SampleBufferRef createForImageBuffer(PixelBufferRef imageBuffer,
                                                FormatDescriptionRef formatDescription,
                                                const SampleTimingInfo& timing);

    // An audio sample of `numSamples` frames of interleaved linear PCM. Null unless the
    // description is interleaved linear PCM with a frame size, `numSamples` is positive, the
    // bytes are exactly `numSamples` frames and the presentation time is numeric. The duration is
    // `numSamples` on the sample rate's timescale; the decode time is invalid.
    static SampleBufferRef createAudio(std::vector<std::uint8_t> interleavedPCM,
                                       std::int64_t numSamples,
                                       FormatDescriptionRef formatDescription,
                                       MediaTime presentationTimeStamp);

    CMMediaType mediaType() const { return _formatDescription->mediaType(); }
    const FormatDescriptionRef& formatDescription() const { return _formatDescription; }

    MediaTime presentationTimeStamp() const { return _timing.presentationTimeStamp; }
    MediaTime duration() const { return _timing.duration; }
    MediaTime decodeTimeStamp() const { return _timing.decodeTimeStamp; }

    // The image of a video sample; null for audio.
    const PixelBufferRef& imageBuffer() const { return _imageBuffer; }
    // The PCM bytes of an audio sample; empty for video.
    std::span<const std::uint8_t> audioData() const { return _audioData; }
    // Frames of audio; 1 for an image.
    std::int64_t numSamples() const { return _numSamples; }

  private:
    SampleBuffer(FormatDescriptionRef formatDescription, const SampleTimingInfo& timing,
                 PixelBufferRef imageBuffer, std::vector<std::uint8_t> audioData,
                 std::int64_t numSamples);

    const FormatDescriptionRef _formatDescription;
    const SampleTimingInfo _timing;
    const PixelBufferRef _imageBuffer;
    const std::vector<std::uint8_t> _audioData;
    const std::int64_t _numSamples;
};

}  // namespace orvane::platform
