// Conversion of geodetic positions to UTM, UPS and MGRS text on the WGS-84 ellipsoid, in layers:
// transverse Mercator and polar stereographic projections, UTM and UPS above them, the MGRS
// lettering on top; and the shift of WGS-84 positions into the GCJ-02 frame for the map overlay.
//
// The grid conversions work as set-then-convert pairs: a "set parameters" step stores the
// ellipsoid and the projection's origin in a GridConverter, and the conversion that follows reads
// them. Angles are radians. Faults come back as bit masks (0 is success) and never as exceptions.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace orvane::stamp {

inline constexpr double kWgs84SemiMajorAxis = 6378137.0;
inline constexpr double kWgs84Flattening = 1 / 298.257223563;
inline constexpr std::string_view kWgs84EllipsoidCode = "WE";

// Fault bits of the transverse Mercator layer.
inline constexpr long kTMNoError = 0;
inline constexpr long kTMLatError = 1;
inline constexpr long kTMLonError = 2;
inline constexpr long kTMOriginLatError = 16;
inline constexpr long kTMCentralMeridianError = 32;
inline constexpr long kTMAError = 64;
inline constexpr long kTMInvFError = 128;
inline constexpr long kTMScaleFactorError = 256;
inline constexpr long kTMLonWarning = 512;  // more than 9 degrees from the central meridian

// Fault bits of the polar stereographic layer.
inline constexpr long kPolarNoError = 0;
inline constexpr long kPolarLatError = 1;
inline constexpr long kPolarLonError = 2;
inline constexpr long kPolarOriginLatError = 4;
inline constexpr long kPolarOriginLonError = 8;
inline constexpr long kPolarAError = 64;
inline constexpr long kPolarInvFError = 128;

// Fault bits of geodetic to UTM.
inline constexpr long kUTMNoError = 0;
inline constexpr long kUTMLatError = 1;
inline constexpr long kUTMLonError = 2;
inline constexpr long kUTMEastingError = 4;
inline constexpr long kUTMNorthingError = 8;
inline constexpr long kUTMAError = 16;
inline constexpr long kUTMInvFError = 32;
inline constexpr long kUTMZoneOverrideError = 64;

// Fault bits of geodetic to UPS.
inline constexpr long kUPSNoError = 0;
inline constexpr long kUPSLatError = 1;
inline constexpr long kUPSLonError = 2;
inline constexpr long kUPSAError = 16;
inline constexpr long kUPSInvFError = 32;

// Fault bits of geodetic to MGRS. UTM and UPS faults met on the way are re-mapped to these.
inline constexpr long kMGRSNoError = 0;
inline constexpr long kMGRSLatError = 1;
inline constexpr long kMGRSLonError = 2;
inline constexpr long kMGRSStringError = 4;
inline constexpr long kMGRSPrecisionError = 8;
inline constexpr long kMGRSAError = 16;
inline constexpr long kMGRSInvFError = 32;
inline constexpr long kMGRSEastingError = 64;
inline constexpr long kMGRSNorthingError = 128;
inline constexpr long kMGRSZoneError = 256;
inline constexpr long kMGRSHemisphereError = 512;

// One MGRS latitude band. The minimum northing and the offset serve the inverse of the lettering,
// which this program does not need; the forward lettering reads the letter and the range.
struct LatitudeBand {
    char letter;
    double southDegrees;
    double northDegrees;
    double minimumNorthing;
    double northingOffset;
};
extern const std::array<LatitudeBand, 20> kLatitudeBands;

// One polar zone of UPS lettering, by first letter.
struct UPSZoneLetters {
    char firstLetter;
    char secondLetterLow;
    char secondLetterHigh;
    char thirdLetterHigh;
    double falseEasting;
    double falseNorthing;
};
extern const std::array<UPSZoneLetters, 4> kUPSZoneLetters;

// A position in degrees.
struct LatitudeLongitude {
    double latitude;
    double longitude;
};

struct UTMPosition {
    long zone = 0;        // 1 to 60
    char hemisphere = 0;  // 'N' or 'S'
    double easting = 0;   // metres
    double northing = 0;  // metres
};

struct UPSPosition {
    char hemisphere = 0;  // 'N' or 'S'
    double easting = 0;
    double northing = 0;
};

