// Reverse geocoding: a position to the placemarks that describe it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "platform/location/Location.h"

namespace orvane::platform {

// What a geocoder knows of a place. Absent fields are nothing, never "".
struct Placemark {
    std::optional<std::string> name;
    std::optional<std::string> thoroughfare;           // street
    std::optional<std::string> subThoroughfare;        // house number
    std::optional<std::string> subLocality;            // district, neighbourhood
    std::optional<std::string> locality;               // town or city
    std::optional<std::string> subAdministrativeArea;  // county
    std::optional<std::string> administrativeArea;     // state, province, region
    std::optional<std::string> postalCode;
    std::optional<std::string> country;
    std::optional<std::string> ISOcountryCode;  // "FR"
    std::optional<std::string> inlandWater;
    std::optional<std::string> ocean;
    std::vector<std::string> areasOfInterest;
    std::optional<Location> location;
    // The postal text of the address laid out by the country's conventions, country line
    // included; nothing when the geocoder knows too little to write one.
    std::optional<std::string> formattedAddress;
};

class Geocoder {
  public:
    // Placemarks (possibly none, as at sea) or an error; called on the geocoder's callback queue.
    using Completion =
        std::function<void(std::vector<Placemark>, std::optional<foundation::Error>)>;

    virtual ~Geocoder() = default;
    // One request; the completion is always called exactly once, unless the geocoder is
    // destroyed first.
    virtual void reverseGeocodeLocation(const Location& location, Completion completion) = 0;
    // A short description for messages ("offline places", "https://nominatim.example").
    virtual std::string description() const = 0;
};

}  // namespace orvane::platform
