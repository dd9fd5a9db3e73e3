// Throughput of posting blocks: a serial queue, the global pool and the run loop, each beside
// the simplest thing a person would write instead, a worker thread on a std::mutex and a
// std::condition_variable.
#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "foundation/Clock.h"
#include "foundation/DispatchQueue.h"
#include "foundation/RunLoop.h"
#include "foundation/ThreadPool.h"

namespace {

using orvane::foundation::QueuePriority;
using orvane::foundation::Task;

constexpr int kBatch = 1000;

// The reference: one thread that takes blocks from a locked deque.
class ReferenceWorker {
  public:
    ReferenceWorker() : _thread([this] { serve(); }) {}
    ~ReferenceWorker() {
        {
            std::lock_guard lock(_mutex);
            _stopping = true;
        }
        _wake.notify_one();
        _thread.join();
    }
    void post(Task task) {
        {
            std::lock_guard lock(_mutex);
            _tasks.push_back(std::move(task));
        }
        _wake.notify_one();
    }
    // Waits until every block posted before has run.
    void drain() {
        std::mutex mutex;
        std::condition_variable done;
        bool finished = false;
        post([&] {
            std::lock_guard lock(mutex);
            finished = true;
            done.notify_one();
        });
        std::unique_lock lock(mutex);
        done.wait(lock, [&] { return finished; });
    }

  private:
    void serve() {
        std::unique_lock lock(_mutex);
        for (;;) {
            _wake.wait(lock, [&] { return _stopping || !_tasks.empty(); });
            if (_tasks.empty()) {
                return;
            }
            Task task = std::move(_tasks.front());
            _tasks.pop_front();
            lock.unlock();
            task();
            lock.lock();
        }
    }

    std::mutex _mutex;
    std::condition_variable _wake;
    std::deque<Task> _tasks;
    bool _stopping = false;
    std::thread _thread;
};

// Waits until `target` blocks have counted themselves.
class Completion {
  public:
    explicit Completion(int target) : _target(target) {}
    void arrive() {
        if (_count.fetch_add(1) + 1 == _target) {
            std::lock_guard lock(_mutex);
            _finished = true;
            _done.notify_one();
        }
    }
    void wait() {
        std::unique_lock lock(_mutex);
        _done.wait(lock, [&] { return _finished; });
    }

  private:
    const int _target;
    std::atomic<int> _count{0};
    std::mutex _mutex;
    std::condition_variable _done;
    bool _finished = false;
};

void BM_ReferenceWorkerAsync(benchmark::State& state) {
    ReferenceWorker worker;
    long counter = 0;
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) {
            worker.post([&counter] { ++counter; });
        }
        worker.drain();
    }
    benchmark::DoNotOptimize(counter);
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_ReferenceWorkerAsync)->UseRealTime();

void BM_SerialQueueAsync(benchmark::State& state) {
    auto queue = orvane::foundation::SerialQueue::create("bench");
    long counter = 0;
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) {
            queue->async([&counter] { ++counter; });
        }
        queue->sync([] {});
    }
    benchmark::DoNotOptimize(counter);
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_SerialQueueAsync)->UseRealTime();

void BM_GlobalQueueAsync(benchmark::State& state) {
    auto queue = orvane::foundation::globalQueue(QueuePriority::Default);
    for (auto _ : state) {
        Completion completion(kBatch);
        for (int i = 0; i < kBatch; ++i) {
            queue->async([&completion] { completion.arrive(); });
        }
        completion.wait();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_GlobalQueueAsync)->UseRealTime();

void BM_ReferenceWorkerAsyncCompletion(benchmark::State& state) {
    ReferenceWorker worker;
    for (auto _ : state) {
        Completion completion(kBatch);
        for (int i = 0; i < kBatch; ++i) {
            worker.post([&completion] { completion.arrive(); });
        }
        completion.wait();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_ReferenceWorkerAsyncCompletion)->UseRealTime();

// The main queue pumped by hand: post a batch, then serve it on this thread.
void BM_RunLoopPostAndPump(benchmark::State& state) {
    orvane::foundation::ManualClock clock;
    orvane::foundation::RunLoop loop(clock);
    long counter = 0;
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) {
            loop.post([&counter] { ++counter; });
        }
        loop.runUntilIdle();
    }
    benchmark::DoNotOptimize(counter);
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_RunLoopPostAndPump);

}  // namespace
