// UTM, UPS and MGRS conversion: zones and their exceptions, fault masks, the parameter state
// and the MGRS lettering at the edges of the grid.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

#include "stamp/geodesy/geodesy.h"

namespace orvane::stamp {
namespace {

constexpr double kDegree = std::numbers::pi / 180;

struct ZoneCase {
    double latitude, longitude;
    long zone;
    char hemisphere;
};

TEST(GeodesyUTM, ZoneFollowsLongitudeWithNorwayAndSvalbardExceptions) {
    const ZoneCase cases[] = {
        {48.85837, 2.294481, 31, 'N'},
        {-33.9, 151.2, 56, 'S'},
        {10, -179.5, 1, 'N'},
        {10, 179.5, 60, 'N'},
        {10, -0.5, 30, 'N'},
        {10, 5.99, 31, 'N'},
        {10, 6.01, 32, 'N'},
        {60, 5, 32, 'N'},
        {60, 2.9, 31, 'N'},
        {63.9, 11.9, 32, 'N'},
        {64.1, 5, 31, 'N'},
        {55.9, 5, 31, 'N'},
        {75, 10, 33, 'N'},
        {75, 8.9, 31, 'N'},
        {75, 20.9, 33, 'N'},
        {75, 21.1, 35, 'N'},
        {75, 32.9, 35, 'N'},
        {75, 33.1, 37, 'N'},
        {75, 42.1, 38, 'N'},
        {71.9, 10, 32, 'N'},
        {84.2, 10, 33, 'N'},
        {-80.3, 10, 32, 'S'},
        {10, 359.5, 30, 'N'},
        {-1e-10, 10, 32, 'N'},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.latitude << ", " << c.longitude);
        GridConverter grid;
        UTMPosition utm;
        ASSERT_EQ(grid.convertGeodeticToUTM(c.latitude * kDegree, c.longitude * kDegree, utm),
                  kUTMNoError);
        EXPECT_EQ(utm.zone, c.zone);
        EXPECT_EQ(utm.hemisphere, c.hemisphere);
    }
}

TEST(GeodesyUTM, TinyNegativeLatitudeIsTheEquator) {
    GridConverter grid;
    UTMPosition utm;
    ASSERT_EQ(grid.convertGeodeticToUTM(-1e-10, 10 * kDegree, utm), kUTMNoError);
    EXPECT_EQ(utm.hemisphere, 'N');
    EXPECT_EQ(utm.northing, 0);
    // Just past the threshold the southern false northing applies.
    ASSERT_EQ(grid.convertGeodeticToUTM(-2e-9, 10 * kDegree, utm), kUTMNoError);
    EXPECT_EQ(utm.hemisphere, 'S');
    EXPECT_NEAR(utm.northing, 10000000, 0.05);
}

TEST(GeodesyUTM, FaultMasks) {
    struct Case {
        double latitude, longitude;  // radians
        long error;
    };
    const Case cases[] = {
        {85 * kDegree, 0, kUTMLatError},
        {1.4748032179352084, 0, kUTMNoError},
        {-80.6 * kDegree, 0, kUTMLatError},
        {-1.4049900478554351, 0, kUTMNoError},
        {0, -181 * kDegree, kUTMLonError},
        {0, 361 * kDegree, kUTMLonError},
        {90 * kDegree, 400 * kDegree, kUTMLatError | kUTMLonError},
        {0, 360 * kDegree, kUTMNoError},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.latitude / kDegree << ", " << c.longitude / kDegree);
        GridConverter grid;
        UTMPosition utm;
        EXPECT_EQ(grid.convertGeodeticToUTM(c.latitude, c.longitude, utm), c.error);
    }
}

TEST(GeodesyUTM, ZoneOverrideReachesNeighboursOnly) {
    struct Case {
        double latitude, longitude;
        long override;
        long error;
        long zone;
    };
    const Case cases[] = {
        {10, 10, 32, kUTMNoError, 32},  // same zone
        {10, 10, 31, kUTMNoError, 31},
        {10, 10, 33, kUTMNoError, 33},
        {10, 10, 34, kUTMZoneOverrideError, 0},
        {10, 10, 30, kUTMZoneOverrideError, 0},
        {10, -179, 60, kUTMNoError, 60},  // across the date line
        {10, 179, 1, kUTMNoError, 1},
        {75, 10, 35, kUTMNoError, 35},  // Svalbard: two zones across the gap
        {75, 10, 31, kUTMNoError, 31},
        {75, 10, 36, kUTMZoneOverrideError, 0},
        {75, 43, 36, kUTMZoneOverrideError, 0},  // east of the gaps: neighbours only
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.latitude << ", " << c.longitude << " override " << c.override);
        GridConverter grid;
        ASSERT_EQ(grid.setUTMParameters(kWgs84SemiMajorAxis, kWgs84Flattening, c.override),
                  kUTMNoError);
        UTMPosition utm;
        const long error =
            grid.convertGeodeticToUTM(c.latitude * kDegree, c.longitude * kDegree, utm);
        // Zones far from the position may leave the easting range as well; the override bit is
        // what matters.
        EXPECT_EQ(error & kUTMZoneOverrideError, c.error);
        if (c.error == kUTMNoError && error == kUTMNoError) {
            EXPECT_EQ(utm.zone, c.zone);
        }
    }
}

