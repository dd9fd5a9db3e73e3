// Replay of a GPX track: paced by the clock from the first point, or, once a media time is set,
// the fix at that offset from the track's start, so footage can be stamped from a track.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "foundation/Clock.h"
#include "platform/location/LocationManager.h"
#include "platform/replay_pacer.h"

namespace orvane::platform {

class GpxLocationManager final : public LocationManager {
  public:
    GpxLocationManager(std::string path, std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                       foundation::Clock& clock);
    ~GpxLocationManager() override;

    // Reads the file (an unreadable or broken one is an error naming the file and line) and
    // delivers the first point at once, the others at their times after it on the clock. When
    // the track ends, a failure says so.
    std::optional<foundation::Error> startUpdatingLocation() override;
    void stopUpdatingLocation() override;
    std::string description() const override;

    // Leaves the clock's pace and delivers the fix `secondsFromTrackStart` into the track,
    // interpolated between its points and held at its ends. Only after a successful start.
    void setMediaTime(double secondsFromTrackStart);
    // The track's length in seconds from its first point to its last; 0 before a start.
    double duration() const;

  private:
    const std::string _path;
    mutable std::mutex _mutex;     // guards _fixes against setMediaTime from another thread
    std::vector<Location> _fixes;  // set in start, read by the pacer and setMediaTime
    ReplayPacer _pacer;
};

}  // namespace orvane::platform
