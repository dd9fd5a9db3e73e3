#include "platform/capture/CaptureDevice.h"

#include <algorithm>
#include <cmath>

#include "foundation/exceptions.h"
#include "foundation/log.h"

namespace orvane::platform {

MediaTime frameDurationForRate(double framesPerSecond) {
    if (!std::isfinite(framesPerSecond) || framesPerSecond <= 0) {
        return MediaTime::invalid();
    }
    const double whole = std::round(framesPerSecond);
    if (whole == framesPerSecond && whole <= 1'000'000) {
        return MediaTime::make(1, static_cast<std::int32_t>(whole));
    }
    return MediaTime::makeWithSeconds(1.0 / framesPerSecond, 1'000'000);
}

FrameRateRange FrameRateRange::make(double minRate, double maxRate) {
    return {minRate, maxRate, frameDurationForRate(maxRate), frameDurationForRate(minRate)};
}

bool FrameRateRange::containsDuration(const MediaTime& duration) const {
    return duration.isNumeric() && minFrameDuration <= duration && duration <= maxFrameDuration;
}

CaptureDeviceFormat CaptureDeviceFormat::video(std::int32_t width, std::int32_t height,
                                               std::vector<FrameRateRange> ranges) {
    return {FormatDescription::createVideo(kCVPixelFormatType_32BGRA, width, height),
            std::move(ranges)};
}

CaptureDeviceFormat CaptureDeviceFormat::audio(const AudioStreamBasicDescription& stream,
                                               std::optional<AudioChannelLayout> layout) {
    return {FormatDescription::createAudio(stream, std::move(layout)), {}};
}

double CaptureDeviceFormat::maxFrameRate() const {
    double best = 0;
    for (const auto& range : videoSupportedFrameRateRanges) {
        best = std::max(best, range.maxFrameRate);
    }
    return best;
}

MediaTime CaptureDeviceFormat::defaultFrameDuration() const {
    if (videoSupportedFrameRateRanges.empty()) {
        return MediaTime::invalid();
    }
    const MediaTime thirtieth = MediaTime::make(1, 30);
    for (const auto& range : videoSupportedFrameRateRanges) {
        if (range.containsDuration(thirtieth)) {
            return thirtieth;
        }
    }
    return videoSupportedFrameRateRanges.front().minFrameDuration;
}

bool CaptureDeviceFormat::operator==(const CaptureDeviceFormat& other) const {
    const bool sameDescription = formatDescription == other.formatDescription ||
                                 (formatDescription && other.formatDescription &&
                                  *formatDescription == *other.formatDescription);
    return sameDescription && videoSupportedFrameRateRanges == other.videoSupportedFrameRateRanges;
}

CaptureDevice::CaptureDevice(Description description) : _description(std::move(description)) {
    if (_description.formats.empty() ||
        _description.activeFormatIndex >= _description.formats.size()) {
        throw foundation::InvalidArgumentException("A device needs formats and an active one");
    }
    for (const auto& format : _description.formats) {
        if (!format.formatDescription || format.mediaType() != _description.mediaType) {
            throw foundation::InvalidArgumentException("A device format of another media type");
        }
    }
    const auto& format = _description.formats[_description.activeFormatIndex];
    _configuration = {format, format.defaultFrameDuration(), format.defaultFrameDuration()};
}

CaptureDevice::~CaptureDevice() = default;

std::optional<foundation::Error> CaptureDevice::lockForConfiguration() {
    if (!isConnected()) {
        return foundation::Error{kCaptureErrorDomain, kCaptureErrorDeviceNotConnected,
                                 "Cannot configure " + localizedName(),
                                 "The device is not connected."};
    }
    std::lock_guard lock(_mutex);
    ++_configurationLocks;
    return std::nullopt;
}

void CaptureDevice::unlockForConfiguration() {
    std::lock_guard lock(_mutex);
    if (_configurationLocks == 0) {
        foundation::log("%s unlocked without a lock", uniqueID().c_str());
        return;
    }
    --_configurationLocks;
}

bool CaptureDevice::isLockedForConfiguration() const {
    std::lock_guard lock(_mutex);
    return _configurationLocks > 0;
}

CaptureDeviceFormat CaptureDevice::activeFormat() const {
    std::lock_guard lock(_mutex);
    return _configuration.format;
}

void CaptureDevice::requireLock(const char* operation) const {
    if (_configurationLocks == 0) {
        throw foundation::InternalInconsistencyException(std::string(operation) +
                                                         " needs lockForConfiguration first");
    }
}

void CaptureDevice::setActiveFormat(const CaptureDeviceFormat& format) {
    {
        std::lock_guard lock(_mutex);
        requireLock("setActiveFormat");
        const auto& formats = _description.formats;
        const auto found = std::find(formats.begin(), formats.end(), format);
        if (found == formats.end()) {
            throw foundation::InvalidArgumentException("The format is not one of the device's");
        }
        _configuration = {*found, found->defaultFrameDuration(), found->defaultFrameDuration()};
    }
    activeConfigurationDidChange();
}

MediaTime CaptureDevice::activeVideoMinFrameDuration() const {
    std::lock_guard lock(_mutex);
    return _configuration.minFrameDuration;
}

MediaTime CaptureDevice::activeVideoMaxFrameDuration() const {
    std::lock_guard lock(_mutex);
    return _configuration.maxFrameDuration;
}

void CaptureDevice::setActiveVideoMinFrameDuration(const MediaTime& duration) {
    setFrameDuration(duration, true);
}

void CaptureDevice::setActiveVideoMaxFrameDuration(const MediaTime& duration) {
    setFrameDuration(duration, false);
}

void CaptureDevice::setFrameDuration(const MediaTime& duration, bool shortest) {
    {
        std::lock_guard lock(_mutex);
        requireLock(shortest ? "setActiveVideoMinFrameDuration" : "setActiveVideoMaxFrameDuration");
        const auto& format = _configuration.format;
        if (format.videoSupportedFrameRateRanges.empty()) {
            throw foundation::InvalidArgumentException("An audio device has no frame duration");
        }
        MediaTime chosen = duration;
        if (!duration.isValid()) {
            chosen = format.defaultFrameDuration();
        } else if (std::none_of(format.videoSupportedFrameRateRanges.begin(),
                                format.videoSupportedFrameRateRanges.end(),
                                [&](const FrameRateRange& range) {
                                    return range.containsDuration(duration);
                                })) {
            throw foundation::InvalidArgumentException("Frame duration " + duration.description() +
                                                       " is outside the format's ranges");
        }
        // The two ends stay ordered: moving one past the other moves both.
        if (shortest) {
            _configuration.minFrameDuration = chosen;
            _configuration.maxFrameDuration = std::max(_configuration.maxFrameDuration, chosen);
        } else {
            _configuration.maxFrameDuration = chosen;
            _configuration.minFrameDuration = std::min(_configuration.minFrameDuration, chosen);
        }
    }
    activeConfigurationDidChange();
}

CaptureDevice::Configuration CaptureDevice::configuration() const {
    std::lock_guard lock(_mutex);
    return _configuration;
}

std::shared_ptr<CaptureDevice> CaptureDeviceDiscovery::defaultDeviceWithDeviceType(
    CaptureDeviceType deviceType, CMMediaType mediaType, CaptureDevicePosition position) const {
    for (auto& device : devicesWithMediaType(mediaType)) {
        if (device->deviceType() == deviceType &&
            (position == CaptureDevicePosition::Unspecified || device->position() == position)) {
            return device;
        }
    }
    return nullptr;
}

std::shared_ptr<CaptureDevice> CaptureDeviceDiscovery::defaultDeviceWithMediaType(
    CMMediaType mediaType) const {
    auto devices = devicesWithMediaType(mediaType);
    return devices.empty() ? nullptr : devices.front();
}

}  // namespace orvane::platform
