// Writes one position in every notation of the coordinate picker.
#include "stamp/coordinate_formats.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace orvane::stamp {
namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr int kMGRSPrecision = 5;

std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string formatted(const char* format, ...) {
    char buffer[128];
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (length < 0) {
        return {};
    }
    if (static_cast<size_t>(length) < sizeof buffer) {
        return std::string(buffer, static_cast<size_t>(length));
    }
    // Only an accuracy of absurd size gets here.
    std::string text(static_cast<size_t>(length), '\0');
    va_start(args, format);
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    va_end(args);
    return text;
}

bool onTheGlobe(double latitude, double longitude) {
    return std::isfinite(latitude) && std::isfinite(longitude) && std::fabs(latitude) <= 90 &&
           std::fabs(longitude) <= 180;
}

// The sexagesimal forms count 0 as north and east.
char latitudeLetter(double latitude) {
    return latitude >= 0 ? 'N' : 'S';
}
char longitudeLetter(double longitude) {
    return longitude >= 0 ? 'E' : 'W';
}

// Whole seconds: the total is rounded once, ties away from zero, so 59.5 seconds carry into the
// minute and 60 never shows.
struct WholeSeconds {
    int degrees, minutes, seconds;
};
WholeSeconds wholeSeconds(double value) {
    const long total = std::lround(std::fabs(value) * 3600);
    return {static_cast<int>(total / 3600), static_cast<int>(total % 3600 / 60),
            static_cast<int>(total % 60)};
}

// Each part truncated and nothing carried, so 59.9996 seconds print as 60.000.
struct FractionalSeconds {
    int degrees, minutes;
    double seconds;
};
FractionalSeconds fractionalSeconds(double value) {
    const double magnitude = std::fabs(value);
    const double degrees = std::trunc(magnitude);
    const double minutes = (magnitude - degrees) * 60;
    const double wholeMinutes = std::trunc(minutes);
    return {static_cast<int>(degrees), static_cast<int>(wholeMinutes),
            (minutes - wholeMinutes) * 60};
}

// The decimal forms choose their layout with strict signs: a coordinate of exactly 0 falls into
// the last case, south and west.
enum class Quadrant { NorthEast, NorthWest, SouthEast, Other };
Quadrant quadrant(double latitude, double longitude) {
    if (latitude > 0 && longitude > 0) {
        return Quadrant::NorthEast;
    }
    if (latitude > 0 && longitude < 0) {
        return Quadrant::NorthWest;
    }
    if (latitude < 0 && longitude > 0) {
        return Quadrant::SouthEast;
    }
    return Quadrant::Other;
}
char quadrantLatitudeLetter(Quadrant q) {
    return q == Quadrant::NorthEast || q == Quadrant::NorthWest ? 'N' : 'S';
}
char quadrantLongitudeLetter(Quadrant q) {
    return q == Quadrant::NorthEast || q == Quadrant::SouthEast ? 'E' : 'W';
}

std::string signedSixDecimals(double latitude, double longitude) {
    switch (quadrant(latitude, longitude)) {
        case Quadrant::NorthEast:
            return formatted("+%f,+%f", latitude, longitude);
        case Quadrant::NorthWest:
            return formatted("+%f,%f", latitude, longitude);
        case Quadrant::SouthEast:
            return formatted("%f,%+f", latitude, longitude);
        case Quadrant::Other:
            break;
    }
    return formatted("%f,%f", latitude, longitude);
}

std::string signedFourDecimals(double latitude, double longitude) {
    switch (quadrant(latitude, longitude)) {
        case Quadrant::NorthEast:
            return formatted("+%0.4f,+%0.4f", latitude, longitude);
        case Quadrant::NorthWest:
            return formatted("+%0.4f,%0.4f", latitude, longitude);
        case Quadrant::SouthEast:
            return formatted("%0.4f,%+0.4f", latitude, longitude);
        case Quadrant::Other:
            break;
    }
    return formatted("%0.4f,%0.4f", latitude, longitude);
}

std::string withAccuracy(const std::string& text, double accuracy) {
    return formatted("%s ±%0.2fm", text.c_str(), accuracy);
}

}  // namespace

std::string nicePosition(double latitude, double longitude) {
    if (!onTheGlobe(latitude, longitude)) {
        return {};
    }
    const WholeSeconds lat = wholeSeconds(latitude);
    const WholeSeconds lon = wholeSeconds(longitude);
    return formatted("%c %i° %i' %i\", %c %i° %i' %i\"", latitudeLetter(latitude), lat.degrees,
                     lat.minutes, lat.seconds, longitudeLetter(longitude), lon.degrees, lon.minutes,
                     lon.seconds);
}

std::string nicePosition2(double latitude, double longitude) {
    if (!onTheGlobe(latitude, longitude)) {
        return {};
    }
    const WholeSeconds lat = wholeSeconds(latitude);
    const WholeSeconds lon = wholeSeconds(longitude);
    return formatted("%c%i°%i'%i\", %c%i°%i'%i\"", latitude >= 0 ? '+' : '-', lat.degrees,
                     lat.minutes, lat.seconds, longitude >= 0 ? '+' : '-', lon.degrees, lon.minutes,
                     lon.seconds);
}

std::string nicePosition3(double latitude, double longitude) {
    if (!onTheGlobe(latitude, longitude)) {
        return {};
    }
    const FractionalSeconds lat = fractionalSeconds(latitude);
    const FractionalSeconds lon = fractionalSeconds(longitude);
    return formatted("%c %i° %i' %.3f\", %c %i° %i' %.3f\"", latitudeLetter(latitude), lat.degrees,
                     lat.minutes, lat.seconds, longitudeLetter(longitude), lon.degrees, lon.minutes,
                     lon.seconds);
}

