// One thread that runs actions at steady-clock deadlines: the engine behind the system clock's
// callAt, and so behind every delayed dispatch (one thread for all of them, not one per call).
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "foundation/Clock.h"

namespace orvane::foundation {

class DelayScheduler {
  public:
    DelayScheduler() = default;
    // Stops and joins the thread; actions not yet due are dropped.
    ~DelayScheduler();
    DelayScheduler(const DelayScheduler&) = delete;
    DelayScheduler& operator=(const DelayScheduler&) = delete;

    // Runs `action` on the scheduler thread once steady_clock has reached `deadline`; in
    // deadline order, equal deadlines in call order. Starts the thread at the first call.
    void callAt(MonotonicTime deadline, Clock::Action action);

    // How many actions wait for their deadline.
    std::size_t pendingCount() const;

  private:
    void serve();

    mutable std::mutex _mutex;  // guards _pending and _stopping
    std::condition_variable _changed;
    std::multimap<MonotonicTime, Clock::Action> _pending;
    bool _stopping = false;
    std::thread _thread;  // started under _mutex, joined by the destructor
};

}  // namespace orvane::foundation
