// UTM and UPS on top of the projections, and the MGRS lettering on top of those.
#include "stamp/geodesy/geodesy.h"
#include "stamp/geodesy/geodesy_ellipsoid.h"

#include <cmath>
#include <cstdio>
#include <numbers>

namespace orvane::stamp {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kHalfPi = kPi / 2;
constexpr double kTwoPi = 2 * kPi;
constexpr double kDegree = kPi / 180;

constexpr double kMinUTMLatitude = -1.4049900478554351;  // -80.5 degrees
constexpr double kMaxUTMLatitude = 1.4748032179352084;   // 84.5 degrees
constexpr double kMinMGRSUTMLatitude = -80 * kDegree;
constexpr double kMaxMGRSUTMLatitude = 84 * kDegree;
constexpr double kMinUPSNorthLatitude = 83.5 * kDegree;
constexpr double kMaxUPSSouthLatitude = -79.5 * kDegree;
constexpr double kUPSOriginLatitude = 1.4157155848011311;  // 81.114528 degrees
constexpr double kUPSFalseOrigin = 2000000;
constexpr double kBandXSouth = 72 * kDegree;
constexpr double kBandOrigin = 1.3962634015954636;   // 80 degrees
constexpr double kBandHeight = 0.13962634015954636;  // 8 degrees
constexpr double kUTMScaleFactor = 0.9996;

constexpr int kLetterA = 0, kLetterH = 7, kLetterJ = 9, kLetterN = 13, kLetterS = 18;

char letter(long index) {
    return static_cast<char>('A' + index);
}

// UTM faults re-stated in the MGRS layer's own bits.
long mgrsErrorFromUTM(long error) {
    long result = 0;
    if (error & kUTMLatError) {
        result |= kMGRSLatError;
    }
    if (error & kUTMLonError) {
        result |= kMGRSLonError;
    }
    if (error & kUTMZoneOverrideError) {
        result |= kMGRSZoneError;
    }
    if (error & kUTMEastingError) {
        result |= kMGRSEastingError;
    }
    if (error & kUTMNorthingError) {
        result |= kMGRSNorthingError;
    }
    if (error & kUTMAError) {
        result |= kMGRSAError;
    }
    if (error & kUTMInvFError) {
        result |= kMGRSInvFError;
    }
    return result;
}

long mgrsErrorFromUPS(long error) {
    long result = 0;
    if (error & kUPSLatError) {
        result |= kMGRSLatError;
    }
    if (error & kUPSLonError) {
        result |= kMGRSLonError;
    }
    if (error & kUPSAError) {
        result |= kMGRSAError;
    }
    if (error & kUPSInvFError) {
        result |= kMGRSInvFError;
    }
    return result;
}

// The hundred-kilometre row letter of a northing within its 2000 km cycle; I and O are skipped.
long rowLetterIndex(double northing) {
    long index = static_cast<long>(northing / 100000);
    if (index > kLetterH) {
        ++index;
    }
    if (index > kLetterN) {
        ++index;
    }
    return index;
}

// The digits of one coordinate within its hundred-kilometre square, truncated to the precision.
long squareDigits(double value, int precision) {
    double inSquare = std::fmod(value, 100000);
    if (inSquare >= 99999.5) {
        inSquare = 99999.0;
    }
    return static_cast<long>(inSquare / std::pow(10.0, 5 - precision));
}

std::string mgrsText(long zone, const char letters[3], double easting, double northing,
                     int precision) {
    char buffer[32];
    int length = zone == 0 ? std::snprintf(buffer, sizeof buffer, "  ")
                           : std::snprintf(buffer, sizeof buffer, "%2.2ld", zone);
    length += std::snprintf(buffer + length, sizeof buffer - length, "%c%c%c", letters[0],
                            letters[1], letters[2]);
    std::snprintf(buffer + length, sizeof buffer - length, "%*.*ld%*.*ld", precision, precision,
                  squareDigits(easting, precision), precision, precision,
                  squareDigits(northing, precision));
    return buffer;
}

}  // namespace

const std::array<LatitudeBand, 20> kLatitudeBands = {{
    {'C', -80.5, -72, 1100000, 0},
    {'D', -72, -64, 2000000, 2000000},
    {'E', -64, -56, 2800000, 2000000},
    {'F', -56, -48, 3700000, 2000000},
    {'G', -48, -40, 4600000, 4000000},
    {'H', -40, -32, 5500000, 4000000},
    {'J', -32, -24, 6400000, 6000000},
    {'K', -24, -16, 7300000, 6000000},
    {'L', -16, -8, 8200000, 8000000},
    {'M', -8, 0, 9100000, 8000000},
    {'N', 0, 8, 0, 0},
    {'P', 8, 16, 800000, 0},
    {'Q', 16, 24, 1700000, 0},
    {'R', 24, 32, 2600000, 2000000},
    {'S', 32, 40, 3500000, 2000000},
    {'T', 40, 48, 4400000, 4000000},
    {'U', 48, 56, 5300000, 4000000},
    {'V', 56, 64, 6200000, 6000000},
    {'W', 64, 72, 7000000, 6000000},
    {'X', 72, 84.5, 7900000, 6000000},
}};

