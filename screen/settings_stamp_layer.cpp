#include "screen/settings_stamp_layer.h"

#include "screen/settings_view_controller.h"

namespace orvane::screen {

bool LineDrawerStore::isHaveRun() const {
    return _d.boolForKey("haverun1");
}

void LineDrawerStore::SetHaveRun() {
    _d.setBool("haverun1", true);
}

std::int64_t LineDrawerStore::getTimeFormatIndex() const {
    return _d.integerForKey("TimeFormatIndex");
}

void LineDrawerStore::saveTimeFormatIndex(std::int64_t index) {
    _d.setInteger("TimeFormatIndex", index);
}

std::optional<std::string> LineDrawerStore::getSavedLocationType() const {
    return _d.stringForKey("SavedLocationType");
}

void LineDrawerStore::saveLocationType(std::optional<std::string> type) {
    _d.setString("SavedLocationType", std::move(type));
}

std::optional<std::string> LineDrawerStore::getSavedLocation() const {
    return _d.stringForKey("SavedLocation");
}

void LineDrawerStore::saveLocation(std::optional<std::string> location) {
    _d.setString("SavedLocation", std::move(location));
}

std::optional<std::string> LineDrawerStore::getGeocoderURL() const {
    return _d.stringForKey("GeocoderURL");
}

void LineDrawerStore::saveGeocoderURL(std::optional<std::string> url) {
    _d.setString("GeocoderURL", std::move(url));
}

std::optional<std::string> LineDrawerStore::getGeocoderContact() const {
    return _d.stringForKey("GeocoderContact");
}

void LineDrawerStore::saveGeocoderContact(std::optional<std::string> contact) {
    _d.setString("GeocoderContact", std::move(contact));
}

std::optional<std::string> LineDrawerStore::getSavedGpsType() const {
    return _d.stringForKey("SavedGpsType");
}

void LineDrawerStore::saveGpsType(std::optional<std::string> type) {
    _d.setString("SavedGpsType", std::move(type));
}

std::optional<std::string> LineDrawerStore::getSavedGps() const {
    return _d.stringForKey("SavedGps");
}

void LineDrawerStore::saveGps(std::optional<std::string> gps) {
    _d.setString("SavedGps", std::move(gps));
}

std::int64_t LineDrawerStore::getCameraModeIndex() const {
    return _d.integerForKey("cameraModeIndex");
}

std::optional<std::string> LineDrawerStore::getDefaultFont() const {
    return _d.stringForKey("defaultFontName");
}

std::int64_t LineDrawerStore::getDefaultFontSizeLevel() const {
    return _d.integerForKey("defaultFontSizeLevel");
}

foundation::Color LineDrawerStore::getDefaultFontColor() const {
    return readDefaultFontColor(_d);
}

std::int64_t LineDrawerStore::readTextDistanceMode() const {
    return _d.integerForKey("TextDistanceMode");
}

}  // namespace orvane::screen
