// Wall-clock and monotonic time behind one interface, so that timed work runs on the real clock
// in production and on a clock moved by hand in tests.
//
// Every clock must outlive the run loops, queues and timers that use it.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace orvane::foundation {

class DelayScheduler;

// A point on a clock's monotonic time line. On the system clock it is a steady_clock instant; a
// manual clock keeps its own line, starting at zero.
using MonotonicTime = std::chrono::steady_clock::time_point;
using Duration = std::chrono::steady_clock::duration;

// A span given in seconds, as time intervals are everywhere in this program, as a Duration:
// rounded to the nearest tick and saturated at the ends of the range. NaN is refused with
// InvalidArgumentException.
Duration durationFromSeconds(double seconds);
double secondsFromDuration(Duration duration);
// `time` plus `duration`, saturated instead of overflowing (an infinite delay never comes due).
MonotonicTime addSaturating(MonotonicTime time, Duration duration);

class Clock {
  public:
    using Action = std::function<void()>;

    virtual ~Clock() = default;

    // Seconds since 1970-01-01 00:00:00 UTC, as NSDate's timeIntervalSince1970.
    virtual double timeIntervalSince1970() const = 0;
    // Monotonic time: never steps back, and unaffected by changes of the wall time.
    virtual MonotonicTime now() const = 0;
    // True when time moves only by hand. Waiting for a deadline then means waiting for someone
    // to advance the clock, never sleeping.
    virtual bool isManual() const = 0;
    // Calls `action` once, as soon as now() has reached `deadline`. Actions due together run in
    // deadline order, and in the order they were given when their deadlines are equal. The
    // clock's lock is never held while an action runs.
    virtual void callAt(MonotonicTime deadline, Action action) = 0;
};

// The machine's clocks: the wall time of the system and std::chrono::steady_clock. Actions of
// callAt run on one scheduler thread of this clock, started at the first call.
class SystemClock final : public Clock {
  public:
    SystemClock();
    // Stops the scheduler thread; actions not yet due are dropped.
    ~SystemClock() override;
    SystemClock(const SystemClock&) = delete;
    SystemClock& operator=(const SystemClock&) = delete;

    double timeIntervalSince1970() const override;
    MonotonicTime now() const override;
    bool isManual() const override { return false; }
    void callAt(MonotonicTime deadline, Action action) override;

  private:
    std::unique_ptr<DelayScheduler> _scheduler;
};

// The system clock of the process, for production wiring. It lives as long as the process.
Clock& systemClock();

// A clock that tests set and move by hand. Nothing that waits on it ever sleeps: actions given
// to callAt run inside advance(), on the thread that advances.
class ManualClock final : public Clock {
  public:
    // Starts at the given wall time, with the monotonic time at zero.
    explicit ManualClock(double timeIntervalSince1970 = 0.0);
    // Drops the actions that never came due.
    ~ManualClock() override;
    ManualClock(const ManualClock&) = delete;
    ManualClock& operator=(const ManualClock&) = delete;

    double timeIntervalSince1970() const override;
    MonotonicTime now() const override;
    bool isManual() const override { return true; }
    // An action whose deadline has passed already runs at once, on the calling thread.
    void callAt(MonotonicTime deadline, Action action) override;

    // Moves the wall and the monotonic time forward by `seconds`, then runs every action that
    // has come due. Going back is refused with InvalidArgumentException.
    void advance(double seconds);
    // Sets the wall time alone, as when the user changes the system time; the monotonic time
    // and pending actions are untouched.
    void setTimeIntervalSince1970(double seconds);

  private:
    mutable std::mutex _mutex;  // guards the three below
    double _wall;
    MonotonicTime _now;
    // Equal deadlines keep their insertion order in a multimap.
    std::multimap<MonotonicTime, Action> _pending;
};

}  // namespace orvane::foundation
