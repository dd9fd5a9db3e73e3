// The stand-alone UTM converter (round trips, a sphere where the projection has a closed form,
// agreement with the grid converter) and the GCJ-02 shift.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <utility>

#include "stamp/geodesy/GeodeticUTMConverter.h"
#include "stamp/geodesy/geodesy.h"

namespace orvane::stamp {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kDegree = kPi / 180;

TEST(GeodeticUTMConverter, RoundTripsWithinAMillimetre) {
    const GeodeticCoordinate points[] = {
        {48.85837, 2.294481},
        {-33.9, 151.2},
        {0, 10},
        {-0.0001, -75.5},
        {60, 5},
        {75, 10},
        {83.9, -170.1},
        {-79.9, 100},
        {10, 5.9999},
        {10, 6.0001},
        {-45, -179.9},
        {45, 179.9},
        {1, 0},
        {-89, 33},
    };
    const GeodeticUTMConverter converter;
    for (const auto& p : points) {
        SCOPED_TRACE(testing::Message() << p.latitude << ", " << p.longitude);
        const UTMCoordinates utm = converter.latitudeAndLongitudeToUTMCoordinates(p);
        EXPECT_EQ(utm.hemisphere, p.latitude < 0 ? 1 : 0);
        EXPECT_GE(utm.northing, 0);
        EXPECT_LT(utm.northing, 10000000);
        const GeodeticCoordinate back = converter.UTMCoordinatesToLatitudeAndLongitude(utm);
        // 1e-8 degrees is about a millimetre.
        EXPECT_NEAR(back.latitude, p.latitude, 1e-8);
        EXPECT_NEAR(back.longitude, p.longitude, 1e-8 / std::cos(p.latitude * kDegree));
    }
}

TEST(GeodeticUTMConverter, AgreesWithTheGridConverterOutsideTheExceptions) {
    const GeodeticCoordinate points[] = {
        {48.85837, 2.294481}, {-33.9, 151.2}, {12.3, -45.6}, {-60.1, -100.2}, {70, 170.5},
    };
    const GeodeticUTMConverter converter;
    for (const auto& p : points) {
        SCOPED_TRACE(testing::Message() << p.latitude << ", " << p.longitude);
        const UTMCoordinates utm = converter.latitudeAndLongitudeToUTMCoordinates(p);
        GridConverter grid;
        UTMPosition reference;
        ASSERT_EQ(grid.convertGeodeticToUTM(p.latitude * kDegree, p.longitude * kDegree, reference),
                  kUTMNoError);
        EXPECT_EQ(utm.gridZone, static_cast<unsigned>(reference.zone));
        EXPECT_NEAR(utm.easting, reference.easting, 2e-3);
        EXPECT_NEAR(utm.northing, reference.northing, 2e-3);
    }
}

TEST(GeodeticUTMConverter, PlainZonesWithoutNorwayOrSvalbard) {
    const GeodeticUTMConverter converter;
    EXPECT_EQ(converter.latitudeAndLongitudeToUTMCoordinates({60, 5}).gridZone, 31u);
    EXPECT_EQ(converter.latitudeAndLongitudeToUTMCoordinates({75, 10}).gridZone, 32u);
    // A zone's western edge belongs to it.
    const std::pair<double, unsigned> edges[] = {{-180, 1}, {-6, 30}, {0, 31},   {6, 32},
                                                 {30, 36},  {60, 41}, {120, 51}, {179.999, 60}};
    for (const auto& [longitude, zone] : edges) {
        EXPECT_EQ(converter.latitudeAndLongitudeToUTMCoordinates({10, longitude}).gridZone, zone)
            << longitude;
    }
    EXPECT_DOUBLE_EQ(GeodeticUTMConverter::UTMCentralMeridian(31), 3 * kDegree);
    EXPECT_DOUBLE_EQ(GeodeticUTMConverter::UTMCentralMeridian(1), -177 * kDegree);
}

TEST(GeodeticUTMConverter, MeridianArcAndFootpoint) {
    const GeodeticUTMConverter converter;
    // The WGS-84 quarter meridian.
    EXPECT_NEAR(converter.arcLengthOfMeridian(kPi / 2), 10001965.729, 1e-3);
    for (double degrees : {-70.0, -10.0, 0.0, 33.3, 80.0}) {
        const double latitude = degrees * kDegree;
        EXPECT_NEAR(converter.footpointLatitude(converter.arcLengthOfMeridian(latitude)), latitude,
                    1e-10)
            << degrees;
    }
}

TEST(GeodeticUTMConverter, SphereMatchesTheClosedForm) {
    constexpr double radius = 6371000;
    const GeodeticUTMConverter sphere(UTMDatum{.equitorialRadius = radius, .polarRadius = radius});
    EXPECT_NEAR(sphere.arcLengthOfMeridian(kPi / 2), kPi * radius / 2, 1e-6);
    const double latitude = 40 * kDegree, difference = 2.5 * kDegree;
    const TMCoordinates tm = sphere.latitudeAndLongitudeToTMCoordinates({latitude, difference}, 0);
    const double b = std::cos(latitude) * std::sin(difference);
    EXPECT_NEAR(tm.x, radius * std::atanh(b), 1e-3);
    EXPECT_NEAR(tm.y, radius * std::atan(std::tan(latitude) / std::cos(difference)), 1e-3);
    const GeodeticCoordinate back = sphere.TMCoordinatesToLatitudeAndLongitude(tm, 0);
    EXPECT_NEAR(back.latitude, latitude, 1e-9);
    EXPECT_NEAR(back.longitude, difference, 1e-9);
}

TEST(Gcj02, ShiftsInsideTheBoxOnly) {
    struct Case {
        double latitude, longitude;
        bool shifted;
    };
    const Case cases[] = {
        {0.8293, 100, false},  {0.8294, 100, true},  {55.8271, 100, false},
        {55.827, 100, true},   {30, 72.004, false},  {30, 72.005, true},
        {30, 137.8347, false}, {30, 137.8346, true}, {48.85837, 2.294481, false},
        {-30, 120, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.latitude << ", " << c.longitude);
        const LatitudeLongitude shifted = wgs84ToGcj02({c.latitude, c.longitude});
        if (c.shifted) {
            // The offset is some hundreds of metres, never kilometres.
            const double moved =
                std::hypot(shifted.latitude - c.latitude, shifted.longitude - c.longitude);
            EXPECT_GT(moved, 1e-4);
            EXPECT_LT(moved, 1e-2);
        } else {
            EXPECT_EQ(shifted.latitude, c.latitude);
            EXPECT_EQ(shifted.longitude, c.longitude);
        }
    }
}

TEST(Gcj02, MatchesReferenceValues) {
    // A widely used reference pair in Shanghai.
    const LatitudeLongitude shanghai = wgs84ToGcj02({31.1774276, 121.5272106});
    EXPECT_NEAR(shanghai.latitude, 31.17530398364597, 1e-12);
    EXPECT_NEAR(shanghai.longitude, 121.531541859215, 1e-12);
    // Beijing moves north and east: about 155 m and 530 m.
    const LatitudeLongitude beijing = wgs84ToGcj02({39.908722, 116.397499});
    EXPECT_NEAR(beijing.latitude - 39.908722, 0.0014, 0.0001);
    EXPECT_NEAR(beijing.longitude - 116.397499, 0.0062, 0.0001);
}

}  // namespace
}  // namespace orvane::stamp