const std::array<UPSZoneLetters, 4> kUPSZoneLetters = {{
    {'A', 'J', 'Z', 'Z', 800000, 800000},
    {'B', 'A', 'R', 'Z', 2000000, 800000},
    {'Y', 'J', 'Z', 'P', 800000, 1300000},
    {'Z', 'A', 'J', 'P', 2000000, 1300000},
}};

std::optional<int> latitudeBandNumber(double latitude) {
    if (latitude >= kBandXSouth && latitude <= kMaxUTMLatitude) {
        return static_cast<int>(kLatitudeBands.size()) - 1;
    }
    if (latitude > kMinUTMLatitude && latitude < kBandXSouth) {
        // Truncation, not floor: band C reaches half a degree south of -80.
        return static_cast<int>((latitude + kBandOrigin) / kBandHeight + 1.0e-12);
    }
    return std::nullopt;
}

char utmRowLetter(double latitude, char hemisphere) {
    if (const auto band = latitudeBandNumber(latitude)) {
        return kLatitudeBands[static_cast<size_t>(*band)].letter;
    }
    return hemisphere == 'S' ? 'S' : 'N';
}

GridConverter::GridConverter()
    : _utmA(kWgs84SemiMajorAxis),
      _utmF(kWgs84Flattening),
      _upsA(kWgs84SemiMajorAxis),
      _upsF(kWgs84Flattening),
      _mgrsA(kWgs84SemiMajorAxis),
      _mgrsF(kWgs84Flattening),
      _mgrsEllipsoidCode(kWgs84EllipsoidCode) {
    setTransverseMercatorParameters(kWgs84SemiMajorAxis, kWgs84Flattening, 0, 0, 500000, 0,
                                    kUTMScaleFactor);
    setPolarStereographicParameters(kWgs84SemiMajorAxis, kWgs84Flattening, kUPSOriginLatitude, 0,
                                    kUPSFalseOrigin, kUPSFalseOrigin);
}

long GridConverter::setUTMParameters(double a, double f, long override) {
    long error = checkEllipsoid(a, f, kUTMAError, kUTMInvFError);
    if (override < 0 || override > 60) {
        error |= kUTMZoneOverrideError;
    }
    if (error != 0) {
        return error;
    }
    _utmA = a;
    _utmF = f;
    _utmOverride = override;
    return kUTMNoError;
}

long GridConverter::convertGeodeticToUTM(double latitude, double longitude, UTMPosition& position) {
    return utmFromGeodetic(latitude, longitude, std::nullopt, position);
}

long GridConverter::convertGeodeticToUTM(LatitudeLongitude degrees, UTMPosition& position) {
    return utmFromGeodetic(degrees.latitude * kDegree, degrees.longitude * kDegree, degrees,
                           position);
}

