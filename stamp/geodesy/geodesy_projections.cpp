// The two projections under UTM and UPS: transverse Mercator as a series in the longitude
// difference, and the ellipsoidal polar stereographic projection.
#include <cmath>
#include <numbers>

#include "stamp/geodesy/geodesy.h"
#include "stamp/geodesy/geodesy_ellipsoid.h"

namespace orvane::stamp {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kHalfPi = kPi / 2;
constexpr double kTwoPi = 2 * kPi;
// The transverse Mercator series breaks down at the poles: 89.99 degrees is as far as it goes.
constexpr double kMaxTMLatitude = 1.570621793869697;
constexpr double kMaxDeltaLongitude = kPi / 2;
constexpr double kWarnDeltaLongitude = 0.15707963267948966;  // 9 degrees

}  // namespace

long GridConverter::setTransverseMercatorParameters(double a, double f, double originLatitude,
                                                    double centralMeridian, double falseEasting,
                                                    double falseNorthing, double scaleFactor) {
    long error = checkEllipsoid(a, f, kTMAError, kTMInvFError);
    if (originLatitude < -kHalfPi || originLatitude > kHalfPi) {
        error |= kTMOriginLatError;
    }
    if (centralMeridian < -kPi || centralMeridian > kTwoPi) {
        error |= kTMCentralMeridianError;
    }
    if (scaleFactor < 0.3 || scaleFactor > 3.0) {
        error |= kTMScaleFactorError;
    }
    if (error != 0) {
        return error;
    }
    if (centralMeridian > kPi) {
        centralMeridian -= kTwoPi;
    }
    const double b = (1 - f) * a;
    const double n = (a - b) / (a + b);
    const double n2 = n * n, n3 = n2 * n, n4 = n3 * n, n5 = n4 * n;
    const double es = 2 * f - f * f;
    _tm = TransverseMercator{
        .a = a,
        .f = f,
        .es = es,
        .ebs = 1 / (1 - es) - 1,
        .ap = a * (1 - n + 5.0 / 4 * (n2 - n3) + 81.0 / 64 * (n4 - n5)),
        .bp = 3 * a / 2 * (n - n2 + 7.0 / 8 * (n3 - n4) + 55.0 / 64 * n5),
        .cp = 15 * a / 16 * (n2 - n3 + 3.0 / 4 * (n4 - n5)),
        .dp = 35 * a / 48 * (n3 - n4 + 11.0 / 16 * n5),
        .ep = 315 * a / 512 * (n4 - n5),
        .originLatitude = originLatitude,
        .centralMeridian = centralMeridian,
        .falseEasting = falseEasting,
        .falseNorthing = falseNorthing,
        .scaleFactor = scaleFactor,
    };
    return kTMNoError;
}

long GridConverter::convertGeodeticToTransverseMercator(double latitude, double longitude,
                                                        double& easting, double& northing) const {
    const TransverseMercator& p = _tm;
    long error = 0;
    if (latitude < -kMaxTMLatitude || latitude > kMaxTMLatitude) {
        error |= kTMLatError;
    }
    double dlam = longitude - p.centralMeridian;
    while (dlam > kPi) {
        dlam -= kTwoPi;
    }
    while (dlam < -kPi) {
        dlam += kTwoPi;
    }
    if (std::fabs(dlam) > kMaxDeltaLongitude) {
        error |= kTMLonError;
    }
    if (error != 0) {
        return error;
    }
    if (std::fabs(dlam) > kWarnDeltaLongitude) {
        error |= kTMLonWarning;
    }
    if (std::fabs(dlam) < 2.e-10) {
        dlam = 0;
    }

    auto tmd = [&p](double phi) {
        return p.ap * phi - p.bp * std::sin(2 * phi) + p.cp * std::sin(4 * phi) -
               p.dp * std::sin(6 * phi) + p.ep * std::sin(8 * phi);
    };
    const double k0 = p.scaleFactor;
    const double s = std::sin(latitude), c = std::cos(latitude);
    const double c2 = c * c, c3 = c2 * c, c5 = c3 * c2, c7 = c5 * c2;
    const double t = std::tan(latitude);
    const double tan2 = t * t, tan4 = tan2 * tan2, tan6 = tan4 * tan2;
    const double eta = p.ebs * c2;
    const double eta2 = eta * eta, eta3 = eta2 * eta, eta4 = eta3 * eta;
    const double sn = p.a / std::sqrt(1 - p.es * s * s);

    const double term1 = (tmd(latitude) - tmd(p.originLatitude)) * k0;
    const double term2 = sn * s * c * k0 / 2;
    const double term3 = sn * s * c3 * k0 * (5 - tan2 + 9 * eta + 4 * eta2) / 24;
    const double term4 =
        sn * s * c5 * k0 *
        (61 - 58 * tan2 + tan4 + 270 * eta - 330 * tan2 * eta + 445 * eta2 + 324 * eta3 -
         680 * tan2 * eta2 + 88 * eta4 - 600 * tan2 * eta3 - 192 * tan2 * eta4) /
        720;
    const double term5 = sn * s * c7 * k0 * (1385 - 3111 * tan2 + 543 * tan4 - tan6) / 40320;
    const double dl2 = dlam * dlam, dl4 = dl2 * dl2, dl6 = dl4 * dl2, dl8 = dl4 * dl4;
    northing = p.falseNorthing + term1 + dl2 * term2 + dl4 * term3 + dl6 * term4 + dl8 * term5;

    const double term6 = sn * c * k0;
    const double term7 = sn * c3 * k0 * (1 - tan2 + eta) / 6;
    const double term8 = sn * c5 * k0 *
                         (5 - 18 * tan2 + tan4 + 14 * eta - 58 * tan2 * eta + 13 * eta2 + 4 * eta3 -
                          64 * tan2 * eta2 - 24 * tan2 * eta3) /
                         120;
    const double term9 = sn * c7 * k0 * (61 - 479 * tan2 + 179 * tan4 - tan6) / 5040;
    const double dl3 = dl2 * dlam, dl5 = dl3 * dl2, dl7 = dl5 * dl2;
    easting = p.falseEasting + dlam * term6 + dl3 * term7 + dl5 * term8 + dl7 * term9;
    return error;
}