TEST(GeodesyParameters, RejectBadEllipsoidsAndKeepTheOldOnes) {
    GridConverter grid;
    EXPECT_EQ(grid.setUTMParameters(0, kWgs84Flattening, 0), kUTMAError);
    EXPECT_EQ(grid.setUTMParameters(kWgs84SemiMajorAxis, 1 / 249.0, 0), kUTMInvFError);
    EXPECT_EQ(grid.setUTMParameters(kWgs84SemiMajorAxis, 1 / 351.0, 0), kUTMInvFError);
    EXPECT_EQ(grid.setUTMParameters(kWgs84SemiMajorAxis, kWgs84Flattening, 61),
              kUTMZoneOverrideError);
    UTMPosition utm;
    ASSERT_EQ(grid.convertGeodeticToUTM(48.85837 * kDegree, 2.294481 * kDegree, utm), kUTMNoError);
    EXPECT_NEAR(utm.easting, 448250.577, 1e-3);
    ASSERT_EQ(grid.setUTMParameters(6378388, 1 / 297.0, 0), kUTMNoError);
    ASSERT_EQ(grid.convertGeodeticToUTM(48.85837 * kDegree, 2.294481 * kDegree, utm), kUTMNoError);
    EXPECT_GT(std::fabs(utm.easting - 448250.577), 1);

    EXPECT_EQ(grid.setMGRSParameters(-1, 0, "WE"), kMGRSAError | kMGRSInvFError);
    EXPECT_EQ(grid.setUPSParameters(-1, kWgs84Flattening), kUPSAError);
    EXPECT_EQ(grid.setTransverseMercatorParameters(kWgs84SemiMajorAxis, kWgs84Flattening, 0, 0, 0,
                                                   0, 0.29),
              kTMScaleFactorError);
    EXPECT_EQ(
        grid.setTransverseMercatorParameters(kWgs84SemiMajorAxis, kWgs84Flattening, 2, 0, 0, 0, 1),
        kTMOriginLatError);
    EXPECT_EQ(
        grid.setTransverseMercatorParameters(kWgs84SemiMajorAxis, kWgs84Flattening, 0, -4, 0, 0, 1),
        kTMCentralMeridianError);
}

TEST(GeodesyTransverseMercator, FaultsAndWarningByDistanceFromCentralMeridian) {
    GridConverter grid;
    // A central meridian above half a turn has a full turn taken off: 350 is -10 degrees.
    ASSERT_EQ(grid.setTransverseMercatorParameters(kWgs84SemiMajorAxis, kWgs84Flattening, 0,
                                                   350 * kDegree, 0, 0, 1),
              kTMNoError);
    double easting = 0, northing = 0;
    EXPECT_EQ(grid.convertGeodeticToTransverseMercator(0, -10 * kDegree, easting, northing),
              kTMNoError);
    EXPECT_NEAR(easting, 0, 1e-6);
    EXPECT_EQ(grid.convertGeodeticToTransverseMercator(0, -1 * kDegree, easting, northing),
              kTMNoError);
    EXPECT_EQ(grid.convertGeodeticToTransverseMercator(0, 0, easting, northing), kTMLonWarning);
    EXPECT_GT(easting, 0);
    EXPECT_EQ(grid.convertGeodeticToTransverseMercator(0, 81 * kDegree, easting, northing),
              kTMLonError);
    EXPECT_EQ(grid.convertGeodeticToTransverseMercator(89.995 * kDegree, -10 * kDegree, easting,
                                                       northing),
              kTMLatError);
}

