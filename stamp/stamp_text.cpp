#include "stamp/stamp_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "foundation/strings.h"

namespace orvane::stamp {

namespace {

// True when `format` holds exactly one conversion and it takes a double, so a translated
// format can be handed to snprintf safely. "%%" is text.
bool takesOneDouble(const char* format) {
    int conversions = 0;
    for (const char* p = format; *p; ++p) {
        if (*p != '%') {
            continue;
        }
        ++p;
        if (*p == '%') {
            continue;
        }
        p += std::strspn(p, "-+ #0");
        p += std::strspn(p, "0123456789");
        if (*p == '.') {
            ++p;
            p += std::strspn(p, "0123456789");
        }
        if (!*p || !std::strchr("fFeEgGaA", *p)) {
            return false;
        }
        ++conversions;
    }
    return conversions == 1;
}

void appendFormatted(std::string& out, const char* format, double value) {
    char buffer[128];
    const int length = std::snprintf(buffer, sizeof buffer, format, value);
    if (length > 0) {
        out.append(buffer,
                   std::min<std::size_t>(static_cast<std::size_t>(length), sizeof buffer - 1));
    }
}

// The join of the blocks: a line feed between two present lines, nothing for a missing one.
void appendLine(std::string& block, std::string_view line) {
    if (line.empty()) {
        return;
    }
    if (!block.empty()) {
        block.push_back('\n');
    }
    block.append(line);
}

void appendTwoDigits(std::string& out, long value) {
    if (value <= 9) {
        out.push_back('0');
    }
    out.append(std::to_string(value));
}

}  // namespace

void altitudeLine(const StampLines& lines, std::string& out) {
    out.clear();
    if (!lines.showAltitudeAndSpeed || (lines.asDisplay != 0 && lines.asDisplay != 1) ||
        lines.altitude == -100000.0f) {
        return;
    }
    const bool feet = lines.asUnits != 0;
    const char* format = foundation::localized(feet ? "ft" : "meter");
    if (!takesOneDouble(format)) {
        format = "%.1f";
    }
    const double value = feet ? lines.altitude * 3.28084 : lines.altitude;
    appendFormatted(out, format, value);
}

void speedLine(const StampLines& lines, std::string& out) {
    out.clear();
    if (!lines.showAltitudeAndSpeed || (lines.asDisplay != 0 && lines.asDisplay != 2) ||
        lines.speed < 0) {
        return;
    }
    const bool miles = lines.asUnits != 0;
    out.append(foundation::localized("Speed"));
    out.push_back(':');
    appendFormatted(out, "%.1f", miles ? lines.speed * 0.62137 : lines.speed);
    out.append(foundation::localized(miles ? "mph" : "km/h"));
}

void indexLine(std::int64_t index, std::string& out) {
    out.assign(foundation::localized("Index"));
    out.push_back(':');
    out.append(std::to_string(index));
}

void composeStampBlocks(const StampLines& lines, StampBlocks& out) {
    // One tick composes on one thread; the scratch lines keep their storage between frames.
    thread_local std::string altitude, speed, index;
    altitudeLine(lines, altitude);
    speedLine(lines, speed);
    index.clear();
    if (lines.showIndex) {
        indexLine(lines.index, index);
    }

    auto& coordinates = out.coordinateBlock;
    auto& block = out.staticBlock;
    coordinates.clear();
    block.clear();
    if (lines.timeBelow == 0) {
        appendLine(coordinates, lines.lunar);
        appendLine(coordinates, lines.coordinates);
        for (std::string_view line :
             {lines.address, std::string_view(altitude), std::string_view(speed), lines.customText,
              lines.tags, std::string_view(index)}) {
            appendLine(block, line);
        }
    } else {
        appendLine(coordinates, lines.coordinates);
        appendLine(coordinates, lines.lunar);
        for (std::string_view line :
             {lines.customText, lines.tags, std::string_view(index), std::string_view(altitude),
              std::string_view(speed), lines.address}) {
            appendLine(block, line);
        }
    }
}

int compassDegree(double radians) {
    const int degree = static_cast<int>(radians * 57.29577951 + 360 + 0.5) % 360;
    return degree < 0 ? degree + 360 : degree;
}

const char* getCompassTail(int degree) {
    const char* tail = "° N";
    if (degree >= 23 && degree <= 67) {
        tail = "° NE";
    } else if (degree >= 68 && degree <= 112) {
        tail = "° E";
    } else if (degree >= 113 && degree <= 157) {
        tail = "° SE";
    } else if (degree >= 158 && degree <= 202) {
        tail = "° S";
    } else if (degree >= 203 && degree <= 247) {
        tail = "° SW";
    } else if (degree >= 248 && degree <= 292) {
        tail = "° W";
    } else if (degree >= 293 && degree <= 337) {
        tail = "° NW";
    }
    return foundation::localized(tail);
}

void convertTimeFromSeconds(double seconds, std::string& out) {
    if (!(seconds > 0)) {
        seconds = 0;
    }
    // Beyond any stopwatch's life, and within reach of a long.
    seconds = std::min(seconds, 1.0e15);
    const long whole = static_cast<long>(seconds);
    const long hours = whole / 3600;
    const long minutes = whole % 3600 / 60;
    const long rest = whole % 60;
    out.clear();
    if (whole <= 35999) {
        out.push_back('0');
    }
    out.append(std::to_string(hours));
    out.push_back(':');
    appendTwoDigits(out, minutes);
    out.push_back(':');
    appendTwoDigits(out, rest);
    char milliseconds[8];
    std::snprintf(milliseconds, sizeof milliseconds, ":%03d",
                  static_cast<int>((seconds - static_cast<double>(whole)) * 1000));
    out.append(milliseconds);
}

std::string convertTimeFromSeconds(double seconds) {
    std::string text;
    convertTimeFromSeconds(seconds, text);
    return text;
}

}  // namespace orvane::stamp
