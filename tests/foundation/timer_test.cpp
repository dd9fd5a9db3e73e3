#include "foundation/Timer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/RunLoop.h"
#include "tests/foundation/dispatch_test_support.h"

namespace orvane::foundation {
namespace {

using testing::EventCounter;

class TimerOnManualClock : public ::testing::Test {
  protected:
    // Advances the clock and serves the loop, as the main thread would.
    void advanceAndPump(double seconds) {
        clock.advance(seconds);
        loop.runUntilIdle();
    }

    ManualClock clock;
    RunLoop loop{clock};
};

TEST_F(TimerOnManualClock, RepeatingTimerKeepsToItsGrid) {
    using Steps = std::vector<std::pair<double, int>>;  // advance by, ticks in that pump
    const struct {
        const char* name;
        double interval;
        Steps steps;
    } rows[] = {
        {"on time", 0.5, {{0.25, 0}, {0.25, 1}, {0.5, 1}, {0.4, 0}, {0.1, 1}}},
        {"late by several intervals fires once", 0.5, {{1.7, 1}, {0.3, 1}, {0.4, 0}, {0.1, 1}}},
        {"late onto a grid point fires once", 0.5, {{1.0, 1}, {0.49, 0}, {0.01, 1}}},
        {"tenths do not drift", 0.1, Steps(30, {0.1, 1})},
        {"whole seconds", 1.0, {{0.999, 0}, {0.001, 1}, {3.5, 1}, {0.5, 1}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        int ticks = 0;
        Timer timer = Timer::scheduled(loop, row.interval, true, [&] { ++ticks; });
        for (std::size_t i = 0; i < row.steps.size(); ++i) {
            const int before = ticks;
            advanceAndPump(row.steps[i].first);
            EXPECT_EQ(ticks - before, row.steps[i].second) << "step " << i;
        }
        EXPECT_TRUE(timer.isValid());
    }
}

TEST_F(TimerOnManualClock, OneShotFiresOnceOnTheMainQueueAndStaysSetUntilCleared) {
    std::vector<std::string> fired;
    Timer timer;
    timer = Timer::scheduled(loop, 3.0, false, [&] {
        fired.push_back(timer.isValid() && DispatchQueue::current() == loop.mainQueue().get()
                            ? "valid on main"
                            : "wrong");
    });
    std::vector<Timer> others;  // due together with it: fire date order, then schedule order
    for (const char* name : {"b1", "b2"}) {
        others.push_back(
            Timer::scheduled(loop, 2.0, false, [&fired, name] { fired.push_back(name); }));
    }
    advanceAndPump(1.9);
    EXPECT_TRUE(fired.empty());
    advanceAndPump(1.1);
    advanceAndPump(10.0);
    EXPECT_EQ(fired, (std::vector<std::string>{"b1", "b2", "valid on main"}));
    EXPECT_FALSE(timer.isValid());
    EXPECT_TRUE(timer);
}

// Resetting drops the very handle whose callback is running; invalidating keeps it, invalid.
TEST_F(TimerOnManualClock, StoppingFromInsideItsOwnTick) {
    for (const bool reset : {true, false}) {
        SCOPED_TRACE(reset ? "reset" : "invalidate");
        int ticks = 0;
        Timer timer;
        timer = Timer::scheduled(loop, 0.5, true, [&] {
            if (++ticks == 3) {
                reset ? timer.reset() : timer.invalidate();
            }
        });
        for (int i = 0; i < 6; ++i) {
            advanceAndPump(0.5);
        }
        EXPECT_EQ(ticks, 3);
        EXPECT_EQ(static_cast<bool>(timer), !reset);
        EXPECT_FALSE(timer.isValid());
        EXPECT_FALSE(loop.nextTimerFireDate());
    }
}

TEST_F(TimerOnManualClock, ClearingOrDestroyingTheFieldFromInsideTheTick) {
    auto payload = std::make_shared<int>(0);
    std::weak_ptr<int> watch = payload;
    Timer zoomSlider;
    zoomSlider = Timer::scheduled(loop, 3.0, false, [&zoomSlider, payload] {
        zoomSlider.reset();  // one-shot targets clear their field
        ++*payload;
    });
    payload.reset();
    advanceAndPump(3.0);
    EXPECT_FALSE(zoomSlider);
    EXPECT_TRUE(watch.expired());  // fired once, then its callback was let go

    auto owner = std::make_unique<Timer>();
    int ran = 0;
    *owner = Timer::scheduled(loop, 1.0, true, [&] {
        ++ran;
        owner.reset();  // destroys the field that holds this very timer
    });
    advanceAndPump(1.0);
    advanceAndPump(1.0);
    EXPECT_EQ(ran, 1);
}

TEST_F(TimerOnManualClock, DroppingTheHandleInvalidatesAndDetachingDoesNot) {
    int dropped = 0;
    int detached = 0;
    {
        Timer timer = Timer::scheduled(loop, 1.0, false, [&] { ++dropped; });
    }
    Timer::scheduled(loop, 1.0, false, [&] { ++detached; }).detach();
    Timer replaced = Timer::scheduled(loop, 1.0, true, [&] { ++dropped; });
    replaced = Timer();
    advanceAndPump(1.0);
    advanceAndPump(1.0);
    EXPECT_EQ(dropped, 0);
    EXPECT_EQ(detached, 1);
    EXPECT_EQ(Timer::scheduled(loop, -1.0, true, [] {}).timeInterval(), 0.0001);
}

TEST(Timer, FiresOnTheSystemClockWhileTheLoopRuns) {
    RunLoop loop;
    EventCounter ticks;
    Timer repeating;  // touched on the loop's thread until the loop has stopped
    int oneShots = 0;
    std::thread runner([&] { loop.run(); });
    // Scheduled from this thread while the loop sleeps: the loop wakes for the new deadline.
    Timer oneShot = Timer::scheduled(loop, 0.03, false, [&] { ++oneShots; });
    loop.mainQueue()->async([&] {
        repeating = Timer::scheduled(loop, 0.02, true, [&] {
            ticks.add();
            if (ticks.count() == 3) {
                repeating.invalidate();
            }
        });
    });
    const bool ticked = ticks.waitFor(3);
    loop.quit();
    runner.join();
    ASSERT_TRUE(ticked);
    EXPECT_EQ(ticks.count(), 3);
    EXPECT_EQ(oneShots, 1);  // due before the third tick, so fired before it
    EXPECT_FALSE(repeating.isValid());
}

}  // namespace
}  // namespace orvane::foundation
