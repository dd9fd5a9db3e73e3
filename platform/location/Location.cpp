// The geodesic distance between two fixes on the WGS-84 ellipsoid: Vincenty's inverse method,
// and for the nearly antipodal pairs where its iteration does not settle, the shortest of the
// geodesics through a point a quarter of the way round, found by a search over the azimuth.
#include "platform/location/Location.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

namespace orvane::platform {
namespace {

constexpr double kA = 6378137.0;                          // semi-major axis, metres
constexpr double kF = 1.0 / 298.257223563;                // flattening
constexpr double kB = kA * (1.0 - kF);                    // semi-minor axis
constexpr double kEp2 = (kA * kA - kB * kB) / (kB * kB);  // second eccentricity squared
constexpr double kPi = std::numbers::pi;
constexpr double kDegree = kPi / 180.0;

// The series of Vincenty's formulae in u^2 = cos^2(alpha) e'^2.
double seriesA(double u2) {
    return 1 + u2 / 16384 * (4096 + u2 * (-768 + u2 * (320 - 175 * u2)));
}
double seriesB(double u2) {
    return u2 / 1024 * (256 + u2 * (-128 + u2 * (74 - 47 * u2)));
}

double deltaSigma(double B, double sinSigma, double cosSigma, double cos2SigmaM) {
    const double c2 = cos2SigmaM * cos2SigmaM;
    return B * sinSigma *
           (cos2SigmaM + B / 4 *
                             (cosSigma * (-1 + 2 * c2) -
                              B / 6 * cos2SigmaM * (-3 + 4 * sinSigma * sinSigma) * (-3 + 4 * c2)));
}

struct Point {
    double latitude;   // radians
    double longitude;  // radians
};

// Vincenty's inverse: the distance, or none when the iteration on the longitude does not
// converge (the points are nearly antipodal).
std::optional<double> vincentyInverse(Point p1, Point p2) {
    const double L = std::remainder(p2.longitude - p1.longitude, 2 * kPi);
    const double U1 = std::atan((1 - kF) * std::tan(p1.latitude));
    const double U2 = std::atan((1 - kF) * std::tan(p2.latitude));
    const double sinU1 = std::sin(U1), cosU1 = std::cos(U1);
    const double sinU2 = std::sin(U2), cosU2 = std::cos(U2);

    double lambda = L;
    for (int iteration = 0; iteration < 200; ++iteration) {
        const double sinLambda = std::sin(lambda), cosLambda = std::cos(lambda);
        const double t1 = cosU2 * sinLambda;
        const double t2 = cosU1 * sinU2 - sinU1 * cosU2 * cosLambda;
        const double sinSigma = std::hypot(t1, t2);
        if (sinSigma == 0) {
            return 0.0;  // the same point
        }
        const double cosSigma = sinU1 * sinU2 + cosU1 * cosU2 * cosLambda;
        const double sigma = std::atan2(sinSigma, cosSigma);
        const double sinAlpha = cosU1 * cosU2 * sinLambda / sinSigma;
        const double cos2Alpha = 1 - sinAlpha * sinAlpha;
        // On the equator cos2Alpha is 0 and the term vanishes.
        const double cos2SigmaM = cos2Alpha != 0 ? cosSigma - 2 * sinU1 * sinU2 / cos2Alpha : 0.0;
        const double C = kF / 16 * cos2Alpha * (4 + kF * (4 - 3 * cos2Alpha));
        const double previous = lambda;
        lambda =
            L + (1 - C) * kF * sinAlpha *
                    (sigma + C * sinSigma *
                                 (cos2SigmaM + C * cosSigma * (-1 + 2 * cos2SigmaM * cos2SigmaM)));
        if (std::abs(lambda) > kPi) {
            return std::nullopt;  // the geodesic passes beyond the antipode: not this method's case
        }
        if (std::abs(lambda - previous) < 1e-13) {
            const double u2 = cos2Alpha * kEp2;
            const double B = seriesB(u2);
            return kB * seriesA(u2) * (sigma - deltaSigma(B, sinSigma, cosSigma, cos2SigmaM));
        }
    }
    return std::nullopt;
}

// Vincenty's direct: the point reached from `p1` along azimuth `alpha1` after `s` metres. It
// always converges.
Point vincentyDirect(Point p1, double alpha1, double s) {
    const double sinAlpha1 = std::sin(alpha1), cosAlpha1 = std::cos(alpha1);
    const double tanU1 = (1 - kF) * std::tan(p1.latitude);
    const double cosU1 = 1 / std::sqrt(1 + tanU1 * tanU1), sinU1 = tanU1 * cosU1;
    const double sigma1 = std::atan2(tanU1, cosAlpha1);
    const double sinAlpha = cosU1 * sinAlpha1;
    const double cos2Alpha = 1 - sinAlpha * sinAlpha;
    const double u2 = cos2Alpha * kEp2;
    const double A = seriesA(u2), B = seriesB(u2);

    double sigma = s / (kB * A);
    double sinSigma = 0, cosSigma = 0, cos2SigmaM = 0;
    for (int iteration = 0; iteration < 200; ++iteration) {
        cos2SigmaM = std::cos(2 * sigma1 + sigma);
        sinSigma = std::sin(sigma);
        cosSigma = std::cos(sigma);
        const double next = s / (kB * A) + deltaSigma(B, sinSigma, cosSigma, cos2SigmaM);
        const bool settled = std::abs(next - sigma) < 1e-13;
        sigma = next;
        if (settled) {
            break;
        }
    }
    sinSigma = std::sin(sigma);
    cosSigma = std::cos(sigma);
    cos2SigmaM = std::cos(2 * sigma1 + sigma);
    const double x = sinU1 * sinSigma - cosU1 * cosSigma * cosAlpha1;
    const double latitude = std::atan2(sinU1 * cosSigma + cosU1 * sinSigma * cosAlpha1,
                                       (1 - kF) * std::hypot(sinAlpha, x));
    const double lambda =
        std::atan2(sinSigma * sinAlpha1, cosU1 * cosSigma - sinU1 * sinSigma * cosAlpha1);
    const double C = kF / 16 * cos2Alpha * (4 + kF * (4 - 3 * cos2Alpha));
    const double L =
        lambda - (1 - C) * kF * sinAlpha *
                     (sigma + C * sinSigma *
                                  (cos2SigmaM + C * cosSigma * (-1 + 2 * cos2SigmaM * cos2SigmaM)));
    return {latitude, p1.longitude + L};
}

// For nearly antipodal points. Every geodesic from p1 passes, a quarter meridian along, a point
// q(alpha); the path through q is no shorter than the geodesic, and equals it for the azimuth of
// the shortest geodesic. So the distance is the least of quarter + |q(alpha) p2| over alpha, and
// both legs are far from antipodal, where Vincenty converges. The least is near-quadratic in
// alpha, so a coarse scan and a golden-section refinement give it to well below a millimetre.
double antipodalDistance(Point p1, Point p2) {
    constexpr double quarter = 10'000'000.0;
    auto through = [&](double alpha) {
        const Point q = vincentyDirect(p1, alpha, quarter);
        // The second leg is about a quarter round: never antipodal, so always converges.
        return quarter + vincentyInverse(q, p2).value_or(2 * kPi * kA);
    };
    constexpr int steps = 360;
    int best = 0;
    double bestValue = through(0.0);
    for (int i = 1; i < steps; ++i) {
        const double value = through(i * 2 * kPi / steps);
        if (value < bestValue) {
            bestValue = value;
            best = i;
        }
    }
    const double ratio = (std::sqrt(5.0) - 1) / 2;
    double low = (best - 1) * 2 * kPi / steps, high = (best + 1) * 2 * kPi / steps;
    double x1 = high - ratio * (high - low), x2 = low + ratio * (high - low);
    double f1 = through(x1), f2 = through(x2);
    while (high - low > 1e-10) {
        if (f1 < f2) {
            high = x2;
            x2 = x1;
            f2 = f1;
            x1 = high - ratio * (high - low);
            f1 = through(x1);
        } else {
            low = x1;
            x1 = x2;
            f1 = f2;
            x2 = low + ratio * (high - low);
            f2 = through(x2);
        }
    }
    return std::min({bestValue, f1, f2});
}

}  // namespace

double Location::distanceFromLocation(const Location& other) const {
    const Point p1{_coordinate.latitude * kDegree, _coordinate.longitude * kDegree};
    const Point p2{other._coordinate.latitude * kDegree, other._coordinate.longitude * kDegree};
    if (auto distance = vincentyInverse(p1, p2)) {
        return *distance;
    }
    return antipodalDistance(p1, p2);
}

}  // namespace orvane::platform
