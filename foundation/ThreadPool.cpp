#include "foundation/ThreadPool.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "foundation/Clock.h"
#include "foundation/log.h"

namespace orvane::foundation {

namespace detail {
class GlobalQueue;
}

namespace {

// How long a stand-in thread waits idle before it ends.
constexpr auto kStandInIdleTime = std::chrono::seconds(5);
// Stand-ins beyond the base count, at most.
constexpr std::size_t kMaxStandIns = 64;

const char* labelFor(QueuePriority priority) {
    switch (priority) {
        case QueuePriority::High:
            return "global.high";
        case QueuePriority::Default:
            return "global.default";
        case QueuePriority::Low:
            return "global.low";
        case QueuePriority::Background:
            return "global.background";
    }
    return "global";
}

}  // namespace

namespace detail {

struct PoolState {
    struct Job {
        const GlobalQueue* queue = nullptr;
        Task task;
    };

    explicit PoolState(std::size_t base) : base(base) {}

    // Queues a job; false when the pool has stopped and the job was not taken.
    bool push(const GlobalQueue* queue, QueuePriority priority, Task& task);
    void worker();
    void spawnLocked();
    // Whether to notify one more idle worker: none is told twice, and none is woken while an
    // earlier wake-up is still on its way. Counts the wake-up.
    bool wakeOneLocked();
    // Waits for work as an idle worker; false when a timeout was given and passed.
    bool waitIdle(std::unique_lock<std::mutex>& lock, bool withTimeout);
    void beginBlocking();
    void endBlocking();
    void shutdown();

    const std::size_t base;
    std::mutex mutex;
    std::condition_variable wake;
    std::array<std::deque<Job>, 4> ready;  // by priority, highest first
    std::vector<std::thread> threads;      // started and not yet joined or detached
    std::size_t live = 0;                  // workers running
    std::size_t blocked = 0;               // workers waiting in sync()
    std::size_t idle = 0;                  // workers waiting for work
    std::size_t waking = 0;                // idle workers notified and not yet awake
    bool stopping = false;
    bool stopped = false;
};

}  // namespace detail

namespace {
thread_local detail::PoolState* tlsPool = nullptr;
}

namespace detail {

class GlobalQueue final : public DispatchQueue {
  public:
    GlobalQueue(QueuePriority priority, Clock& clock, std::shared_ptr<detail::PoolState> pool)
        : DispatchQueue(labelFor(priority), clock), _priority(priority), _pool(std::move(pool)) {}

    void async(Task task) override {
        if (!_pool->push(this, _priority, task)) {
            log("Queue \"%s\" dropped a block: its thread pool has stopped", label().c_str());
        }
    }

    // Blocks of a concurrent queue do not wait for each other: the caller runs its own.
    void sync(const Task& task) override {
        ScopedCurrent current(*this);
        task();
    }

    bool isConcurrent() const override { return true; }

    void run(const Task& task) const {
        ScopedCurrent current(*this);
        runDetached(task);
    }

