// The main queue's engine: a loop that runs posted blocks and timers on one thread, in order.
//
// Blocks may be posted from any thread; they run on the thread that runs the loop, in the order
// they were posted. The loop owns its timers (Timer.h). Three ways drive it:
// - run(), which serves blocks and timers until quit(), sleeping on a condition variable until
//   the next timer's deadline or the next posted block;
// - runUntilIdle(), which serves what is ready now and returns (tests, and hosts such as a GUI
//   toolkit that pump the loop from their own event loop, told when by setWakeHandler());
// - on a ManualClock, nothing sleeps: a test advances the clock and pumps with runUntilIdle().
//
// The loop's thread is the thread that serves it, and between servings the one that served it
// last (at first, the one that made it). Code on that thread counts as running on the main
// queue, which makes sync() onto the main queue from there an error instead of a deadlock.
//
// Destroying the loop drops the blocks still queued and invalidates its timers; blocks posted
// to its queue afterwards are dropped.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

#include "foundation/Clock.h"
#include "foundation/DispatchQueue.h"

namespace orvane::foundation {

class Timer;

namespace detail {
struct RunLoopCore;
struct TimerState;
}  // namespace detail

class RunLoop {
  public:
    explicit RunLoop(Clock& clock = systemClock());
    ~RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    Clock& clock() const;
    // The queue that posts to this loop, labelled "main".
    std::shared_ptr<DispatchQueue> mainQueue() const { return _queue; }

    // Queues a block for the loop's thread. Safe from any thread.
    void post(Task task);

    // Serves blocks and timers on the calling thread until quit(). Throws
    // InternalInconsistencyException when another thread serves the loop at the time.
    void run();
    // Makes run() return after the block it is running; when no run() is active, the next one
    // returns at once. Safe from any thread.
    void quit();
    // Runs every block that is ready, every timer due at the clock's current time, and the
    // blocks and timers these make ready in turn, then returns how many it ran (timer firings
    // included). Never waits.
    std::size_t runUntilIdle();

    // Whether the calling thread is the loop's thread.
    bool isCurrent() const;
    // When the earliest timer is due, if any timer is scheduled.
    std::optional<MonotonicTime> nextTimerFireDate() const;
    // Called, from any thread, whenever a block is posted or a timer is scheduled: a host that
    // pumps with runUntilIdle() learns that it should. Must not call back into the loop
    // synchronously. An empty function removes it.
    void setWakeHandler(std::function<void()> handler);

  private:
    friend class Timer;
    std::shared_ptr<detail::TimerState> scheduleTimer(Duration interval, bool repeats,
                                                      Task callback);

    std::shared_ptr<detail::RunLoopCore> _core;
    std::shared_ptr<DispatchQueue> _queue;
};

// The process's main run loop, on the system clock. The program's main() calls it first, so
// that its thread is the main thread, and then runs it.
RunLoop& mainRunLoop();

}  // namespace orvane::foundation
