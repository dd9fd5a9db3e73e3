#include "platform/location/nmea.h"
#include "foundation/civil_date.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace orvane::platform::nmea {
namespace {

constexpr double kMetresPerSecondPerKnot = 1852.0 / 3600.0;
// What an HDOP of 1 means in metres for a consumer receiver (the user equivalent range error).
constexpr double kNominalRangeError = 5.0;
// The accuracy claimed when the receiver says nothing of its precision.
constexpr double kUnknownAccuracy = 50.0;
// Longer than any receiver writes (the standard says 82); anything longer is noise.
constexpr std::size_t kMaxLineLength = 256;

// A field that is present but cannot be read makes the whole line malformed.
struct Malformed {};

std::string_view trimLineEnd(std::string_view line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n' || line.back() == ' ')) {
        line.remove_suffix(1);
    }
    return line;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

std::optional<double> number(std::string_view field) {
    if (field.empty()) {
        return std::nullopt;
    }
    double value = 0;
    auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
    if (error != std::errc() || end != field.data() + field.size() || !std::isfinite(value)) {
        throw Malformed{};
    }
    return value;
}

std::optional<int> integer(std::string_view field) {
    if (field.empty()) {
        return std::nullopt;
    }
    int value = 0;
    auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
    if (error != std::errc() || end != field.data() + field.size()) {
        throw Malformed{};
    }
    return value;
}

// "hhmmss.ss" as seconds of the day.
std::optional<double> timeOfDay(std::string_view field) {
    if (field.empty()) {
        return std::nullopt;
    }
    if (field.size() < 6) {
        throw Malformed{};
    }
    const auto hours = integer(field.substr(0, 2)), minutes = integer(field.substr(2, 2));
    const auto seconds = number(field.substr(4));
    if (!hours || !minutes || !seconds || *hours < 0 || *hours > 23 || *minutes < 0 ||
        *minutes > 59 || *seconds < 0 || *seconds >= 61) {
        throw Malformed{};
    }
    return *hours * 3600.0 + *minutes * 60.0 + *seconds;
}

// "ddmmyy"; two-digit years from 80 are the 1900s, as receivers have written them since 1980.
std::optional<std::int64_t> date(std::string_view field) {
    if (field.empty()) {
        return std::nullopt;
    }
    if (field.size() != 6) {
        throw Malformed{};
    }
    const auto day = integer(field.substr(0, 2)), month = integer(field.substr(2, 2));
    const auto year = integer(field.substr(4, 2));
    if (!day || !month || !year || *day < 1 || *day > 31 || *month < 1 || *month > 12 ||
        *year < 0) {
        throw Malformed{};
    }
    return foundation::daysFromCivil(*year < 80 ? 2000 + *year : 1900 + *year, *month, *day);
}

// "ddmm.mmmm" with its hemisphere letter; `limit` is 90 or 180 degrees.
std::optional<double> angle(std::string_view field, std::string_view hemisphere, char positive,
                            char negative, double limit) {
    if (field.empty() && hemisphere.empty()) {
        return std::nullopt;
    }
    if (field.empty() || hemisphere.size() != 1 ||
        (hemisphere[0] != positive && hemisphere[0] != negative)) {
        throw Malformed{};
    }
    const double value = *number(field);
    const double degrees = std::floor(value / 100);
    const double minutes = value - degrees * 100;
    if (value < 0 || minutes >= 60 || degrees + minutes / 60 > limit) {
        throw Malformed{};
    }
    const double result = degrees + minutes / 60;
    return hemisphere[0] == negative ? -result : result;
}

std::optional<Position> position(const std::vector<std::string_view>& f, std::size_t at) {
    const auto latitude = angle(f[at], f[at + 1], 'N', 'S', 90);
    const auto longitude = angle(f[at + 2], f[at + 3], 'E', 'W', 180);
    if (!latitude && !longitude) {
        return std::nullopt;
    }
    if (!latitude || !longitude) {
        throw Malformed{};
    }
    return Position{*latitude, *longitude};
}

std::optional<double> knots(std::string_view field) {
    auto value = number(field);
    if (value && *value < 0) {
        throw Malformed{};
    }
    return value ? std::optional(*value * kMetresPerSecondPerKnot) : std::nullopt;
}

// The field lists below count from the address field at index 0.
Gga gga(const std::vector<std::string_view>& f) {
    Gga s;
    s.secondsOfDay = timeOfDay(f[1]);
    s.position = position(f, 2);
    s.quality = integer(f[6]).value_or(0);
    s.satellites = integer(f[7]);
    s.hdop = number(f[8]);
    s.altitude = number(f[9]);
    return s;
}

Rmc rmc(const std::vector<std::string_view>& f) {
    Rmc s;
    s.secondsOfDay = timeOfDay(f[1]);
    s.valid = f[2] == "A";
    if (f[2] != "A" && f[2] != "V") {
        throw Malformed{};
    }
    s.position = position(f, 3);
    s.speed = knots(f[7]);
    s.course = number(f[8]);
    s.daysSince1970 = date(f[9]);
    // The mode indicator of later versions: N says the data is not valid.
    if (f.size() > 12 && f[12] == "N") {
        s.valid = false;
    }
    return s;
}

Vtg vtg(const std::vector<std::string_view>& f) {
    Vtg s;
    s.course = number(f[1]);
    const auto kilometresPerHour = number(f[7]);
    if (kilometresPerHour && *kilometresPerHour < 0) {
        throw Malformed{};
    }
    s.speed = kilometresPerHour ? std::optional(*kilometresPerHour / 3.6) : knots(f[5]);
    return s;
}

Gsa gsa(const std::vector<std::string_view>& f) {
    Gsa s;
    s.fixType = integer(f[2]).value_or(1);
    s.pdop = number(f[15]);
    s.hdop = number(f[16]);
    s.vdop = number(f[17]);
    return s;
}

Gst gst(const std::vector<std::string_view>& f) {
    Gst s;
    s.secondsOfDay = timeOfDay(f[1]);
    s.latitudeSigma = number(f[6]);
    s.longitudeSigma = number(f[7]);
    s.altitudeSigma = number(f[8]);
    return s;
}

bool knownTalker(std::string_view talker) {
    for (std::string_view known : {"GP", "GN", "GL", "GA", "BD", "GB"}) {
        if (talker == known) {
            return true;
        }
    }
    return false;
}

std::optional<double> secondsOf(const Sentence& sentence) {
    if (auto* s = std::get_if<Gga>(&sentence))
        return s->secondsOfDay;
    if (auto* s = std::get_if<Rmc>(&sentence))
        return s->secondsOfDay;
    if (auto* s = std::get_if<Gst>(&sentence))
        return s->secondsOfDay;
    return std::nullopt;
}

}  // namespace

