// A stand-alone forward and inverse UTM converter on a chosen datum, with the plain zone rule
// (no Norway or Svalbard exceptions). Angles in its coordinates are degrees; the series helpers
// work in radians and metres. An instance holds only its datum and may be used on any thread.
#pragma once

namespace orvane::stamp {

struct GeodeticCoordinate {
    double latitude;   // degrees
    double longitude;  // degrees
};

struct UTMCoordinates {
    double northing;
    double easting;
    unsigned int gridZone;
    int hemisphere;  // 0 north, 1 south
};

struct UTMDatum {
    double equitorialRadius;
    double polarRadius;
};

// Unscaled transverse Mercator coordinates in metres.
struct TMCoordinates {
    double x;
    double y;
};

class GeodeticUTMConverter {
  public:
    // WGS-84.
    GeodeticUTMConverter();
    explicit GeodeticUTMConverter(UTMDatum datum);

    UTMDatum datum() const { return _datum; }
    double utmScaleFactor() const { return _utmScaleFactor; }

    UTMCoordinates latitudeAndLongitudeToUTMCoordinates(GeodeticCoordinate coordinate) const;
    GeodeticCoordinate UTMCoordinatesToLatitudeAndLongitude(UTMCoordinates coordinates) const;

    // Meridian distance from the equator to a latitude in radians.
    double arcLengthOfMeridian(double latitude) const;
    // Central meridian of a zone, in radians.
    static double UTMCentralMeridian(unsigned int zone);
    // Latitude in radians whose meridian distance is the given northing.
    double footpointLatitude(double northing) const;
    // Latitude and longitude in radians.
    TMCoordinates latitudeAndLongitudeToTMCoordinates(GeodeticCoordinate coordinate,
                                                      double centralMeridian) const;
    // Returns latitude and longitude in radians.
    GeodeticCoordinate TMCoordinatesToLatitudeAndLongitude(TMCoordinates coordinates,
                                                           double andCentralMeridian) const;

  private:
    UTMDatum _datum;
    double _utmScaleFactor = 0.9996;
};

// The class operations: each converts with a default WGS-84 instance.
UTMCoordinates latitudeAndLongitudeToUTMCoordinates(GeodeticCoordinate coordinate);
GeodeticCoordinate UTMCoordinatesToLatitudeAndLongitude(UTMCoordinates coordinates);

}  // namespace orvane::stamp
