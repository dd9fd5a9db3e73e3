// Forward and inverse UTM by the classic eighth-order series in the longitude difference.
#include "stamp/geodesy/GeodeticUTMConverter.h"

#include <cmath>
#include <numbers>

namespace orvane::stamp {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kDegree = kPi / 180;
constexpr double kFalseEasting = 500000;
constexpr double kSouthernFalseNorthing = 10000000;

}  // namespace

GeodeticUTMConverter::GeodeticUTMConverter()
    : GeodeticUTMConverter(UTMDatum{.equitorialRadius = 6378137.0, .polarRadius = 6356752.3142}) {}

GeodeticUTMConverter::GeodeticUTMConverter(UTMDatum datum) : _datum(datum) {}

double GeodeticUTMConverter::arcLengthOfMeridian(double latitude) const {
    const double a = _datum.equitorialRadius, b = _datum.polarRadius;
    const double n = (a - b) / (a + b);
    const double n2 = n * n, n3 = n2 * n, n4 = n3 * n, n5 = n4 * n;
    const double alpha = (a + b) / 2 * (1 + n2 / 4 + n4 / 64);
    const double beta = -3 * n / 2 + 9 * n3 / 16 - 3 * n5 / 32;
    const double gamma = 15 * n2 / 16 - 15 * n4 / 32;
    const double delta = -35 * n3 / 48 + 105 * n5 / 256;
    const double epsilon = 315 * n4 / 512;
    return alpha * (latitude + beta * std::sin(2 * latitude) + gamma * std::sin(4 * latitude) +
                    delta * std::sin(6 * latitude) + epsilon * std::sin(8 * latitude));
}

double GeodeticUTMConverter::UTMCentralMeridian(unsigned int zone) {
    return (-183.0 + 6.0 * zone) * kDegree;
}

double GeodeticUTMConverter::footpointLatitude(double northing) const {
    const double a = _datum.equitorialRadius, b = _datum.polarRadius;
    const double n = (a - b) / (a + b);
    const double n2 = n * n, n3 = n2 * n, n4 = n3 * n, n5 = n4 * n;
    const double alpha = (a + b) / 2 * (1 + n2 / 4 + n4 / 64);
    const double y = northing / alpha;
    const double beta = 3 * n / 2 - 27 * n3 / 32 + 269 * n5 / 512;
    const double gamma = 21 * n2 / 16 - 55 * n4 / 32;
    const double delta = 151 * n3 / 96 - 417 * n5 / 128;
    const double epsilon = 1097 * n4 / 512;
    return y + beta * std::sin(2 * y) + gamma * std::sin(4 * y) + delta * std::sin(6 * y) +
           epsilon * std::sin(8 * y);
}

TMCoordinates GeodeticUTMConverter::latitudeAndLongitudeToTMCoordinates(
    GeodeticCoordinate coordinate, double centralMeridian) const {
    const double a = _datum.equitorialRadius, b = _datum.polarRadius;
    const double phi = coordinate.latitude;
    const double ep2 = (a * a - b * b) / (b * b);
    const double c = std::cos(phi);
    const double nu2 = ep2 * c * c;
    const double N = a * a / (b * std::sqrt(1 + nu2));
    const double t = std::tan(phi);
    const double t2 = t * t, t4 = t2 * t2, t6 = t4 * t2;
    const double l = coordinate.longitude - centralMeridian;

    const double l3coef = 1 - t2 + nu2;
    const double l4coef = 5 - t2 + 9 * nu2 + 4 * nu2 * nu2;
    const double l5coef = 5 - 18 * t2 + t4 + 14 * nu2 - 58 * t2 * nu2;
    const double l6coef = 61 - 58 * t2 + t4 + 270 * nu2 - 330 * t2 * nu2;
    const double l7coef = 61 - 479 * t2 + 179 * t4 - t6;
    const double l8coef = 1385 - 3111 * t2 + 543 * t4 - t6;

    const double x = N * c * l + N / 6 * std::pow(c, 3) * l3coef * std::pow(l, 3) +
                     N / 120 * std::pow(c, 5) * l5coef * std::pow(l, 5) +
                     N / 5040 * std::pow(c, 7) * l7coef * std::pow(l, 7);
    const double y = arcLengthOfMeridian(phi) + t / 2 * N * std::pow(c, 2) * std::pow(l, 2) +
                     t / 24 * N * std::pow(c, 4) * l4coef * std::pow(l, 4) +
                     t / 720 * N * std::pow(c, 6) * l6coef * std::pow(l, 6) +
                     t / 40320 * N * std::pow(c, 8) * l8coef * std::pow(l, 8);
    return {x, y};
}

