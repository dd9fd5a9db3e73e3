// Helpers for tests that wait on real threads: a counter that a test waits on with a generous
// timeout, never a fixed sleep.
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "foundation/DispatchQueue.h"

namespace orvane::foundation::testing {

inline constexpr auto kGenerousTimeout = std::chrono::seconds(20);

// Counts events from any thread; a test waits until the count reaches a number. Used as a gate
// too: workers wait for one event that the test sends.
class EventCounter {
  public:
    // Notifies under the lock: a waiter may destroy the counter as soon as it sees the count.
    void add(int events = 1) {
        std::lock_guard lock(mutex_);
        count_ += events;
        changed_.notify_all();
    }
    // True once the count has reached `target`; false after the timeout.
    bool waitFor(int target) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, kGenerousTimeout, [&] { return count_ >= target; });
    }
    int count() const {
        std::lock_guard lock(mutex_);
        return count_;
    }

  private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
};

// Keeps one thread of `queue` busy until the returned gate is opened with add().
inline std::shared_ptr<EventCounter> occupy(DispatchQueue& queue) {
    auto started = std::make_shared<EventCounter>();
    auto gate = std::make_shared<EventCounter>();
    queue.async([started, gate] {
        started->add();
        gate->waitFor(1);
    });
    started->waitFor(1);
    return gate;
}

}  // namespace orvane::foundation::testing
