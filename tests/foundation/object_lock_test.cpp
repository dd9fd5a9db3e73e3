#include "foundation/ObjectLock.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/foundation/dispatch_test_support.h"

namespace orvane::foundation {
namespace {

// The shape of a class guarded by its object lock, with methods that lock and call each other.
class Guarded {
  public:
    void add(int n) {
        ObjectLockGuard guard(_lock);
        _value += n;
    }
    void addTwice(int n) {
        ObjectLockGuard guard(_lock);
        add(n);  // takes the lock again on the same thread
        add(n);
    }
    int value() {
        ObjectLockGuard guard(_lock);
        return _value;
    }
    ObjectLock _lock;

  private:
    int _value GUARDED_BY(_lock) = 0;
};

TEST(ObjectLock, TheHolderTakesItAgainAndOtherThreadsWait) {
    Guarded guarded;
    {
        ObjectLockGuard outer(guarded._lock);
        guarded.addTwice(3);  // recursion from the holding thread
        bool otherGotIt = true;
        std::thread([&] {
            otherGotIt = guarded._lock.try_lock();
            if (otherGotIt) {
                guarded._lock.unlock();
            }
        }).join();
        EXPECT_FALSE(otherGotIt);
    }
    EXPECT_EQ(guarded.value(), 6);

    // None of the increments through the lock is lost, and ThreadSanitizer sees no race.
    testing::repeatOnThreads(4, 1000, [&](int, int) { guarded.addTwice(1); });
    EXPECT_EQ(guarded.value(), 8006);
}

}  // namespace
}  // namespace orvane::foundation
