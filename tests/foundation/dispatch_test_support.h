// Helpers for tests on real threads: a counter that a test waits on with a generous timeout
// (never a fixed sleep), and producers that work side by side.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

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

// Runs `step(thread, i)` for i = 0..times-1 on each of `threads` new threads at once, and joins
// them.
template <typename Step>
void repeatOnThreads(int threads, int times, Step step) {
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([&, t] {
            for (int i = 0; i < times; ++i) {
                step(t, i);
            }
        });
    }
    for (auto& thread : running) {
        thread.join();
    }
}

// Each producer's numbers, as its blocks ran them, are 0..each-1 in order.
inline void expectEachInOrder(const std::vector<std::vector<int>>& seen, int each) {
    for (const auto& order : seen) {
        ASSERT_EQ(order.size(), static_cast<std::size_t>(each));
        for (int i = 0; i < each; ++i) {
            ASSERT_EQ(order[i], i);
        }
    }
}

}  // namespace orvane::foundation::testing
