// A source of position fixes (gpsd, an NMEA receiver, a GPX track, the simulated route), with
// the delegate that receives them. Every implementation delivers through deliver(), which keeps
// the distance filter and calls the delegate on the callback queue (the main queue in the
// program), so a delegate never sees two calls at once.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "foundation/DispatchQueue.h"
#include "foundation/Error.h"
#include "platform/location/Location.h"

namespace orvane::platform {

class LocationManager;

class LocationManagerDelegate {
  public:
    virtual ~LocationManagerDelegate() = default;
    // A new fix; `oldLocation` is the previous fix delivered, if any.
    virtual void locationManagerDidUpdateToLocation(LocationManager& manager,
                                                    const Location& newLocation,
                                                    const std::optional<Location>& oldLocation) = 0;
    // The source failed after it started (a receiver unplugged, gpsd gone, a track that ends
    // and does not loop). Fixes may resume later if the source recovers.
    virtual void locationManagerDidFailWithError(LocationManager& /*manager*/,
                                                 const foundation::Error& /*error*/) {}
};

// The failure a replayed source (a GPX track, an NMEA log) delivers once its last fix is out:
// no fix follows it. Its description names the source.
inline constexpr const char* kLocationErrorDomain = "orvane.location";
inline constexpr int kLocationErrorEnded = 1;

inline bool isEndOfSource(const foundation::Error& error) {
    return error.domain == kLocationErrorDomain && error.code == kLocationErrorEnded;
}

// The most accurate fixes the source gives.
inline constexpr double kLocationAccuracyBestForNavigation = -2.0;

class LocationManager {
  public:
    explicit LocationManager(std::shared_ptr<foundation::DispatchQueue> callbackQueue);
    // Calls already queued for the delegate are dropped. An implementation stops its source in
    // its own destructor. Destroy a manager on the callback queue's thread.
    virtual ~LocationManager();
    LocationManager(const LocationManager&) = delete;
    LocationManager& operator=(const LocationManager&) = delete;

    // Nothing to ask on this platform: the user chose the source.
    virtual void requestWhenInUseAuthorization() {}
    // Non-owning; the delegate must outlive the manager's updates.
    void setDelegate(LocationManagerDelegate* delegate);
    void setDesiredAccuracy(double metres) { _desiredAccuracy = metres; }
    double desiredAccuracy() const { return _desiredAccuracy; }
    // A fix closer than this to the last delivered one is not delivered; 0 delivers all.
    void setDistanceFilter(double metres);

    // Starts the source. A source that cannot start (a file that cannot be read, gpsd not
    // reachable, a device that cannot be opened) answers with an error naming what failed, and
    // delivers nothing.
    virtual std::optional<foundation::Error> startUpdatingLocation() = 0;
    virtual void stopUpdatingLocation() = 0;

    // A short description of the source for messages ("gpsd at localhost:2947").
    virtual std::string description() const = 0;

  protected:
    // Hands a fix to the delegate on the callback queue, unless the distance filter holds it
    // back. Any thread.
    void deliver(const Location& location);
    // Hands a failure to the delegate on the callback queue. Any thread.
    void deliverFailure(const foundation::Error& error);

  private:
    // What queued calls need: they may run after the manager is gone, and then find no delegate.
    struct Shared {
        std::mutex mutex;  // guards the four below
        LocationManager* manager = nullptr;
        LocationManagerDelegate* delegate = nullptr;
        double distanceFilter = 0.0;
        std::optional<Location> lastDelivered;
    };

    const std::shared_ptr<foundation::DispatchQueue> _callbackQueue;
    const std::shared_ptr<Shared> _shared;
    double _desiredAccuracy = kLocationAccuracyBestForNavigation;
};

}  // namespace orvane::platform
