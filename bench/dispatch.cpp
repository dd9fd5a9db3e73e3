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
    ReferenceWorker() : thread_([this] { serve(); }) {}
    ~ReferenceWorker() {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        wake_.notify_one();
        thread_.join();
    }
    void post(Task task) {
        {
            std::lock_guard lock(mutex_);
            tasks_.push_back(std::move(task));
        }
        wake_.notify_one();
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
        std::unique_lock lock(mutex_);
        for (;;) {
            wake_.wait(lock, [&] { return stopping_ || !tasks_.empty(); });
            if (tasks_.empty()) {
                return;
            }
            Task task = std::move(tasks_.front());
            tasks_.pop_front();
            lock.unlock();
            task();
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    bool stopping_ = false;
    std::thread thread_;
};

// Waits until `target` blocks have counted themselves.
class Completion {
  public:
    explicit Completion(int target) : target_(target) {}
    void arrive() {
        if (count_.fetch_add(1) + 1 == target_) {
            std::lock_guard lock(mutex_);
            finished_ = true;
            done_.notify_one();
        }
    }
    void wait() {
        std::unique_lock lock(mutex_);
        done_.wait(lock, [&] { return finished_; });
    }

  private:
    const int target_;
    std::atomic<int> count_{0};
    std::mutex mutex_;
    std::condition_variable done_;
    bool finished_ = false;
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
