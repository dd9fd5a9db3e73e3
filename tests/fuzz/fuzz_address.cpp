// Fuzz target: any placemark a geocoder may hand over, laid out as postal text. The input is
// lines: the language code, the country code, then street, house number, district, town,
// county, state, postal code and country; an empty or missing line is an absent part.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "platform/geocoding/address_templates.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace platform = orvane::platform;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    std::array<std::optional<std::string>, 10> lines;
    for (auto& line : lines) {
        const auto end = text.find('\n');
        if (const auto part = text.substr(0, end); !part.empty()) {
            line = std::string(part);
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    platform::Placemark placemark;
    placemark.ISOcountryCode = lines[1];
    placemark.thoroughfare = lines[2];
    placemark.subThoroughfare = lines[3];
    placemark.subLocality = lines[4];
    placemark.locality = lines[5];
    placemark.subAdministrativeArea = lines[6];
    placemark.administrativeArea = lines[7];
    placemark.postalCode = lines[8];
    placemark.country = lines[9];
    const auto address = platform::formatPostalAddress(placemark, lines[0].value_or(""));
    // The gaps of missing parts never show: no empty line, none at either end.
    if (address && (address->empty() || address->front() == '\n' || address->back() == '\n' ||
                    address->find("\n\n") != std::string::npos)) {
        std::fprintf(stderr, "postal text with an empty line:\n%s\n", address->c_str());
        std::abort();
    }
    return 0;
}