long GridConverter::setPolarStereographicParameters(double a, double f, double latitudeOfTrueScale,
                                                    double longitudeDownFromPole,
                                                    double falseEasting, double falseNorthing) {
    long error = checkEllipsoid(a, f, kPolarAError, kPolarInvFError);
    if (latitudeOfTrueScale < -kHalfPi || latitudeOfTrueScale > kHalfPi ||
        latitudeOfTrueScale == 0) {
        error |= kPolarOriginLatError;
    }
    if (longitudeDownFromPole < -kPi || longitudeDownFromPole > kTwoPi) {
        error |= kPolarOriginLonError;
    }
    if (error != 0) {
        return error;
    }
    if (longitudeDownFromPole > kPi) {
        longitudeDownFromPole -= kTwoPi;
    }
    const double e = std::sqrt(2 * f - f * f);
    const double phiC = std::fabs(latitudeOfTrueScale);
    double mcOverTc;
    if (phiC < kHalfPi) {
        const double s = std::sin(phiC);
        const double mc = std::cos(phiC) / std::sqrt(1 - e * e * s * s);
        const double tc = std::tan(kPi / 4 - phiC / 2) / std::pow((1 - e * s) / (1 + e * s), e / 2);
        mcOverTc = mc / tc;
    } else {
        // True scale at the pole itself.
        mcOverTc = 2 / std::sqrt(std::pow(1 + e, 1 + e) * std::pow(1 - e, 1 - e));
    }
    _polar = PolarStereographic{
        .a = a,
        .f = f,
        .e = e,
        .southPole = latitudeOfTrueScale < 0,
        .mcOverTc = mcOverTc,
        .originLongitude = longitudeDownFromPole,
        .falseEasting = falseEasting,
        .falseNorthing = falseNorthing,
    };
    return kPolarNoError;
}

long GridConverter::convertGeodeticToPolarStereographic(double latitude, double longitude,
                                                        double& easting, double& northing) const {
    const PolarStereographic& p = _polar;
    const bool south = p.southPole;
    long error = 0;
    if (latitude < -kHalfPi || latitude > kHalfPi || (south && latitude > 0) ||
        (!south && latitude < 0)) {
        error |= kPolarLatError;
    }
    if (longitude < -kPi || longitude > kTwoPi) {
        error |= kPolarLonError;
    }
    if (error != 0) {
        return error;
    }
    // The south pole is the north pole's mirror image.
    const double phi = south ? -latitude : latitude;
    const double es = p.e * std::sin(phi);
    const double t = std::tan(kPi / 4 - phi / 2) / std::pow((1 - es) / (1 + es), p.e / 2);
    const double rho = p.a * p.mcOverTc * t;
    const double dlam = longitude - p.originLongitude;
    easting = p.falseEasting + rho * std::sin(dlam);
    northing =
        south ? p.falseNorthing + rho * std::cos(dlam) : p.falseNorthing - rho * std::cos(dlam);
    return kPolarNoError;
}

}  // namespace orvane::stamp
