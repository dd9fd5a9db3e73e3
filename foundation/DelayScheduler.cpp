#include "foundation/DelayScheduler.h"

#include <vector>

namespace orvane::foundation {

DelayScheduler::~DelayScheduler() {
    std::multimap<MonotonicTime, Clock::Action> dropped;
    {
        std::lock_guard lock(_mutex);
        _stopping = true;
        dropped.swap(_pending);
    }
    _changed.notify_all();
    if (_thread.joinable()) {
        _thread.join();
    }
    // `dropped` is destroyed here, outside the lock: an action's captures may post elsewhere.
}

void DelayScheduler::callAt(MonotonicTime deadline, Clock::Action action) {
    std::unique_lock lock(_mutex);
    if (_stopping) {
        lock.unlock();
        return;  // the action is dropped with the scheduler
    }
    const bool earliest = _pending.empty() || deadline < _pending.begin()->first;
    _pending.emplace(deadline, std::move(action));
    if (!_thread.joinable()) {
        _thread = std::thread([this] { serve(); });
    }
    lock.unlock();
    if (earliest) {
        _changed.notify_one();
    }
}

std::size_t DelayScheduler::pendingCount() const {
    std::lock_guard lock(_mutex);
    return _pending.size();
}

void DelayScheduler::serve() {
    std::unique_lock lock(_mutex);
    while (!_stopping) {
        if (_pending.empty()) {
            _changed.wait(lock);
            continue;
        }
        const MonotonicTime deadline = _pending.begin()->first;
        if (std::chrono::steady_clock::now() < deadline) {
            _changed.wait_until(lock, deadline);
            continue;
        }
        // Take every due action at once and run them in order outside the lock.
        std::vector<Clock::Action> due;
        const MonotonicTime now = std::chrono::steady_clock::now();
        auto end = _pending.upper_bound(now);
        for (auto it = _pending.begin(); it != end; ++it) {
            due.push_back(std::move(it->second));
        }
        _pending.erase(_pending.begin(), end);
        lock.unlock();
        for (auto& action : due) {
            action();
        }
        due.clear();
        lock.lock();
    }
}

}  // namespace orvane::foundation
