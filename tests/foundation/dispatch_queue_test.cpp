#include "foundation/DispatchQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "foundation/ThreadPool.h"
#include "foundation/exceptions.h"
#include "foundation/log.h"
#include "tests/foundation/dispatch_test_support.h"

namespace orvane::foundation {
namespace {

using testing::EventCounter;
using Strings = std::vector<std::string>;

// Counts how many blocks run at once and remembers the most. Yields inside, so that blocks
// that could overlap get the chance to.
struct OverlapProbe {
    void enter() {
        const int now = ++inside;
        for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {
        }
        std::this_thread::yield();
    }
    void leave() { --inside; }
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
};

TEST(SerialQueue, RunsOneBlockAtATimeInEachProducersOrder) {
    ThreadPool pool(4);
    auto queue = SerialQueue::create("order", pool.queue(QueuePriority::Default));
    constexpr int kEach = 500;
    OverlapProbe probe;
    std::vector<std::vector<int>> seen(4);  // touched only on the queue
    testing::repeatOnThreads(4, kEach, [&](int p, int i) {
        queue->async([&, p, i] {
            probe.enter();
            seen[p].push_back(i);
            probe.leave();
        });
    });
    queue->sync([] {});  // the drain idiom: every earlier block has run
    EXPECT_EQ(probe.most, 1);
    testing::expectEachInOrder(seen, kEach);
}

TEST(SerialQueue, RunsOnItsTargetsThreadsAndHoldsTheWholeTargetChain) {
    ThreadPool pool(2);
    auto high = pool.queue(QueuePriority::High);
    auto outer = SerialQueue::create("outer", high);
    auto inner = SerialQueue::create("Lenwick Video Capture Queue", outer);
    OverlapProbe probe;  // inner and outer blocks never overlap
    std::atomic<int> wrongPlace{0};
    for (int i = 0; i < 200; ++i) {
        inner->async([&] {
            probe.enter();
            wrongPlace += !pool.ownsCurrentThread() || DispatchQueue::current() != inner.get() ||
                          !outer->isCurrent() || !high->isCurrent();
            probe.leave();
        });
        outer->async([&] {
            probe.enter();
            wrongPlace += !pool.ownsCurrentThread() || inner->isCurrent();
            probe.leave();
        });
    }
    inner->sync([] {});
    outer->sync([] {});
    EXPECT_EQ(wrongPlace.load(), 0);
    EXPECT_EQ(probe.most, 1);
}

TEST(DispatchQueue, SyncFromAnotherQueueReturnsAfterTheBlockRan) {
    ThreadPool pool(2);
    auto caller = SerialQueue::create("caller", pool.queue(QueuePriority::Default));
    auto worker = SerialQueue::create("worker", pool.queue(QueuePriority::Default));
    // A busy `worker` makes sync() wait for it rather than run the block at once.
    auto gate = testing::occupy(*worker);
    int value = 1;  // written on `worker`, read after sync() on `caller`
    int seen = -1;
    caller->async([&] {
        worker->sync([&] { value = value * 10 + 2; });
        seen = value;
        // An exception in the block reaches the caller of sync().
        EXPECT_THROW(worker->sync([] { throw std::runtime_error("in block"); }),
                     std::runtime_error);
    });
    gate->add();
    caller->sync([] {});
    EXPECT_EQ(seen, 12);
}

TEST(DispatchQueue, SyncThatWouldDeadlockThrows) {
    ManualClock clock;
    RunLoop loop(clock);
    ThreadPool pool(2);
    auto target = SerialQueue::create("com.brevoli.session.queue", pool.queue(QueuePriority::High));
    auto queue = SerialQueue::create("child", target);
    auto onMain = SerialQueue::create("on main", loop.mainQueue());
    Strings messages;  // sync() orders every attempt after the one before
    auto attempt = [&](const std::shared_ptr<DispatchQueue>& onto) {
        std::string message = "no exception";
        try {
            onto->sync([] {});
        } catch (const InternalInconsistencyException& e) {
            message = e.what();
        }
        messages.push_back(message);
    };
    queue->sync([&] { attempt(queue); });
    queue->sync([&] { attempt(target); });
    attempt(loop.mainQueue());  // the loop's own thread
    attempt(onMain);            // needs the loop, which this thread serves
    auto global = pool.queue(QueuePriority::Low);
    global->sync([&] { attempt(global); });  // a concurrent queue runs it inline

    EXPECT_EQ(messages,
              (Strings{"sync onto queue \"child\" from code already running on it would deadlock",
                       "sync onto queue \"com.brevoli.session.queue\" from code already running "
                       "on it would deadlock",
                       "sync onto queue \"main\" from code already running on it would deadlock",
                       "sync onto queue \"on main\" from code running on its target \"main\" "
                       "would deadlock",
                       "no exception"}));
}

TEST(GlobalQueues, AllFourShareTheProcessPool) {
    std::mutex mutex;
    std::set<std::thread::id> threads;
    std::atomic<int> foreign{0};
    EventCounter done;
    for (auto priority : {QueuePriority::High, QueuePriority::Default, QueuePriority::Low,
                          QueuePriority::Background}) {
        for (int i = 0; i < 50; ++i) {
            globalQueue(priority)->async([&] {
                foreign += !sharedThreadPool().ownsCurrentThread();
                std::lock_guard lock(mutex);
                threads.insert(std::this_thread::get_id());
                done.add();
            });
        }
    }
    ASSERT_TRUE(done.waitFor(200));
    EXPECT_EQ(foreign.load(), 0);
    std::lock_guard lock(mutex);
    EXPECT_LE(threads.size(), sharedThreadPool().threadCount());
}

TEST(GlobalQueues, HigherPriorityWorkIsPickedFirst) {
    ThreadPool pool(1);
    auto gate = testing::occupy(*pool.queue(QueuePriority::Default));
    Strings order;  // written by the single worker only, read once `ran` has counted it all
    EventCounter ran;
    for (auto priority : {QueuePriority::Background, QueuePriority::Low, QueuePriority::Default,
                          QueuePriority::High}) {
        auto queue = pool.queue(priority);
        queue->async([&order, &ran, queue] {
            order.push_back(queue->label());
            ran.add();
        });
    }
    gate->add();
    ASSERT_TRUE(ran.waitFor(4));
    EXPECT_EQ(order, (Strings{"global.high", "global.default", "global.low", "global.background"}));
}

// Two workers, one per priority, that wait for each other can only get on if they run side by
// side; then a block each needs a thread of its own while both workers wait in sync().
TEST(GlobalQueues, RunSideBySideAndWorkersBlockedInSyncDoNotStarveThePool) {
    ThreadPool pool(2);
    EventCounter arrived, finished;
    for (auto priority : {QueuePriority::Default, QueuePriority::Low}) {
        auto queue = SerialQueue::create("serial", pool.queue(QueuePriority::Default));
        pool.queue(priority)->async([&, queue] {
            arrived.add();
            if (!arrived.waitFor(2)) {
                return;  // not side by side: `finished` stays short
            }
            int value = 0;
            queue->async([&] { value = 1; });
            queue->sync([] {});
            if (value == 1) {
                finished.add();
            }
        });
    }
    EXPECT_TRUE(finished.waitFor(2));
}

TEST(DispatchQueue, AfterOnAManualClockPostsWhenTheDeadlinePassesInDeadlineOrder) {
    ManualClock clock;
    RunLoop loop(clock);
    auto main = loop.mainQueue();
    auto onMain = SerialQueue::create("delegate", main);
    Strings ran;
    main->after(2.0, [&] { ran.push_back("2"); });
    main->after(1.0, [&] { ran.push_back("1a"); });
    onMain->after(3.0, [&] { ran.push_back("3"); });
    main->after(1.0, [&] { ran.push_back("1b"); });
    main->after(std::numeric_limits<double>::infinity(), [&] { ran.push_back("never"); });
    EXPECT_THROW(main->after(std::numeric_limits<double>::quiet_NaN(), [] {}),
                 InvalidArgumentException);

    clock.advance(0.999);
    loop.runUntilIdle();
    EXPECT_TRUE(ran.empty());
    clock.advance(0.001);
    EXPECT_TRUE(ran.empty());  // posted, but the main queue runs only when the loop is pumped
    loop.runUntilIdle();
    EXPECT_EQ(ran, (Strings{"1a", "1b"}));
    main->after(-1.0, [&] { ran.push_back("now"); });
    clock.advance(1e6);
    loop.runUntilIdle();
    EXPECT_EQ(ran, (Strings{"1a", "1b", "now", "2", "3"}));
}

TEST(DispatchQueue, PendingWorkOutlivesDroppedHandlesAndThePoolRunsItBeforeItStops) {
    std::atomic<int> ran{0};
    std::weak_ptr<SerialQueue> watch;
    {
        ThreadPool pool(1);
        auto gate = testing::occupy(*pool.queue(QueuePriority::High));
        auto queue = SerialQueue::create("dropped early", pool.queue(QueuePriority::Default));
        watch = queue;
        for (int i = 0; i < 100; ++i) {
            queue->async([&] { ++ran; });
            pool.queue(QueuePriority::Low)->async([&] { ++ran; });
        }
        queue.reset();
        EXPECT_FALSE(watch.expired());
        gate->add();
    }
    EXPECT_EQ(ran.load(), 200);
    EXPECT_TRUE(watch.expired());
}

TEST(DispatchQueue, BlocksForAStoppedPoolAreDroppedWithALogLine) {
    Strings lines;
    setLogSink([&](const std::string& line) { lines.push_back(line); });
    auto pool = std::make_unique<ThreadPool>(1);
    auto global = pool->queue(QueuePriority::Default);
    auto queue = SerialQueue::create("orphan", global);
    pool.reset();

    auto payload = std::make_shared<int>(0);
    std::weak_ptr<int> watch = payload;
    global->async([payload] { ++*payload; });
    queue->async([payload] { ++*payload; });
    payload.reset();
    setLogSink({});
    EXPECT_TRUE(watch.expired());
    const std::string poolStopped =
        "Queue \"global.default\" dropped a block: its thread pool has stopped";
    EXPECT_EQ(lines, (Strings{poolStopped, poolStopped,
                              "Queue \"orphan\" dropped 1 blocks: its target \"global.default\" "
                              "no longer runs work"}));
}

}  // namespace
}  // namespace orvane::foundation