TEST(GeodesyBands, LetterByLatitude) {
    struct Case {
        double latitude;
        char letter;  // 0: no band
    };
    const Case cases[] = {
        {-80.6, 0},  {-80.4, 'C'}, {-72.01, 'C'}, {-72, 'D'}, {-0.001, 'M'}, {0, 'N'},
        {7.99, 'N'}, {8, 'P'},     {55.9, 'U'},   {56, 'V'},  {71.99, 'W'},  {72, 'X'},
        {84, 'X'},   {84.4, 'X'},  {84.6, 0},     {-90, 0},   {90, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.latitude);
        const auto band = latitudeBandNumber(c.latitude * kDegree);
        if (c.letter == 0) {
            EXPECT_FALSE(band.has_value());
            continue;
        }
        ASSERT_TRUE(band.has_value());
        EXPECT_EQ(kLatitudeBands[static_cast<size_t>(*band)].letter, c.letter);
        const LatitudeBand& row = kLatitudeBands[static_cast<size_t>(*band)];
        EXPECT_GE(c.latitude, row.southDegrees);
        EXPECT_LE(c.latitude, row.northDegrees);
    }
    EXPECT_EQ(utmRowLetter(85 * kDegree, 'N'), 'N');
    EXPECT_EQ(utmRowLetter(-81 * kDegree, 'S'), 'S');
    EXPECT_EQ(utmRowLetter(48 * kDegree, 'N'), 'U');
}

std::string mgrs(double latitudeDegrees, double longitudeDegrees, long* error = nullptr) {
    GridConverter grid;
    std::string text;
    const long result =
        grid.convertGeodeticToMGRS(latitudeDegrees * kDegree, longitudeDegrees * kDegree, 5, text);
    if (error != nullptr) {
        *error = result;
    }
    return result == kMGRSNoError ? text : std::string();
}

TEST(GeodesyMGRS, KnownTexts) {
    struct Case {
        double latitude, longitude;
        const char* text;
    };
    const Case cases[] = {
        {48.85837, 2.294481, "31UDQ4825011951"},
        {60, 5, "32VKM7697958157"},
        {75, 10, "33XUD5570629692"},
        {-33.9, 151.2, "56HLH3356847473"},
        {0, 10, "32NPF1128000000"},
        {84.2, 10, "  ZBA1191065324"},  // UTM still answers here, MGRS has gone polar
        {85, 10, "  ZAB9645452981"},
        {-85, -120, "  ATK1895922271"},
        {3, -177, "01NED0000031593"},  // single-digit zone with a leading zero
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.latitude << ", " << c.longitude);
        long error = -1;
        EXPECT_EQ(mgrs(c.latitude, c.longitude, &error), c.text);
        EXPECT_EQ(error, kMGRSNoError);
    }
}

TEST(GeodesyMGRS, UTMAndMGRSDisagreeNearThePoles) {
    GridConverter grid;
    UTMPosition utm;
    EXPECT_EQ(grid.convertGeodeticToUTM(84.2 * kDegree, 10 * kDegree, utm), kUTMNoError);
    EXPECT_EQ(grid.convertGeodeticToUTM(85 * kDegree, 10 * kDegree, utm), kUTMLatError);
    std::string text;
    EXPECT_EQ(grid.convertGeodeticToMGRS(85 * kDegree, 10 * kDegree, 5, text), kMGRSNoError);
    EXPECT_EQ(text.substr(0, 2), "  ");
    // Between 80 and 80.5 south UTM answers in band C while MGRS is polar.
    EXPECT_EQ(grid.convertGeodeticToUTM(-80.2 * kDegree, 10 * kDegree, utm), kUTMNoError);
    EXPECT_EQ(utmRowLetter(-80.2 * kDegree, utm.hemisphere), 'C');
    EXPECT_EQ(mgrs(-80.2, 10).substr(0, 3), "  B");
}

TEST(GeodesyMGRS, FaultMasksAndPrecision) {
    GridConverter grid;
    std::string text = "unchanged";
    EXPECT_EQ(grid.convertGeodeticToMGRS(91 * kDegree, 0, 5, text), kMGRSLatError);
    EXPECT_EQ(grid.convertGeodeticToMGRS(0, -181 * kDegree, 5, text), kMGRSLonError);
    EXPECT_EQ(grid.convertGeodeticToMGRS(0, 0, 6, text), kMGRSPrecisionError);
    EXPECT_EQ(text, "unchanged");

    const char* expected[] = {"31UDQ",       "31UDQ41",       "31UDQ4811",
                              "31UDQ482119", "31UDQ48251195", "31UDQ4825011951"};
    for (int precision = 0; precision <= 5; ++precision) {
        ASSERT_EQ(
            grid.convertGeodeticToMGRS(48.85837 * kDegree, 2.294481 * kDegree, precision, text),
            kMGRSNoError);
        EXPECT_EQ(text, expected[precision]) << "precision " << precision;
    }
}

