#include "platform/location/gpx.h"
#include "foundation/civil_date.h"

#include <expat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

namespace orvane::platform::gpx {
namespace {

constexpr double kNominalAccuracy = 5.0;

std::optional<double> number(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) {
        text.remove_prefix(1);
    }
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
        text.remove_suffix(1);
    }
    double value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() ||
        !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

// The local part of an expat name with namespaces ("URI local" or "local").
std::string_view localName(const XML_Char* name) {
    std::string_view full(name);
    const auto space = full.rfind(' ');
    return space == std::string_view::npos ? full : full.substr(space + 1);
}

class Reader {
  public:
    explicit Reader(std::string_view fileName) : _fileName(fileName) {}

    ReadResult run(std::string_view text) {
        std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
            XML_ParserCreateNS(nullptr, ' '), &XML_ParserFree);
        if (!parser) {
            return {{}, std::string(_fileName) + ": out of memory"};
        }
        _parser = parser.get();
        XML_SetUserData(_parser, this);
        XML_SetElementHandler(_parser, &Reader::start, &Reader::end);
        XML_SetCharacterDataHandler(_parser, &Reader::characters);
        // Expat takes an int length; feed large files in pieces.
        constexpr std::size_t piece = 1 << 20;
        bool ok = true;
        do {
            const std::size_t size = std::min(piece, text.size());
            ok = XML_Parse(_parser, text.data(), static_cast<int>(size), size == text.size()) ==
                 XML_STATUS_OK;
            text.remove_prefix(size);
        } while (ok && !text.empty());
        if (!_error.empty()) {
            return {{}, _error};
        }
        if (!ok) {
            return {
                {},
                at(XML_GetCurrentLineNumber(_parser)) + XML_ErrorString(XML_GetErrorCode(_parser))};
        }
        auto& points = _track.empty() ? _route : _track;
        if (points.empty()) {
            return {{}, std::string(_fileName) + ": no track or route points"};
        }
        return {std::move(points), {}};
    }

  private:
    std::string at(XML_Size line) const {
        return std::string(_fileName) + ":" + std::to_string(line) + ": ";
    }

    void fail(std::string message) {
        if (_error.empty()) {
            _error = at(XML_GetCurrentLineNumber(_parser)) + message;
        }
        XML_StopParser(_parser, XML_FALSE);
    }

    void onStart(std::string_view name, const XML_Char** attributes) {
        ++_depth;
        if (_depth == 1) {
            if (name != "gpx") {
                fail("not a GPX file (the root element is <" + std::string(name) + ">)");
            }
            return;
        }
        if (name == "trkpt" || name == "rtept") {
            if (_point) {
                fail("a point inside a point");
                return;
            }
            std::optional<double> latitude, longitude;
            for (int i = 0; attributes[i]; i += 2) {
                const std::string_view key = localName(attributes[i]);
                if (key == "lat")
                    latitude = number(attributes[i + 1]);
                if (key == "lon")
                    longitude = number(attributes[i + 1]);
            }
            if (!latitude || !longitude || std::abs(*latitude) > 90 || std::abs(*longitude) > 180) {
                fail("<" + std::string(name) + "> without a valid lat and lon");
                return;
            }
            _point = Point{*latitude,    *longitude,
                           std::nullopt, std::nullopt,
                           std::nullopt, static_cast<int>(XML_GetCurrentLineNumber(_parser))};
            _pointIsRoute = name == "rtept";
            _pointDepth = _depth;
        } else if (_point && (name == "ele" || name == "time" || name == "speed")) {
            _field = name;
            _text.clear();
        }
    }

    void onEnd(std::string_view name) {
        if (_point && !_field.empty() && name == _field) {
            if (_field == "time") {
                _point->time = parseTime(_text);
                if (!_point->time)
                    fail("unreadable time \"" + _text + "\"");
            } else {
                auto value = number(_text);
                if (!value)
                    fail("unreadable <" + _field + "> \"" + _text + "\"");
                (_field == "ele" ? _point->elevation : _point->speed) = value;
            }
            _field.clear();
        } else if (_point && _depth == _pointDepth) {
            (_pointIsRoute ? _route : _track).push_back(*_point);
            _point.reset();
        }
        --_depth;
    }

