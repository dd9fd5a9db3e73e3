// The worker threads behind the global queues: one pool sized to the machine, serving four
// priorities from one set of threads, highest priority first.
//
// A worker that blocks in sync() lets the pool start a stand-in thread, so that the work it
// waits for still finds a thread even when every worker waits; stand-ins end after a few idle
// seconds.
#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "foundation/DispatchQueue.h"

namespace orvane::foundation {

class Clock;

namespace detail {
struct PoolState;
}

class ThreadPool {
  public:
    // `threads` workers (the machine's processor count, at least two, when 0); after() on its
    // queues runs on `clock`.
    explicit ThreadPool(std::size_t threads = 0);
    ThreadPool(std::size_t threads, Clock& clock);
    // Runs every block already queued, and those they queue in turn, to completion, then joins
    // the workers. Blocks posted to its queues afterwards are dropped.
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    // The concurrent queue of one priority.
    std::shared_ptr<DispatchQueue> queue(QueuePriority priority) const;
    // The number of worker threads alive now, stand-ins included.
    std::size_t threadCount() const;
    // The number of workers when none is blocked.
    std::size_t baseThreadCount() const;
    // Whether the calling thread is one of this pool's workers.
    bool ownsCurrentThread() const;

    static std::size_t defaultThreadCount();

  private:
    std::shared_ptr<detail::PoolState> _state;
    std::array<std::shared_ptr<DispatchQueue>, 4> _queues;
};

// The pool of the process, behind globalQueue(). It lives as long as the process.
ThreadPool& sharedThreadPool();

// Marks the calling thread as blocked waiting for other work for the scope's lifetime; on a pool
// worker this lets the pool start a stand-in thread. Used by sync().
class ScopedBlockingWait {
  public:
    ScopedBlockingWait();
    ~ScopedBlockingWait();
    ScopedBlockingWait(const ScopedBlockingWait&) = delete;
    ScopedBlockingWait& operator=(const ScopedBlockingWait&) = delete;

  private:
    detail::PoolState* _pool;
};

}  // namespace orvane::foundation
