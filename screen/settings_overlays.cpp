#include "screen/settings_overlays.h"

namespace orvane::screen {

bool WatermarkSettingViewControllerStore::isWaterPositionNotAuto() const {
    return _d.boolForKey("WaterPositionNotAuto");
}

void WatermarkSettingViewControllerStore::SetWaterPositionNotAuto(bool value) {
    _d.setBool("WaterPositionNotAuto", value);
}

std::int64_t WatermarkSettingViewControllerStore::readWatermarkPosition() const {
    return _d.integerForKey("WatermarkPosition");
}

void WatermarkSettingViewControllerStore::saveWatermarkPosition(std::int64_t position) {
    _d.setInteger("WatermarkPosition", position);
}

float WatermarkSettingViewControllerStore::readWatermarkOpacity() const {
    return _d.floatForKey("WatermarkOpacity");
}

void WatermarkSettingViewControllerStore::saveWatermarkOpacity(float opacity) {
    _d.setFloat("WatermarkOpacity", opacity);
}

float WatermarkSettingViewControllerStore::readWatermarkSize() const {
    return _d.floatForKey("WatermarkSize");
}

void WatermarkSettingViewControllerStore::saveWatermarkSize(float size) {
    _d.setFloat("WatermarkSize", size);
}

float WatermarkSettingViewControllerStore::readWatermarkSize_public() const {
    return readWatermarkSize();
}

void WatermarkSettingViewControllerStore::saveWatermarkSize_public(float size) {
    saveWatermarkSize(size);
}

std::int64_t WatermarkSettingViewControllerStore::readWatermarkEdge() const {
    return _d.integerForKey("WatermarkEdge");
}

void WatermarkSettingViewControllerStore::saveWatermarkEdge(std::int64_t edge) {
    _d.setInteger("WatermarkEdge", edge);
}

bool MapSettingViewControllerStore::isMapPositionNotAuto() const {
    return _d.boolForKey("MapPositionNotAuto");
}

void MapSettingViewControllerStore::SetMapPositionNotAuto(bool value) {
    _d.setBool("MapPositionNotAuto", value);
}

std::int64_t MapSettingViewControllerStore::readMapPosition() const {
    return _d.integerForKey("MapPosition");
}

void MapSettingViewControllerStore::saveMapPosition(std::int64_t position) {
    _d.setInteger("MapPosition", position);
}

std::int64_t MapSettingViewControllerStore::readMapType() const {
    return _d.integerForKey("MapType");
}

void MapSettingViewControllerStore::saveMapType(std::int64_t type) {
    _d.setInteger("MapType", type);
}

float MapSettingViewControllerStore::readMapOpacity() const {
    return _d.floatForKey("MapOpacity");
}

void MapSettingViewControllerStore::saveMapOpacity(float opacity) {
    _d.setFloat("MapOpacity", opacity);
}

float MapSettingViewControllerStore::readMapSize() const {
    return _d.floatForKey("MapSize");
}

void MapSettingViewControllerStore::saveMapSize(float size) {
    _d.setFloat("MapSize", size);
}

float MapSettingViewControllerStore::readMapScale() const {
    return _d.floatForKey("MapScale");
}

void MapSettingViewControllerStore::saveMapScale(float scale) {
    _d.setFloat("MapScale", scale);
}

double MapSettingViewControllerStore::readMapSize_public() const {
    return static_cast<double>(readMapSize()) * 1.5 + 0.25;
}

void MapSettingViewControllerStore::saveMapSize_public(double size) {
    saveMapSize(static_cast<float>((size - 0.25) * 2.0 / 3.0));
}

double MapSettingViewControllerStore::readMapScale_public() const {
    const auto stored = static_cast<double>(readMapScale());
    return stored <= 0.5 ? stored * 0.018 + 0.001 : stored * 0.18 - 0.08;
}

void MapSettingViewControllerStore::saveMapScale_public(double scale) {
    saveMapScale(
        static_cast<float>(scale <= 0.01 ? (scale - 0.001) / 0.018 : (scale + 0.08) / 0.18));
}

std::int64_t MapSettingViewControllerStore::readMapAppearance() const {
    return _d.integerForKey("MapAppearance");
}

void MapSettingViewControllerStore::saveMapAppearance(std::int64_t appearance) {
    _d.setInteger("MapAppearance", appearance);
}

std::optional<std::string> MapSettingViewControllerStore::getMapTileURL() const {
    return _d.stringForKey("MapTileURL");
}

void MapSettingViewControllerStore::saveMapTileURL(std::optional<std::string> url) {
    _d.setString("MapTileURL", std::move(url));
}

std::optional<std::string> MapSettingViewControllerStore::getMapAttribution() const {
    return _d.stringForKey("MapAttribution");
}

void MapSettingViewControllerStore::saveMapAttribution(std::optional<std::string> attribution) {
    _d.setString("MapAttribution", std::move(attribution));
}

std::optional<std::string> MapSettingViewControllerStore::getMapTilesFile() const {
    return _d.stringForKey("MapTilesFile");
}

void MapSettingViewControllerStore::saveMapTilesFile(std::optional<std::string> path) {
    _d.setString("MapTilesFile", std::move(path));
}

bool LuoPanSettingViewControllerStore::isLuoPanPositionNotAuto() const {
    return _d.boolForKey("LuoPanPositionNotAuto");
}

void LuoPanSettingViewControllerStore::SetLuoPanPositionNotAuto(bool value) {
    _d.setBool("LuoPanPositionNotAuto", value);
}

std::int64_t LuoPanSettingViewControllerStore::readLuoPanPosition() const {
    return _d.integerForKey("LuoPanPosition");
}

void LuoPanSettingViewControllerStore::saveLuoPanPosition(std::int64_t position) {
    _d.setInteger("LuoPanPosition", position);
}

std::int64_t LuoPanSettingViewControllerStore::readLuoPanStyle() const {
    return _d.integerForKey("LuoPanStyle");
}

void LuoPanSettingViewControllerStore::saveLuoPanStyle(std::int64_t style) {
    _d.setInteger("LuoPanStyle", style);
}

float LuoPanSettingViewControllerStore::readLuoPanSize() const {
    return _d.floatForKey("LuoPanSize");
}

void LuoPanSettingViewControllerStore::saveLuoPanSize(float size) {
    _d.setFloat("LuoPanSize", size);
}

float luoPanScale(float storedSize) {
    return storedSize <= 0.0f ? storedSize + 1.0f : storedSize * 2.0f + 1.0f;
}

std::int64_t AltAndSpeedSettingViewControllerStore::readASDisplay() const {
    return _d.integerForKey("ASDisplay");
}

void AltAndSpeedSettingViewControllerStore::saveASDisplay(std::int64_t display) {
    _d.setInteger("ASDisplay", display);
}

std::int64_t AltAndSpeedSettingViewControllerStore::readASUnits() const {
    return _d.integerForKey("ASUnits");
}

void AltAndSpeedSettingViewControllerStore::saveASUnits(std::int64_t units) {
    _d.setInteger("ASUnits", units);
}

}  // namespace orvane::screen
