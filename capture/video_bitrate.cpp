#include "capture/video_bitrate.h"

#include <cmath>
#include <limits>

#include "platform/writer/AssetWriter.h"

namespace orvane::capture {

namespace {

// Truncates toward zero, saturating at the int32 range instead of overflowing.
std::int32_t truncateToInt32(double value) {
    constexpr double kMax = std::numeric_limits<std::int32_t>::max();
    constexpr double kMin = std::numeric_limits<std::int32_t>::min();
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= kMax) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value <= kMin) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(value);
}

// The factor of a quality index's frame rate against 30 fps, applied to the bit rate.
std::int32_t scaleForQualityIndex(std::int32_t bitRate, std::int64_t qualityIndex) {
    switch (qualityIndex) {
        case 3:
        case 5:
        case 9:  // 60 fps
            return truncateToInt32(bitRate * 1.5);
        case 7:  // 120 fps
            return truncateToInt32(bitRate * 2.0);
        case 8:  // 15 fps
            return bitRate / 2;
        case 10:  // 25 fps
            return truncateToInt32(bitRate * 0.83);
        case 11:  // 50 fps
            return truncateToInt32(bitRate * 1.67);
        default:  // 30 fps
            return bitRate;
    }
}

}  // namespace

double frameRateForQualityIndex(std::int64_t qualityIndex) {
    switch (qualityIndex) {
        case 3:
        case 5:
        case 9:
            return 60;
        case 7:
            return 120;
        case 8:
            return 15;
        case 10:
            return 25;
        case 11:
            return 50;
        default:
            return 30;
    }
}

VideoBitrateChoice videoBitrateForDimensions(std::int32_t width, std::int32_t height,
                                             std::int64_t bitrateMode, std::int64_t qualityIndex,
                                             std::int64_t codecSetting) {
    const std::int32_t pixels =
        truncateToInt32(static_cast<double>(static_cast<std::int64_t>(width) * height));

    float bitsPerPixel = pixels < 6000000 ? 7.7f : 5.525f;
    if (bitrateMode == kVideoBitrateModeLow) {
        bitsPerPixel = static_cast<float>(bitsPerPixel / 3.0);
    } else if (bitrateMode == kVideoBitrateModeHigh) {
        bitsPerPixel = bitsPerPixel * 2.0f;
    }

    // The product is rounded to a float before it is truncated: that rounding is part of the
    // rule's numbers.
    const float product = bitsPerPixel * static_cast<float>(pixels);
    std::int32_t bitRate = scaleForQualityIndex(truncateToInt32(product), qualityIndex);

    VideoBitrateChoice choice;
    if (codecSetting == kVideoCodecSettingHEVC) {
        choice.codec = platform::kVideoCodecTypeHEVC;
        bitRate = truncateToInt32(bitRate * 0.57);
    } else {
        choice.codec = platform::kVideoCodecTypeH264;
    }
    choice.averageBitRate = bitRate;
    return choice;
}

std::int64_t calculateVideoBitrateWithDimensions(std::int32_t width, std::int32_t height,
                                                 double frameRate, const std::string& codecType,
                                                 std::int64_t bitrateMode) {
    const double base = static_cast<double>(width) * static_cast<double>(height) * frameRate;
    if (!std::isfinite(base) || base <= 0.0) {
        return 0;
    }

    const bool hevc = codecType == platform::kVideoCodecTypeHEVC;
    double factor = hevc ? 0.07 : 0.12;
    const double floor = hevc ? 0.03 : 0.06;
    const double ceiling = hevc ? 0.15 : 0.25;
    if (bitrateMode == kVideoBitrateModeLow) {
        factor *= 0.5;
    } else if (bitrateMode == kVideoBitrateModeHigh) {
        factor *= 1.5;
    }

    double bitRate = base * factor;
    if (bitRate < base * floor) {
        bitRate = base * floor;
    }
    if (bitRate > base * ceiling) {
        bitRate = base * ceiling;
    }
    constexpr double kMax = static_cast<double>(std::numeric_limits<std::int64_t>::max());
    if (bitRate >= kMax) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return static_cast<std::int64_t>(bitRate);
}

}  // namespace orvane::capture
