// UTM and MGRS against an independent implementation: GeographicLib's GeoConvert, run as a child
// process on a spread of points. Both sides truncate MGRS digits, so the texts must agree exactly
// except for the two blanks this program puts where a polar text has no zone.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "stamp/geodesy/geodesy.h"

namespace orvane::stamp {
namespace {

constexpr double kDegree = std::numbers::pi / 180;

struct Point {
    double latitude, longitude;  // degrees
};

std::string findGeoConvert() {
    const char* path = std::getenv("PATH");
    std::stringstream folders(path != nullptr ? path : "/usr/bin");
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        const std::string candidate = folder + "/GeoConvert";
        if (::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return {};
}

// One output line per point.
std::vector<std::string> runGeoConvert(const std::string& program, const std::string& flags,
                                       const std::vector<Point>& points) {
    // Tests run side by side in separate processes: each writes its own points file.
    std::string input = testing::TempDir();
    input += "geodesy_reference_points-";
    input += std::to_string(::getpid());
    input += '-';
    input += testing::UnitTest::GetInstance()->current_test_info()->name();
    input += ".txt";
    {
        std::ofstream file(input);
        file.precision(12);
        for (const Point& p : points) {
            file << p.latitude << ' ' << p.longitude << '\n';
        }
    }
    const std::string command = program + " " + flags + " --input-file " + input;
    std::vector<std::string> lines;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return lines;
    }
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
        std::string line(buffer);
        if (!line.empty() && line.back() == '\n') {
            line.pop_back();
        }
        lines.push_back(line);
    }
    ::pclose(pipe);
    std::remove(input.c_str());
    return lines;
}

// A spread over both hemispheres and every band, plus the edges where the rules change.
std::vector<Point> referencePoints() {
    std::vector<Point> points;
    for (double latitude = -79.7; latitude < 84; latitude += 7.3) {
        for (double longitude = -178.9; longitude < 180; longitude += 17.3) {
            points.push_back({latitude, longitude});
        }
    }
    const Point edges[] = {
        // zone and band edges, the equator, the date line
        {10, 5.9999},
        {10, 6.0001},
        {-10, -0.0001},
        {0, 10},
        {0, -75.5},
        {-0.0001, 10},
        {7.9999, 20},
        {8.0001, 20},
        {10, 179.9999},
        {10, -179.9999},
        {-45, 177.1},
        // southern Norway
        {56.0001, 2.9},
        {56.0001, 3.1},
        {63.9999, 11.9},
        {63.9999, 2.9999},
        {60, 5},
        {55.9999, 5},
        // Svalbard
        {72.0001, 8.9},
        {72.0001, 9.1},
        {75, 10},
        {78, 20.9},
        {78, 21.1},
        {80, 32.9},
        {80, 33.1},
        {83.9, 41.9},
        {71.9999, 10},
        // the UTM limits and the polar caps
        {83.9999, 0.1},
        {84.2, 10},
        {84.4999, -60},
        {-79.9999, 100},
        {-80.2, 10},
        {-80.4999, -150},
        {84.0001, 5},
        {85, 10},
        {87.3, -135},
        {89.9, 45},
        {89.9999, 170},
        {-80.0001, -20},
        {-85, -120},
        {-88, 60},
        {-89.9, -170},
    };
    points.insert(points.end(), std::begin(edges), std::end(edges));
    return points;
}

class GeodesyReference : public testing::Test {
  protected:
    void SetUp() override {
        _program = findGeoConvert();
        if (_program.empty()) {
            GTEST_SKIP() << "GeoConvert not found: install geographiclib-tools to compare UTM and "
                            "MGRS with GeographicLib";
        }
    }
    std::string _program;
};

TEST_F(GeodesyReference, UTMAgreesWithinAMillimetre) {
    std::vector<Point> points;
    for (const Point& p : referencePoints()) {
        if (p.latitude > -80.5 && p.latitude < 84.5) {
            points.push_back(p);
        }
    }
    // -t keeps GeoConvert in UTM up to 84.5 N and down to 80.5 S, as this program's UTM does.
    const auto lines = runGeoConvert(_program, "-u -t -p 3", points);
    ASSERT_EQ(lines.size(), points.size());
    for (size_t i = 0; i < points.size(); ++i) {
        const Point& p = points[i];
        SCOPED_TRACE(testing::Message() << p.latitude << ", " << p.longitude << ": " << lines[i]);
        long zone = 0;
        char hemisphere = 0;
        double easting = 0, northing = 0;
        ASSERT_EQ(
            std::sscanf(lines[i].c_str(), "%ld%c %lf %lf", &zone, &hemisphere, &easting, &northing),
            4);
        GridConverter grid;
        UTMPosition utm;
        ASSERT_EQ(grid.convertGeodeticToUTM(p.latitude * kDegree, p.longitude * kDegree, utm),
                  kUTMNoError);
        EXPECT_EQ(utm.zone, zone);
        EXPECT_EQ(utm.hemisphere, hemisphere == 'n' ? 'N' : 'S');
        EXPECT_NEAR(utm.easting, easting, 1.5e-3);
        EXPECT_NEAR(utm.northing, northing, 1.5e-3);
    }
}

TEST_F(GeodesyReference, MGRSTextsAgree) {
    const auto points = referencePoints();
    const auto lines = runGeoConvert(_program, "-m -p 0", points);
    ASSERT_EQ(lines.size(), points.size());
    for (size_t i = 0; i < points.size(); ++i) {
        const Point& p = points[i];
        SCOPED_TRACE(testing::Message() << p.latitude << ", " << p.longitude);
        GridConverter grid;
        std::string text;
        ASSERT_EQ(grid.convertGeodeticToMGRS(p.latitude * kDegree, p.longitude * kDegree, 5, text),
                  kMGRSNoError);
        const bool polar = p.latitude < -80 || p.latitude > 84;
        EXPECT_EQ(text, (polar ? "  " : "") + lines[i]);
    }
}

}  // namespace
}  // namespace orvane::stamp
