// A capture device (a camera or a microphone): what it is, the formats it offers, its active
// configuration, and the samples it produces once started. Devices are found through a
// CaptureDeviceDiscovery.
//
// Configuration follows the lock discipline of a shared device: lockForConfiguration(), then
// the setters, then unlockForConfiguration(). A setter called without the lock is a programming
// error. Every operation is safe from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "platform/media/FormatDescription.h"
#include "platform/media/MediaTime.h"
#include "platform/media/SampleBuffer.h"

namespace orvane::platform {

// Errors of devices and inputs.
inline constexpr const char* kCaptureErrorDomain = "OrvaneCaptureErrorDomain";
inline constexpr std::int64_t kCaptureErrorDeviceNotConnected = 1;

// Where a camera looks, with the values the platform gives them.
enum class CaptureDevicePosition : std::int64_t { Unspecified = 0, Back = 1, Front = 2 };

enum class CaptureDeviceType {
    BuiltInWideAngleCamera,
    BuiltInDualCamera,
    BuiltInDualWideCamera,
    BuiltInTripleCamera,
    BuiltInMicrophone,
    External,
};

// The frame rates a format runs at, in frames per second and as frame durations: the shortest
// duration belongs to the highest rate.
struct FrameRateRange {
    double minFrameRate = 0;
    double maxFrameRate = 0;
    MediaTime minFrameDuration;
    MediaTime maxFrameDuration;

    // A range from `minRate` to `maxRate` frames per second, both positive.
    static FrameRateRange make(double minRate, double maxRate);
    // Whether a frame of `duration` lies within the range (both ends included).
    bool containsDuration(const MediaTime& duration) const;

    bool operator==(const FrameRateRange&) const = default;
};

// The duration of one frame at `framesPerSecond`: exact (1/30) for whole rates, on a microsecond
// timescale otherwise. Invalid for a rate that is not positive and finite.
MediaTime frameDurationForRate(double framesPerSecond);

// One way a device can run: the stream it produces and, for video, its frame rates.
struct CaptureDeviceFormat {
    FormatDescriptionRef formatDescription;
    std::vector<FrameRateRange> videoSupportedFrameRateRanges;  // empty for audio

    // A 32BGRA video format of this size with these rate ranges.
    static CaptureDeviceFormat video(std::int32_t width, std::int32_t height,
                                     std::vector<FrameRateRange> ranges);
    // An audio format producing this stream.
    static CaptureDeviceFormat audio(const AudioStreamBasicDescription& stream,
                                     std::optional<AudioChannelLayout> layout = {});

    CMMediaType mediaType() const { return formatDescription->mediaType(); }
    VideoDimensions dimensions() const { return formatDescription->dimensions(); }
    // The highest rate of any range; 0 for audio.
    double maxFrameRate() const;
    // The duration a format starts with when it becomes active: 1/30 where a range allows it,
    // else the shortest duration of the first range. Invalid for audio.
    MediaTime defaultFrameDuration() const;

    bool operator==(const CaptureDeviceFormat& other) const;
};

class CaptureDevice {
  public:
    // Receives each sample the device produces, on the device's own thread, one at a time.
    using SampleSink = std::function<void(SampleBufferRef)>;

    struct Description {
        std::string uniqueID;
        std::string localizedName;
        CaptureDevicePosition position = CaptureDevicePosition::Unspecified;
        CaptureDeviceType deviceType = CaptureDeviceType::External;
        CMMediaType mediaType = kCMMediaType_Video;
        std::vector<CaptureDeviceFormat> formats;  // at least one, all of mediaType
        std::size_t activeFormatIndex = 0;
    };

    virtual ~CaptureDevice();
    CaptureDevice(const CaptureDevice&) = delete;
    CaptureDevice& operator=(const CaptureDevice&) = delete;

    const std::string& uniqueID() const { return _description.uniqueID; }
    const std::string& localizedName() const { return _description.localizedName; }
    CaptureDevicePosition position() const { return _description.position; }
    CaptureDeviceType deviceType() const { return _description.deviceType; }
    CMMediaType mediaType() const { return _description.mediaType; }
    bool hasMediaType(CMMediaType mediaType) const { return mediaType == _description.mediaType; }
    // In the order the device lists them; never changes.
    const std::vector<CaptureDeviceFormat>& formats() const { return _description.formats; }

    // Whether the device can be used at all: a camera that was unplugged is not.
    virtual bool isConnected() const { return true; }
    // Nothing on this platform brightens a dark picture by itself.
    virtual bool isLowLightBoostSupported() const { return false; }

    // Takes the configuration lock; an error when the device is not connected. Locks count: each
    // successful lock needs its unlock.
    std::optional<foundation::Error> lockForConfiguration();
    // Unlocking a device that is not locked is logged and otherwise ignored.
    void unlockForConfiguration();
    bool isLockedForConfiguration() const;

    CaptureDeviceFormat activeFormat() const;
    // Makes one of formats() active and resets the frame durations to its default. Throws
    // InternalInconsistencyException without the configuration lock, InvalidArgumentException
    // for a format the device does not list.
    void setActiveFormat(const CaptureDeviceFormat& format);

    // The shortest and longest frame durations the device runs at. The device produces frames at
    // the shortest. Setting an invalid time restores the active format's default; a duration
    // outside every range of the active format throws InvalidArgumentException; without the
    // lock, InternalInconsistencyException. Video only: audio devices answer invalid times.
    MediaTime activeVideoMinFrameDuration() const;
    MediaTime activeVideoMaxFrameDuration() const;
    void setActiveVideoMinFrameDuration(const MediaTime& duration);
    void setActiveVideoMaxFrameDuration(const MediaTime& duration);

    // Begins producing samples into `sink`, replacing any sink given before. Called by the
    // capture session; the device produces until stop().
    virtual void start(SampleSink sink) = 0;
    // Stops producing: once this returns, the sink is not called again. Never from inside the
    // sink.
    virtual void stop() = 0;

  protected:
    // Throws InvalidArgumentException when the description lists no format, a format of
    // another media type, or an active index past the list.
    explicit CaptureDevice(Description description);

    // Called, outside the device's lock, after the active format or frame duration changed, so
    // a running device can take up the new configuration.
    virtual void activeConfigurationDidChange() {}

    struct Configuration {
        CaptureDeviceFormat format;
        MediaTime minFrameDuration;
        MediaTime maxFrameDuration;
    };
    Configuration configuration() const;

  private:
    void requireLock(const char* operation) const;
    void setFrameDuration(const MediaTime& duration, bool shortest);

    const Description _description;
    mutable std::mutex _mutex;  // guards the two below
    Configuration _configuration;
    int _configurationLocks = 0;
};

// Finds the devices of the machine (or of the simulation).
class CaptureDeviceDiscovery {
  public:
    virtual ~CaptureDeviceDiscovery() = default;

    // Every device of the media type, in a stable order.
    virtual std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(
        CMMediaType mediaType) const = 0;

    // The first device of the type, media type and position; an unspecified position matches
    // any. None when nothing matches.
    std::shared_ptr<CaptureDevice> defaultDeviceWithDeviceType(
        CaptureDeviceType deviceType, CMMediaType mediaType, CaptureDevicePosition position) const;
    // The first device of the media type, whatever its position and type.
    std::shared_ptr<CaptureDevice> defaultDeviceWithMediaType(CMMediaType mediaType) const;
};

}  // namespace orvane::platform
