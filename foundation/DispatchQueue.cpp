#include "foundation/DispatchQueue.h"

#include <condition_variable>
#include <exception>
#include <utility>

#include "foundation/Clock.h"
#include "foundation/ThreadPool.h"
#include "foundation/exceptions.h"
#include "foundation/log.h"

namespace orvane::foundation {

namespace {

// The innermost queue the thread runs blocks of; each frame links to the one it interrupted.
thread_local const DispatchQueue::ScopedCurrent* tlsCurrent = nullptr;

// How many blocks a serial queue runs before it lets other work on its target's thread.
constexpr int kDrainBatch = 64;

[[noreturn]] void terminateForEscapedException(const std::string& label) noexcept {
    try {
        throw;
    } catch (const std::exception& e) {
        log("Uncaught exception in a block on queue \"%s\": %s", label.c_str(), e.what());
    } catch (...) {
        log("Uncaught exception in a block on queue \"%s\"", label.c_str());
    }
    std::terminate();
}

// What sync() waits for: the posted block ran, or was dropped unrun.
struct SyncState {
    std::mutex mutex;
    std::condition_variable finished;
    bool done = false;
    bool ran = false;
    std::exception_ptr error;
};

// Owned by the posted block alone; when the last copy of that block goes, whether it ran or was
// dropped, the waiter is released.
struct SyncCall {
    SyncCall(const Task& task, std::shared_ptr<SyncState> state)
        : task(&task), state(std::move(state)) {}
    SyncCall(const SyncCall&) = delete;
    SyncCall& operator=(const SyncCall&) = delete;

    const Task* task;
    std::shared_ptr<SyncState> state;
    bool ran = false;
    std::exception_ptr error;

    ~SyncCall() {
        {
            std::lock_guard lock(state->mutex);
            state->done = true;
            state->ran = ran;
            state->error = error;
        }
        state->finished.notify_all();
    }
};

}  // namespace

DispatchQueue::ScopedCurrent::ScopedCurrent(const DispatchQueue& queue)
    : _queue(&queue), _outer(tlsCurrent) {
    tlsCurrent = this;
}

DispatchQueue::ScopedCurrent::~ScopedCurrent() {
    tlsCurrent = _outer;
}

DispatchQueue::DispatchQueue(std::string label, Clock& clock)
    : _label(std::move(label)), _clock(clock) {}

void DispatchQueue::after(double delaySeconds, Task task) {
    const Duration delay = durationFromSeconds(delaySeconds);
    if (delay <= Duration::zero()) {
        async(std::move(task));
        return;
    }
    const MonotonicTime deadline = addSaturating(_clock.now(), delay);
    if (deadline == MonotonicTime::max()) {
        return;  // never due
    }
    _clock.callAt(deadline, [self = shared_from_this(), task = std::move(task)]() mutable {
        self->async(std::move(task));
    });
}

bool DispatchQueue::isCurrent() const {
    for (const ScopedCurrent* frame = tlsCurrent; frame != nullptr; frame = frame->_outer) {
        if (frame->_queue == this) {
            return true;
        }
    }
    return false;
}

const DispatchQueue* DispatchQueue::current() {
    return tlsCurrent != nullptr ? tlsCurrent->_queue : nullptr;
}

void DispatchQueue::checkSyncWouldNotDeadlock() const {
    for (const DispatchQueue* queue = this; queue != nullptr; queue = queue->target()) {
        if (queue->isConcurrent() || !queue->isCurrent()) {
            continue;
        }
        if (queue == this) {
            throw InternalInconsistencyException("sync onto queue \"" + _label +
                                                 "\" from code already running on it would "
                                                 "deadlock");
        }
        throw InternalInconsistencyException("sync onto queue \"" + _label +
                                             "\" from code running on its target \"" +
                                             queue->label() + "\" would deadlock");
    }
}

void DispatchQueue::syncByPosting(const Task& task) {
    checkSyncWouldNotDeadlock();
    auto state = std::make_shared<SyncState>();
    {
        auto call = std::make_shared<SyncCall>(task, state);
        async([call] {
            try {
                (*call->task)();
            } catch (...) {
                call->error = std::current_exception();
            }
            call->ran = true;
        });
    }
    {
        ScopedBlockingWait blocking;
        std::unique_lock lock(state->mutex);
        state->finished.wait(lock, [&] { return state->done; });
    }
    if (!state->ran) {
        throw InternalInconsistencyException("sync onto queue \"" + _label +
                                             "\" failed: the queue no longer runs work");
    }
    if (state->error) {
        std::rethrow_exception(state->error);
    }
}

void DispatchQueue::runDetached(const Task& task) const noexcept {
    try {
        task();
    } catch (...) {
        terminateForEscapedException(_label);
    }
}

// Serial queues.

// Owned by a posted drain job; when the target drops the job unrun, the queue learns of it.
struct SerialQueue::DrainJob {
    explicit DrainJob(std::shared_ptr<SerialQueue> queue) : queue(std::move(queue)) {}
    DrainJob(const DrainJob&) = delete;
    DrainJob& operator=(const DrainJob&) = delete;

