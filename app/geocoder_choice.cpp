#include "app/geocoder_choice.h"

#include "platform/geocoding/NominatimGeocoder.h"
#include "platform/geocoding/OfflineGeocoder.h"

namespace orvane::app {

bool isUrl(std::string_view text) {
    return text.starts_with("http://") || text.starts_with("https://");
}

std::unique_ptr<platform::Geocoder> makeGeocoder(const std::optional<std::string>& option,
                                                 screen::SettingsStore& store,
                                                 const std::string& languageCode,
                                                 std::shared_ptr<foundation::DispatchQueue> queue) {
    const std::string url = option.value_or(store.lineDrawer.getGeocoderURL().value_or(""));
    if (url.empty() || url == "offline") {
        return std::make_unique<platform::OfflineGeocoder>(std::move(queue), languageCode);
    }
    platform::NominatimOptions online;
    online.baseUrl = url;
    online.contact = store.lineDrawer.getGeocoderContact().value_or("");
    online.languageCode = languageCode;
    return std::make_unique<platform::NominatimGeocoder>(std::move(online), std::move(queue));
}

}  // namespace orvane::app
