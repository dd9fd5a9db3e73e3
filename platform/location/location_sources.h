// The position source named by a string: "sim", "gpsd[://HOST[:PORT]]", "nmea:DEVICE[@BAUD]",
// "nmea-file:PATH" or "gpx:PATH".
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "foundation/Clock.h"
#include "foundation/DispatchQueue.h"
#include "platform/location/LocationManager.h"

namespace orvane::platform {

// The manager for `source` ("sim" when empty), delivering on `callbackQueue` and timed by
// `clock`, which must outlive it. A malformed string gives nullptr and a message in `problem`
// naming what is wrong; whether the source can be reached is learnt when it starts.
std::unique_ptr<LocationManager> makeLocationManager(
    std::string_view source, std::shared_ptr<foundation::DispatchQueue> callbackQueue,
    foundation::Clock& clock, std::string& problem);

}  // namespace orvane::platform
