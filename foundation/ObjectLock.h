// The recursive lock of one object, as `@synchronized (self)` gives on the phone, with a scoped
// guard.
//
//     foundation::ObjectLock _lock;
//     int _status GUARDED_BY(_lock) = 0;
//
//     void stopRecording() {
//         foundation::ObjectLockGuard guard(_lock);
//         ...
//     }
//
// The thread that holds the lock may take it again, so a method that locks may call another
// that locks. Clang's analysis does not model that re-entry: a helper called with the lock held
// says REQUIRES(_lock) and does not lock again.
#pragma once

#include <mutex>

#include "foundation/thread_annotations.h"

namespace orvane::foundation {

class CAPABILITY("mutex") ObjectLock {
  public:
    ObjectLock() = default;
    ObjectLock(const ObjectLock&) = delete;
    ObjectLock& operator=(const ObjectLock&) = delete;

    void lock() ACQUIRE() { _mutex.lock(); }
    void unlock() RELEASE() { _mutex.unlock(); }
    bool try_lock() TRY_ACQUIRE(true) { return _mutex.try_lock(); }

  private:
    std::recursive_mutex _mutex;
};

// Holds an ObjectLock from construction to the end of the scope.
class SCOPED_CAPABILITY ObjectLockGuard {
  public:
    explicit ObjectLockGuard(ObjectLock& lock) ACQUIRE(lock) : _lock(lock) { _lock.lock(); }
    ~ObjectLockGuard() RELEASE() { _lock.unlock(); }
    ObjectLockGuard(const ObjectLockGuard&) = delete;
    ObjectLockGuard& operator=(const ObjectLockGuard&) = delete;

  private:
    ObjectLock& _lock;
};

}  // namespace orvane::foundation