  private:
    const QueuePriority _priority;
    const std::shared_ptr<detail::PoolState> _pool;
};

bool PoolState::push(const GlobalQueue* queue, QueuePriority priority, Task& task) {
    bool notify = false;
    {
        std::lock_guard lock(mutex);
        if (stopped) {
            return false;
        }
        ready[static_cast<std::size_t>(priority)].push_back(Job{queue, std::move(task)});
        notify = wakeOneLocked();
    }
    if (notify) {
        wake.notify_one();
    }
    return true;
}

bool PoolState::wakeOneLocked() {
    if (idle > waking) {
        ++waking;
        return true;
    }
    return false;
}

bool PoolState::waitIdle(std::unique_lock<std::mutex>& lock, bool withTimeout) {
    ++idle;
    bool woken = true;
    if (withTimeout) {
        woken = wake.wait_for(lock, kStandInIdleTime) == std::cv_status::no_timeout;
    } else {
        wake.wait(lock);
    }
    --idle;
    // A spurious or timed-out wake-up may take another's count; that only errs on the side of
    // notifying more.
    if (waking > 0) {
        --waking;
    }
    return woken;
}

void PoolState::worker() {
    tlsPool = this;
    std::unique_lock lock(mutex);
    for (;;) {
        auto nonEmpty = std::find_if(ready.begin(), ready.end(),
                                     [](const std::deque<Job>& jobs) { return !jobs.empty(); });
        if (nonEmpty != ready.end()) {
            Job job = std::move(nonEmpty->front());
            nonEmpty->pop_front();
            // More work waits: bring in another worker rather than leave it all to this one.
            const bool more =
                std::any_of(ready.begin(), ready.end(),
                            [](const std::deque<Job>& jobs) { return !jobs.empty(); });
            const bool notify = more && wakeOneLocked();
            lock.unlock();
            if (notify) {
                wake.notify_one();
            }
            job.queue->run(job.task);
            job.task = nullptr;  // its captures go before the lock is taken again
            lock.lock();
            continue;
        }
        if (stopping) {
            break;  // shutdown() joins this thread
        }
        if (live - blocked <= base) {
            waitIdle(lock, false);
            continue;
        }
        // A stand-in started while workers were blocked; it ends once it has been idle a while.
        const bool timedOut = !waitIdle(lock, true);
        if (timedOut && !stopping && live - blocked > base &&
            std::all_of(ready.begin(), ready.end(),
                        [](const std::deque<Job>& jobs) { return jobs.empty(); })) {
            const auto self = std::find_if(threads.begin(), threads.end(), [](const auto& t) {
                return t.get_id() == std::this_thread::get_id();
            });
            self->detach();
            threads.erase(self);
            wake.notify_one();  // another idle surplus worker re-checks and ends in turn
            break;
        }
    }
    --live;
    tlsPool = nullptr;
}

void PoolState::spawnLocked() {
    threads.emplace_back([this] { worker(); });
    ++live;
}

void PoolState::beginBlocking() {
    std::lock_guard lock(mutex);
    ++blocked;
    if (live - blocked < base && live < base + kMaxStandIns) {
        spawnLocked();
    }
}

void PoolState::endBlocking() {
    std::lock_guard lock(mutex);
    --blocked;
}

void PoolState::shutdown() {
    {
        std::lock_guard lock(mutex);
        stopping = true;
    }
    wake.notify_all();
    // Workers end once nothing is queued; a stand-in may start meanwhile, so repeat.
    for (;;) {
        std::vector<std::thread> joining;
        {
            std::lock_guard lock(mutex);
            if (threads.empty()) {
                stopped = true;
                break;
            }
            joining.swap(threads);
        }
        for (auto& thread : joining) {
            thread.join();
        }
    }
    // A block posted from outside the pool after the last worker ended never runs.
    std::array<std::deque<Job>, 4> dropped;
    {
        std::lock_guard lock(mutex);
        dropped.swap(ready);
    }
}

}  // namespace detail

ThreadPool::ThreadPool(std::size_t threads) : ThreadPool(threads, systemClock()) {}

ThreadPool::ThreadPool(std::size_t threads, Clock& clock)
    : _state(std::make_shared<detail::PoolState>(threads == 0 ? defaultThreadCount() : threads)) {
    for (std::size_t i = 0; i < _queues.size(); ++i) {
        _queues[i] =
            std::make_shared<detail::GlobalQueue>(static_cast<QueuePriority>(i), clock, _state);
    }
    std::lock_guard lock(_state->mutex);
    for (std::size_t i = 0; i < _state->base; ++i) {
        _state->spawnLocked();
    }
}

ThreadPool::~ThreadPool() {
    _state->shutdown();
}

std::shared_ptr<DispatchQueue> ThreadPool::queue(QueuePriority priority) const {
    return _queues[static_cast<std::size_t>(priority)];
}

std::size_t ThreadPool::threadCount() const {
    std::lock_guard lock(_state->mutex);
    return _state->live;
}

std::size_t ThreadPool::baseThreadCount() const {
    return _state->base;
}

bool ThreadPool::ownsCurrentThread() const {
    return tlsPool == _state.get();
}

std::size_t ThreadPool::defaultThreadCount() {
    return std::max<std::size_t>(2, std::thread::hardware_concurrency());
}

ThreadPool& sharedThreadPool() {
    // Never destroyed: blocks may still be posted while static objects go away at exit.
    static ThreadPool* const pool = new ThreadPool();
    return *pool;
}

std::shared_ptr<DispatchQueue> globalQueue(QueuePriority priority) {
    return sharedThreadPool().queue(priority);
}

ScopedBlockingWait::ScopedBlockingWait() : _pool(tlsPool) {
    if (_pool != nullptr) {
        _pool->beginBlocking();
    }
}

ScopedBlockingWait::~ScopedBlockingWait() {
    if (_pool != nullptr) {
        _pool->endBlocking();
    }
}

}  // namespace orvane::foundation
