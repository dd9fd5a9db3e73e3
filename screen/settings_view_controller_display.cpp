// The camera screen's screen and stamp keys.
#include "screen/settings_view_controller.h"

#include <algorithm>

#include "screen/settings_color.h"

namespace orvane::screen {

namespace {

// A plate or stroke colour: black when missing, and the black is kept so the next read finds it.
foundation::Color readColorWritingBlack(platform::UserDefaults& defaults, std::string_view key) {
    if (auto color = readColor(defaults, key)) {
        return *color;
    }
    writeColor(defaults, key, foundation::Color::blackColor());
    return foundation::Color::blackColor();
}

}  // namespace

float readPowerSaveBrightness(const platform::UserDefaults& defaults) {
    return std::max(defaults.floatForKey("PowerSaveBrightness"), kLeastPowerSaveBrightness);
}

foundation::Color readDefaultFontColor(const platform::UserDefaults& defaults) {
    return readColor(defaults, "defaultFontColor").value_or(foundation::Color::whiteColor());
}

// Screen.

std::int64_t ZephrinViewControllerStore::readUIMode() const {
    return _d.integerForKey("UIMode");
}

void ZephrinViewControllerStore::saveUIMode(std::int64_t mode) {
    _d.setInteger("UIMode", mode);
}

std::int64_t ZephrinViewControllerStore::readUIRotateMode() const {
    return _d.integerForKey("UIRotateMode");
}

void ZephrinViewControllerStore::saveUIRotateMode(std::int64_t mode) {
    _d.setInteger("UIRotateMode", mode);
}

bool ZephrinViewControllerStore::isHideMenu() const {
    return _d.boolForKey("hideMenu");
}

void ZephrinViewControllerStore::SetHideMenu(bool value) {
    _d.setBool("hideMenu", value);
}

bool ZephrinViewControllerStore::isShowGrid() const {
    return _d.boolForKey("ShowGrid");
}

void ZephrinViewControllerStore::SetShowGrid(bool value) {
    _d.setBool("ShowGrid", value);
}

bool ZephrinViewControllerStore::hideLevelLine() const {
    return _d.boolForKey("hideLevelLine");
}

void ZephrinViewControllerStore::SetHideLevelLine(bool value) {
    _d.setBool("hideLevelLine", value);
}

bool ZephrinViewControllerStore::isAlwaysShowZoomSlider() const {
    return _d.boolForKey("AlwaysShowZoomSlider");
}

void ZephrinViewControllerStore::SetAlwaysShowZoomSlider(bool value) {
    _d.setBool("AlwaysShowZoomSlider", value);
}

bool ZephrinViewControllerStore::isTouchToCapture() const {
    return _d.boolForKey("TouchToCapture");
}

void ZephrinViewControllerStore::SetTouchToCapture(bool value) {
    _d.setBool("TouchToCapture", value);
}

bool ZephrinViewControllerStore::isVolumeButtonCaptureDisable() const {
    return _d.boolForKey("VolumeButtonCapture");
}

void ZephrinViewControllerStore::SetVolumeButtonCaptureDisable(bool value) {
    _d.setBool("VolumeButtonCapture", value);
}

bool ZephrinViewControllerStore::isPowerSaveMode() const {
    return _d.boolForKey("PowerSaveMode");
}

void ZephrinViewControllerStore::SetPowerSaveMode(bool value) {
    _d.setBool("PowerSaveMode", value);
}

float ZephrinViewControllerStore::getPowerSaveBrightness() const {
    return readPowerSaveBrightness(_d);
}

void ZephrinViewControllerStore::SetPowerSaveBrightness(float brightness) {
    _d.setFloat("PowerSaveBrightness", std::max(brightness, kLeastPowerSaveBrightness));
}

bool ZephrinViewControllerStore::isSupportTapToChangePowerSaveMode() const {
    return _d.boolForKey("SupportTapToChangePowerSaveMode");
}

void ZephrinViewControllerStore::SetSupportTapToChangePowerSaveMode(bool value) {
    _d.setBool("SupportTapToChangePowerSaveMode", value);
}

bool ZephrinViewControllerStore::isSupportSingleTapToChangeBrightenWhenPowerSaveMode() const {
    return _d.boolForKey("SupportSingleTapToChangeBrightenWhenPowerSaveMode");
}

void ZephrinViewControllerStore::SetSupportSingleTapToChangeBrightenWhenPowerSaveMode(bool value) {
    _d.setBool("SupportSingleTapToChangeBrightenWhenPowerSaveMode", value);
}

bool ZephrinViewControllerStore::isHideDanceMode() const {
    return !_d.boolForKey("HideDanceMode");
}

void ZephrinViewControllerStore::SetHideDanceMode(bool value) {
    _d.setBool("HideDanceMode", !value);
}

bool ZephrinViewControllerStore::isShowParticleEffect() const {
    return _d.boolForKey("ShowParticleEffect");
}

void ZephrinViewControllerStore::SetShowParticleEffect(bool value) {
    _d.setBool("ShowParticleEffect", value);
}

bool ZephrinViewControllerStore::isShowShortcutText() const {
    return _d.boolForKey("ShowShortcutText");
}

void ZephrinViewControllerStore::SetShowShortcutText(bool value) {
    _d.setBool("ShowShortcutText", value);
}

bool ZephrinViewControllerStore::isShowShortcutTag() const {
    return _d.boolForKey("ShowShortcutTag");
}

void ZephrinViewControllerStore::SetShowShortcutTag(bool value) {
    _d.setBool("ShowShortcutTag", value);
}

bool ZephrinViewControllerStore::isShowShortcutStopWatch() const {
    return _d.boolForKey("ShowShortcutStopWatch");
}

void ZephrinViewControllerStore::SetShowShortcutStopWatch(bool value) {
    _d.setBool("ShowShortcutStopWatch", value);
}

bool ZephrinViewControllerStore::isShowShortcutLock() const {
    return _d.boolForKey("ShowShortcutLock");
}

void ZephrinViewControllerStore::SetShowShortcutLock(bool value) {
    _d.setBool("ShowShortcutLock", value);
}

// Stamp.

std::optional<std::string> ZephrinViewControllerStore::getDefaultFont() const {
    return _d.stringForKey("defaultFontName");
}

void ZephrinViewControllerStore::setDefaultFont(std::optional<std::string> fontName) {
    _d.setString("defaultFontName", std::move(fontName));
}

std::int64_t ZephrinViewControllerStore::getDefaultFontSizeLevel() const {
    return _d.integerForKey("defaultFontSizeLevel");
}

void ZephrinViewControllerStore::setDefaultFontSizeLevel(std::int64_t level) {
    _d.setInteger("defaultFontSizeLevel", level);
}

foundation::Color ZephrinViewControllerStore::getDefaultFontColor() const {
    return readDefaultFontColor(_d);
}

void ZephrinViewControllerStore::setDefaultFontColor(const foundation::Color& color) {
    writeColor(_d, "defaultFontColor", color);
}

foundation::Color ZephrinViewControllerStore::getTextBackgroundColor() {
    return readColorWritingBlack(_d, "TextBackgroundColor");
}

void ZephrinViewControllerStore::setTextBackgroundColor(const foundation::Color& color) {
    writeColor(_d, "TextBackgroundColor", color);
}

foundation::Color ZephrinViewControllerStore::getTextStrokeColor() {
    return readColorWritingBlack(_d, "TextStrokeColor");
}

void ZephrinViewControllerStore::setTextStrokeColor(const foundation::Color& color) {
    writeColor(_d, "TextStrokeColor", color);
}

bool ZephrinViewControllerStore::ReadUseTextStroke() const {
    return _d.boolForKey("useTextStroke");
}

void ZephrinViewControllerStore::SaveUseTextStroke(bool value) {
    _d.setBool("useTextStroke", value);
}

std::int64_t ZephrinViewControllerStore::readBackgroundAlpha() const {
    return _d.integerForKey("BackgroundAlpha");
}

void ZephrinViewControllerStore::saveBackgroundAlpha(std::int64_t percent) {
    _d.setInteger("BackgroundAlpha", percent);
}

std::int64_t ZephrinViewControllerStore::readTextAlpha() const {
    return 100 - _d.integerForKey("TextAlpha");
}

void ZephrinViewControllerStore::saveTextAlpha(std::int64_t percent) {
    _d.setInteger("TextAlpha", 100 - percent);
}

std::int64_t ZephrinViewControllerStore::readTextDistanceMode() const {
    return _d.integerForKey("TextDistanceMode");
}

void ZephrinViewControllerStore::saveTextDistanceMode(std::int64_t mode) {
    _d.setInteger("TextDistanceMode", mode);
}

std::int64_t ZephrinViewControllerStore::readTimeAboveMode() const {
    return _d.integerForKey("TimeAboveMode");
}

void ZephrinViewControllerStore::saveTimeAboveMode(std::int64_t mode) {
    _d.setInteger("TimeAboveMode", mode);
}

std::int64_t ZephrinViewControllerStore::getTimeSegIndex() const {
    return _d.integerForKey("timeSegIndex");
}

void ZephrinViewControllerStore::saveTimeSegIndex(std::int64_t index) {
    _d.setInteger("timeSegIndex", index);
}

std::optional<std::string> ZephrinViewControllerStore::getInputText() const {
    return _d.stringForKey("InputText");
}

void ZephrinViewControllerStore::setInputText(std::optional<std::string> text) {
    _d.setString("InputText", std::move(text));
}

std::optional<platform::StringArray> ZephrinViewControllerStore::readCustomTextArray() const {
    return _d.stringArrayForKey("CustomTextArray");
}

void ZephrinViewControllerStore::saveCustomTextArray(std::optional<platform::StringArray> texts) {
    _d.setStringArray("CustomTextArray", std::move(texts));
}

std::int64_t ZephrinViewControllerStore::readCustomTextOrder() const {
    return _d.integerForKey("CustomTextOrder");
}

void ZephrinViewControllerStore::saveCustomTextOrder(std::int64_t order) {
    _d.setInteger("CustomTextOrder", order);
}

std::optional<platform::StringArray> ZephrinViewControllerStore::readAllTags() const {
    return _d.stringArrayForKey("AllTags");
}

void ZephrinViewControllerStore::saveAllTags(std::optional<platform::StringArray> tags) {
    _d.setStringArray("AllTags", std::move(tags));
}

std::optional<platform::StringArray> ZephrinViewControllerStore::readSelectTags() const {
    return _d.stringArrayForKey("SelectTags");
}

void ZephrinViewControllerStore::saveSelectTags(std::optional<platform::StringArray> tags) {
    _d.setStringArray("SelectTags", std::move(tags));
}

bool ZephrinViewControllerStore::readShowTagOnCamera() const {
    return _d.boolForKey("ShowTagOnCamera");
}

void ZephrinViewControllerStore::SetShowTagOnCamera(bool value) {
    _d.setBool("ShowTagOnCamera", value);
}

bool ZephrinViewControllerStore::GetShowAltitudeAndSpeed() const {
    return _d.boolForKey("ShowAltitudeAndSpeed");
}

void ZephrinViewControllerStore::SetShowAltitudeAndSpeed(bool value) {
    _d.setBool("ShowAltitudeAndSpeed", value);
}

bool ZephrinViewControllerStore::GetShowLunar() const {
    return _d.boolForKey("ShowLunar");
}

void ZephrinViewControllerStore::SetShowLunar(bool value) {
    _d.setBool("ShowLunar", value);
}

bool ZephrinViewControllerStore::isNeedDisplayLuoPan() const {
    return _d.boolForKey("NeedDisplayLuoPan");
}

void ZephrinViewControllerStore::SetNeedDisplayLuoPan(bool value) {
    _d.setBool("NeedDisplayLuoPan", value);
}

bool ZephrinViewControllerStore::isNeedDisplayMap() const {
    return _d.boolForKey("NeedDisplayMap");
}

void ZephrinViewControllerStore::SetNeedDisplayMap(bool value) {
    _d.setBool("NeedDisplayMap", value);
}

}  // namespace orvane::screen
