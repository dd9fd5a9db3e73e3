#include "foundation/DelayScheduler.h"

#include <vector>

namespace orvane::foundation {

DelayScheduler::~DelayScheduler() {
    std::multimap<MonotonicTime, Clock::Action> dropped;
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        dropped.swap(pending_);
    }
    changed_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
    // `dropped` is destroyed here, outside the lock: an action's captures may post elsewhere.
}

void DelayScheduler::callAt(MonotonicTime deadline, Clock::Action action) {
    std::unique_lock lock(mutex_);
    if (stopping_) {
        lock.unlock();
        return;  // the action is dropped with the scheduler
    }
    const bool earliest = pending_.empty() || deadline < pending_.begin()->first;
    pending_.emplace(deadline, std::move(action));
    if (!thread_.joinable()) {
        thread_ = std::thread([this] { serve(); });
    }
    lock.unlock();
    if (earliest) {
        changed_.notify_one();
    }
}

std::size_t DelayScheduler::pendingCount() const {
    std::lock_guard lock(mutex_);
    return pending_.size();
}

void DelayScheduler::serve() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        if (pending_.empty()) {
            changed_.wait(lock);
            continue;
        }
        const MonotonicTime deadline = pending_.begin()->first;
        if (std::chrono::steady_clock::now() < deadline) {
            changed_.wait_until(lock, deadline);
            continue;
        }
        // Take every due action at once and run them in order outside the lock.
        std::vector<Clock::Action> due;
        const MonotonicTime now = std::chrono::steady_clock::now();
        auto end = pending_.upper_bound(now);
        for (auto it = pending_.begin(); it != end; ++it) {
            due.push_back(std::move(it->second));
        }
        pending_.erase(pending_.begin(), end);
        lock.unlock();
        for (auto& action : due) {
            action();
        }
        due.clear();
        lock.lock();
    }
}

}  // namespace orvane::foundation
