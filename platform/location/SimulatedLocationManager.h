// The simulated position source: the bundled loop through a town, one fix a second on the
// clock, with altitude and speed, round and round for as long as it runs.
#pragma once

#include "foundation/Clock.h"
#include "platform/location/LocationManager.h"
#include "platform/replay_pacer.h"

namespace orvane::platform {

class SimulatedLocationManager final : public LocationManager {
  public:
    SimulatedLocationManager(std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                             foundation::Clock& clock);
    ~SimulatedLocationManager() override;

    // The first fix is delivered at once, from the start of the loop.
    std::optional<foundation::Error> startUpdatingLocation() override;
    void stopUpdatingLocation() override;
    std::string description() const override;

    // The fix of the route's point `index` (taken modulo the loop's length), stamped `timestamp`.
    static Location fixAt(std::size_t index, double timestamp);
    static std::size_t routeLength();

  private:
    foundation::Clock& _clock;
    ReplayPacer _pacer;
};

}  // namespace orvane::platform
