// Fuzz target: any bytes as a GPX file, then its fixes and an instant of the track.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/location/gpx.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace gpx = orvane::platform::gpx;
    const auto read =
        gpx::parse(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.gpx");
    if (read.ok()) {
        const auto fixes = gpx::fixesFromPoints(read.points);
        gpx::fixAt(fixes, fixes.front().timestamp() + 1.5);
    }
    return 0;
}
