// The postal text of a placemark: its address laid out by its country's conventions, from the
// per-country address templates carried as data.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/geocoding/Geocoder.h"

namespace orvane::platform {

// The longest part of an address laid out, in bytes; a longer one (no real street or town comes
// near) is left out of the postal text, as the layouts' regular expressions recurse once per
// character and a geocoding answer may hold anything.
inline constexpr std::size_t kMaxPostalPartBytes = 1024;

// The address as a post office would write it, one part a line, the country line included
// (the placemark's own country name, unchanged, so it can be found again). The layout is the
// one of the placemark's ISOcountryCode, in its variant for the user's language where one
// exists (Japanese, Chinese, Korean...); countries without a layout get a general one. Nothing
// when the placemark holds no part of an address. Safe from any thread; the templates are
// read once, on first use.
std::optional<std::string> formatPostalAddress(const Placemark& placemark);

// The same for a given language code ("ja", "en").
std::optional<std::string> formatPostalAddress(const Placemark& placemark,
                                               std::string_view languageCode);

}  // namespace orvane::platform