    std::shared_ptr<SerialQueue> queue;
    bool ran = false;

    ~DrainJob() {
        if (!ran) {
            queue->drainDropped();
        }
    }
};

std::shared_ptr<SerialQueue> SerialQueue::create(std::string label,
                                                 std::shared_ptr<DispatchQueue> target) {
    if (!target) {
        target = globalQueue(QueuePriority::Default);
    }
    Clock& clock = target->clock();
    return std::make_shared<SerialQueue>(Private{}, std::move(label), std::move(target), clock);
}

std::shared_ptr<SerialQueue> SerialQueue::create(std::string label,
                                                 std::shared_ptr<DispatchQueue> target,
                                                 Clock& clock) {
    if (!target) {
        target = globalQueue(QueuePriority::Default);
    }
    return std::make_shared<SerialQueue>(Private{}, std::move(label), std::move(target), clock);
}

SerialQueue::SerialQueue(Private, std::string label, std::shared_ptr<DispatchQueue> target,
                         Clock& clock)
    : DispatchQueue(std::move(label), clock), _target(std::move(target)) {}

void SerialQueue::async(Task task) {
    {
        std::lock_guard lock(_mutex);
        _tasks.push_back(std::move(task));
        if (_scheduled) {
            return;
        }
        _scheduled = true;
    }
    scheduleDrain();
}

void SerialQueue::sync(const Task& task) {
    checkSyncWouldNotDeadlock();
    bool holdsQueue = false;
    if (_target->isConcurrent()) {
        // Idle means no block is queued or running: the caller may run its block itself.
        std::lock_guard lock(_mutex);
        if (!_scheduled) {
            _scheduled = true;
            holdsQueue = true;
        }
    }
    if (!holdsQueue) {
        syncByPosting(task);
        return;
    }
    struct Release {
        SerialQueue* queue;
        ~Release() { queue->release(); }
    } release{this};
    ScopedCurrent current(*this);
    task();
}

void SerialQueue::scheduleDrain() {
    auto self = std::static_pointer_cast<SerialQueue>(shared_from_this());
    auto job = std::make_shared<DrainJob>(std::move(self));
    _target->async([job] {
        job->ran = true;
        job->queue->drain();
    });
}

void SerialQueue::drain() {
    ScopedCurrent current(*this);
    for (int served = 0; served < kDrainBatch; ++served) {
        Task task;
        {
            std::lock_guard lock(_mutex);
            if (_tasks.empty()) {
                _scheduled = false;
                return;
            }
            task = std::move(_tasks.front());
            _tasks.pop_front();
        }
        try {
            task();
        } catch (...) {
            task = nullptr;
            release();
            if (endsOnRunLoop()) {
                throw;  // the run loop's caller sees it
            }
            terminateForEscapedException(label());
        }
    }
    release();
}

void SerialQueue::release() {
    {
        std::lock_guard lock(_mutex);
        if (_tasks.empty()) {
            _scheduled = false;
            return;
        }
    }
    scheduleDrain();
}

bool SerialQueue::endsOnRunLoop() const {
    const DispatchQueue* root = this;
    while (root->target() != nullptr) {
        root = root->target();
    }
    return !root->isConcurrent();
}

void SerialQueue::drainDropped() {
    std::deque<Task> dropped;
    {
        std::lock_guard lock(_mutex);
        dropped.swap(_tasks);
        _scheduled = false;
    }
    if (!dropped.empty()) {
        log("Queue \"%s\" dropped %zu blocks: its target \"%s\" no longer runs work",
            label().c_str(), dropped.size(), _target->label().c_str());
    }
    // The blocks go here, outside the lock; a dropped sync() block releases its waiter.
}

}  // namespace orvane::foundation
