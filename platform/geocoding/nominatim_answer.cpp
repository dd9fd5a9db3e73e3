// The table that maps a Nominatim jsonv2 answer's address parts onto the placemark.
#include "platform/geocoding/nominatim_answer.h"

#include <array>
#include <nlohmann/json.hpp>
#include <set>

#include "platform/geocoding/NominatimGeocoder.h"
#include "platform/geocoding/address_templates.h"
#include "platform/json_nesting.h"

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

}  // namespace

std::string nominatimExcerpt(const std::string& body) {
    constexpr std::size_t kLength = 200;
    return body.size() <= kLength ? body : body.substr(0, kLength) + "...";
}

std::vector<Placemark> placemarksFromNominatim(const std::string& body,
                                               const std::string& languageCode,
                                               std::optional<foundation::Error>& error) {
    error.reset();
    if (jsonNestsDeeperThan(body, kMaxJsonNesting)) {
        error = foundation::Error{NominatimGeocoder::kErrorDomain, NominatimGeocoder::kBadAnswer,
                                  "The geocoding service's answer could not be read",
                                  "arrays or objects nested more than " +
                                      std::to_string(kMaxJsonNesting) + " levels deep"};
        return {};
    }
    const auto json = nlohmann::json::parse(body, nullptr, /*allow_exceptions=*/false);
    if (json.is_discarded() || !json.is_object()) {
        error = foundation::Error{NominatimGeocoder::kErrorDomain, NominatimGeocoder::kBadAnswer,
                                  "The geocoding service's answer could not be read",
                                  "not a JSON object: " + nominatimExcerpt(body)};
        return {};
    }
    if (const auto it = json.find("error"); it != json.end()) {
        std::string message = it->is_string() ? it->get<std::string>()
                              : it->is_object() && it->contains("message")
                                  ? it->at("message").dump()
                                  : it->dump();
        error = foundation::Error{NominatimGeocoder::kErrorDomain, NominatimGeocoder::kServiceError,
                                  "The geocoding service found no address here", message};
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

    // A service is free to send any kind of value; only text says what the place is.
    const std::string type = text(json, "type").value_or("");
    const std::string category = text(json, "category").value_or("");
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

}  // namespace orvane::platform