    static void start(void* self, const XML_Char* name, const XML_Char** attributes) {
        static_cast<Reader*>(self)->onStart(localName(name), attributes);
    }
    static void end(void* self, const XML_Char* name) {
        static_cast<Reader*>(self)->onEnd(localName(name));
    }
    static void characters(void* self, const XML_Char* text, int length) {
        auto* reader = static_cast<Reader*>(self);
        if (!reader->_field.empty() && reader->_text.size() < 256) {
            reader->_text.append(text, static_cast<std::size_t>(length));
        }
    }

    std::string_view _fileName;
    XML_Parser _parser = nullptr;
    std::string _error;
    int _depth = 0;
    std::optional<Point> _point;
    bool _pointIsRoute = false;
    int _pointDepth = 0;
    std::string _field;
    std::string _text;
    std::vector<Point> _track, _route;
};

}  // namespace

std::optional<double> parseTime(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
        text.remove_suffix(1);
    }
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) {
        text.remove_prefix(1);
    }
    auto digits = [&](std::size_t at, std::size_t count) -> std::optional<int> {
        if (at + count > text.size())
            return std::nullopt;
        int value = 0;
        for (std::size_t i = at; i < at + count; ++i) {
            if (text[i] < '0' || text[i] > '9')
                return std::nullopt;
            value = value * 10 + (text[i] - '0');
        }
        return value;
    };
    auto is = [&](std::size_t at, char c) { return at < text.size() && text[at] == c; };
    const auto year = digits(0, 4), month = digits(5, 2), day = digits(8, 2);
    const auto hour = digits(11, 2), minute = digits(14, 2), second = digits(17, 2);
    if (!year || !month || !day || !hour || !minute || !second || !is(4, '-') || !is(7, '-') ||
        !(is(10, 'T') || is(10, 't') || is(10, ' ')) || !is(13, ':') || !is(16, ':') ||
        *month < 1 || *month > 12 || *day < 1 || *day > 31 || *hour > 23 || *minute > 59 ||
        *second > 60) {
        return std::nullopt;
    }
    double seconds = static_cast<double>(foundation::daysFromCivil(*year, *month, *day)) * 86400 +
                     *hour * 3600 + *minute * 60 + *second;
    std::size_t at = 19;
    if (is(at, '.')) {
        double scale = 0.1;
        for (++at; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
            seconds += (text[at] - '0') * scale;
            scale /= 10;
        }
    }
    if (at == text.size() || is(at, 'Z') || is(at, 'z')) {
        return at + 1 >= text.size() ? std::optional(seconds) : std::nullopt;
    }
    if ((is(at, '+') || is(at, '-')) && at + 6 == text.size() && is(at + 3, ':')) {
        const auto offsetHours = digits(at + 1, 2), offsetMinutes = digits(at + 4, 2);
        if (offsetHours && offsetMinutes && *offsetHours < 24 && *offsetMinutes < 60) {
            const double offset = *offsetHours * 3600.0 + *offsetMinutes * 60.0;
            return is(at, '+') ? seconds - offset : seconds + offset;
        }
    }
    return std::nullopt;
}

ReadResult parse(std::string_view text, std::string_view fileName) {
    return Reader(fileName).run(text);
}

ReadResult readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return {{}, path + ": cannot be read (" + std::strerror(errno) + ")"};
    }
    std::ostringstream contents;
    contents << file.rdbuf();
    if (file.bad()) {
        return {{}, path + ": cannot be read"};
    }
    return parse(contents.view(), path);
}

