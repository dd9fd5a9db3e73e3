// Dispatch queues: serial queues, the global concurrent queues and the main queue behind one
// type, and the thread-local answer to "which queue does this code run on".
//
// Kinds:
// - SerialQueue (below): blocks run one at a time, in submission order, on the threads of the
//   queue's target (by default the global default-priority queue).
// - Global queues (ThreadPool.h): concurrent, one per priority, all served by one pool of
//   worker threads sized to the machine; higher priority work is picked first.
// - The main queue (RunLoop.h): posts to a RunLoop, which runs its blocks on the loop's thread.
//
// Queues are shared objects (std::shared_ptr) and are handed to the classes that use them, so
// tests build their own on a manual clock. A queue with work pending keeps itself alive until
// that work has run.
//
// An exception that escapes a block posted with async() ends the process after a log line,
// except on a run loop, where it leaves run() or runUntilIdle() to their caller. An exception
// from a block given to sync() reaches the caller of sync().
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace orvane::foundation {

class Clock;

using Task = std::function<void()>;

enum class QueuePriority { High, Default, Low, Background };

class DispatchQueue : public std::enable_shared_from_this<DispatchQueue> {
  public:
    virtual ~DispatchQueue() = default;
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    const std::string& label() const { return _label; }
    // The clock that drives after().
    Clock& clock() const { return _clock; }

    // Posts a block and returns at once. Safe from any thread.
    virtual void async(Task task) = 0;
    // Runs a block on the queue and returns when it has run, so the caller sees its effects.
    // Works from any thread or queue but one that already runs on this queue or on a serial
    // queue this one targets: that would deadlock, and throws InternalInconsistencyException.
    // A block that can never run (the queue's run loop is gone, or its pool stopped with the
    // block queued) throws the same.
    virtual void sync(const Task& task) = 0;
    // Posts a block once `delaySeconds` have passed on the queue's clock: the system clock's
    // scheduler thread posts it when due; a manual clock posts it while a test advances the
    // clock past the deadline. A negative delay posts at once, an infinite one never; NaN is
    // refused with InvalidArgumentException. The queue stays alive until the block is posted.
    void after(double delaySeconds, Task task);

    // Whether the calling code runs on this queue (directly, or in a queue that targets it).
    virtual bool isCurrent() const;
    // True for the global queues, whose blocks run side by side.
    virtual bool isConcurrent() const { return false; }
    // The queue whose threads run this queue's blocks; none for global and main queues.
    virtual const DispatchQueue* target() const { return nullptr; }

    // The innermost queue the calling code runs on, or none.
    static const DispatchQueue* current();

    // Marks the calling thread as running blocks of `queue` for the scope's lifetime. Used by
    // the engines that run blocks (serial drains, pool workers, run loops).
    class ScopedCurrent {
      public:
        explicit ScopedCurrent(const DispatchQueue& queue);
        ~ScopedCurrent();
        ScopedCurrent(const ScopedCurrent&) = delete;
        ScopedCurrent& operator=(const ScopedCurrent&) = delete;

      private:
        friend class DispatchQueue;
        const DispatchQueue* _queue;
        const ScopedCurrent* _outer;
    };

  protected:
    DispatchQueue(std::string label, Clock& clock);

    // Throws InternalInconsistencyException when sync() from here could never return.
    void checkSyncWouldNotDeadlock() const;
    // The general sync(): posts a block through async() and waits for it to run.
    void syncByPosting(const Task& task);
    // Runs a block posted with async() on a worker thread: an exception ends the process.
    void runDetached(const Task& task) const noexcept;

  private:
    const std::string _label;
    Clock& _clock;
};

// A serial queue: one block at a time, in submission order, on its target's threads. Blocks
// submitted from one thread run in the order that thread submitted them. sync() onto an idle
// queue whose target is a global queue runs the block at once on the calling thread.
//
// Dropping the last handle with work pending is safe: the pending blocks still run, and the
// queue goes away after the last one. When the target can no longer run work (its pool has
// stopped, its run loop is gone), pending blocks are dropped, and a log line says how many.
class SerialQueue final : public DispatchQueue {
  public:
    // A queue on `target` (the global default-priority queue when none), driven by the target's
    // clock.
    static std::shared_ptr<SerialQueue> create(std::string label,
                                               std::shared_ptr<DispatchQueue> target = nullptr);
    // The same with its own clock for after().
    static std::shared_ptr<SerialQueue> create(std::string label,
                                               std::shared_ptr<DispatchQueue> target, Clock& clock);

    void async(Task task) override;
    void sync(const Task& task) override;
    const DispatchQueue* target() const override { return _target.get(); }

  private:
    struct Private {};

  public:
    SerialQueue(Private, std::string label, std::shared_ptr<DispatchQueue> target, Clock& clock);

  private:
    struct DrainJob;

    // Posts one drain job to the target. Called with _scheduled set, without the lock.
    void scheduleDrain();
    // Runs pending blocks on the target; yields the target's thread after a batch.
    void drain();
    // The target dropped a drain job unrun: nothing will run the pending blocks.
    void drainDropped();
    // Ends a drain or a sync() that held the queue: schedules the next drain if work waits.
    void release();
    // Whether the queue's blocks end up on a run loop rather than on a pool.
    bool endsOnRunLoop() const;

    const std::shared_ptr<DispatchQueue> _target;
    std::mutex _mutex;  // guards _tasks and _scheduled
    std::deque<Task> _tasks;
    // A drain job is posted or running, or a sync() holds the queue.
    bool _scheduled = false;
};

// The global concurrent queue of the given priority, on the process's shared pool.
std::shared_ptr<DispatchQueue> globalQueue(QueuePriority priority);
// The process's main queue, which posts to mainRunLoop() (RunLoop.h).
std::shared_ptr<DispatchQueue> mainQueue();

}  // namespace orvane::foundation
