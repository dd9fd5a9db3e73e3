// The stamp's process-wide facts: what the last tick stamped, the position's altitude and speed,
// the custom text, the time mode and the stopwatch. The stamp layer, the location updater, the
// still path and the camera screen all read and write them without holding the layer, so they
// live here and the layer's class operations forward to the shared instance.
//
// Single words are relaxed atomics (a value one frame old is harmless); texts sit behind a lock.
#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>

#include "foundation/Clock.h"
#include "platform/location/Location.h"

namespace orvane::stamp {

// The altitude that means "no altitude yet".
inline constexpr float kNoAltitude = -100000.0f;

enum class StopWatchState { Reset = 0, Running = 1, Stopped = 2 };

class StampState {
  public:
    // The stopwatch's start is the clock's now at construction.
    explicit StampState(const foundation::Clock& clock = foundation::systemClock());
    StampState(const StampState&) = delete;
    StampState& operator=(const StampState&) = delete;

    // The instance the program's classes share.
    static StampState& shared();

    const foundation::Clock& clock() const { return _clock; }

    // The address line of the last tick (getLocation).
    std::string location() const;
    void setLocation(const std::string& text);
    // The coordinate block of the last tick, lunar line included (getGps).
    std::string gps() const;
    void setGps(const std::string& text);

    // Metres; kNoAltitude until a position brings one.
    float altitude() const { return _altitude.load(std::memory_order_relaxed); }
    void setAltitude(float metres) { _altitude.store(metres, std::memory_order_relaxed); }
    // km/h; negative means no speed.
    float speed() const { return _speed.load(std::memory_order_relaxed); }
    void setSpeed(float kmh) { _speed.store(kmh, std::memory_order_relaxed); }

    // 0 "Time in above", 1 "Time in below"; the names read backwards and stay so.
    int timeBelow() const { return _timeBelow.load(std::memory_order_relaxed); }
    void setTimeBelow(int value) { _timeBelow.store(value, std::memory_order_relaxed); }

    // Empty means no custom text.
    std::string customText() const;
    void setCustomText(const std::string& text);
    // Copies the custom text into `out`, reusing its storage: the frame path's reader.
    void copyCustomText(std::string& out) const;

    // The next position passes the one-second gate of the location updater.
    void setNeedForceRefreshLocation() { _forceRefresh.store(true, std::memory_order_relaxed); }
    // True once after setNeedForceRefreshLocation.
    bool takeForceRefreshLocation() { return _forceRefresh.exchange(false); }

    // The position last sent to reverse geocoding (getCLLocation): at most one every ten seconds
    // and twenty metres, not the latest fix. None before the first.
    std::optional<platform::Location> lastGeocodedLocation() const;
    void setLastGeocodedLocation(const platform::Location& location);

    void displayStopWatch(bool shown) { _stopWatchDisplayed.store(shown); }
    bool isStopWatchDisplayed() const { return _stopWatchDisplayed.load(); }
    // From any state: restart from zero now.
    void startStopWatch();
    void stopStopWatch() { _stopWatchState.store(StopWatchState::Stopped); }
    void resetStopWatch() { _stopWatchState.store(StopWatchState::Reset); }
    StopWatchState stopWatchState() const { return _stopWatchState.load(); }
    // Seconds since 1970 of the last start.
    double stopWatchStart() const { return _stopWatchStart.load(); }

    // Back to the state of a new process. Tests only.
    void reset();

  private:
    const foundation::Clock& _clock;
    mutable std::mutex _mutex;  // guards the three texts and the geocoded position
    std::string _location;
    std::string _gps;
    std::string _customText;
    std::optional<platform::Location> _lastGeocodedLocation;
    std::atomic<float> _altitude{kNoAltitude};
    std::atomic<float> _speed{-1.0f};
    std::atomic<int> _timeBelow{1};
    std::atomic<bool> _forceRefresh{false};
    std::atomic<bool> _stopWatchDisplayed{false};
    std::atomic<StopWatchState> _stopWatchState{StopWatchState::Reset};
    std::atomic<double> _stopWatchStart;
};

}  // namespace orvane::stamp