long GridConverter::utmFromGeodetic(double latitude, double longitude,
                                    std::optional<LatitudeLongitude> degrees,
                                    UTMPosition& position) {
    long error = 0;
    if (latitude < kMinUTMLatitude || latitude > kMaxUTMLatitude) {
        error |= kUTMLatError;
    }
    if (longitude < -kPi || longitude > kTwoPi) {
        error |= kUTMLonError;
    }
    if (error != 0) {
        return error;
    }
    if (latitude < 0 && latitude > -1.0e-9) {
        latitude = 0;
    }
    if (longitude < 0) {
        longitude += 6.283185307279586;  // a full turn and 1e-10
    }
    // Without the degrees, radians turned back stand in for them.
    double zoneLatitude = latitude / kDegree;
    double zoneLongitude = longitude / kDegree;
    if (degrees) {
        zoneLatitude = degrees->latitude;
        zoneLongitude = degrees->longitude < 0 ? degrees->longitude + 360 : degrees->longitude;
    }
    const long latDegrees = static_cast<long>(zoneLatitude);
    const long lonDegrees = static_cast<long>(zoneLongitude);

    long zone = zoneLongitude < 180 ? 31 + lonDegrees / 6 : lonDegrees / 6 - 29;
    if (zone > 60) {
        zone = 1;
    }
    // Southern Norway and Svalbard.
    if (latDegrees > 55 && latDegrees < 64 && lonDegrees > -1 && lonDegrees < 3) {
        zone = 31;
    }
    if (latDegrees > 55 && latDegrees < 64 && lonDegrees > 2 && lonDegrees < 12) {
        zone = 32;
    }
    if (latDegrees > 71 && lonDegrees > -1 && lonDegrees < 9) {
        zone = 31;
    }
    if (latDegrees > 71 && lonDegrees > 8 && lonDegrees < 21) {
        zone = 33;
    }
    if (latDegrees > 71 && lonDegrees > 20 && lonDegrees < 33) {
        zone = 35;
    }
    if (latDegrees > 71 && lonDegrees > 32 && lonDegrees < 42) {
        zone = 37;
    }

    if (_utmOverride != 0) {
        const bool acrossDateLine =
            (zone == 1 && _utmOverride == 60) || (zone == 60 && _utmOverride == 1);
        // Svalbard's missing even zones leave two zones between neighbours.
        const long reach = (latDegrees > 71 && lonDegrees > -1 && lonDegrees < 42) ? 2 : 1;
        if (acrossDateLine || (zone - reach <= _utmOverride && _utmOverride <= zone + reach)) {
            zone = _utmOverride;
        } else {
            return kUTMZoneOverrideError;
        }
    }

    const double centralMeridian =
        zone >= 31 ? (6 * zone - 183) * kDegree : (6 * zone + 177) * kDegree;
    const char hemisphere = latitude < 0 ? 'S' : 'N';
    const double falseNorthing = latitude < 0 ? 10000000 : 0;
    setTransverseMercatorParameters(_utmA, _utmF, 0, centralMeridian, 500000, falseNorthing,
                                    kUTMScaleFactor);
    double easting = 0, northing = 0;
    const long tmError =
        convertGeodeticToTransverseMercator(latitude, longitude, easting, northing);
    if (tmError & kTMLatError) {
        error |= kUTMLatError;
    }
    if (tmError & kTMLonError) {
        error |= kUTMLonError;
    }
    if (error != 0) {
        return error;
    }
    if (easting < 100000 || easting > 900000) {
        error |= kUTMEastingError;
    }
    if (northing < 0 || northing > 10000000) {
        error |= kUTMNorthingError;
    }
    if (error != 0) {
        return error;
    }
    position = UTMPosition{zone, hemisphere, easting, northing};
    return kUTMNoError;
}

long GridConverter::setUPSParameters(double a, double f) {
    const long error = checkEllipsoid(a, f, kUPSAError, kUPSInvFError);
    if (error != 0) {
        return error;
    }
    _upsA = a;
    _upsF = f;
    return kUPSNoError;
}

long GridConverter::convertGeodeticToUPS(double latitude, double longitude, UPSPosition& position) {
    long error = 0;
    if (latitude < -kHalfPi || latitude > kHalfPi ||
        (latitude < 0 && latitude > kMaxUPSSouthLatitude) ||
        (latitude >= 0 && latitude < kMinUPSNorthLatitude)) {
        error |= kUPSLatError;
    }
    if (longitude < -kPi || longitude > kTwoPi) {
        error |= kUPSLonError;
    }
    if (error != 0) {
        return error;
    }
    const bool south = latitude < 0;
    setPolarStereographicParameters(_upsA, _upsF, south ? -kUPSOriginLatitude : kUPSOriginLatitude,
                                    0, kUPSFalseOrigin, kUPSFalseOrigin);
    double easting = 0, northing = 0;
    const long polarError =
        convertGeodeticToPolarStereographic(latitude, longitude, easting, northing);
    if (polarError & kPolarLatError) {
        error |= kUPSLatError;
    }
    if (polarError & kPolarLonError) {
        error |= kUPSLonError;
    }
    if (error != 0) {
        return error;
    }
    position = UPSPosition{south ? 'S' : 'N', easting, northing};
    return kUPSNoError;
}

long GridConverter::setMGRSParameters(double a, double f, std::string_view ellipsoidCode) {
    long error = checkEllipsoid(a, f, kMGRSAError, kMGRSInvFError);
    if (error != 0) {
        return error;
    }
    _mgrsA = a;
    _mgrsF = f;
    _mgrsEllipsoidCode = ellipsoidCode;
    return kMGRSNoError;
}

long GridConverter::convertGeodeticToMGRS(double latitude, double longitude, int precision,
                                          std::string& text) {
    return mgrsFromGeodetic(latitude, longitude, std::nullopt, precision, text);
}

long GridConverter::convertGeodeticToMGRS(LatitudeLongitude degrees, int precision,
                                          std::string& text) {
    return mgrsFromGeodetic(degrees.latitude * kDegree, degrees.longitude * kDegree, degrees,
                            precision, text);
}

