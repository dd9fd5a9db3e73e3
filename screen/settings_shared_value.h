// Holders for values that one thread writes and others read: a single word as a relaxed atomic
// (a reader that sees the old value for one frame is harmless), anything larger behind a mutex.
#pragma once

#include <atomic>
#include <mutex>

namespace orvane::screen {

template <class T>
class RelaxedValue {
  public:
    RelaxedValue() = default;
    explicit RelaxedValue(T initial) : _value(initial) {}

    T load() const { return _value.load(std::memory_order_relaxed); }
    void store(T value) { _value.store(value, std::memory_order_relaxed); }

  private:
    std::atomic<T> _value{};
};

template <class T>
class GuardedValue {
  public:
    T load() const {
        std::lock_guard lock(_mutex);
        return _value;
    }
    void store(T value) {
        std::lock_guard lock(_mutex);
        _value = std::move(value);
    }

  private:
    mutable std::mutex _mutex;
    T _value{};
};

}  // namespace orvane::screen
