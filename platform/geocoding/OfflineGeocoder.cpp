#include "platform/geocoding/OfflineGeocoder.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/geocoding/address_templates.h"
#include "platform/geocoding/places_file.h"
#include "platform/geocoding/places_ocean.h"
#include "platform/system/data_directory.h"

namespace orvane::platform {

namespace {

constexpr const char* kErrorDomain = "OfflineGeocoderErrorDomain";
constexpr int kFileError = 1;
constexpr int kInvalidCoordinate = 2;
// Antarctica's ice reaches past this latitude all round; it has no places to name.
constexpr double kAntarcticIce = -60;

icu::Locale localeOf(const std::string& languageCode) {
    std::string tag = languageCode;
    for (char& c : tag) {
        if (c == '_') {
            c = '-';
        }
    }
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale locale = icu::Locale::forLanguageTag(tag, status);
    if (U_FAILURE(status) || locale.isBogus() || tag.empty()) {
        return icu::Locale::getEnglish();
    }
    return locale;
}

std::string countryName(std::string_view code, const icu::Locale& language) {
    const icu::Locale region("", std::string(code).c_str());
    icu::UnicodeString name;
    region.getDisplayCountry(language, name);
    std::string text;
    name.toUTF8String(text);
    return text.empty() ? std::string(code) : text;
}

}  // namespace

struct OfflineGeocoder::State {
    std::shared_ptr<foundation::DispatchQueue> callbackQueue;
    std::shared_ptr<foundation::SerialQueue> queue;
    std::string languageCode;
    icu::Locale language;
    std::string path;
    // Touched only on `queue`.
    std::unique_ptr<places::PlaceIndex> index;

    // Runs on `queue`.
    void answer(const Location& location, Completion completion);
    std::optional<Placemark> placemarkAt(const Location& location) const;
};

OfflineGeocoder::OfflineGeocoder(std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                                 std::string languageCode)
    : OfflineGeocoder(std::move(callbackQueue), std::move(languageCode),
                      dataDirectory() + "/" + kPlacesFileName) {}

OfflineGeocoder::OfflineGeocoder(std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                                 std::string languageCode, std::string placesPath)
    : _state(std::make_shared<State>()) {
    _state->callbackQueue = std::move(callbackQueue);
    _state->queue = foundation::SerialQueue::create("orvane.geocoder.offline");
    _state->language = localeOf(languageCode);
    _state->languageCode = std::move(languageCode);
    _state->path = std::move(placesPath);
}

// Requests already queued still finish: they hold the state, and their completions are allowed.
OfflineGeocoder::~OfflineGeocoder() = default;

std::string OfflineGeocoder::description() const {
    return "offline places (" + _state->path + ")";
}

std::string OfflineGeocoder::dataDirectory() {
    return platform::dataDirectory();
}

void OfflineGeocoder::reverseGeocodeLocation(const Location& location, Completion completion) {
    _state->queue->async([state = _state, location, completion = std::move(completion)]() mutable {
        state->answer(location, std::move(completion));
    });
}

void OfflineGeocoder::State::answer(const Location& location, Completion completion) {
    std::vector<Placemark> placemarks;
    std::optional<foundation::Error> error;
    const auto [latitude, longitude] = location.coordinate();
    if (!std::isfinite(latitude) || !std::isfinite(longitude) || std::abs(latitude) > 90 ||
        std::abs(longitude) > 180) {
        error = foundation::Error{kErrorDomain, kInvalidCoordinate, "Invalid coordinate",
                                  "The position is outside the range of latitude and longitude"};
    } else {
        if (!index) {
            std::string problem;
            index = places::PlaceIndex::load(path, problem);
            if (!index) {
                error = foundation::Error{kErrorDomain, kFileError, "The place data cannot be read",
                                          path + ": " + problem};
            }
        }
        if (index) {
            if (auto placemark = placemarkAt(location)) {
                placemark->formattedAddress = formatPostalAddress(*placemark, languageCode);
                placemarks.push_back(std::move(*placemark));
            }
        }
    }
    callbackQueue->async([completion = std::move(completion), placemarks = std::move(placemarks),
                          error = std::move(error)]() mutable {
        completion(std::move(placemarks), std::move(error));
    });
}

std::optional<Placemark> OfflineGeocoder::State::placemarkAt(const Location& location) const {
    const auto [latitude, longitude] = location.coordinate();
    Placemark placemark;
    placemark.location = location;
    const auto nearest = index->nearest(latitude, longitude);
    if (nearest && nearest->metres <= kNearbyMetres) {
        const places::Place place = index->place(nearest->index);
        placemark.name = std::string(place.name);
        placemark.locality = std::string(place.name);
        if (place.area) {
            placemark.administrativeArea = std::string(*place.area);
        }
        if (place.subArea) {
            placemark.subAdministrativeArea = std::string(*place.subArea);
        }
        placemark.ISOcountryCode = std::string(place.countryCode);
        placemark.country = countryName(place.countryCode, language);
        return placemark;
    }
    if (!index->isLand(latitude, longitude)) {
        const auto ocean = places::oceanAt(latitude, longitude);
        if (!ocean) {
            return std::nullopt;
        }
        placemark.ocean = places::oceanName(*ocean, languageCode);
        placemark.name = placemark.ocean;
        return placemark;
    }
    if (latitude <= kAntarcticIce) {
        placemark.ISOcountryCode = "AQ";
        placemark.country = countryName("AQ", language);
        placemark.name = placemark.country;
        return placemark;
    }
    if (nearest && nearest->metres <= kCountryMetres) {
        const places::Place place = index->place(nearest->index);
        placemark.ISOcountryCode = std::string(place.countryCode);
        placemark.country = countryName(place.countryCode, language);
        placemark.name = placemark.country;
        return placemark;
    }
    return std::nullopt;
}

}  // namespace orvane::platform
