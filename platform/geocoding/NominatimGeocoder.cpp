// The online geocoder: the request's URL and headers, the worker thread that runs one request
// at a time, and the table that maps the answer's address parts onto the placemark.
#include "platform/geocoding/NominatimGeocoder.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <set>

#include "platform/geocoding/address_templates.h"
#include "platform/geocoding/http_client.h"

namespace orvane::platform {
namespace {

using Field = std::optional<std::string> Placemark::*;

// Which address parts of the answer fill which field; the first present part wins.
struct FieldRule {
    Field field;
    std::vector<const char*> parts;
};

const std::array<FieldRule, 8> kFieldRules = {{
    {&Placemark::thoroughfare,
     {"road", "pedestrian", "footway", "path", "cycleway", "bridleway", "steps", "square"}},
    {&Placemark::subThoroughfare, {"house_number"}},
    {&Placemark::subLocality, {"suburb", "city_district", "borough", "quarter", "neighbourhood"}},
    {&Placemark::locality, {"city", "town", "village", "hamlet", "municipality"}},
    {&Placemark::subAdministrativeArea, {"county", "state_district"}},
    {&Placemark::administrativeArea, {"state", "province", "region"}},
    {&Placemark::postalCode, {"postcode"}},
    {&Placemark::country, {"country"}},
}};

// Address parts that name places worth a visit, each becoming an area of interest.
constexpr std::array<const char*, 4> kInterestParts = {"tourism", "amenity", "leisure", "historic"};

// Water features by the answer's type: the open sea, or water inland.
const std::set<std::string, std::less<>> kSeaTypes = {"sea", "ocean", "bay", "strait", "coastline"};
const std::set<std::string, std::less<>> kInlandTypes = {
    "water", "lake", "river", "reservoir", "pond", "canal", "stream", "riverbank", "lagoon"};

std::optional<std::string> text(const nlohmann::json& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end() || !it->is_string())
        return std::nullopt;
    std::string value = it->get<std::string>();
    if (value.empty())
        return std::nullopt;
    return value;
}

std::string upperCase(std::string s) {
    for (char& c : s) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return s;
}

foundation::Error makeError(std::int64_t code, std::string description,
                            std::string failureReason = {}) {
    return {NominatimGeocoder::kErrorDomain, code, std::move(description),
            std::move(failureReason)};
}

std::optional<double> number(const nlohmann::json& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end())
        return std::nullopt;
    if (it->is_number())
        return it->get<double>();
    if (it->is_string()) {
        try {
            return std::stod(it->get<std::string>());
        } catch (const std::exception&) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

// The first bytes of a body, for an error's failure reason.
std::string excerpt(const std::string& body) {
    constexpr std::size_t kLength = 200;
    return body.size() <= kLength ? body : body.substr(0, kLength) + "...";
}

}  // namespace

std::vector<Placemark> placemarksFromNominatim(const std::string& body,
                                               const std::string& languageCode,
                                               std::optional<foundation::Error>& error) {
    error.reset();
    const auto json = nlohmann::json::parse(body, nullptr, /*allow_exceptions=*/false);
    if (json.is_discarded() || !json.is_object()) {
        error = makeError(NominatimGeocoder::kBadAnswer,
                          "The geocoding service's answer could not be read",
                          "not a JSON object: " + excerpt(body));
        return {};
    }
    if (const auto it = json.find("error"); it != json.end()) {
        std::string message = it->is_string() ? it->get<std::string>()
                              : it->is_object() && it->contains("message")
                                  ? it->at("message").dump()
                                  : it->dump();
        error = makeError(NominatimGeocoder::kServiceError,
                          "The geocoding service found no address here", message);
        return {};
    }
    const auto addressIt = json.find("address");
    const nlohmann::json address =
        addressIt != json.end() && addressIt->is_object() ? *addressIt : nlohmann::json::object();

    Placemark placemark;
    placemark.name = text(json, "name");
    for (const FieldRule& rule : kFieldRules) {
        for (const char* part : rule.parts) {
            if (auto value = text(address, part)) {
                placemark.*rule.field = std::move(value);
                break;
            }
        }
    }
    if (auto code = text(address, "country_code"))
        placemark.ISOcountryCode = upperCase(*code);

    const std::string type = json.value("type", "");
    const std::string category = json.value("category", "");
    const bool waterCategory = category == "natural" || category == "water" ||
                               category == "waterway" || category == "place";
    if (waterCategory && placemark.name) {
        if (kSeaTypes.contains(type)) {
            placemark.ocean = placemark.name;
        } else if (kInlandTypes.contains(type)) {
            placemark.inlandWater = placemark.name;
        }
    }
    for (const char* part : kInterestParts) {
        if (auto value = text(address, part))
            placemark.areasOfInterest.push_back(*value);
    }
    const auto lat = number(json, "lat");
    const auto lon = number(json, "lon");
    if (lat && lon)
        placemark.location = Location({*lat, *lon}, std::nullopt, 0, -1, 0);
    placemark.formattedAddress = formatPostalAddress(placemark, languageCode);
    return {std::move(placemark)};
}

NominatimGeocoder::NominatimGeocoder(NominatimOptions options,
                                     std::shared_ptr<foundation::DispatchQueue> callbackQueue)
    : _options(std::move(options)), _callbackQueue(std::move(callbackQueue)) {
    _worker = std::thread([this] { run(); });
}

NominatimGeocoder::~NominatimGeocoder() {
    {
        std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _wake.notify_all();
    _worker.join();
}

std::string NominatimGeocoder::description() const {
    return _options.baseUrl.empty() ? std::string("online geocoder (off)") : _options.baseUrl;
}

std::string NominatimGeocoder::userAgent() const {
    std::string agent = "Orvane/" ORVANE_VERSION;
    if (!_options.contact.empty())
        agent += " (" + _options.contact + ")";
    return agent;
}

std::string NominatimGeocoder::requestUrl(const Location& location) const {
    std::string base = _options.baseUrl;
    while (!base.empty() && base.back() == '/')
        base.pop_back();
    char coordinates[96];
    std::snprintf(coordinates, sizeof coordinates, "lat=%.7f&lon=%.7f",
                  location.coordinate().latitude, location.coordinate().longitude);
    std::string url = base + "/reverse?format=jsonv2&" + coordinates + "&addressdetails=1&zoom=18";
    if (!_options.languageCode.empty()) {
        url += "&accept-language=" + urlEncoded(_options.languageCode);
    }
    return url;
}

void NominatimGeocoder::reverseGeocodeLocation(const Location& location, Completion completion) {
    if (_options.baseUrl.empty()) {
        finish(std::move(completion), {},
               makeError(kNotConfigured, "The online geocoder is off",
                         "no base URL is set (GeocoderURL)"));
        return;
    }
    if (_busy.exchange(true)) {
        finish(std::move(completion), {},
               makeError(kBusy, "A geocoding request is already under way",
                         "one request at a time; try again when it has ended"));
        return;
    }
    {
        std::lock_guard lock(_mutex);
        _job = Job{location, std::move(completion)};
    }
    _wake.notify_all();
}

void NominatimGeocoder::finish(Completion completion, std::vector<Placemark> placemarks,
                               std::optional<foundation::Error> error) {
    _callbackQueue->async([completion = std::move(completion), placemarks = std::move(placemarks),
                           error = std::move(error)]() mutable {
        completion(std::move(placemarks), std::move(error));
    });
}

void NominatimGeocoder::run() {
    for (;;) {
        Job job;
        {
            std::unique_lock lock(_mutex);
            _wake.wait(lock, [this] { return _stopping.load() || _job.has_value(); });
            if (_stopping)
                return;
            job = std::move(*_job);
            _job.reset();
        }
        HttpRequest request;
        request.url = requestUrl(job.location);
        request.userAgent = userAgent();
        request.timeoutSeconds = _options.timeoutSeconds;
        request.cancel = &_stopping;
        request.headers.push_back("Accept: application/json");
        if (!_options.languageCode.empty()) {
            request.headers.push_back("Accept-Language: " + _options.languageCode);
        }
        const HttpResponse response = httpGet(request);
        if (response.cancelled)
            return;  // the geocoder is going away

        std::vector<Placemark> placemarks;
        std::optional<foundation::Error> error;
        if (response.timedOut) {
            char seconds[32];
            std::snprintf(seconds, sizeof seconds, "%g", _options.timeoutSeconds);
            error = makeError(
                kTimedOut,
                std::string("The geocoding service did not answer within ") + seconds + " seconds",
                _options.baseUrl);
        } else if (response.failure) {
            error = makeError(kTransferFailed, "The geocoding service could not be reached",
                              *response.failure);
        } else if (response.status != 200) {
            error =
                makeError(response.status,
                          "The geocoding service answered HTTP " + std::to_string(response.status),
                          excerpt(response.body));
        } else {
            placemarks = placemarksFromNominatim(response.body, _options.languageCode, error);
        }
        // Free for the next request before the completion runs, so it may ask again.
        _busy = false;
        finish(std::move(job.completion), std::move(placemarks), std::move(error));
    }
}

}  // namespace orvane::platform
