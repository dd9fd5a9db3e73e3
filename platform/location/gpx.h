// GPX tracks and routes read into fixes: position, elevation, time and speed (from an extension
// where the file gives it, else from the distance and time to the previous point), and the fix
// at any instant of the track.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/location/Location.h"

namespace orvane::platform::gpx {

struct Point {
    double latitude = 0.0;
    double longitude = 0.0;
    std::optional<double> elevation;  // metres
    std::optional<double> time;       // seconds since 1970
    std::optional<double> speed;      // metres per second, as an extension gives it
    int line = 0;                     // where the point starts in the file
};

// The track points of every track and segment in order, or the route points when the file has
// no track; `error` names the file and line of the first fault ("walk.gpx:12: ...").
struct ReadResult {
    std::vector<Point> points;
    std::string error;
    bool ok() const { return error.empty(); }
};

ReadResult parse(std::string_view text, std::string_view fileName);
ReadResult readFile(const std::string& path);

// "2024-05-01T10:00:00Z", with optional fraction and offset; none when it is not such a time.
std::optional<double> parseTime(std::string_view text);

// The fixes of a track, one per point, in order of the points. Times missing between timed
// points are spread evenly between them; before the first and after the last timed point (or
// everywhere, when no point has a time) the points are one second apart. Speed is the file's,
// else the distance from the previous point over the time between them (the first point takes
// the second's), else -1. The accuracy is a nominal 5 metres: GPX rarely says more.
std::vector<Location> fixesFromPoints(const std::vector<Point>& points);

// The fix at `timestamp` (seconds since 1970) on a track of fixes in time order: coordinate,
// elevation and the segment's speed interpolated between the points around it, clamped to the
// track's ends. The track must not be empty.
Location fixAt(const std::vector<Location>& fixes, double timestamp);

}  // namespace orvane::platform::gpx
