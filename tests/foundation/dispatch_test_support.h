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
        std::lock_guard lock(_mutex);
        _count += events;
        _changed.notify_all();
    }
    // True once the count has reached `target`; false after the timeout.
    bool waitFor(int target) {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, kGenerousTimeout, [&] { return _count >= target; });
    }
    int count() const {
        std::lock_guard lock(_mutex);
        return _count;
    }

  private:
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    int _count = 0;
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
