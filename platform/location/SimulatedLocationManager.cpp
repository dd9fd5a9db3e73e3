#include "platform/location/SimulatedLocationManager.h"

#include "platform/location/sim_route.h"

namespace orvane::platform {
namespace {
// What a good receiver under open sky claims.
constexpr double kAccuracy = 5.0;
}  // namespace

SimulatedLocationManager::SimulatedLocationManager(
    std::shared_ptr<foundation::DispatchQueue> callbackQueue, foundation::Clock& clock)
    : LocationManager(std::move(callbackQueue)), _clock(clock), _pacer(clock) {}

SimulatedLocationManager::~SimulatedLocationManager() {
    _pacer.stop();
}

std::optional<foundation::Error> SimulatedLocationManager::startUpdatingLocation() {
    _pacer.start(
        [](std::size_t index) { return std::optional(static_cast<double>(index)); },
        [this](std::size_t index) { deliver(fixAt(index, _clock.timeIntervalSince1970())); });
    return std::nullopt;
}

void SimulatedLocationManager::stopUpdatingLocation() {
    _pacer.stop();
}

std::string SimulatedLocationManager::description() const {
    return "the simulated route";
}

Location SimulatedLocationManager::fixAt(std::size_t index, double timestamp) {
    const SimRoutePoint& point = kSimRoute[index % kSimRouteSize];
    return Location({point.latitude, point.longitude}, point.altitude, kAccuracy, point.speed,
                    timestamp);
}

std::size_t SimulatedLocationManager::routeLength() {
    return kSimRouteSize;
}

}  // namespace orvane::platform