std::string nicePosition4(double latitude, double longitude) {
    if (!onTheGlobe(latitude, longitude)) {
        return {};
    }
    const WholeSeconds lat = wholeSeconds(latitude);
    const WholeSeconds lon = wholeSeconds(longitude);
    return formatted("%i° %i' %i\" %c, %i° %i' %i\" %c", lat.degrees, lat.minutes, lat.seconds,
                     latitudeLetter(latitude), lon.degrees, lon.minutes, lon.seconds,
                     longitudeLetter(longitude));
}

std::string nicePosition5(double latitude, double longitude) {
    if (!onTheGlobe(latitude, longitude)) {
        return {};
    }
    const FractionalSeconds lat = fractionalSeconds(latitude);
    const FractionalSeconds lon = fractionalSeconds(longitude);
    return formatted("%i° %i' %.3f\" %c, %i° %i' %.3f\" %c", lat.degrees, lat.minutes, lat.seconds,
                     latitudeLetter(latitude), lon.degrees, lon.minutes, lon.seconds,
                     longitudeLetter(longitude));
}

std::vector<CoordinateForm> coordinateForms(const CoordinateFix& fix) {
    GridConverter grid;
    return coordinateForms(fix, grid);
}

std::vector<CoordinateForm> coordinateForms(const CoordinateFix& fix, GridConverter& grid) {
    std::vector<CoordinateForm> forms;
    const double latitude = fix.latitude;
    const double longitude = fix.longitude;
    const double accuracy = fix.horizontalAccuracy;
    if (!onTheGlobe(latitude, longitude)) {
        return forms;
    }
    forms.reserve(kCoordinateFormKeys.size());

    const double absLatitude = std::fabs(latitude);
    const double absLongitude = std::fabs(longitude);
    const Quadrant q = quadrant(latitude, longitude);
    const char ns = quadrantLatitudeLetter(q);
    const char ew = quadrantLongitudeLetter(q);

    std::string gps1 = signedSixDecimals(latitude, longitude);
    std::string gps1WithAccuracy = withAccuracy(gps1, accuracy);
    forms.push_back({"gps1", std::move(gps1)});
    forms.push_back({"gps1WithAccuracy", std::move(gps1WithAccuracy)});
    forms.push_back({"gps2", nicePosition(latitude, longitude)});
    forms.push_back({"gps6", nicePosition4(latitude, longitude)});
    forms.push_back({"gps5", nicePosition3(latitude, longitude)});
    forms.push_back({"gps7", nicePosition5(latitude, longitude)});

    std::string gps4 = formatted("%c %f°, %c %f°", ns, absLatitude, ew, absLongitude);
    std::string gps4WithAccuracy = withAccuracy(gps4, accuracy);
    forms.push_back({"gps4", std::move(gps4)});
    forms.push_back({"gps4WithAccuracy", std::move(gps4WithAccuracy)});
    std::string gps3 = formatted("%f° %c, %f° %c", absLatitude, ns, absLongitude, ew);
    std::string gps3WithAccuracy = withAccuracy(gps3, accuracy);
    forms.push_back({"gps3", std::move(gps3)});
    forms.push_back({"gps3WithAccuracy", std::move(gps3WithAccuracy)});

    forms.push_back({"gps8", signedFourDecimals(latitude, longitude)});
    forms.push_back({"gps9", formatted("%0.4f° %c, %0.4f° %c", absLatitude, ns, absLongitude, ew)});
    forms.push_back(
        {"gps10", formatted("%c %0.4f°, %c %0.4f°", ns, absLatitude, ew, absLongitude)});

    // One UTM conversion serves three rows; the MGRS conversion after it clears and may set the
    // zone override that the next position's UTM conversion meets. Both take the degrees, which
    // choose the zone as they stand.
    const LatitudeLongitude degrees{latitude, longitude};
    UTMPosition utm;
    const bool haveUTM = grid.convertGeodeticToUTM(degrees, utm) == kUTMNoError;
    std::string mgrs;
    const bool haveMGRS =
        grid.convertGeodeticToMGRS(degrees, kMGRSPrecision, mgrs) == kMGRSNoError && !mgrs.empty();

    const int easting = haveUTM ? static_cast<int>(utm.easting) : 0;
    const int northing = haveUTM ? static_cast<int>(utm.northing) : 0;
    if (haveUTM) {
        std::string text = formatted("%d%c %d %d", static_cast<int>(utm.zone),
                                     utmRowLetter(latitude * kRadiansPerDegree, utm.hemisphere),
                                     easting, northing);
        std::string textWithAccuracy = withAccuracy(text, accuracy);
        forms.push_back({"gpsUTM", std::move(text)});
        forms.push_back({"gpsUTMWithAccuracy", std::move(textWithAccuracy)});
    }
    if (haveMGRS) {
        std::string textWithAccuracy = withAccuracy(mgrs, accuracy);
        forms.push_back({"gpsMGRS", std::move(mgrs)});
        forms.push_back({"gpsMGRSWithAccuracy", std::move(textWithAccuracy)});
    }
    if (haveUTM) {
        forms.push_back({"gpsUTM2", formatted("E %d  N %d", easting, northing)});
        forms.push_back({"gpsUTM3", formatted("N %d  E %d", northing, easting)});
    }
    return forms;
}

}  // namespace orvane::stamp
