#include "foundation/Clock.h"

#include <cmath>
#include <limits>
#include <vector>

#include "foundation/DelayScheduler.h"
#include "foundation/exceptions.h"

namespace orvane::foundation {

Duration durationFromSeconds(double seconds) {
    if (std::isnan(seconds)) {
        throw InvalidArgumentException("A time interval is not a number");
    }
    using Ticks = Duration::rep;
    const double ticks = std::round(seconds * Duration::period::den / Duration::period::num);
    // 2^63 is exactly representable; anything at or past it saturates.
    constexpr double limit = 9223372036854775808.0;
    if (ticks >= limit) {
        return Duration::max();
    }
    if (ticks <= -limit) {
        return Duration::min();
    }
    return Duration(static_cast<Ticks>(ticks));
}

double secondsFromDuration(Duration duration) {
    return std::chrono::duration<double>(duration).count();
}

MonotonicTime addSaturating(MonotonicTime time, Duration duration) {
    const Duration::rep base = time.time_since_epoch().count();
    Duration::rep sum = 0;
    if (__builtin_add_overflow(base, duration.count(), &sum)) {
        return duration.count() > 0 ? MonotonicTime::max() : MonotonicTime::min();
    }
    return MonotonicTime(Duration(sum));
}

SystemClock::SystemClock() : _scheduler(std::make_unique<DelayScheduler>()) {}

SystemClock::~SystemClock() = default;

double SystemClock::timeIntervalSince1970() const {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

MonotonicTime SystemClock::now() const {
    return std::chrono::steady_clock::now();
}

void SystemClock::callAt(MonotonicTime deadline, Action action) {
    _scheduler->callAt(deadline, std::move(action));
}

Clock& systemClock() {
    // Never destroyed: queues and timers may still use it while static objects go away at exit.
    static SystemClock* const clock = new SystemClock();
    return *clock;
}

ManualClock::ManualClock(double timeIntervalSince1970) : _wall(timeIntervalSince1970), _now() {}

ManualClock::~ManualClock() {
    std::multimap<MonotonicTime, Action> dropped;
    {
        std::lock_guard lock(_mutex);
        dropped.swap(_pending);
    }
}

double ManualClock::timeIntervalSince1970() const {
    std::lock_guard lock(_mutex);
    return _wall;
}

MonotonicTime ManualClock::now() const {
    std::lock_guard lock(_mutex);
    return _now;
}

void ManualClock::callAt(MonotonicTime deadline, Action action) {
    std::unique_lock lock(_mutex);
    if (deadline > _now) {
        _pending.emplace(deadline, std::move(action));
        return;
    }
    lock.unlock();
    action();
}

void ManualClock::advance(double seconds) {
    const Duration step = durationFromSeconds(seconds);
    if (step < Duration::zero()) {
        throw InvalidArgumentException("A manual clock cannot go back in time");
    }
    std::vector<Action> due;
    {
        std::lock_guard lock(_mutex);
        _now = addSaturating(_now, step);
        _wall += seconds;
        auto end = _pending.upper_bound(_now);
        for (auto it = _pending.begin(); it != end; ++it) {
            due.push_back(std::move(it->second));
        }
        _pending.erase(_pending.begin(), end);
    }
    for (auto& action : due) {
        action();
    }
}

void ManualClock::setTimeIntervalSince1970(double seconds) {
    std::lock_guard lock(_mutex);
    _wall = seconds;
}

}  // namespace orvane::foundation