TEST(GeodesyMGRS, SouthernNorthingOfTenThousandKilometresLettersAsTheEquator) {
    GridConverter grid;
    std::string south, equator;
    ASSERT_EQ(grid.mgrsTextFromUTM({32, 'S', 611280.651, 10000000}, -1e-12, 5, south),
              kMGRSNoError);
    ASSERT_EQ(grid.mgrsTextFromUTM({32, 'N', 611280.651, 0}, 0, 5, equator), kMGRSNoError);
    EXPECT_EQ(south, equator);
    EXPECT_EQ(equator, "32NPF1128000000");
}

TEST(GeodesyMGRS, DigitsJustBelowASquareEdgeStayInTheSquare) {
    GridConverter grid;
    std::string text;
    ASSERT_EQ(grid.mgrsTextFromUTM({32, 'N', 699999.7, 1099999.6}, 10 * kDegree, 5, text),
              kMGRSNoError);
    EXPECT_EQ(text, "32PPR9999999999");
    ASSERT_EQ(grid.mgrsTextFromUTM({32, 'N', 699999.7, 1099999.6}, 10 * kDegree, 2, text),
              kMGRSNoError);
    EXPECT_EQ(text, "32PPR9999");
}

TEST(GeodesyMGRS, OtherEllipsoidCodesShiftTheRowLetters) {
    GridConverter grid;
    ASSERT_EQ(grid.setMGRSParameters(kWgs84SemiMajorAxis, kWgs84Flattening, "CC"), kMGRSNoError);
    std::string text;
    // Zone 31 is an odd set: the false northing moves from 0 to 1000 km, ten rows on.
    ASSERT_EQ(grid.mgrsTextFromUTM({31, 'N', 448250, 5411951}, 48.85 * kDegree, 0, text),
              kMGRSNoError);
    EXPECT_EQ(text, "31UDE");
}

TEST(GeodesyMGRS, Zone32OverrideOutlivesTheConversionUntilTheNextMGRS) {
    GridConverter grid;
    UTMPosition utm;
    ASSERT_EQ(grid.convertGeodeticToUTM(60 * kDegree, 2.5 * kDegree, utm), kUTMNoError);
    ASSERT_EQ(utm.zone, 31);

    // A longitude given as a full turn lands in zone 31 above southern Norway, so the MGRS road
    // retries in zone 32 and leaves that override standing.
    std::string text;
    grid.convertGeodeticToMGRS(60 * kDegree, 360 * kDegree, 5, text);
    EXPECT_EQ(grid.utmZoneOverride(), 32);
    ASSERT_EQ(grid.convertGeodeticToUTM(60 * kDegree, 2.5 * kDegree, utm), kUTMNoError);
    EXPECT_EQ(utm.zone, 32);

    ASSERT_EQ(grid.convertGeodeticToMGRS(10 * kDegree, 10 * kDegree, 5, text), kMGRSNoError);
    EXPECT_EQ(grid.utmZoneOverride(), 0);
    ASSERT_EQ(grid.convertGeodeticToUTM(60 * kDegree, 2.5 * kDegree, utm), kUTMNoError);
    EXPECT_EQ(utm.zone, 31);
}

TEST(GeodesyUPS, LatitudeLimitsAndHemispheres) {
    GridConverter grid;
    UPSPosition ups;
    EXPECT_EQ(grid.convertGeodeticToUPS(83 * kDegree, 0, ups), kUPSLatError);
    EXPECT_EQ(grid.convertGeodeticToUPS(-79 * kDegree, 0, ups), kUPSLatError);
    ASSERT_EQ(grid.convertGeodeticToUPS(90 * kDegree, 0, ups), kUPSNoError);
    EXPECT_EQ(ups.hemisphere, 'N');
    EXPECT_NEAR(ups.easting, 2000000, 1e-6);
    EXPECT_NEAR(ups.northing, 2000000, 1e-6);
    // Scale 0.994 at the pole: one degree along the meridian is 0.994 times its true length.
    ASSERT_EQ(grid.convertGeodeticToUPS(89 * kDegree, 0, ups), kUPSNoError);
    EXPECT_NEAR(2000000 - ups.northing, 111694.4 * 0.994, 5);
    ASSERT_EQ(grid.convertGeodeticToUPS(-89 * kDegree, 90 * kDegree, ups), kUPSNoError);
    EXPECT_EQ(ups.hemisphere, 'S');
    EXPECT_NEAR(ups.easting - 2000000, 111694.4 * 0.994, 5);
    EXPECT_NEAR(ups.northing, 2000000, 1e-6);
}

}  // namespace
}  // namespace orvane::stamp
