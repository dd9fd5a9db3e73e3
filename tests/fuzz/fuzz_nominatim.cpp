// Fuzz target: any bytes as the geocoding service's answer, through to the postal text.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/geocoding/nominatim_answer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::optional<orvane::foundation::Error> error;
    const auto placemarks = orvane::platform::placemarksFromNominatim(
        std::string(reinterpret_cast<const char*>(data), size), "en", error);
    // An answer is one placemark or an error, never both or neither.
    if (placemarks.size() != (error ? 0u : 1u)) {
        std::fprintf(stderr, "%zu placemarks with%s an error\n", placemarks.size(),
                     error ? "" : "out");
        std::abort();
    }
    return 0;
}
