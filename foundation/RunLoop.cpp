#include "foundation/RunLoop.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <tuple>
#include <vector>

#include "foundation/Timer.h"
#include "foundation/exceptions.h"

namespace orvane::foundation {

namespace detail {

struct TimerState {
    TimerState(std::weak_ptr<RunLoopCore> loop, Duration interval, bool repeats,
               MonotonicTime fireDate, Task callback)
        : loop(std::move(loop)),
          interval(interval),
          repeats(repeats),
          fireDate(fireDate),
          callback(std::move(callback)) {}

    const std::weak_ptr<RunLoopCore> loop;
    const Duration interval;
    const bool repeats;
    std::atomic<bool> valid{true};
    // The rest is guarded by the loop's mutex. The callback is released only while the timer
    // is not firing, so a firing timer calls it without the lock.
    std::uint64_t sequence = 0;
    MonotonicTime fireDate;
    bool firing = false;
    Task callback;
};

struct RunLoopCore {
    explicit RunLoopCore(Clock& clock) : clock(clock), thread(std::this_thread::get_id()) {}

    // Queues a block; false when the loop is gone and the block was not taken.
    bool post(Task& task);
    // Wakes a waiting run() to look again: blocks, timers or quit changed.
    void changedLocked() { ++generation; }
    // Takes a timer out of service. Returns its callback, to be released outside the lock,
    // unless it is firing; then the firing code releases it when the callback returns.
    Task invalidateLocked(TimerState& timer);
    std::optional<MonotonicTime> earliestFireDateLocked() const;
    void alarm(MonotonicTime deadline);
    void callWakeHandler(std::shared_ptr<const std::function<void()>> handler) const;

    Clock& clock;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Task> tasks;
    std::vector<std::shared_ptr<TimerState>> timers;  // scheduled and valid
    std::uint64_t generation = 0;
    std::uint64_t nextTimerSequence = 0;
    bool quitRequested = false;
    bool closed = false;
    std::size_t servingDepth = 0;
    // The thread that serves the loop, or served it last.
    std::atomic<std::thread::id> thread;
    // The earliest wake-up asked of a manual clock and not yet given.
    MonotonicTime armedAlarm = MonotonicTime::max();
    std::shared_ptr<const std::function<void()>> wakeHandler;
};

bool RunLoopCore::post(Task& task) {
    std::shared_ptr<const std::function<void()>> handler;
    {
        std::lock_guard lock(mutex);
        if (closed) {
            return false;
        }
        tasks.push_back(std::move(task));
        changedLocked();
        handler = wakeHandler;
    }
    changed.notify_one();
    callWakeHandler(std::move(handler));
    return true;
}

Task RunLoopCore::invalidateLocked(TimerState& timer) {
    timer.valid.store(false);
    auto it = std::find_if(timers.begin(), timers.end(),
                           [&](const auto& scheduled) { return scheduled.get() == &timer; });
    if (it != timers.end()) {
        timers.erase(it);
        changedLocked();
    }
    if (timer.firing) {
        return {};
    }
    return std::move(timer.callback);
}

std::optional<MonotonicTime> RunLoopCore::earliestFireDateLocked() const {
    std::optional<MonotonicTime> earliest;
    for (const auto& timer : timers) {
        if (!timer->firing && (!earliest || timer->fireDate < *earliest)) {
            earliest = timer->fireDate;
        }
    }
    return earliest;
}

void RunLoopCore::alarm(MonotonicTime deadline) {
    {
        std::lock_guard lock(mutex);
        if (deadline >= armedAlarm) {
            armedAlarm = MonotonicTime::max();
        }
        changedLocked();
    }
    changed.notify_all();
}

void RunLoopCore::callWakeHandler(std::shared_ptr<const std::function<void()>> handler) const {
    if (handler && *handler) {
        (*handler)();
    }
}

void invalidateTimer(TimerState& state) noexcept {
    auto core = state.loop.lock();
    if (!core) {
        state.valid.store(false);  // the loop invalidated it when it went
        return;
    }
    Task released;
    {
        std::lock_guard lock(core->mutex);
        if (!state.valid.load()) {
            return;
        }
        released = core->invalidateLocked(state);
    }
    core->changed.notify_all();
}

bool isTimerValid(const TimerState& state) noexcept {
    return state.valid.load();
}

double timerInterval(const TimerState& state) noexcept {
    return secondsFromDuration(state.interval);
}

}  // namespace detail

namespace {

using detail::RunLoopCore;
using detail::TimerState;

class MainQueue final : public DispatchQueue {
  public:
    MainQueue(std::weak_ptr<RunLoopCore> core, Clock& clock)
        : DispatchQueue("main", clock), _core(std::move(core)) {}

