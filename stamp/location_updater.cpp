// The stamp layer's position delegate: altitude and speed, the coordinate rows and the address
// requests, behind their gates.
#include "stamp/location_updater.h"

namespace orvane::stamp {

LocationUpdater::LocationUpdater(LineDrawer& drawer, ManagerFactory makeManager,
                                 GeocoderFactory makeGeocoder, StampState& state)
    : _drawer(drawer),
      _state(state),
      _makeManager(std::move(makeManager)),
      _makeGeocoder(std::move(makeGeocoder)),
      _self(std::make_shared<LocationUpdater*>(this)) {}

LocationUpdater::~LocationUpdater() {
    *_self = nullptr;
    if (_locationManager) {
        _locationManager->setDelegate(nullptr);
        if (_started) {
            _locationManager->stopUpdatingLocation();
        }
    }
}

std::optional<foundation::Error> LocationUpdater::getCurrentLocation() {
    // The first fix after a start is used at once, however soon it comes.
    _state.setNeedForceRefreshLocation();
    if (!_locationManager) {
        _locationManager = _makeManager();
        _locationManager->requestWhenInUseAuthorization();
        _locationManager->setDelegate(this);
        _locationManager->setDesiredAccuracy(platform::kLocationAccuracyBestForNavigation);
        _locationManager->setDistanceFilter(kLocationDistanceFilter);
    }
    // Updates run for as long as the process does; a running source is not started twice.
    if (!_started) {
        if (auto error = _locationManager->startUpdatingLocation()) {
            return error;
        }
        _started = true;
    }
    if (!_reverseGeocoder) {
        _reverseGeocoder = _makeGeocoder();
    }
    return std::nullopt;
}

void LocationUpdater::locationManagerDidUpdateToLocation(
    platform::LocationManager& /*manager*/, const platform::Location& newLocation,
    const std::optional<platform::Location>& /*oldLocation*/) {
    // Before any gate: altitude and speed move at the rate of the fixes. A source without height
    // leaves the line hidden; -1 m/s becomes a negative speed, which hides its line.
    const auto altitude = newLocation.altitude();
    _state.setAltitude(altitude ? static_cast<float>(*altitude) : kNoAltitude);
    _state.setSpeed(static_cast<float>(newLocation.speed() * 3.6));

    const double now = _state.clock().timeIntervalSince1970();
    if (_state.takeForceRefreshLocation()) {
        _locationLastFormatTime = now;
    } else if (now - _locationLastFormatTime < kLocationFormatInterval) {
        return;
    } else {
        _locationLastFormatTime = now;
    }

    const auto coordinate = newLocation.coordinate();
    _drawer.coordinateCatalogue().rebuild(
        {coordinate.latitude, coordinate.longitude, newLocation.horizontalAccuracy()});
    if (_observer.didFormat) {
        _observer.didFormat(newLocation);
    }

    // The geocoder's rate limit: the clock restarts even when the distance test then fails.
    if (now - _locationLastGeocodeTime < kLocationGeocodeInterval) {
        return;
    }
    _locationLastGeocodeTime = now;
    const auto last = _state.lastGeocodedLocation();
    if (last && newLocation.distanceFromLocation(*last) < kLocationGeocodeDistance) {
        return;
    }
    _state.setLastGeocodedLocation(newLocation);
    // The stored position waits; the request does not.
    if (_locationGeocodeBusy) {
        return;
    }
    _locationGeocodeBusy = true;
    reverseGeocode(newLocation);
}

void LocationUpdater::locationManagerDidFailWithError(platform::LocationManager& /*manager*/,
                                                      const foundation::Error& error) {
    // The stamp keeps what it has; only a follower hears of it.
    if (_observer.didFail) {
        _observer.didFail(error);
    }
}

void LocationUpdater::reGetAddressFromGPS() {
    const auto last = _state.lastGeocodedLocation();
    if (!last || _locationGeocodeBusy) {
        return;
    }
    _locationGeocodeBusy = true;
    reverseGeocode(*last);
}

void LocationUpdater::reverseGeocode(const platform::Location& location) {
    if (!_reverseGeocoder) {
        _reverseGeocoder = _makeGeocoder();
    }
    std::weak_ptr<LocationUpdater*> self = _self;
    _reverseGeocoder->reverseGeocodeLocation(
        location, [self](std::vector<platform::Placemark> placemarks,
                         std::optional<foundation::Error> error) {
            const auto alive = self.lock();
            LocationUpdater* updater = alive ? *alive : nullptr;
            if (!updater) {
                return;
            }
            updater->_locationGeocodeBusy = false;
            updater->_drawer.processPlacement(placemarks, error);
            if (updater->_observer.didGeocode) {
                updater->_observer.didGeocode(placemarks, error);
            }
        });
}

}  // namespace orvane::stamp
