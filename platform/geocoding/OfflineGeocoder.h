// The default geocoder: answers from the bundled place file with no network, naming the nearest
// populated place with its areas and country, or the ocean at sea.
#pragma once

#include <memory>
#include <string>

#include "foundation/DispatchQueue.h"
#include "platform/geocoding/Geocoder.h"

namespace orvane::platform {

class OfflineGeocoder final : public platform::Geocoder {
  public:
    // Beyond this distance the nearest place no longer says where the camera is: on land it is
    // about the widest gap between places of a thousand people outside deserts and tundra, and
    // at sea it is twice the territorial waters, past which a town is no longer a fair name for
    // where a ship is.
    static constexpr double kNearbyMetres = 50'000;
    // On land with no place near, the nearest place's country is still named up to this far.
    static constexpr double kCountryMetres = 150'000;
    // The file's name in the data directory.
    static constexpr const char* kPlacesFileName = "places.bin";

    // Reads the place file from the data directory (dataDirectory() below). `languageCode`
    // ("en", "fr", "zh", "zh-Hant") is the language of the country and ocean names.
    OfflineGeocoder(std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                    std::string languageCode);
    // The same with the place file given.
    OfflineGeocoder(std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                    std::string languageCode, std::string placesPath);
    ~OfflineGeocoder() override;

    // The file is read at the first request, on the geocoder's own queue; every answer is
    // computed there and handed to the completion on the callback queue. A missing or damaged
    // file is an error naming the file, and the next request tries again.
    void reverseGeocodeLocation(const Location& location, Completion completion) override;
    std::string description() const override;

    // The directory of the program's data: $ORVANE_DATADIR, else share/orvane beside the
    // program's bin/, else the install prefix's.
    static std::string dataDirectory();

  private:
    struct State;
    std::shared_ptr<State> _state;
};

}  // namespace orvane::platform