bool checksumMatches(std::string_view line) {
    line = trimLineEnd(line);
    const auto star = line.rfind('*');
    if (line.empty() || line[0] != '$' || star == std::string_view::npos ||
        star + 3 != line.size()) {
        return false;
    }
    const int high = hexValue(line[star + 1]), low = hexValue(line[star + 2]);
    if (high < 0 || low < 0) {
        return false;
    }
    unsigned sum = 0;
    for (std::size_t i = 1; i < star; ++i) {
        sum ^= static_cast<unsigned char>(line[i]);
    }
    return sum == static_cast<unsigned>(high * 16 + low);
}

ParsedLine parseLine(std::string_view line) {
    line = trimLineEnd(line);
    if (line.size() < 6 || line.size() > kMaxLineLength || line[0] != '$') {
        return {LineStatus::Malformed, std::nullopt};
    }
    const auto star = line.rfind('*');
    if (star == std::string_view::npos || star + 3 != line.size()) {
        return {LineStatus::Malformed, std::nullopt};
    }
    if (!checksumMatches(line)) {
        return {LineStatus::BadChecksum, std::nullopt};
    }
    const std::string_view body = line.substr(1, line.size() - 4);
    std::vector<std::string_view> fields;
    for (std::size_t start = 0;;) {
        const auto comma = body.find(',', start);
        fields.push_back(body.substr(start, comma - start));
        if (comma == std::string_view::npos) {
            break;
        }
        start = comma + 1;
    }
    const std::string_view address = fields[0];
    if (address.size() != 5 || !knownTalker(address.substr(0, 2))) {
        return {LineStatus::Ignored, std::nullopt};
    }
    const std::string_view type = address.substr(2);
    struct Kind {
        std::string_view type;
        std::size_t fields;  // the least count that holds every field read
        Sentence (*parse)(const std::vector<std::string_view>&);
    };
    static constexpr Kind kinds[] = {
        {"GGA", 15, [](const auto& f) { return Sentence(gga(f)); }},
        {"RMC", 12, [](const auto& f) { return Sentence(rmc(f)); }},
        {"VTG", 9, [](const auto& f) { return Sentence(vtg(f)); }},
        {"GSA", 18, [](const auto& f) { return Sentence(gsa(f)); }},
        {"GST", 9, [](const auto& f) { return Sentence(gst(f)); }},
    };
    for (const Kind& kind : kinds) {
        if (kind.type != type) {
            continue;
        }
        if (fields.size() < kind.fields) {
            return {LineStatus::Malformed, std::nullopt};
        }
        try {
            return {LineStatus::Parsed, kind.parse(fields)};
        } catch (const Malformed&) {
            return {LineStatus::Malformed, std::nullopt};
        }
    }
    return {LineStatus::Ignored, std::nullopt};
}

