// NMEA 0183 as GNSS receivers speak it: one line parsed into a sentence (GGA, RMC, VTG, GSA,
// GST from the GPS, multi-system, GLONASS, Galileo and BeiDou talkers), and the assembler that
// gathers the sentences of one epoch into one fix.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <variant>

#include "platform/location/Location.h"

namespace orvane::platform::nmea {

// Position fix: latitude then longitude in degrees, north and east positive.
struct Position {
    double latitude = 0.0;
    double longitude = 0.0;
};

struct Gga {
    std::optional<double> secondsOfDay;  // UTC
    std::optional<Position> position;
    int quality = 0;  // 0 no fix, 1 GPS, 2 differential, 4 and 5 RTK, 6 dead reckoning
    std::optional<int> satellites;
    std::optional<double> hdop;
    std::optional<double> altitude;  // metres above mean sea level
};

struct Rmc {
    std::optional<double> secondsOfDay;  // UTC
    bool valid = false;                  // status A
    std::optional<Position> position;
    std::optional<double> speed;                // metres per second
    std::optional<double> course;               // degrees from true north
    std::optional<std::int64_t> daysSince1970;  // the UTC date
};

struct Vtg {
    std::optional<double> course;  // degrees from true north
    std::optional<double> speed;   // metres per second
};

struct Gsa {
    int fixType = 1;  // 1 none, 2 two-dimensional, 3 three-dimensional
    std::optional<double> pdop, hdop, vdop;
};

struct Gst {
    std::optional<double> secondsOfDay;                                  // UTC
    std::optional<double> latitudeSigma, longitudeSigma, altitudeSigma;  // metres
};

using Sentence = std::variant<Gga, Rmc, Vtg, Gsa, Gst>;

enum class LineStatus {
    Parsed,       // one of the sentences above
    Ignored,      // well formed, but another sentence or talker (GSV, proprietary $P...)
    Malformed,    // no '$', cut short (no '*hh' at the end), or a field that cannot be read
    BadChecksum,  // the checksum does not match
};

struct ParsedLine {
    LineStatus status = LineStatus::Malformed;
    std::optional<Sentence> sentence;
};

// Parses one line, with or without its line ending. The checksum is required: on a serial line
// it is the only guard against noise, and every receiver sends it.
ParsedLine parseLine(std::string_view line);

// Whether the "*hh" at the end of `line` matches the exclusive-or of the characters between '$'
// and '*'.
bool checksumMatches(std::string_view line);

// Gathers sentences into fixes, one per epoch (the UTC time the sentences carry). An epoch ends
// when a sentence of a later time arrives, or at once when it holds every kind of sentence the
// receiver has been seen to send in one epoch, so a live receiver's fix is not held back a
// second.
//
// The fix: coordinate from GGA or RMC, altitude from GGA, speed from RMC or VTG (-1 when neither
// gives it), timestamp from the RMC date and the time of day (the date of `wallClock` when no RMC
// date has been seen yet). Horizontal accuracy is the root sum square of GST's latitude and
// longitude sigmas when the receiver sends GST; else HDOP times a nominal user range error of
// 5 metres, which is what an HDOP of 1 means for a consumer receiver; else 50 metres. An epoch
// without a valid position (GGA quality 0, RMC status V) gives no fix.
class Assembler {
  public:
    using FixSink = std::function<void(const Location&)>;
    // `wallClock` answers seconds since 1970.
    Assembler(FixSink sink, std::function<double()> wallClock);

    // Parses and adds one line; returns its status. Lines that fail are counted.
    LineStatus addLine(std::string_view line);
    void addSentence(const Sentence& sentence);
    // Ends the current epoch, as at the end of a file.
    void flush();

    std::size_t failedLines() const { return _failed; }
    std::size_t fixes() const { return _fixes; }

  private:
    struct Epoch {
        std::optional<double> secondsOfDay;
        unsigned kinds = 0;  // a bit per sentence kind seen
        std::optional<Gga> gga;
        std::optional<Rmc> rmc;
        std::optional<Vtg> vtg;
        std::optional<Gsa> gsa;
        std::optional<Gst> gst;
        bool emitted = false;
    };

    void emit();
    // `dated`: the epoch's own RMC gave the date.
    double timestampFor(double secondsOfDay, bool dated);

    FixSink _sink;
    std::function<double()> _wallClock;
    Epoch _epoch;
    unsigned _kindsPerEpoch = 0;  // learnt from the epochs closed after the first
    std::size_t _epochsClosed = 0;
    std::optional<std::int64_t> _day;
    std::optional<double> _lastSecondsOfDay;
    std::size_t _failed = 0;
    std::size_t _fixes = 0;
};

}  // namespace orvane::platform::nmea
