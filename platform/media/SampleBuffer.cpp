#include "platform/media/SampleBuffer.h"

#include <cmath>
#include <limits>
#include <utility>

namespace orvane::platform {

namespace {

// `numSamples` frames at `sampleRate`: exact on the rate's own timescale when it is a whole
// number that fits one, else to the microsecond.
MediaTime audioDuration(std::int64_t numSamples, double sampleRate) {
    if (sampleRate == std::floor(sampleRate) &&
        sampleRate <= std::numeric_limits<std::int32_t>::max()) {
        return MediaTime::make(numSamples, static_cast<std::int32_t>(sampleRate));
    }
    return MediaTime::makeWithSeconds(static_cast<double>(numSamples) / sampleRate, 1'000'000);
}

}  // namespace

SampleBuffer::SampleBuffer(FormatDescriptionRef formatDescription, const SampleTimingInfo& timing,
                           PixelBufferRef imageBuffer, std::vector<std::uint8_t> audioData,
                           std::int64_t numSamples)
    : _formatDescription(std::move(formatDescription)),
      _timing(timing),
      _imageBuffer(std::move(imageBuffer)),
      _audioData(std::move(audioData)),
      _numSamples(numSamples) {}

SampleBufferRef SampleBuffer::createForImageBuffer(PixelBufferRef imageBuffer,
                                                   FormatDescriptionRef formatDescription,
                                                   const SampleTimingInfo& timing) {
    if (!imageBuffer || !formatDescription ||
        !formatDescription->matchesImageBuffer(*imageBuffer) ||
        !timing.presentationTimeStamp.isNumeric()) {
        return nullptr;
    }
    return SampleBufferRef(
        new SampleBuffer(std::move(formatDescription), timing, std::move(imageBuffer), {}, 1));
}

SampleBufferRef SampleBuffer::createAudio(std::vector<std::uint8_t> interleavedPCM,
                                          std::int64_t numSamples,
                                          FormatDescriptionRef formatDescription,
                                          MediaTime presentationTimeStamp) {
    if (!formatDescription || numSamples <= 0 || !presentationTimeStamp.isNumeric()) {
        return nullptr;
    }
    const AudioStreamBasicDescription* stream = formatDescription->streamBasicDescription();
    if (stream == nullptr || stream->formatID != kAudioFormatLinearPCM ||
        (stream->formatFlags & kAudioFormatFlagIsNonInterleaved) || stream->bytesPerFrame == 0) {
        return nullptr;
    }
    // Compared by division, so a huge sample count cannot overflow the product.
    const std::size_t bytesPerFrame = stream->bytesPerFrame;
    if (interleavedPCM.size() % bytesPerFrame != 0 ||
        interleavedPCM.size() / bytesPerFrame != static_cast<std::uint64_t>(numSamples)) {
        return nullptr;
    }
    const SampleTimingInfo timing{audioDuration(numSamples, stream->sampleRate),
                                  presentationTimeStamp, MediaTime::invalid()};
    return SampleBufferRef(new SampleBuffer(std::move(formatDescription), timing, nullptr,
                                            std::move(interleavedPCM), numSamples));
}

}  // namespace orvane::platform
