// Fixes from a running gpsd through libgps, read on a thread of the manager. When gpsd goes
// away the manager says so through the delegate and reconnects every two seconds.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "foundation/Clock.h"
#include "platform/location/LocationManager.h"

struct gps_data_t;

namespace orvane::platform {

class GpsdLocationManager final : public LocationManager {
  public:
    GpsdLocationManager(std::string host, std::string port,
                        std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                        foundation::Clock& clock);
    ~GpsdLocationManager() override;

    // Connects at once: a gpsd that cannot be reached is an error, and nothing runs.
    std::optional<foundation::Error> startUpdatingLocation() override;
    void stopUpdatingLocation() override;
    std::string description() const override;

  private:
    // The reader thread: reports while connected, reconnects when the connection is lost.
    void run(std::unique_ptr<gps_data_t> connection);
    std::optional<foundation::Error> connect(gps_data_t& data) const;
    // Waits up to `seconds` for stop; true when stopping.
    bool waitForStop(double seconds);

    const std::string _host;
    const std::string _port;
    foundation::Clock& _clock;
    std::thread _reader;
    std::mutex _mutex;  // guards _stopping
    std::condition_variable _stopped;
    bool _stopping = false;
};

}  // namespace orvane::platform
