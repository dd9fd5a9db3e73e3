#include "platform/media/MediaTime.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>

namespace orvane::platform {

namespace {

using Wide = __int128;

constexpr Wide kInt64Min = std::numeric_limits<std::int64_t>::min();
constexpr Wide kInt64Max = std::numeric_limits<std::int64_t>::max();
// Doubles in [-2^63, 2^63) convert to int64 without overflow.
constexpr double kInt64RangeEnd = 9223372036854775808.0;

// Order of the kinds of time, lowest first.
enum class Kind { negativeInfinity, numeric, indefinite, positiveInfinity, invalid };

Kind kindOf(const MediaTime& time) {
    if (!time.isValid()) {
        return Kind::invalid;
    }
    if (time.isIndefinite()) {
        return Kind::indefinite;
    }
    if (time.isPositiveInfinity()) {
        return Kind::positiveInfinity;
    }
    if (time.isNegativeInfinity()) {
        return Kind::negativeInfinity;
    }
    return Kind::numeric;
}

// numerator / denominator (denominator > 0) rounded as asked; `exact` tells whether it was.
Wide divide(Wide numerator, Wide denominator, MediaTimeRounding rounding, bool& exact) {
    const Wide quotient = numerator / denominator;  // truncates toward zero
    const Wide remainder = numerator % denominator;
    exact = remainder == 0;
    if (exact) {
        return quotient;
    }
    const Wide awayStep = numerator < 0 ? -1 : 1;
    switch (rounding) {
        case MediaTimeRounding::towardZero:
            return quotient;
        case MediaTimeRounding::awayFromZero:
            return quotient + awayStep;
        case MediaTimeRounding::towardPositiveInfinity:
            return numerator > 0 ? quotient + 1 : quotient;
        case MediaTimeRounding::towardNegativeInfinity:
            return numerator < 0 ? quotient - 1 : quotient;
        case MediaTimeRounding::halfAwayFromZero:
            break;
    }
    const Wide twiceRemainder = 2 * (remainder < 0 ? -remainder : remainder);
    return twiceRemainder >= denominator ? quotient + awayStep : quotient;
}

// A numeric value on `timescale`, or the infinity its sign points to when it does not fit.
MediaTime fromWide(Wide value, std::int32_t timescale, std::uint32_t extraFlags) {
    if (value > kInt64Max) {
        return MediaTime::positiveInfinity();
    }
    if (value < kInt64Min) {
        return MediaTime::negativeInfinity();
    }
    return {static_cast<std::int64_t>(value), timescale, MediaTime::kValid | extraFlags};
}

// A double that has already been rounded to a whole number, as a time on `timescale`.
MediaTime fromWholeDouble(double value, std::int32_t timescale, std::uint32_t extraFlags) {
    if (std::isnan(value)) {
        return MediaTime::invalid();
    }
    if (value >= kInt64RangeEnd) {
        return MediaTime::positiveInfinity();
    }
    if (value < -kInt64RangeEnd) {
        return MediaTime::negativeInfinity();
    }
    return {static_cast<std::int64_t>(value), timescale, MediaTime::kValid | extraFlags};
}

MediaTime negated(const MediaTime& time) {
    switch (kindOf(time)) {
        case Kind::positiveInfinity:
            return MediaTime::negativeInfinity();
        case Kind::negativeInfinity:
            return MediaTime::positiveInfinity();
        default:
            return time;
    }
}

// a + sign * b, following the rules written on operator+.
MediaTime combine(const MediaTime& a, const MediaTime& b, int sign) {
    const Kind ka = kindOf(a);
    const Kind kb = kindOf(sign < 0 ? negated(b) : b);
    if (ka == Kind::invalid || kb == Kind::invalid) {
        return MediaTime::invalid();
    }
    if (ka == Kind::indefinite || kb == Kind::indefinite) {
        return MediaTime::indefinite();
    }
    if (ka != Kind::numeric && kb != Kind::numeric) {
        return ka == kb ? (ka == Kind::positiveInfinity ? MediaTime::positiveInfinity()
                                                        : MediaTime::negativeInfinity())
                        : MediaTime::indefinite();
    }
    if (ka != Kind::numeric) {
        return ka == Kind::positiveInfinity ? MediaTime::positiveInfinity()
                                            : MediaTime::negativeInfinity();
    }
    if (kb != Kind::numeric) {
        return kb == Kind::positiveInfinity ? MediaTime::positiveInfinity()
                                            : MediaTime::negativeInfinity();
    }

    std::uint32_t rounded = (a.flags | b.flags) & MediaTime::kHasBeenRounded;
    const std::int64_t common = std::lcm<std::int64_t>(a.timescale, b.timescale);
    std::int32_t timescale;
    Wide va;
    Wide vb;
    if (common <= std::numeric_limits<std::int32_t>::max()) {
        timescale = static_cast<std::int32_t>(common);
        va = static_cast<Wide>(a.value) * (common / a.timescale);
        vb = static_cast<Wide>(b.value) * (common / b.timescale);
    } else {
        timescale = std::max(a.timescale, b.timescale);
        bool exactA = true;
        bool exactB = true;
        va = divide(static_cast<Wide>(a.value) * timescale, a.timescale,
                    MediaTimeRounding::halfAwayFromZero, exactA);
        vb = divide(static_cast<Wide>(b.value) * timescale, b.timescale,
                    MediaTimeRounding::halfAwayFromZero, exactB);
        if (!exactA || !exactB) {
            rounded = MediaTime::kHasBeenRounded;
        }
    }
    return fromWide(sign < 0 ? va - vb : va + vb, timescale, rounded);
}

}  // namespace

MediaTime MediaTime::makeWithSeconds(double seconds, std::int32_t preferredTimescale) {
    if (std::isnan(seconds) || preferredTimescale <= 0) {
        return invalid();
    }
    if (std::isinf(seconds)) {
        return seconds > 0 ? positiveInfinity() : negativeInfinity();
    }
    const double units = seconds * preferredTimescale;
    const double whole = std::round(units);
    return fromWholeDouble(whole, preferredTimescale, whole != units ? kHasBeenRounded : 0u);
}

double MediaTime::seconds() const {
    switch (kindOf(*this)) {
        case Kind::numeric:
            return static_cast<double>(value) / timescale;
        case Kind::positiveInfinity:
            return std::numeric_limits<double>::infinity();
        case Kind::negativeInfinity:
            return -std::numeric_limits<double>::infinity();
        default:
            return std::numeric_limits<double>::quiet_NaN();
    }
}

std::optional<MediaTime> MediaTime::convertScale(std::int32_t newTimescale,
                                                 MediaTimeRounding rounding) const {
    if (newTimescale <= 0) {
        return std::nullopt;
    }
    if (!isNumeric() || newTimescale == timescale) {
        return *this;
    }
    bool exact = true;
    const Wide converted =
        divide(static_cast<Wide>(value) * newTimescale, timescale, rounding, exact);
    if (converted > kInt64Max || converted < kInt64Min) {
        return std::nullopt;
    }
    const std::uint32_t rounded = (flags & kHasBeenRounded) | (exact ? 0u : kHasBeenRounded);
    return MediaTime{static_cast<std::int64_t>(converted), newTimescale, kValid | rounded};
}

MediaTime MediaTime::subtractingSeconds(double seconds) const {
    if (!isNumeric()) {
        return *this;
    }
    const double result = static_cast<double>(value) - seconds * static_cast<double>(timescale);
    return fromWholeDouble(std::trunc(result), timescale, flags & kHasBeenRounded);
}

MediaTime MediaTime::advancedByOneFrameAt(std::int32_t framesPerSecond) const {
    if (framesPerSecond <= 0) {
        return invalid();
    }
    if (!isNumeric()) {
        return *this;
    }
    return fromWide(static_cast<Wide>(value) + timescale / framesPerSecond, timescale,
                    flags & kHasBeenRounded);
}

std::string MediaTime::description() const {
    switch (kindOf(*this)) {
        case Kind::invalid:
            return "invalid";
        case Kind::indefinite:
            return "indefinite";
        case Kind::positiveInfinity:
            return "+infinity";
        case Kind::negativeInfinity:
            return "-infinity";
        case Kind::numeric:
            break;
    }
    char text[96];
    std::snprintf(text, sizeof text, "%lld/%d = %f", static_cast<long long>(value), timescale,
                  seconds());
    return text;
}

std::weak_ordering operator<=>(const MediaTime& a, const MediaTime& b) {
    const Kind ka = kindOf(a);
    const Kind kb = kindOf(b);
    if (ka != kb || ka != Kind::numeric) {
        return ka <=> kb;
    }
    // Cross-multiplied in 128 bits: exact for every pair of 64-bit values and 32-bit timescales.
    const Wide left = static_cast<Wide>(a.value) * b.timescale;
    const Wide right = static_cast<Wide>(b.value) * a.timescale;
    if (left < right) {
        return std::weak_ordering::less;
    }
    return left > right ? std::weak_ordering::greater : std::weak_ordering::equivalent;
}

MediaTime operator+(const MediaTime& a, const MediaTime& b) {
    return combine(a, b, 1);
}

MediaTime operator-(const MediaTime& a, const MediaTime& b) {
    return combine(a, b, -1);
}

}  // namespace orvane::platform