Assembler::Assembler(FixSink sink, std::function<double()> wallClock)
    : _sink(std::move(sink)), _wallClock(std::move(wallClock)) {}

LineStatus Assembler::addLine(std::string_view line) {
    const ParsedLine parsed = parseLine(line);
    if (parsed.sentence) {
        addSentence(*parsed.sentence);
    } else if (parsed.status != LineStatus::Ignored) {
        ++_failed;
    }
    return parsed.status;
}

void Assembler::addSentence(const Sentence& sentence) {
    const auto seconds = secondsOf(sentence);
    if (seconds && _epoch.secondsOfDay && *seconds != *_epoch.secondsOfDay) {
        flush();
    }
    if (seconds && !_epoch.secondsOfDay) {
        _epoch.secondsOfDay = seconds;
    }
    _epoch.kinds |= 1u << sentence.index();
    std::visit(
        [this](const auto& s) {
            using T = std::decay_t<decltype(s)>;
            if constexpr (std::is_same_v<T, Gga>)
                _epoch.gga = s;
            if constexpr (std::is_same_v<T, Rmc>)
                _epoch.rmc = s;
            if constexpr (std::is_same_v<T, Vtg>)
                _epoch.vtg = s;
            if constexpr (std::is_same_v<T, Gsa>)
                _epoch.gsa = s;
            if constexpr (std::is_same_v<T, Gst>)
                _epoch.gst = s;
        },
        sentence);
    if (!_epoch.emitted && _kindsPerEpoch != 0 &&
        (_epoch.kinds & _kindsPerEpoch) == _kindsPerEpoch) {
        emit();
    }
}

void Assembler::flush() {
    if (!_epoch.emitted) {
        emit();
    }
    // The first epoch may have begun mid-way, so the set of kinds is learnt from later ones.
    if (_epochsClosed++ > 0) {
        _kindsPerEpoch = _epoch.kinds;
    }
    _epoch = Epoch{};
}

void Assembler::emit() {
    _epoch.emitted = true;
    const Epoch& e = _epoch;
    if (e.rmc && e.rmc->daysSince1970) {
        _day = e.rmc->daysSince1970;
    }
    if (!e.secondsOfDay || (e.gga && e.gga->quality == 0) || (e.rmc && !e.rmc->valid)) {
        return;
    }
    std::optional<Position> position;
    if (e.gga && e.gga->position) {
        position = e.gga->position;
    } else if (e.rmc && e.rmc->position) {
        position = e.rmc->position;
    }
    if (!position) {
        return;
    }
    double speed = -1;
    if (e.rmc && e.rmc->speed) {
        speed = *e.rmc->speed;
    } else if (e.vtg && e.vtg->speed) {
        speed = *e.vtg->speed;
    }
    // A plain value with NaN for none: GCC 12 takes an optional copied between branches for
    // uninitialised at -O3.
    double hdop = std::numeric_limits<double>::quiet_NaN();
    if (e.gga && e.gga->hdop) {
        hdop = *e.gga->hdop;
    } else if (e.gsa && e.gsa->hdop) {
        hdop = *e.gsa->hdop;
    }
    double accuracy = kUnknownAccuracy;
    if (e.gst && e.gst->latitudeSigma && e.gst->longitudeSigma) {
        accuracy = std::hypot(*e.gst->latitudeSigma, *e.gst->longitudeSigma);
    } else if (!std::isnan(hdop)) {
        accuracy = hdop * kNominalRangeError;
    }
    const std::optional<double> altitude = e.gga ? e.gga->altitude : std::nullopt;
    ++_fixes;
    _sink(Location({position->latitude, position->longitude}, altitude, accuracy, speed,
                   timestampFor(*e.secondsOfDay, e.rmc && e.rmc->daysSince1970)));
}

double Assembler::timestampFor(double secondsOfDay, bool dated) {
    if (!_day) {
        const double now = _wallClock();
        _day = static_cast<std::int64_t>(std::floor(now / 86400));
        const double guess = static_cast<double>(*_day) * 86400 + secondsOfDay;
        if (guess - now > 43200) {
            --*_day;
        } else if (now - guess > 43200) {
            ++*_day;
        }
    } else if (!dated && _lastSecondsOfDay && secondsOfDay + 43200 < *_lastSecondsOfDay) {
        ++*_day;  // past midnight without a new date
    }
    _lastSecondsOfDay = secondsOfDay;
    return static_cast<double>(*_day) * 86400 + secondsOfDay;
}

}  // namespace orvane::platform::nmea