GeodeticCoordinate GeodeticUTMConverter::TMCoordinatesToLatitudeAndLongitude(
    TMCoordinates coordinates, double andCentralMeridian) const {
    const double a = _datum.equitorialRadius, b = _datum.polarRadius;
    const double phif = footpointLatitude(coordinates.y);
    const double ep2 = (a * a - b * b) / (b * b);
    const double cf = std::cos(phif);
    const double nuf2 = ep2 * cf * cf;
    const double Nf = a * a / (b * std::sqrt(1 + nuf2));
    const double tf = std::tan(phif);
    const double tf2 = tf * tf, tf4 = tf2 * tf2, tf6 = tf4 * tf2;

    double power = Nf;  // Nf to the power of the term
    const double x1frac = 1 / (power * cf);
    power *= Nf;
    const double x2frac = tf / (2 * power);
    power *= Nf;
    const double x3frac = 1 / (6 * power * cf);
    power *= Nf;
    const double x4frac = tf / (24 * power);
    power *= Nf;
    const double x5frac = 1 / (120 * power * cf);
    power *= Nf;
    const double x6frac = tf / (720 * power);
    power *= Nf;
    const double x7frac = 1 / (5040 * power * cf);
    power *= Nf;
    const double x8frac = tf / (40320 * power);

    const double x2poly = -1 - nuf2;
    const double x3poly = -1 - 2 * tf2 - nuf2;
    const double x4poly =
        5 + 3 * tf2 + 6 * nuf2 - 6 * tf2 * nuf2 - 3 * nuf2 * nuf2 - 9 * tf2 * nuf2 * nuf2;
    const double x5poly = 5 + 28 * tf2 + 24 * tf4 + 6 * nuf2 + 8 * tf2 * nuf2;
    const double x6poly = -61 - 90 * tf2 - 45 * tf4 - 107 * nuf2 + 162 * tf2 * nuf2;
    const double x7poly = -61 - 662 * tf2 - 1320 * tf4 - 720 * tf6;
    const double x8poly = 1385 + 3633 * tf2 + 4095 * tf4 + 1575 * tf6;

    const double x = coordinates.x;
    const double latitude = phif + x2frac * x2poly * x * x + x4frac * x4poly * std::pow(x, 4) +
                            x6frac * x6poly * std::pow(x, 6) + x8frac * x8poly * std::pow(x, 8);
    const double longitude = andCentralMeridian + x1frac * x + x3frac * x3poly * std::pow(x, 3) +
                             x5frac * x5poly * std::pow(x, 5) + x7frac * x7poly * std::pow(x, 7);
    return {latitude, longitude};
}

UTMCoordinates GeodeticUTMConverter::latitudeAndLongitudeToUTMCoordinates(
    GeodeticCoordinate coordinate) const {
    const auto zone = static_cast<unsigned int>(std::floor((coordinate.longitude + 180) / 6) + 1);
    const TMCoordinates tm = latitudeAndLongitudeToTMCoordinates(
        {coordinate.latitude * kDegree, coordinate.longitude * kDegree}, UTMCentralMeridian(zone));
    double northing = tm.y * _utmScaleFactor;
    if (northing < 0) {
        northing += kSouthernFalseNorthing;
    }
    return UTMCoordinates{
        .northing = northing,
        .easting = tm.x * _utmScaleFactor + kFalseEasting,
        .gridZone = zone,
        .hemisphere = coordinate.latitude < 0 ? 1 : 0,
    };
}

GeodeticCoordinate GeodeticUTMConverter::UTMCoordinatesToLatitudeAndLongitude(
    UTMCoordinates coordinates) const {
    const double x = (coordinates.easting - kFalseEasting) / _utmScaleFactor;
    double y = coordinates.northing;
    if (coordinates.hemisphere == 1) {
        y -= kSouthernFalseNorthing;
    }
    y /= _utmScaleFactor;
    const GeodeticCoordinate radians =
        TMCoordinatesToLatitudeAndLongitude({x, y}, UTMCentralMeridian(coordinates.gridZone));
    return {radians.latitude / kDegree, radians.longitude / kDegree};
}

UTMCoordinates latitudeAndLongitudeToUTMCoordinates(GeodeticCoordinate coordinate) {
    return GeodeticUTMConverter().latitudeAndLongitudeToUTMCoordinates(coordinate);
}

GeodeticCoordinate UTMCoordinatesToLatitudeAndLongitude(UTMCoordinates coordinates) {
    return GeodeticUTMConverter().UTMCoordinatesToLatitudeAndLongitude(coordinates);
}

}  // namespace orvane::stamp
