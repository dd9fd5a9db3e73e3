// What a stream of samples holds: video dimensions and pixel format, or an audio stream's PCM
// shape and channel layout. Immutable once made, and shared.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "platform/media/PixelBuffer.h"

namespace orvane::platform {

using CMMediaType = FourCharCode;
inline constexpr CMMediaType kCMMediaType_Video = fourCharCode("vide");
inline constexpr CMMediaType kCMMediaType_Audio = fourCharCode("soun");

inline constexpr FourCharCode kAudioFormatLinearPCM = fourCharCode("lpcm");
inline constexpr FourCharCode kAudioFormatMPEG4AAC = fourCharCode("aac ");

// Bits of AudioStreamBasicDescription::formatFlags for linear PCM.
inline constexpr std::uint32_t kAudioFormatFlagIsFloat = 1u << 0;
inline constexpr std::uint32_t kAudioFormatFlagIsBigEndian = 1u << 1;
inline constexpr std::uint32_t kAudioFormatFlagIsSignedInteger = 1u << 2;
inline constexpr std::uint32_t kAudioFormatFlagIsPacked = 1u << 3;
inline constexpr std::uint32_t kAudioFormatFlagIsNonInterleaved = 1u << 5;

// The shape of an audio stream, packet by packet.
struct AudioStreamBasicDescription {
    double sampleRate = 0;
    FourCharCode formatID = 0;
    std::uint32_t formatFlags = 0;
    std::uint32_t bytesPerPacket = 0;
    std::uint32_t framesPerPacket = 0;
    std::uint32_t bytesPerFrame = 0;
    std::uint32_t channelsPerFrame = 0;
    std::uint32_t bitsPerChannel = 0;

    // Packed, interleaved, native-endian PCM: signed integers, or floats when `isFloat`.
    static AudioStreamBasicDescription interleavedLinearPCM(double sampleRate,
                                                            std::uint32_t channels,
                                                            std::uint32_t bitsPerChannel,
                                                            bool isFloat);

    bool operator==(const AudioStreamBasicDescription&) const = default;
};

using AudioChannelLayoutTag = std::uint32_t;
using AudioChannelLabel = std::uint32_t;
// A tag's low 16 bits count its channels.
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_UseChannelDescriptions = 0;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_UseChannelBitmap = 1u << 16;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_Mono = (100u << 16) | 1;
inline constexpr AudioChannelLayoutTag kAudioChannelLayoutTag_Stereo = (101u << 16) | 2;
inline constexpr AudioChannelLabel kAudioChannelLabel_Left = 1;
inline constexpr AudioChannelLabel kAudioChannelLabel_Right = 2;
inline constexpr AudioChannelLabel kAudioChannelLabel_Center = 3;
inline constexpr AudioChannelLabel kAudioChannelLabel_Mono = 42;

// Which speaker each channel feeds: a predefined layout by tag, a bitmap, or one label per
// channel.
struct AudioChannelLayout {
    AudioChannelLayoutTag channelLayoutTag = kAudioChannelLayoutTag_UseChannelDescriptions;
    std::uint32_t channelBitmap = 0;               // when the tag says to use the bitmap
    std::vector<AudioChannelLabel> channelLabels;  // when the tag says to use descriptions

    static AudioChannelLayout mono() { return {kAudioChannelLayoutTag_Mono, 0, {}}; }
    static AudioChannelLayout stereo() { return {kAudioChannelLayoutTag_Stereo, 0, {}}; }

    // Channels the layout names; 0 when it names none.
    std::uint32_t channelCount() const;

    // The layout as a movie file's channel layout box holds it, big-endian: tag, bitmap, number
    // of descriptions, then per description the label, flags 0 and three float coordinates 0.
    // Descriptions are written only for kAudioChannelLayoutTag_UseChannelDescriptions.
    std::vector<std::uint8_t> bytes() const;

    bool operator==(const AudioChannelLayout&) const = default;
};

struct VideoDimensions {
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(const VideoDimensions&) const = default;
};

class FormatDescription;
// Held "retained": shared and never changed.
using FormatDescriptionRef = std::shared_ptr<const FormatDescription>;

class FormatDescription {
  public:
    // A video description of the buffer's size and pixel format.
    static FormatDescriptionRef createForImageBuffer(const PixelBuffer& imageBuffer);
    // A video description; null when a side is not positive.
    static FormatDescriptionRef createVideo(FourCharCode pixelFormat, std::int32_t width,
                                            std::int32_t height);
    // An audio description; null when it describes no stream (a sample rate that is not positive
    // and finite, no format, no channels) or when the layout's channel count disagrees with the
    // stream's.
    static FormatDescriptionRef createAudio(const AudioStreamBasicDescription& description,
                                            std::optional<AudioChannelLayout> layout = {});

    CMMediaType mediaType() const;
    // The pixel format of video, the format ID of audio.
    FourCharCode mediaSubType() const;

    // Zero for audio.
    VideoDimensions dimensions() const;
    // Whether a pixel buffer fits this description: video, same size, same pixel format.
    bool matchesImageBuffer(const PixelBuffer& imageBuffer) const;

    // Null for video.
    const AudioStreamBasicDescription* streamBasicDescription() const;
    // Null for video and for audio without a layout.
    const AudioChannelLayout* channelLayout() const;
    // The layout's bytes, empty when there is no layout.
    std::vector<std::uint8_t> channelLayoutBytes() const;

    bool operator==(const FormatDescription&) const = default;

  private:
    struct Video {
        FourCharCode pixelFormat;
        VideoDimensions dimensions;
        bool operator==(const Video&) const = default;
    };
    struct Audio {
        AudioStreamBasicDescription stream;
        std::optional<AudioChannelLayout> layout;
        bool operator==(const Audio&) const = default;
    };

    explicit FormatDescription(const Video& video) : _details(std::in_place_type<Video>, video) {}
    explicit FormatDescription(Audio audio)
        : _details(std::in_place_type<Audio>, std::move(audio)) {}

    const std::variant<Video, Audio> _details;
};

}  // namespace orvane::platform
