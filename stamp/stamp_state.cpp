#include "stamp/stamp_state.h"

namespace orvane::stamp {

StampState::StampState(const foundation::Clock& clock)
    : _clock(clock), _stopWatchStart(clock.timeIntervalSince1970()) {}

StampState& StampState::shared() {
    static StampState state;
    return state;
}

std::string StampState::location() const {
    std::lock_guard lock(_mutex);
    return _location;
}

void StampState::setLocation(const std::string& text) {
    std::lock_guard lock(_mutex);
    _location.assign(text);
}

std::string StampState::gps() const {
    std::lock_guard lock(_mutex);
    return _gps;
}

void StampState::setGps(const std::string& text) {
    std::lock_guard lock(_mutex);
    _gps.assign(text);
}

std::string StampState::customText() const {
    std::lock_guard lock(_mutex);
    return _customText;
}

void StampState::setCustomText(const std::string& text) {
    std::lock_guard lock(_mutex);
    _customText.assign(text);
}

void StampState::copyCustomText(std::string& out) const {
    std::lock_guard lock(_mutex);
    out.assign(_customText);
}

std::optional<platform::Location> StampState::lastGeocodedLocation() const {
    std::lock_guard lock(_mutex);
    return _lastGeocodedLocation;
}

void StampState::setLastGeocodedLocation(const platform::Location& location) {
    std::lock_guard lock(_mutex);
    _lastGeocodedLocation = location;
}

void StampState::startStopWatch() {
    _stopWatchStart.store(_clock.timeIntervalSince1970());
    _stopWatchState.store(StopWatchState::Running);
}

void StampState::reset() {
    {
        std::lock_guard lock(_mutex);
        _location.clear();
        _gps.clear();
        _customText.clear();
        _lastGeocodedLocation.reset();
    }
    _altitude.store(kNoAltitude);
    _speed.store(-1.0f);
    _timeBelow.store(1);
    _forceRefresh.store(false);
    _stopWatchDisplayed.store(false);
    _stopWatchState.store(StopWatchState::Reset);
    _stopWatchStart.store(_clock.timeIntervalSince1970());
}

}  // namespace orvane::stamp