long GridConverter::mgrsFromGeodetic(double latitude, double longitude,
                                     std::optional<LatitudeLongitude> degrees, int precision,
                                     std::string& text) {
    long error = 0;
    if (latitude < -kHalfPi || latitude > kHalfPi) {
        error |= kMGRSLatError;
    }
    if (longitude < -kPi || longitude > kTwoPi) {
        error |= kMGRSLonError;
    }
    if (precision < 0 || precision > 5) {
        error |= kMGRSPrecisionError;
    }
    if (error != 0) {
        return error;
    }

    if (latitude < kMinMGRSUTMLatitude || latitude > kMaxMGRSUTMLatitude) {
        setUPSParameters(_mgrsA, _mgrsF);
        UPSPosition ups;
        error = mgrsErrorFromUPS(convertGeodeticToUPS(latitude, longitude, ups));
        if (error != 0) {
            return error;
        }
        return mgrsTextFromUPS(ups, precision, text);
    }

    setUTMParameters(_mgrsA, _mgrsF, 0);
    UTMPosition utm;
    error = mgrsErrorFromUTM(utmFromGeodetic(latitude, longitude, degrees, utm));
    if (error != 0) {
        return error;
    }
    // Zone 31 gives way to zone 32 over southern Norway. The override is left in place.
    if (latitude >= 56 * kDegree && latitude < 64 * kDegree && utm.zone == 31 &&
        (longitude >= 3 * kDegree || utm.easting >= 500000)) {
        setUTMParameters(_mgrsA, _mgrsF, 32);
        error = mgrsErrorFromUTM(utmFromGeodetic(latitude, longitude, degrees, utm));
        if (error != 0) {
            return error;
        }
    }
    return mgrsTextFromUTM(utm, latitude, precision, text);
}

long GridConverter::mgrsTextFromUTM(UTMPosition position, double latitude, int precision,
                                    std::string& text) const {
    if (precision < 0 || precision > 5) {
        return kMGRSPrecisionError;
    }
    if (latitude <= 0 && position.northing == 1.0e7) {
        latitude = 0;
        position.northing = 0;
    }

    long set = position.zone % 6;
    if (set == 0) {
        set = 6;
    }
    long secondLetterLow = kLetterA;
    if (set == 2 || set == 5) {
        secondLetterLow = kLetterJ;
    } else if (set == 3 || set == 6) {
        secondLetterLow = kLetterS;
    }
    const bool oddSet = set % 2 == 1;
    const bool wgs84Family = _mgrsEllipsoidCode != "CC" && _mgrsEllipsoidCode != "CD" &&
                             _mgrsEllipsoidCode != "BR" && _mgrsEllipsoidCode != "BN";
    const double falseNorthing = wgs84Family ? (oddSet ? 0 : 500000) : (oddSet ? 1000000 : 1500000);

    const auto band = latitudeBandNumber(latitude);
    if (!band) {
        return kMGRSLatError;
    }
    char letters[3];
    letters[0] = kLatitudeBands[static_cast<size_t>(*band)].letter;

    double gridNorthing = position.northing;
    while (gridNorthing >= 2000000) {
        gridNorthing -= 2000000;
    }
    gridNorthing += falseNorthing;
    if (gridNorthing >= 2000000) {
        gridNorthing -= 2000000;
    }
    letters[2] = letter(rowLetterIndex(gridNorthing));

    double gridEasting = position.easting;
    if (letters[0] == 'V' && position.zone == 31 && gridEasting == 500000) {
        gridEasting -= 1;
    }
    long column = secondLetterLow + static_cast<long>(gridEasting / 100000) - 1;
    if (secondLetterLow == kLetterJ && column > kLetterN) {
        ++column;
    }
    letters[1] = letter(column);

    text = mgrsText(position.zone, letters, position.easting, position.northing, precision);
    return kMGRSNoError;
}

long GridConverter::mgrsTextFromUPS(UPSPosition position, int precision, std::string& text) const {
    const bool east = position.easting >= 2000000;
    const size_t row = position.hemisphere == 'N' ? (east ? 3 : 2) : (east ? 1 : 0);
    const UPSZoneLetters& zone = kUPSZoneLetters[row];

    char letters[3];
    letters[0] = zone.firstLetter;
    long column = (zone.secondLetterLow - 'A') +
                  static_cast<long>((position.easting - zone.falseEasting) / 100000);
    if (east) {
        if (column > 8) {
            column += 6;
        } else if (column > 5) {
            column += 3;
        } else if (column > 2) {
            column += 2;
        }
    } else {
        if (column > 17) {
            column += 5;
        } else if (column > 11) {
            column += 3;
        }
    }
    letters[1] = letter(column);
    letters[2] = letter(rowLetterIndex(position.northing - zone.falseNorthing));
    text = mgrsText(0, letters, position.easting, position.northing, precision);
    return kMGRSNoError;
}

}  // namespace orvane::stamp
