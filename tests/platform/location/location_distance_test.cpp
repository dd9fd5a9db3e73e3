// The distance between fixes against GeographicLib's GeodSolve, where it is installed.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

#include "location_test_support.h"
#include "platform/location/Location.h"

namespace orvane::platform {
namespace {

Location at(double latitude, double longitude) {
    return Location({latitude, longitude}, std::nullopt, 5, -1, 0);
}

TEST(LocationDistance, QuarterOfTheEquatorAndSymmetry) {
    // Along the equator the geodesic is the equator itself: a quarter is a * pi / 2.
    EXPECT_NEAR(at(0, 0).distanceFromLocation(at(0, 90)), 10018754.171394622, 1e-4);
    EXPECT_EQ(at(12.5, 7).distanceFromLocation(at(12.5, 7)), 0.0);
    EXPECT_DOUBLE_EQ(at(10, 20).distanceFromLocation(at(-30, 100)),
                     at(-30, 100).distanceFromLocation(at(10, 20)));
}

TEST(LocationDistance, AgreesWithGeodSolve) {
    if (std::system("GeodSolve --version > /dev/null 2>&1") != 0) {
        GTEST_SKIP() << "GeodSolve (geographiclib-tools) is not installed";
    }
    struct Pair {
        double lat1, lon1, lat2, lon2;
    };
    std::vector<Pair> pairs = {
        {51.3814, -2.3587, 51.3815, -2.3587},  // ten metres
        {51.3814, -2.3587, 48.8566, 2.3522},
        {-33.86, 151.21, 40.71, -74.0},
        {89.9, 0, -89.9, 180},
        {90, 0, -90, 0},
        {0, 0, 0, 180},
        {0, 0, 0.5, 179.7},
        {10, 20, -10.001, -160},
        {30, 0, -30, 179.8},
        {1, 0, -1, 179.999},
        {60, 0, 10, 179.999},
        {0, 179.9999, 0, -179.9999},
        {-45, 10, 45, -170.01},
    };
    // A spread over the globe, short and long.
    for (int i = 0; i < 60; ++i) {
        const double lat1 = -89 + (i * 37) % 179, lon1 = -180 + (i * 53) % 360;
        const double lat2 = -89 + (i * 71 + 11) % 179, lon2 = -180 + (i * 97 + 5) % 360;
        pairs.push_back({lat1, lon1, lat2, lon2});
        pairs.push_back({lat1, lon1, -lat1 + 0.01 * (i % 7), lon1 + 180 - 0.02 * (i % 5)});
    }
    testing::TemporaryFile input(".txt", [&] {
        std::ostringstream text;
        text.precision(12);
        for (const auto& p : pairs)
            text << p.lat1 << ' ' << p.lon1 << ' ' << p.lat2 << ' ' << p.lon2 << '\n';
        return text.str();
    }());
    FILE* solve = ::popen(("GeodSolve -i -p 6 < " + input.path()).c_str(), "r");
    ASSERT_TRUE(solve);
    for (const auto& p : pairs) {
        double azimuth1, azimuth2, distance;
        ASSERT_EQ(std::fscanf(solve, "%lf %lf %lf", &azimuth1, &azimuth2, &distance), 3);
        EXPECT_NEAR(at(p.lat1, p.lon1).distanceFromLocation(at(p.lat2, p.lon2)), distance, 1e-3)
            << p.lat1 << ' ' << p.lon1 << ' ' << p.lat2 << ' ' << p.lon2;
    }
    ::pclose(solve);
}

}  // namespace
}  // namespace orvane::platform
