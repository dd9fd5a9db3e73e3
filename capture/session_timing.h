// The session manager's arithmetic, apart from its queues and devices: how a frame's time is
// pulled forward by the paused seconds, how a time-lapse keeps and retimes frames, the track's
// rotation, the output pool's size and the frame rate calculator.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "platform/media/MediaTime.h"
#include "platform/writer/AssetWriter.h"

namespace orvane::capture {

// The time a rendered frame is appended at: its value pulled forward by `pauseTime` seconds on
// its own timescale (truncated toward zero). Nothing when that value is not above
// `lastBufferTime`, which guards the movie's monotony; otherwise `lastBufferTime` takes it.
// Since `lastBufferTime` starts at 0 on each recording, a value of 0 or below never passes.
std::optional<platform::MediaTime> rebaseForAppend(platform::MediaTime time, double pauseTime,
                                                   std::int64_t& lastBufferTime);

// A time-lapse keeps one frame per interval of real time and lays the kept frames 1/30 second
// apart, so the movie plays at 30 frames a second whatever the source's rate.
class TimelapseRetimer {
  public:
    // Frames closer than this to the interval still count as a full interval.
    static constexpr double kMargin = -0.016666666666667;

    // The next frame is the movie's first.
    void reset();
    // The time to write `sourceTime` at, or nothing to drop it. The first frame keeps its own
    // time; later ones advance the output by timescale / 30 (integer division, so a timescale
    // below 30 does not advance).
    std::optional<platform::MediaTime> retime(platform::MediaTime sourceTime, double interval);

    platform::MediaTime lastSourceTime() const { return _lastSourceTime; }
    platform::MediaTime outputTime() const { return _outputTime; }

  private:
    platform::MediaTime _lastSourceTime = platform::MediaTime::zero();
    platform::MediaTime _outputTime = platform::MediaTime::zero();
};

// Radians from portrait to the orientation code: 2 upside down pi, 3 landscape right -pi/2,
// 4 landscape left pi/2; 1 and anything else 0.
double angleOffsetFromPortraitOrientationToOrientation(std::int64_t orientation);
// The rotation that turns a track filmed in `videoOrientation` into `orientation`.
platform::AffineTransform transformFromCurrentVideoOrientationToOrientation(
    std::int64_t orientation, std::int64_t videoOrientation);

struct OutputPoolSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t bufferCount = 0;  // also the pool's allocation threshold
};
// The compositor's destination pool for a camera type (0 video-like, 1 photo, 2 square) and the
// capture format's dimensions. Photo mode takes the larger 1920x1440 on a machine with a
// screen scale other than 1 and more than one processor.
OutputPoolSize outputPoolSize(std::int32_t cameraType, std::int32_t videoWidth,
                              std::int32_t videoHeight, double screenScale, int processorCount);

// The rate of the last second of frames, smoothed: each new time averages the old rate with
// the count of times within one second before it.
class FrameRateCalculator {
  public:
    void calculateFramerateAtTimestamp(platform::MediaTime timestamp);
    double videoFrameRate() const { return _videoFrameRate; }

  private:
    std::deque<platform::MediaTime> _previousSecondTimestamps;
    double _videoFrameRate = 0;
};

}  // namespace orvane::capture
