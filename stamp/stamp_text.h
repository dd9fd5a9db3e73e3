// The texts of one stamp: the altitude, speed, index and compass wordings, the stopwatch text,
// and the joining of the lines into the coordinate and static blocks in the order of the time
// mode. Pure functions over values the tick has gathered; the layer draws what they return.
//
// They run on every frame, so each writes into a caller's string and reuses its storage.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvane::stamp {

// What a tick has gathered for the two blocks. Empty views are missing lines.
struct StampLines {
    int timeBelow = 1;  // 0 "Time in above", 1 "Time in below"
    bool showAltitudeAndSpeed = false;
    std::int64_t asDisplay = 0;   // 0 both, 1 altitude, 2 speed
    std::int64_t asUnits = 0;     // 0 metric, otherwise feet and miles
    float altitude = -100000.0f;  // metres; -100000 is none
    float speed = -1.0f;          // km/h; negative is none
    std::string_view address;
    std::string_view coordinates;
    std::string_view lunar;
    std::string_view customText;
    std::string_view tags;
    bool showIndex = false;
    std::int64_t index = 0;
};

struct StampBlocks {
    std::string coordinateBlock;  // label_gps
    std::string staticBlock;      // label_static
};

// The two blocks in the order of the time mode: above puts the lunar line before the
// coordinates and the address first in the static block; below reverses the coordinate block
// and moves custom text, tags and index to the front. Missing lines leave no empty line.
void composeStampBlocks(const StampLines& lines, StampBlocks& out);

// The altitude line ("meter" or "ft" of the string tables, as a format of one number), or ""
// when the setting hides it or the altitude is the no-altitude value.
void altitudeLine(const StampLines& lines, std::string& out);
// "Speed:12.3km/h" in the user's words, or "" when hidden or negative.
void speedLine(const StampLines& lines, std::string& out);
// "Index:12" in the user's words.
void indexLine(std::int64_t index, std::string& out);

// A compass reading in radians as the whole degree the stamp shows, 0 to 359.
int compassDegree(double radians);
// The direction after the degree digits: "° N" for 338 to 22, "° NE" for 23 to 67, and so on in
// steps of 45 degrees, in the user's words.
const char* getCompassTail(int degree);

// "HH:MM:SS:mmm" of a span in seconds; hours take a leading zero below ten hours and grow past
// two digits beyond 99. Negative spans (a clock set back) read as zero.
void convertTimeFromSeconds(double seconds, std::string& out);
std::string convertTimeFromSeconds(double seconds);

// The stopwatch's text at rest.
inline constexpr std::string_view kStopWatchZero = "00:00:00:000";

}  // namespace orvane::stamp
