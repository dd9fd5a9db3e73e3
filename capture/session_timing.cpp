#include "capture/session_timing.h"

#include <algorithm>
#include <numbers>

namespace orvane::capture {

using platform::MediaTime;

std::optional<MediaTime> rebaseForAppend(MediaTime time, double pauseTime,
                                         std::int64_t& lastBufferTime) {
    const MediaTime rebased = time.subtractingSeconds(pauseTime);
    if (!rebased.isNumeric() || rebased.value <= lastBufferTime) {
        return std::nullopt;
    }
    lastBufferTime = rebased.value;
    return rebased;
}

void TimelapseRetimer::reset() {
    _lastSourceTime = MediaTime::zero();
    _outputTime = MediaTime::zero();
}

std::optional<MediaTime> TimelapseRetimer::retime(MediaTime sourceTime, double interval) {
    if (_lastSourceTime == MediaTime::zero()) {
        _lastSourceTime = sourceTime;
        _outputTime = sourceTime;
        return sourceTime;
    }
    if (sourceTime.seconds() - _lastSourceTime.seconds() < interval + kMargin) {
        return std::nullopt;
    }
    _lastSourceTime = sourceTime;
    _outputTime = _outputTime.advancedByOneFrameAt(30);
    return _outputTime;
}

double angleOffsetFromPortraitOrientationToOrientation(std::int64_t orientation) {
    static constexpr double kAngles[] = {std::numbers::pi, -std::numbers::pi / 2,
                                         std::numbers::pi / 2};
    if (orientation < 2 || orientation > 4) {
        return 0;
    }
    return kAngles[orientation - 2];
}

platform::AffineTransform transformFromCurrentVideoOrientationToOrientation(
    std::int64_t orientation, std::int64_t videoOrientation) {
    return platform::AffineTransform::rotation(
        angleOffsetFromPortraitOrientationToOrientation(orientation) -
        angleOffsetFromPortraitOrientationToOrientation(videoOrientation));
}

OutputPoolSize outputPoolSize(std::int32_t cameraType, std::int32_t videoWidth,
                              std::int32_t videoHeight, double screenScale, int processorCount) {
    switch (cameraType) {
        case 0:
            return {videoWidth, videoHeight, 4};
        case 1:
            if (screenScale != 1.0 && processorCount != 1) {
                return {1920, 1440, 3};
            }
            return {1280, 960, 3};
        case 2: {
            const std::int32_t side = std::min(videoWidth, videoHeight);
            return {side, side, 4};
        }
        default:
            return {1280, 720, 4};
    }
}

void FrameRateCalculator::calculateFramerateAtTimestamp(MediaTime timestamp) {
    _previousSecondTimestamps.push_back(timestamp);
    const MediaTime oneSecondAgo = timestamp - MediaTime::make(1, 1);
    while (!_previousSecondTimestamps.empty() && _previousSecondTimestamps.front() < oneSecondAgo) {
        _previousSecondTimestamps.pop_front();
    }
    _videoFrameRate =
        (_videoFrameRate + static_cast<double>(_previousSecondTimestamps.size())) / 2.0;
}

}  // namespace orvane::capture
