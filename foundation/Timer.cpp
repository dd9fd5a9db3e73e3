#include "foundation/Timer.h"

#include "foundation/RunLoop.h"

namespace orvane::foundation {

namespace {

// The shortest interval a timer keeps, as NSTimer does.
constexpr double kMinimumIntervalSeconds = 0.0001;

}  // namespace

Timer Timer::scheduled(RunLoop& loop, double intervalSeconds, bool repeats, Task callback) {
    if (!(intervalSeconds > kMinimumIntervalSeconds)) {
        intervalSeconds = kMinimumIntervalSeconds;  // also catches NaN
    }
    return Timer(
        loop.scheduleTimer(durationFromSeconds(intervalSeconds), repeats, std::move(callback)));
}

Timer& Timer::operator=(Timer&& other) noexcept {
    if (this != &other) {
        // The field holds the new timer before the old one's callback may be released, in case
        // releasing it reaches this field.
        auto old = std::move(_state);
        _state = std::move(other._state);
        if (old) {
            detail::invalidateTimer(*old);
        }
    }
    return *this;
}

Timer::~Timer() {
    if (_state) {
        detail::invalidateTimer(*_state);
    }
}

bool Timer::isValid() const noexcept {
    return _state && detail::isTimerValid(*_state);
}

void Timer::invalidate() noexcept {
    if (_state) {
        detail::invalidateTimer(*_state);
    }
}

void Timer::reset() noexcept {
    auto old = std::move(_state);
    if (old) {
        detail::invalidateTimer(*old);
    }
}

void Timer::detach() noexcept {
    _state.reset();
}

double Timer::timeInterval() const noexcept {
    return _state ? detail::timerInterval(*_state) : 0.0;
}

}  // namespace orvane::foundation
