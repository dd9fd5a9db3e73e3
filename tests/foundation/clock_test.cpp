#include "foundation/Clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/exceptions.h"
#include "tests/foundation/dispatch_test_support.h"

namespace orvane::foundation {
namespace {

using namespace std::chrono_literals;
using testing::EventCounter;

TEST(DurationFromSeconds, RoundsAndSaturates) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    const struct {
        double seconds;
        Duration expected;
    } rows[] = {{0.1, 100ms},           {1e-10, Duration::zero()}, {-1.0, -1s},
                {inf, Duration::max()}, {-inf, Duration::min()},   {1e300, Duration::max()}};
    for (const auto& row : rows) {
        EXPECT_EQ(durationFromSeconds(row.seconds), row.expected) << row.seconds;
    }
    EXPECT_THROW(durationFromSeconds(std::numeric_limits<double>::quiet_NaN()),
                 InvalidArgumentException);
    EXPECT_EQ(addSaturating(MonotonicTime(1s), Duration::max()), MonotonicTime::max());
}

TEST(ManualClock, AdvanceMovesBothTimesAndWallTimeMovesAlone) {
    ManualClock clock(1000.0);
    clock.advance(2.5);
    EXPECT_DOUBLE_EQ(clock.timeIntervalSince1970(), 1002.5);
    EXPECT_EQ(clock.now(), MonotonicTime(2500ms));
    clock.setTimeIntervalSince1970(50.0);
    EXPECT_DOUBLE_EQ(clock.timeIntervalSince1970(), 50.0);
    EXPECT_EQ(clock.now(), MonotonicTime(2500ms));
    EXPECT_THROW(clock.advance(-0.1), InvalidArgumentException);
    EXPECT_EQ(clock.now(), MonotonicTime(2500ms));
}

TEST(ManualClock, RunsActionsWhenReachedInDeadlineOrderAndDropsTheRest) {
    auto payload = std::make_shared<int>(0);
    std::weak_ptr<int> watch = payload;
    std::vector<std::string> ran;
    {
        ManualClock clock;
        clock.callAt(MonotonicTime(3s), [&] { ran.push_back("3"); });
        clock.callAt(MonotonicTime(1s), [&] { ran.push_back("1"); });
        clock.callAt(MonotonicTime(2s), [&] { ran.push_back("2a"); });
        clock.callAt(MonotonicTime(2s), [&] {
            ran.push_back("2b");
            // Given while advancing and already due: runs at once.
            clock.callAt(MonotonicTime(1500ms), [&] { ran.push_back("late"); });
        });
        clock.callAt(MonotonicTime(1h), [payload = std::move(payload)] { ++*payload; });

        clock.advance(0.999);
        EXPECT_TRUE(ran.empty());
        clock.advance(0.001);
        EXPECT_EQ(ran, (std::vector<std::string>{"1"}));
        clock.advance(5.0);
        EXPECT_EQ(ran, (std::vector<std::string>{"1", "2a", "2b", "late", "3"}));
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_TRUE(watch.expired());
}

TEST(SystemClock, RunsActionsOnOneSchedulerThreadInDeadlineOrder) {
    auto payload = std::make_shared<int>(0);
    std::weak_ptr<int> watch = payload;
    {
        SystemClock clock;
        EventCounter given, done;
        std::mutex mutex;
        std::vector<int> order;
        std::vector<std::thread::id> threads;
        // Holds the scheduler thread until every action is given, however slowly this runs.
        clock.callAt(clock.now(), [&] { given.waitFor(1); });
        const MonotonicTime start = clock.now();
        for (int delayMs : {30, 10, 20, -5}) {
            clock.callAt(start + std::chrono::milliseconds(delayMs), [&, delayMs] {
                std::lock_guard lock(mutex);
                order.push_back(delayMs);
                threads.push_back(std::this_thread::get_id());
                done.add();
            });
        }
        clock.callAt(start + 1h, [payload = std::move(payload)] { ++*payload; });
        given.add();
        ASSERT_TRUE(done.waitFor(4));
        std::lock_guard lock(mutex);
        EXPECT_EQ(order, (std::vector<int>{-5, 10, 20, 30}));
        for (auto id : threads) {
            EXPECT_EQ(id, threads.front());
            EXPECT_NE(id, std::this_thread::get_id());
        }
    }
    EXPECT_TRUE(watch.expired());  // the action not yet due went with the clock
}

}  // namespace
}  // namespace orvane::foundation