    void async(Task task) override {
        if (auto core = _core.lock()) {
            core->post(task);
        }
        // Otherwise the loop is gone and the block is dropped with `task`.
    }

    void sync(const Task& task) override { syncByPosting(task); }

    bool isCurrent() const override {
        auto core = _core.lock();
        return core && core->thread.load() == std::this_thread::get_id();
    }

  private:
    const std::weak_ptr<RunLoopCore> _core;
};

// Claims the loop for the calling thread while it serves; nested serving on that thread is
// allowed, serving from two threads at once is not.
class ServingScope {
  public:
    explicit ServingScope(RunLoopCore& core) : _core(core) {
        std::lock_guard lock(_core.mutex);
        if (_core.servingDepth > 0 && _core.thread.load() != std::this_thread::get_id()) {
            throw InternalInconsistencyException(
                "A run loop is already being run by another thread");
        }
        ++_core.servingDepth;
        _core.thread.store(std::this_thread::get_id());
    }
    ~ServingScope() {
        std::lock_guard lock(_core.mutex);
        --_core.servingDepth;
    }
    ServingScope(const ServingScope&) = delete;
    ServingScope& operator=(const ServingScope&) = delete;

  private:
    RunLoopCore& _core;
};

// The first fire date on the timer's grid after `now`, counting from its last fire date.
MonotonicTime nextFireDate(MonotonicTime fired, Duration interval, MonotonicTime now) {
    const MonotonicTime next = addSaturating(fired, interval);
    if (next > now) {
        return next;
    }
    const auto missed = (now - fired) / interval;
    return addSaturating(fired, interval * (missed + 1));
}

// Ends one firing: a one-shot timer becomes invalid, and an invalidated timer's callback is
// released, now that it no longer runs. Runs when the callback returns or throws.
class FiringScope {
  public:
    FiringScope(RunLoopCore& core, TimerState& timer) : _core(core), _timer(timer) {}
    ~FiringScope() {
        Task released;
        {
            std::lock_guard lock(_core.mutex);
            _timer.firing = false;
            if (!_timer.repeats && _timer.valid.load()) {
                released = _core.invalidateLocked(_timer);
            } else if (!_timer.valid.load()) {
                released = std::move(_timer.callback);
            }
        }
    }
    FiringScope(const FiringScope&) = delete;
    FiringScope& operator=(const FiringScope&) = delete;