std::vector<Location> fixesFromPoints(const std::vector<Point>& points) {
    const std::size_t n = points.size();
    std::vector<double> times(n);
    std::vector<std::size_t> timed;
    for (std::size_t i = 0; i < n; ++i) {
        if (points[i].time) {
            timed.push_back(i);
            times[i] = *points[i].time;
        }
    }
    if (timed.empty()) {
        for (std::size_t i = 0; i < n; ++i)
            times[i] = static_cast<double>(i);
    } else {
        for (std::size_t i = 0; i < timed.front(); ++i) {
            times[i] = times[timed.front()] - static_cast<double>(timed.front() - i);
        }
        for (std::size_t k = 0; k + 1 < timed.size(); ++k) {
            const std::size_t a = timed[k], b = timed[k + 1];
            for (std::size_t i = a + 1; i < b; ++i) {
                times[i] = times[a] + (times[b] - times[a]) * static_cast<double>(i - a) /
                                          static_cast<double>(b - a);
            }
        }
        for (std::size_t i = timed.back() + 1; i < n; ++i) {
            times[i] = times[timed.back()] + static_cast<double>(i - timed.back());
        }
    }
    std::vector<Location> fixes;
    fixes.reserve(n);
    auto located = [&](std::size_t i) {
        return Location({points[i].latitude, points[i].longitude}, std::nullopt, kNominalAccuracy,
                        -1, times[i]);
    };
    auto derivedSpeed = [&](std::size_t from, std::size_t to) {
        const double seconds = times[to] - times[from];
        if (timed.empty() || seconds <= 0)
            return -1.0;
        return located(to).distanceFromLocation(located(from)) / seconds;
    };
    for (std::size_t i = 0; i < n; ++i) {
        double speed = -1;
        if (points[i].speed && *points[i].speed >= 0) {
            speed = *points[i].speed;
        } else if (i > 0) {
            speed = derivedSpeed(i - 1, i);
        } else if (n > 1) {
            speed = derivedSpeed(0, 1);
        }
        fixes.emplace_back(LocationCoordinate2D{points[i].latitude, points[i].longitude},
                           points[i].elevation, kNominalAccuracy, speed, times[i]);
    }
    return fixes;
}

Location fixAt(const std::vector<Location>& fixes, double timestamp) {
    auto after = std::upper_bound(fixes.begin(), fixes.end(), timestamp,
                                  [](double t, const Location& f) { return t < f.timestamp(); });
    if (after == fixes.begin()) {
        const Location& first = fixes.front();
        return Location(first.coordinate(), first.altitude(), first.horizontalAccuracy(),
                        first.speed(), timestamp);
    }
    if (after == fixes.end()) {
        const Location& last = fixes.back();
        return Location(last.coordinate(), last.altitude(), last.horizontalAccuracy(), last.speed(),
                        timestamp);
    }
    const Location& a = *(after - 1);
    const Location& b = *after;
    const double span = b.timestamp() - a.timestamp();
    const double t = span > 0 ? (timestamp - a.timestamp()) / span : 0.0;
    auto mix = [t](double x, double y) { return x + (y - x) * t; };
    // Points of a track are metres apart: a straight blend of degrees is exact enough, but
    // the longitude is taken the short way across the antimeridian.
    double lonB = b.coordinate().longitude;
    if (lonB - a.coordinate().longitude > 180)
        lonB -= 360;
    if (lonB - a.coordinate().longitude < -180)
        lonB += 360;
    double longitude = mix(a.coordinate().longitude, lonB);
    if (longitude > 180)
        longitude -= 360;
    if (longitude < -180)
        longitude += 360;
    std::optional<double> altitude;
    if (a.altitude() && b.altitude()) {
        altitude = mix(*a.altitude(), *b.altitude());
    } else {
        altitude = t < 0.5 ? a.altitude() : b.altitude();
    }
    return Location({mix(a.coordinate().latitude, b.coordinate().latitude), longitude}, altitude,
                    kNominalAccuracy, b.speed(), timestamp);
}

}  // namespace orvane::platform::gpx
