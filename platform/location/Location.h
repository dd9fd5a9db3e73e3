// A position fix, as the position sources deliver it: coordinate, altitude, speed, horizontal
// accuracy and the instant it was taken.
#pragma once

#include <optional>

namespace orvane::platform {

struct LocationCoordinate2D {
    double latitude = 0.0;   // degrees, north positive
    double longitude = 0.0;  // degrees, east positive
};

class Location {
  public:
    Location() = default;
    // `altitude` in metres above mean sea level, none when the source has no height; `speed` in
    // metres per second, -1 when unknown; `horizontalAccuracy` in metres (the radius of
    // uncertainty), negative when the coordinate is invalid; `timestamp` in seconds since 1970.
    Location(LocationCoordinate2D coordinate, std::optional<double> altitude,
             double horizontalAccuracy, double speed, double timestamp)
        : _coordinate(coordinate),
          _altitude(altitude),
          _horizontalAccuracy(horizontalAccuracy),
          _speed(speed),
          _timestamp(timestamp) {}

    LocationCoordinate2D coordinate() const { return _coordinate; }
    std::optional<double> altitude() const { return _altitude; }
    double horizontalAccuracy() const { return _horizontalAccuracy; }
    double speed() const { return _speed; }
    double timestamp() const { return _timestamp; }

    // The geodesic distance in metres to `other` on the WGS-84 ellipsoid.
    double distanceFromLocation(const Location& other) const;

  private:
    LocationCoordinate2D _coordinate;
    std::optional<double> _altitude;
    double _horizontalAccuracy = -1.0;
    double _speed = -1.0;
    double _timestamp = 0.0;
};

}  // namespace orvane::platform
