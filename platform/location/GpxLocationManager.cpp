#include "platform/location/GpxLocationManager.h"

#include <algorithm>

#include "platform/location/gpx.h"

namespace orvane::platform {
namespace {
constexpr const char* kDomain = "orvane.location.gpx";
}

GpxLocationManager::GpxLocationManager(std::string path,
                                       std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                                       foundation::Clock& clock)
    : LocationManager(std::move(callbackQueue)), _path(std::move(path)), _pacer(clock) {}

GpxLocationManager::~GpxLocationManager() {
    _pacer.stop();
}

std::string GpxLocationManager::description() const {
    return "GPX track " + _path;
}

std::optional<foundation::Error> GpxLocationManager::startUpdatingLocation() {
    _pacer.stop();
    gpx::ReadResult read = gpx::readFile(_path);
    if (!read.ok()) {
        return foundation::Error{kDomain, 1, read.error, ""};
    }
    std::vector<Location> fixes = gpx::fixesFromPoints(read.points);
    // A track whose clock stepped back is played, and interpolated, in time order.
    std::stable_sort(fixes.begin(), fixes.end(), [](const Location& a, const Location& b) {
        return a.timestamp() < b.timestamp();
    });
    {
        std::lock_guard lock(_mutex);
        _fixes = std::move(fixes);
    }
    _pacer.start(
        [this](std::size_t index) -> std::optional<double> {
            std::lock_guard lock(_mutex);
            if (index > _fixes.size()) {
                return std::nullopt;
            }
            const std::size_t at = std::min(index, _fixes.size() - 1);
            return _fixes[at].timestamp() - _fixes.front().timestamp();
        },
        [this](std::size_t index) {
            std::lock_guard lock(_mutex);
            if (index < _fixes.size()) {
                deliver(_fixes[index]);
            } else {
                deliverFailure({kLocationErrorDomain, kLocationErrorEnded,
                                description() + ": the track has ended", ""});
            }
        });
    return std::nullopt;
}

void GpxLocationManager::stopUpdatingLocation() {
    _pacer.stop();
}

void GpxLocationManager::setMediaTime(double secondsFromTrackStart) {
    _pacer.stop();
    std::lock_guard lock(_mutex);
    if (_fixes.empty()) {
        return;
    }
    deliver(gpx::fixAt(_fixes, _fixes.front().timestamp() + secondsFromTrackStart));
}

double GpxLocationManager::duration() const {
    std::lock_guard lock(_mutex);
    return _fixes.empty() ? 0.0 : _fixes.back().timestamp() - _fixes.front().timestamp();
}

}  // namespace orvane::platform
