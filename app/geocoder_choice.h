// The geocoder a command uses: "offline" or nothing for the bundled place data, else a
// Nominatim-compatible service at the URL given or stored under GeocoderURL.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/DispatchQueue.h"
#include "platform/geocoding/Geocoder.h"
#include "screen/settings_store.h"

namespace orvane::app {

bool isUrl(std::string_view text);

std::unique_ptr<platform::Geocoder> makeGeocoder(const std::optional<std::string>& option,
                                                 screen::SettingsStore& store,
                                                 const std::string& languageCode,
                                                 std::shared_ptr<foundation::DispatchQueue> queue);

}  // namespace orvane::app