  private:
    RunLoopCore& _core;
    TimerState& _timer;
};

// Fires, once each, the timers due at `now`, in fire date order. Returns how many fired.
std::size_t fireDueTimers(RunLoopCore& core, MonotonicTime now, bool stopOnQuit) {
    std::vector<std::shared_ptr<TimerState>> due;
    {
        std::lock_guard lock(core.mutex);
        for (const auto& timer : core.timers) {
            if (!timer->firing && timer->fireDate <= now) {
                due.push_back(timer);
            }
        }
    }
    std::sort(due.begin(), due.end(), [](const auto& a, const auto& b) {
        return std::tie(a->fireDate, a->sequence) < std::tie(b->fireDate, b->sequence);
    });
    std::size_t fired = 0;
    for (const auto& timer : due) {
        {
            std::lock_guard lock(core.mutex);
            if (core.closed || (stopOnQuit && core.quitRequested)) {
                break;
            }
            // An earlier callback may have invalidated it.
            if (!timer->valid.load() || timer->firing || timer->fireDate > now) {
                continue;
            }
            if (timer->repeats) {
                timer->fireDate = nextFireDate(timer->fireDate, timer->interval, now);
            }
            timer->firing = true;
        }
        FiringScope firing(core, *timer);
        ++fired;
        timer->callback();
    }
    return fired;
}

// Serves ready blocks and due timers until none is left. Returns how many ran.
std::size_t serveReady(RunLoopCore& core, MonotonicTime now, bool stopOnQuit) {
    std::size_t served = 0;
    for (;;) {
        for (;;) {
            Task task;
            {
                std::lock_guard lock(core.mutex);
                if (core.closed || (stopOnQuit && core.quitRequested) || core.tasks.empty()) {
                    break;
                }
                task = std::move(core.tasks.front());
                core.tasks.pop_front();
            }
            task();
            ++served;
        }
        const std::size_t fired = fireDueTimers(core, now, stopOnQuit);
        served += fired;
        std::lock_guard lock(core.mutex);
        if (core.closed || (stopOnQuit && core.quitRequested) ||
            (fired == 0 && core.tasks.empty())) {
            return served;
        }
    }
}

}  // namespace

RunLoop::RunLoop(Clock& clock)
    : _core(std::make_shared<RunLoopCore>(clock)),
      _queue(std::make_shared<MainQueue>(_core, clock)) {}

RunLoop::~RunLoop() {
    std::deque<Task> tasks;
    std::vector<std::shared_ptr<TimerState>> timers;
    std::vector<Task> callbacks;
    std::shared_ptr<const std::function<void()>> handler;
    {
        std::lock_guard lock(_core->mutex);
        _core->closed = true;
        tasks.swap(_core->tasks);
        timers.swap(_core->timers);
        for (const auto& timer : timers) {
            timer->valid.store(false);
            if (!timer->firing) {
                callbacks.push_back(std::move(timer->callback));
            }
        }
        handler.swap(_core->wakeHandler);
        _core->changedLocked();
    }
    _core->changed.notify_all();
    // The dropped blocks and callbacks go here, outside the lock.
}

Clock& RunLoop::clock() const {
    return _core->clock;
}

void RunLoop::post(Task task) {
    _core->post(task);
}

void RunLoop::run() {
    const auto core = _core;  // stays valid if a block destroys the loop
    ServingScope serving(*core);
    DispatchQueue::ScopedCurrent current(*_queue);
    for (;;) {
        serveReady(*core, core->clock.now(), true);
        std::unique_lock lock(core->mutex);
        if (core->quitRequested || core->closed) {
            core->quitRequested = false;
            return;
        }
        if (!core->tasks.empty()) {
            continue;
        }
        const std::uint64_t seen = core->generation;
        const auto changed = [&] { return core->generation != seen; };
        const std::optional<MonotonicTime> next = core->earliestFireDateLocked();
        if (!next) {
            core->changed.wait(lock, changed);
        } else if (!core->clock.isManual()) {
            core->changed.wait_until(lock, *next, changed);
        } else {
            // Only advancing the clock brings the deadline: ask the clock to wake the loop then.
            if (*next < core->armedAlarm) {
                core->armedAlarm = *next;
                lock.unlock();
                core->clock.callAt(*next, [weak = std::weak_ptr(core), deadline = *next] {
                    if (auto alive = weak.lock()) {
                        alive->alarm(deadline);
                    }
                });
                lock.lock();
            }
            core->changed.wait(lock, changed);
        }
    }
}

void RunLoop::quit() {
    {
        std::lock_guard lock(_core->mutex);
        _core->quitRequested = true;
        _core->changedLocked();
    }
    _core->changed.notify_all();
}

std::size_t RunLoop::runUntilIdle() {
    const auto core = _core;
    ServingScope serving(*core);
    DispatchQueue::ScopedCurrent current(*_queue);
    return serveReady(*core, core->clock.now(), false);
}

bool RunLoop::isCurrent() const {
    return _core->thread.load() == std::this_thread::get_id();
}

std::optional<MonotonicTime> RunLoop::nextTimerFireDate() const {
    std::lock_guard lock(_core->mutex);
    return _core->earliestFireDateLocked();
}

void RunLoop::setWakeHandler(std::function<void()> handler) {
    std::shared_ptr<const std::function<void()>> shared;
    if (handler) {
        shared = std::make_shared<const std::function<void()>>(std::move(handler));
    }
    std::lock_guard lock(_core->mutex);
    _core->wakeHandler.swap(shared);
    // The old handler goes when `shared` does, after the lock.
}

std::shared_ptr<TimerState> RunLoop::scheduleTimer(Duration interval, bool repeats, Task callback) {
    const MonotonicTime fireDate = addSaturating(_core->clock.now(), interval);
    auto timer =
        std::make_shared<TimerState>(_core, interval, repeats, fireDate, std::move(callback));
    std::shared_ptr<const std::function<void()>> handler;
    Task dropped;
    {
        std::lock_guard lock(_core->mutex);
        timer->sequence = _core->nextTimerSequence++;
        if (_core->closed) {
            timer->valid.store(false);
            dropped = std::move(timer->callback);
        } else {
            _core->timers.push_back(timer);
            _core->changedLocked();
            handler = _core->wakeHandler;
        }
    }
    _core->changed.notify_all();
    _core->callWakeHandler(std::move(handler));
    return timer;
}

RunLoop& mainRunLoop() {
    // Never destroyed: other threads may still post to the main queue while static objects go
    // away at exit.
    static RunLoop* const loop = new RunLoop(systemClock());
    return *loop;
}

std::shared_ptr<DispatchQueue> mainQueue() {
    return mainRunLoop().mainQueue();
}

}  // namespace orvane::foundation
