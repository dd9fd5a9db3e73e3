// Timers of a run loop: repeating or one-shot, fired on the loop's thread, as NSTimer objects
// scheduled on the main run loop are on the phone.
//
// A Timer is the handle of one scheduled timer, and it is also the field that holds it: empty
// when no timer runs. Dropping a handle that holds a timer invalidates the timer. The fields of
// the camera screen read as they do on the phone:
//
//     foundation::Timer _timerRecord;              // nil
//
//     void startRecordTimer() {
//         if (_timerRecord) return;                 // a running timer is never doubled
//         _timerRecord = foundation::Timer::scheduled(_runLoop, 0.5, true,
//                                                     [this] { updateRecordTime(); });
//     }
//     void stopRecordTimer() {
//         _timerRecord.reset();                     // invalidate, then set the field to nil
//     }
//     void updateZoomSlider() {                     // target of a one-shot timer
//         _timerZoomSlider.reset();                 // one-shot targets clear their field
//         ...
//     }
//
// A one-shot timer that has fired is invalid, but its handle stays set until cleared, as a
// field keeps pointing at a fired NSTimer. An unnamed one-shot timer that nobody keeps is
// handed to its loop with detach().
//
// Firing: the first fire date is the schedule time plus the interval. A repeating timer then
// keeps to the grid of its first fire date (n times the interval after it), measured from its
// previous scheduled fire date and not from the time it was served: when the loop was busy past
// several fire dates, it fires once and then keeps to the grid. An interval of zero or less, or
// NaN, becomes 0.1 milliseconds.
//
// Re-entrancy: invalidate(), reset(), assigning a new timer to the field, or destroying the
// object that holds the field are all safe from inside the timer's own callback; the callback
// and its captures are released once it returns. A one-shot timer is still valid while its
// callback runs and becomes invalid when it returns.
//
// Threads: callbacks run on the loop's thread. Handles may be invalidated, reset and asked
// isValid() from any thread; one handle is not shared between threads without a lock.
#pragma once

#include <memory>

#include "foundation/DispatchQueue.h"

namespace orvane::foundation {

class RunLoop;

namespace detail {
struct TimerState;
void invalidateTimer(TimerState& state) noexcept;
bool isTimerValid(const TimerState& state) noexcept;
double timerInterval(const TimerState& state) noexcept;
}  // namespace detail

class Timer {
  public:
    Timer() noexcept = default;
    // Schedules a timer on `loop` that first fires `intervalSeconds` from now on the loop's
    // clock and, with `repeats`, every interval after that.
    static Timer scheduled(RunLoop& loop, double intervalSeconds, bool repeats, Task callback);

    Timer(Timer&& other) noexcept = default;
    // Invalidates the timer this handle held before taking the other one.
    Timer& operator=(Timer&& other) noexcept;
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer();

    // Whether the handle holds a timer: the field is set. A fired one-shot still counts.
    explicit operator bool() const noexcept { return _state != nullptr; }
    // Whether the timer will still fire. False for an empty handle.
    bool isValid() const noexcept;
    // Stops the timer for good; the handle keeps holding it (invalid).
    void invalidate() noexcept;
    // Invalidates and empties the handle.
    void reset() noexcept;
    // Empties the handle and leaves the timer to its loop: a one-shot timer then fires once and
    // goes; a repeating one runs until its loop ends.
    void detach() noexcept;
    // The interval in seconds, after the lower bound; 0 for an empty handle.
    double timeInterval() const noexcept;

  private:
    explicit Timer(std::shared_ptr<detail::TimerState> state) noexcept : _state(std::move(state)) {}

    std::shared_ptr<detail::TimerState> _state;
};

}  // namespace orvane::foundation