// The band index into kLatitudeBands for a latitude in radians, or nothing where no band exists
// (at or beyond -80.5 degrees, at or above 84.5 degrees).
std::optional<int> latitudeBandNumber(double latitude);

// The letter that stands after the zone in a plain UTM text: the latitude band where one exists,
// else the hemisphere letter 'N' or 'S'.
char utmRowLetter(double latitude, char hemisphere);

// The conversion state of one caller: the parameters of each layer and the UTM zone override.
// Not safe to share between threads: the position callback owns one and uses it on the main
// thread only. A conversion reads whatever its layer's last set step stored, so an override set
// by one MGRS conversion stays in force for the UTM conversions that follow it until the next
// MGRS conversion clears it.
class GridConverter {
  public:
    // Starts on WGS-84 for every layer, with no zone override.
    GridConverter();

    long setTransverseMercatorParameters(double a, double f, double originLatitude,
                                         double centralMeridian, double falseEasting,
                                         double falseNorthing, double scaleFactor);
    long convertGeodeticToTransverseMercator(double latitude, double longitude, double& easting,
                                             double& northing) const;

    // latitudeOfTrueScale's sign chooses the pole.
    long setPolarStereographicParameters(double a, double f, double latitudeOfTrueScale,
                                         double longitudeDownFromPole, double falseEasting,
                                         double falseNorthing);
    long convertGeodeticToPolarStereographic(double latitude, double longitude, double& easting,
                                             double& northing) const;

    // override 0 lets the zone follow the position; 1 to 60 asks for that zone.
    long setUTMParameters(double a, double f, long override);
    long convertGeodeticToUTM(double latitude, double longitude, UTMPosition& position);
    // The same from degrees, which choose the zone as they stand: a longitude on a zone's edge
    // turned into radians and back may fall a hair short of it (30, 60 and 120 degrees do).
    long convertGeodeticToUTM(LatitudeLongitude degrees, UTMPosition& position);
    long utmZoneOverride() const { return _utmOverride; }

    long setUPSParameters(double a, double f);
    long convertGeodeticToUPS(double latitude, double longitude, UPSPosition& position);

    long setMGRSParameters(double a, double f, std::string_view ellipsoidCode);
    // precision is the digits per coordinate, 0 to 5.
    long convertGeodeticToMGRS(double latitude, double longitude, int precision, std::string& text);
    // The same from degrees, for the same reason as convertGeodeticToUTM's.
    long convertGeodeticToMGRS(LatitudeLongitude degrees, int precision, std::string& text);

    // The lettering of a UTM position (the last steps of convertGeodeticToMGRS), exposed so the
    // southern edge of the grid can be checked directly.
    long mgrsTextFromUTM(UTMPosition position, double latitude, int precision,
                         std::string& text) const;

  private:
    struct TransverseMercator {
        double a, f, es, ebs;
        double ap, bp, cp, dp, ep;
        double originLatitude, centralMeridian, falseEasting, falseNorthing, scaleFactor;
    };
    struct PolarStereographic {
        double a, f, e;
        bool southPole;
        double mcOverTc;  // scale term of the latitude of true scale
        double originLongitude, falseEasting, falseNorthing;
    };

    // Radians for the projection; the degrees as given, where there are any, for the zone.
    long utmFromGeodetic(double latitude, double longitude,
                         std::optional<LatitudeLongitude> degrees, UTMPosition& position);
    long mgrsFromGeodetic(double latitude, double longitude,
                          std::optional<LatitudeLongitude> degrees, int precision,
                          std::string& text);
    long mgrsTextFromUPS(UPSPosition position, int precision, std::string& text) const;

    TransverseMercator _tm{};
    PolarStereographic _polar{};
    double _utmA, _utmF;
    long _utmOverride = 0;
    double _upsA, _upsF;
    double _mgrsA, _mgrsF;
    std::string _mgrsEllipsoidCode;
};

// The GCJ-02 offset of a WGS-84 position in degrees; positions outside mainland China's box come
// back unchanged. The caller decides from the device's region whether to apply it.
LatitudeLongitude wgs84ToGcj02(LatitudeLongitude position);

// Holds no state: the shift is the free function above.
class WGS84TOGCJ02 {};

}  // namespace orvane::stamp
