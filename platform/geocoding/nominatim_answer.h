// What a Nominatim-compatible service's jsonv2 answer says: its placemark, or the error it
// stands for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "platform/geocoding/Geocoder.h"

namespace orvane::platform {

// The placemark of a jsonv2 answer, mapped field by field, or an error (in
// NominatimGeocoder's domain) for an answer that is not a JSON object or nests deeper than
// kMaxJsonNesting, and for the service's own {"error": ...}; `languageCode` picks the postal text's
// layout variant.
std::vector<Placemark> placemarksFromNominatim(const std::string& body,
                                               const std::string& languageCode,
                                               std::optional<foundation::Error>& error);

// The first bytes of an answer, for an error's failure reason.
std::string nominatimExcerpt(const std::string& body);

}  // namespace orvane::platform
