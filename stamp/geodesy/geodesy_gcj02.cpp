// The offset of WGS-84 positions into the GCJ-02 frame that maps of mainland China are drawn in.
#include <cmath>
#include <numbers>

#include "stamp/geodesy/geodesy.h"

namespace orvane::stamp {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kKrasovskyA = 6378245.0;
constexpr double kKrasovskyE2 = 0.006693421622965943;
constexpr double kKrasovskyMeridianFactor = 6335552.717000426;  // a (1 - e^2)

bool insideChinaBox(LatitudeLongitude p) {
    return p.latitude > 0.8293 && p.latitude < 55.8271 && p.longitude > 72.004 &&
           p.longitude < 137.8347;
}

double sharedWaves(double x) {
    return (20 * std::sin(6 * kPi * x) + 20 * std::sin(2 * kPi * x)) * 2 / 3;
}

double latitudeOffset(double x, double y) {
    return -100 + 2 * x + 3 * y + 0.2 * y * y + 0.1 * x * y + 0.2 * std::sqrt(std::fabs(x)) +
           sharedWaves(x) + (20 * std::sin(kPi * y) + 40 * std::sin(kPi * y / 3)) * 2 / 3 +
           (160 * std::sin(kPi * y / 12) + 320 * std::sin(kPi * y / 30)) * 2 / 3;
}

double longitudeOffset(double x, double y) {
    return 300 + x + 2 * y + 0.1 * x * x + 0.1 * x * y + 0.1 * std::sqrt(std::fabs(x)) +
           sharedWaves(x) + (20 * std::sin(kPi * x) + 40 * std::sin(kPi * x / 3)) * 2 / 3 +
           (150 * std::sin(kPi * x / 12) + 300 * std::sin(kPi * x / 30)) * 2 / 3;
}

}  // namespace

LatitudeLongitude wgs84ToGcj02(LatitudeLongitude position) {
    if (!insideChinaBox(position)) {
        return position;
    }
    const double x = position.longitude - 105;
    const double y = position.latitude - 35;
    const double phi = position.latitude * kPi / 180;
    const double sinPhi = std::sin(phi);
    const double w = 1 - kKrasovskyE2 * sinPhi * sinPhi;
    const double q = std::sqrt(w);
    const double dLat = latitudeOffset(x, y) * 180 / ((kKrasovskyMeridianFactor / (w * q)) * kPi);
    const double dLon = longitudeOffset(x, y) * 180 / ((kKrasovskyA / q) * std::cos(phi) * kPi);
    return {position.latitude + dLat, position.longitude + dLon};
}

}  // namespace orvane::stamp
