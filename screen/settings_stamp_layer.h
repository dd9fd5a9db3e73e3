// The stamp layer's accessors to the settings store: its first-run flag, the time row and the
// address and coordinate forms. LineDrawer forwards to these.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/Color.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::screen {

class LineDrawerStore {
  public:
    explicit LineDrawerStore(platform::UserDefaults& defaults) : _d(defaults) {}

    // "haverun1": the first time row and address form.
    bool isHaveRun() const;
    void SetHaveRun();

    std::int64_t getTimeFormatIndex() const;
    void saveTimeFormatIndex(std::int64_t index);
    // The address form key ("fulladdress", "formatAddress2", ...).
    std::optional<std::string> getSavedLocationType() const;
    void saveLocationType(std::optional<std::string> type);
    std::optional<std::string> getSavedLocation() const;
    void saveLocation(std::optional<std::string> location);
    // The coordinate form key ("gps1", "gps2", ...); "" after the user chose no coordinates.
    std::optional<std::string> getSavedGpsType() const;
    void saveGpsType(std::optional<std::string> type);
    std::optional<std::string> getSavedGps() const;
    void saveGps(std::optional<std::string> gps);
    // The online geocoder: its base URL ("https://nominatim.example"; absent or empty keeps it
    // off, so positions never leave the machine unasked) and the contact (an e-mail address or
    // URL) its requests carry in their User-Agent.
    std::optional<std::string> getGeocoderURL() const;
    void saveGeocoderURL(std::optional<std::string> url);
    std::optional<std::string> getGeocoderContact() const;
    void saveGeocoderContact(std::optional<std::string> contact);

    // The layer's own readers of camera screen keys.
    std::int64_t getCameraModeIndex() const;
    std::optional<std::string> getDefaultFont() const;
    std::int64_t getDefaultFontSizeLevel() const;
    foundation::Color getDefaultFontColor() const;
    std::int64_t readTextDistanceMode() const;

  private:
    platform::UserDefaults& _d;
};

}  // namespace orvane::screen
