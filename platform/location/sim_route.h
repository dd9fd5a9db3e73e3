// The simulated route: a loop through a town, one point a second, as tools/sim_route makes it.
#pragma once

#include <cstddef>

namespace orvane::platform {

struct SimRoutePoint {
    double latitude;   // degrees
    double longitude;  // degrees
    double altitude;   // metres above sea level
    double speed;      // metres per second
};

extern const SimRoutePoint kSimRoute[];
extern const std::size_t kSimRouteSize;

}  // namespace orvane::platform
