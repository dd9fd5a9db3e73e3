// The video encoder's codec and average bit rate for a recording, worked out from the size of
// the frames the recorder receives and the user's bit-rate, quality and codec settings.
#pragma once

#include <cstdint>
#include <string>

namespace orvane::capture {

// VideoBitrateMode values.
inline constexpr std::int64_t kVideoBitrateModeLow = 0;
inline constexpr std::int64_t kVideoBitrateModeNormal = 1;
inline constexpr std::int64_t kVideoBitrateModeHigh = 2;
// The VideoCodec value that asks for HEVC; anything else is H.264.
inline constexpr std::int64_t kVideoCodecSettingHEVC = 1;

struct VideoBitrateChoice {
    std::string codec;  // platform::kVideoCodecTypeH264 or platform::kVideoCodecTypeHEVC
    std::int32_t averageBitRate = 0;  // bits per second
};

// The bit rate the recorder asks of the encoder: a number of bits per pixel (fewer above six
// million pixels, where the encoder has more context per macroblock), scaled by the bit-rate
// mode, then by the frame rate of the quality index, then down for HEVC. Single-precision
// products truncated to int32 at each step, so every size and setting gives the same number on
// every machine; a result past the int32 range saturates.
VideoBitrateChoice videoBitrateForDimensions(std::int32_t width, std::int32_t height,
                                             std::int64_t bitrateMode, std::int64_t qualityIndex,
                                             std::int64_t codecSetting);

// The frame rate a quality index records at: 30 for the 30 fps rows and for any index it does
// not know, else the row's own (60, 120, 15, 25, 50). The encoder's rate control is told it.
double frameRateForQualityIndex(std::int64_t qualityIndex);

// An estimate from pixels per second instead: a factor per codec (HEVC needs fewer bits), scaled
// by the mode and kept between a floor and a ceiling of the same base. `codecType` is a codec's
// four-character name. Kept beside the rule above, which decides; nothing in the recorder uses
// this one. A base that is not a positive finite number gives 0; a result past the int64 range
// saturates.
std::int64_t calculateVideoBitrateWithDimensions(std::int32_t width, std::int32_t height,
                                                 double frameRate, const std::string& codecType,
                                                 std::int64_t bitrateMode);

}  // namespace orvane::capture
