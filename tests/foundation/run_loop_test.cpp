#include "foundation/RunLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "foundation/Timer.h"
#include "foundation/exceptions.h"
#include "tests/foundation/dispatch_test_support.h"

namespace orvane::foundation {
namespace {

using testing::EventCounter;

TEST(RunLoop, RunsPostsFromManyThreadsOnItsThreadInEachProducersOrder) {
    ManualClock clock;
    RunLoop loop(clock);
    constexpr int kEach = 200;
    std::vector<std::vector<int>> seen(4);
    std::atomic<int> offThread{0};
    testing::repeatOnThreads(4, kEach, [&](int p, int i) {
        loop.post([&, p, i] {
            offThread += DispatchQueue::current() != loop.mainQueue().get() || !loop.isCurrent();
            seen[p].push_back(i);
        });
    });
    bool nestedRan = false;  // a block posted by a block runs in the same pump
    loop.post([&] { loop.post([&] { nestedRan = true; }); });

    EXPECT_EQ(loop.runUntilIdle(), static_cast<std::size_t>(4 * kEach + 2));
    EXPECT_TRUE(nestedRan);
    EXPECT_EQ(offThread.load(), 0);
    testing::expectEachInOrder(seen, kEach);
    EXPECT_EQ(loop.runUntilIdle(), 0u);
}

TEST(RunLoop, RunServesUntilQuitFromAnotherThread) {
    RunLoop loop;
    EventCounter ran;
    std::thread other([&] {
        for (int i = 0; i < 10; ++i) {
            loop.post([&] { ran.add(); });
        }
        ran.waitFor(10);
        EXPECT_THROW(loop.runUntilIdle(), InternalInconsistencyException);  // one server at a time
        int value = 0;
        loop.mainQueue()->sync([&] { value = ran.count(); });
        EXPECT_EQ(value, 10);
        EXPECT_THROW(loop.mainQueue()->sync([] { throw std::runtime_error("in block"); }),
                     std::runtime_error);
        loop.quit();
    });
    loop.run();
    other.join();
    EXPECT_EQ(ran.count(), 10);
    loop.quit();  // a quit before run() ends the next run() at once
    loop.run();
}

TEST(RunLoop, RunOnAManualClockWakesWhenAnotherThreadAdvancesIt) {
    ManualClock clock;
    RunLoop loop(clock);
    EventCounter running;
    loop.post([&] { running.add(); });
    Timer timer = Timer::scheduled(loop, 1.0, false, [&] { loop.quit(); });
    std::thread runner([&] { loop.run(); });
    ASSERT_TRUE(running.waitFor(1));
    clock.advance(1.0);
    runner.join();  // returns only once the timer has fired and quit the loop
    EXPECT_FALSE(timer.isValid());
}

TEST(RunLoop, AnExceptionLeavesThePumpAndTheHostHearsOfNewWork) {
    ManualClock clock;
    RunLoop loop(clock);
    int after = 0;
    loop.post([] { throw std::runtime_error("broken block"); });
    loop.post([&] { ++after; });
    EXPECT_THROW(loop.runUntilIdle(), std::runtime_error);
    EXPECT_EQ(loop.runUntilIdle(), 1u);
    EXPECT_EQ(after, 1);

    std::atomic<int> wakes{0};
    loop.setWakeHandler([&] { ++wakes; });
    std::thread([&] { loop.post([] {}); }).join();
    Timer timer = Timer::scheduled(loop, 2.0, false, [] {});
    EXPECT_EQ(wakes.load(), 2);
    EXPECT_EQ(loop.nextTimerFireDate(), MonotonicTime(std::chrono::seconds(2)));
}

TEST(RunLoop, DestructionDropsBlocksAndTimersAndItsQueueDropsLaterBlocks) {
    ManualClock clock;
    auto loop = std::make_unique<RunLoop>(clock);
    std::shared_ptr<DispatchQueue> main = loop->mainQueue();
    auto payload = std::make_shared<int>(0);
    std::weak_ptr<int> watch = payload;
    main->async([payload] { ++*payload; });
    Timer timer = Timer::scheduled(*loop, 1.0, true, [payload] { ++*payload; });
    payload.reset();
    loop.reset();
    EXPECT_TRUE(watch.expired());  // the block and the timer's callback went with the loop
    EXPECT_FALSE(timer.isValid());
    timer.reset();

    bool ran = false;
    main->async([&] { ran = true; });
    main->after(1.0, [&] { ran = true; });
    clock.advance(2.0);
    EXPECT_FALSE(ran);
    EXPECT_THROW(main->sync([] {}), InternalInconsistencyException);
}

}  // namespace
}  // namespace orvane::foundation
