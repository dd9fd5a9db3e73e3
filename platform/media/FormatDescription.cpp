#include "platform/media/FormatDescription.h"

#include <bit>
#include <cmath>

namespace orvane::platform {

namespace {

void appendBigEndian(std::vector<std::uint8_t>& bytes, std::uint32_t word) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    }
}

}  // namespace

AudioStreamBasicDescription AudioStreamBasicDescription::interleavedLinearPCM(
    double sampleRate, std::uint32_t channels, std::uint32_t bitsPerChannel, bool isFloat) {
    AudioStreamBasicDescription description;
    description.sampleRate = sampleRate;
    description.formatID = kAudioFormatLinearPCM;
    description.formatFlags = kAudioFormatFlagIsPacked |
                              (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger);
    if constexpr (std::endian::native == std::endian::big) {
        description.formatFlags |= kAudioFormatFlagIsBigEndian;
    }
    description.bytesPerFrame = channels * (bitsPerChannel / 8);
    description.bytesPerPacket = description.bytesPerFrame;
    description.framesPerPacket = 1;
    description.channelsPerFrame = channels;
    description.bitsPerChannel = bitsPerChannel;
    return description;
}

std::uint32_t AudioChannelLayout::channelCount() const {
    switch (channelLayoutTag) {
        case kAudioChannelLayoutTag_UseChannelDescriptions:
            return static_cast<std::uint32_t>(channelLabels.size());
        case kAudioChannelLayoutTag_UseChannelBitmap:
            return static_cast<std::uint32_t>(std::popcount(channelBitmap));
        default:
            return channelLayoutTag & 0xFFFF;
    }
}

std::vector<std::uint8_t> AudioChannelLayout::bytes() const {
    const bool described = channelLayoutTag == kAudioChannelLayoutTag_UseChannelDescriptions;
    const std::uint32_t descriptions =
        described ? static_cast<std::uint32_t>(channelLabels.size()) : 0;
    std::vector<std::uint8_t> bytes;
    bytes.reserve(12 + 20 * static_cast<std::size_t>(descriptions));
    appendBigEndian(bytes, channelLayoutTag);
    appendBigEndian(bytes, channelBitmap);
    appendBigEndian(bytes, descriptions);
    for (std::uint32_t i = 0; i < descriptions; ++i) {
        appendBigEndian(bytes, channelLabels[i]);
        appendBigEndian(bytes, 0);  // flags
        for (int coordinate = 0; coordinate < 3; ++coordinate) {
            appendBigEndian(bytes, std::bit_cast<std::uint32_t>(0.0f));
        }
    }
    return bytes;
}

FormatDescriptionRef FormatDescription::createForImageBuffer(const PixelBuffer& imageBuffer) {
    return createVideo(imageBuffer.pixelFormatType(), imageBuffer.width(), imageBuffer.height());
}

FormatDescriptionRef FormatDescription::createVideo(FourCharCode pixelFormat, std::int32_t width,
                                                    std::int32_t height) {
    if (width <= 0 || height <= 0) {
        return nullptr;
    }
    return FormatDescriptionRef(new FormatDescription(Video{pixelFormat, {width, height}}));
}

FormatDescriptionRef FormatDescription::createAudio(const AudioStreamBasicDescription& description,
                                                    std::optional<AudioChannelLayout> layout) {
    const bool describesStream = std::isfinite(description.sampleRate) &&
                                 description.sampleRate > 0 && description.formatID != 0 &&
                                 description.channelsPerFrame > 0;
    if (!describesStream) {
        return nullptr;
    }
    if (layout && layout->channelCount() != description.channelsPerFrame) {
        return nullptr;
    }
    return FormatDescriptionRef(new FormatDescription(Audio{description, std::move(layout)}));
}

CMMediaType FormatDescription::mediaType() const {
    return std::holds_alternative<Video>(_details) ? kCMMediaType_Video : kCMMediaType_Audio;
}

FourCharCode FormatDescription::mediaSubType() const {
    if (const auto* video = std::get_if<Video>(&_details)) {
        return video->pixelFormat;
    }
    return std::get<Audio>(_details).stream.formatID;
}

VideoDimensions FormatDescription::dimensions() const {
    const auto* video = std::get_if<Video>(&_details);
    return video != nullptr ? video->dimensions : VideoDimensions{};
}

bool FormatDescription::matchesImageBuffer(const PixelBuffer& imageBuffer) const {
    const auto* video = std::get_if<Video>(&_details);
    return video != nullptr && video->pixelFormat == imageBuffer.pixelFormatType() &&
           video->dimensions == VideoDimensions{imageBuffer.width(), imageBuffer.height()};
}

const AudioStreamBasicDescription* FormatDescription::streamBasicDescription() const {
    const auto* audio = std::get_if<Audio>(&_details);
    return audio != nullptr ? &audio->stream : nullptr;
}

const AudioChannelLayout* FormatDescription::channelLayout() const {
    const auto* audio = std::get_if<Audio>(&_details);
    return audio != nullptr && audio->layout ? &*audio->layout : nullptr;
}

std::vector<std::uint8_t> FormatDescription::channelLayoutBytes() const {
    const AudioChannelLayout* layout = channelLayout();
    return layout != nullptr ? layout->bytes() : std::vector<std::uint8_t>{};
}

}  // namespace orvane::platform
