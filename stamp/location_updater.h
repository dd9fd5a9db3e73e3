// The one road by which the position enters the stamp: the stamp layer's position delegate. From
// each fix it takes altitude and speed, rebuilds the coordinate rows at most once a second, and at
// most every ten seconds and twenty metres asks the geocoder for the placemarks that fill the
// address rows.
//
// Threads: everything runs on the main queue, which is the callback queue of the manager and of
// the geocoder; the values it writes are read by the frame thread through StampState and the
// layer's catalogues.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "foundation/Error.h"
#include "platform/geocoding/Geocoder.h"
#include "platform/location/LocationManager.h"
#include "stamp/LineDrawer.h"
#include "stamp/stamp_state.h"

namespace orvane::stamp {

// The gates, in seconds and metres.
inline constexpr double kLocationFormatInterval = 1.0;
inline constexpr double kLocationGeocodeInterval = 10.0;
inline constexpr double kLocationGeocodeDistance = 20.0;
// The manager's distance filter, in metres.
inline constexpr double kLocationDistanceFilter = 2.0;

class LocationUpdater final : public platform::LocationManagerDelegate {
  public:
    using ManagerFactory = std::function<std::unique_ptr<platform::LocationManager>()>;
    using GeocoderFactory = std::function<std::unique_ptr<platform::Geocoder>()>;

    // What happened, for a caller that follows the updates (the command line); each is called on
    // the main queue after the updater's own work.
    struct Observer {
        // A fix passed the one-second gate and the coordinate rows were rebuilt from it.
        std::function<void(const platform::Location&)> didFormat;
        // A geocoding answer was handed to the address rows (an error changes no row).
        std::function<void(const std::vector<platform::Placemark>&,
                           const std::optional<foundation::Error>&)>
            didGeocode;
        // The source failed after it started.
        std::function<void(const foundation::Error&)> didFail;
    };

    // The factories are called once each, by the first getCurrentLocation. The clock is the
    // state's.
    LocationUpdater(LineDrawer& drawer, ManagerFactory makeManager, GeocoderFactory makeGeocoder,
                    StampState& state = StampState::shared());
    ~LocationUpdater() override;
    LocationUpdater(const LocationUpdater&) = delete;
    LocationUpdater& operator=(const LocationUpdater&) = delete;

    void setObserver(Observer observer) { _observer = std::move(observer); }

    // Starts it all: the next fix is formatted at once; the manager (best accuracy, two-metre
    // filter) and the geocoder are made the first time. A source that cannot start answers its
    // error, and a later call tries again.
    std::optional<foundation::Error> getCurrentLocation();

    // One request for the last geocoded position, with no time or distance gate; nothing while
    // a request is under way or before the first position.
    void reGetAddressFromGPS();

    // The manager, once getCurrentLocation made it.
    platform::LocationManager* locationManager() const { return _locationManager.get(); }
    bool isGeocodeBusy() const { return _locationGeocodeBusy; }

    void locationManagerDidUpdateToLocation(
        platform::LocationManager& manager, const platform::Location& newLocation,
        const std::optional<platform::Location>& oldLocation) override;
    void locationManagerDidFailWithError(platform::LocationManager& manager,
                                         const foundation::Error& error) override;

  private:
    void reverseGeocode(const platform::Location& location);

    LineDrawer& _drawer;
    StampState& _state;
    ManagerFactory _makeManager;
    GeocoderFactory _makeGeocoder;
    Observer _observer;

    std::unique_ptr<platform::Geocoder> _reverseGeocoder;
    std::unique_ptr<platform::LocationManager> _locationManager;
    bool _started = false;

    // Seconds since 1970; 0 until the first pass.
    double _locationLastFormatTime = 0.0;
    double _locationLastGeocodeTime = 0.0;
    // At most one request in flight.
    bool _locationGeocodeBusy = false;
    // Completions queued on the main queue find this gone once the updater is.
    std::shared_ptr<LocationUpdater*> _self;
};

}  // namespace orvane::stamp
