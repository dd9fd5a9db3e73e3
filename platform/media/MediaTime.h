// A time on a media timeline: a rational value/timescale with flags, compared and added exactly.
//
// A time is numeric (valid, with a positive timescale), one of the infinities, indefinite, or
// invalid. A valid flag over a timescale that is not positive counts as invalid, so a time built
// field by field can never divide by zero. Times are plain values, safe to copy between threads.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

namespace orvane::platform {

// How a value is rounded when it moves to a timescale that cannot hold it exactly.
enum class MediaTimeRounding {
    halfAwayFromZero,
    towardZero,
    awayFromZero,
    towardPositiveInfinity,
    towardNegativeInfinity,
};

struct MediaTime {
    enum Flags : std::uint32_t {
        kValid = 1u << 0,
        kHasBeenRounded = 1u << 1,
        kPositiveInfinity = 1u << 2,
        kNegativeInfinity = 1u << 3,
        kIndefinite = 1u << 4,
    };

    std::int64_t value = 0;
    std::int32_t timescale = 0;  // units per second
    std::uint32_t flags = 0;     // a default time is invalid

    static constexpr MediaTime invalid() { return {}; }
    static constexpr MediaTime zero() { return {0, 1, kValid}; }
    static constexpr MediaTime positiveInfinity() { return {0, 0, kValid | kPositiveInfinity}; }
    static constexpr MediaTime negativeInfinity() { return {0, 0, kValid | kNegativeInfinity}; }
    static constexpr MediaTime indefinite() { return {0, 0, kValid | kIndefinite}; }

    // value/timescale seconds; a timescale that is not positive gives an invalid time.
    static constexpr MediaTime make(std::int64_t value, std::int32_t timescale) {
        return timescale > 0 ? MediaTime{value, timescale, kValid} : invalid();
    }

    // `seconds` on the preferred timescale, rounded half away from zero (flagged when rounded).
    // NaN or a timescale that is not positive gives an invalid time; an infinite input or one past
    // the 64-bit range gives the infinity of its sign.
    static MediaTime makeWithSeconds(double seconds, std::int32_t preferredTimescale);

    constexpr bool isValid() const {
        return (flags & kValid) != 0 &&
               (timescale > 0 || (flags & (kPositiveInfinity | kNegativeInfinity | kIndefinite)));
    }
    constexpr bool isIndefinite() const { return isValid() && (flags & kIndefinite); }
    constexpr bool isPositiveInfinity() const {
        return isValid() && !isIndefinite() && (flags & kPositiveInfinity);
    }
    constexpr bool isNegativeInfinity() const {
        return isValid() && !isIndefinite() && !isPositiveInfinity() && (flags & kNegativeInfinity);
    }
    // Valid, finite and definite: value and timescale mean what they say.
    constexpr bool isNumeric() const {
        return isValid() && !(flags & (kPositiveInfinity | kNegativeInfinity | kIndefinite));
    }
    constexpr bool hasBeenRounded() const { return (flags & kHasBeenRounded) != 0; }

    // value / timescale; infinities give infinities, invalid and indefinite give NaN.
    double seconds() const;

    // The same time on `newTimescale`. Nothing when that timescale is not positive or the value
    // leaves the 64-bit range; a time that is not numeric comes back unchanged.
    std::optional<MediaTime> convertScale(
        std::int32_t newTimescale,
        MediaTimeRounding rounding = MediaTimeRounding::halfAwayFromZero) const;

    // Pulls the time earlier by `seconds` on its own timescale: the value becomes, in double
    // arithmetic, value - seconds * timescale, truncated toward zero. This is how a capture time
    // drops the wall-clock seconds spent paused. A time that is not numeric comes back
    // unchanged; NaN seconds give an invalid time and a result past the 64-bit range the
    // infinity of its sign.
    MediaTime subtractingSeconds(double seconds) const;

    // One frame later at `framesPerSecond`, counted in whole units of the own timescale
    // (timescale / framesPerSecond, integer division): a timescale below the rate does not
    // advance. A rate that is not positive gives an invalid time; overflow gives infinity.
    MediaTime advancedByOneFrameAt(std::int32_t framesPerSecond) const;

    // For logs: "90000/600 = 150.000000", "invalid", "+infinity", "-infinity", "indefinite".
    std::string description() const;
};

// Ordering of times: numeric times compare by their rational value whatever their timescales,
// and -infinity < numeric < indefinite < +infinity < invalid. Invalid times equal each other.
// Equivalence is not identity: 0/1 and 0/600 are equal.
std::weak_ordering operator<=>(const MediaTime& a, const MediaTime& b);
inline bool operator==(const MediaTime& a, const MediaTime& b) {
    return (a <=> b) == 0;
}

// Exact sums on the least common multiple of the timescales. When that multiple does not fit in
// 32 bits, the larger timescale is used, the other time is rounded half away from zero onto it
// and the result is flagged as rounded. A sum past the 64-bit range becomes the infinity of its
// sign. Invalid in gives invalid out; indefinite, or opposite infinities, give indefinite.
MediaTime operator+(const MediaTime& a, const MediaTime& b);
MediaTime operator-(const MediaTime& a, const MediaTime& b);

}  // namespace orvane::platform
