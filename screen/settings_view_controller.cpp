#include "screen/settings_view_controller.h"

#include "screen/settings_cache.h"

namespace orvane::screen {

// First-run and migration flags.
bool ZephrinViewControllerStore::isHaveInit() const {
    return _d.boolForKey("haveinit");
}

void ZephrinViewControllerStore::SetHaveInit() {
    _d.setBool("haveinit", true);
}

bool ZephrinViewControllerStore::isHaveInitWatermarkSetting() const {
    return _d.boolForKey("HaveInitWatermarkSetting");
}

void ZephrinViewControllerStore::SetHaveInitWatermarkSetting() {
    _d.setBool("HaveInitWatermarkSetting", true);
}

bool ZephrinViewControllerStore::isHaveInitWatermarkSetting2() const {
    return _d.boolForKey("HaveInitWatermarkSetting2");
}

void ZephrinViewControllerStore::SetHaveInitWatermarkSetting2() {
    _d.setBool("HaveInitWatermarkSetting2", true);
}

bool ZephrinViewControllerStore::isHaveInitMapSetting() const {
    return _d.boolForKey("HaveInitMapSetting");
}

void ZephrinViewControllerStore::SetHaveInitMapSetting() {
    _d.setBool("HaveInitMapSetting", true);
}

bool ZephrinViewControllerStore::isHaveInitASSetting() const {
    return _d.boolForKey("HaveInitASSetting");
}

void ZephrinViewControllerStore::SetHaveInitASSetting() {
    _d.setBool("HaveInitASSetting", true);
}

bool ZephrinViewControllerStore::isHaveInitLuoPanSetting() const {
    return _d.boolForKey("HaveInitLuoPanSetting");
}

void ZephrinViewControllerStore::SetHaveInitLuoPanSetting() {
    _d.setBool("HaveInitLuoPanSetting", true);
}

bool ZephrinViewControllerStore::isHaveInitUIRotateMode() const {
    return _d.boolForKey("HaveInitUIRotateMode");
}

void ZephrinViewControllerStore::SetHaveInitUIRotateMode() {
    _d.setBool("HaveInitUIRotateMode", true);
}

bool ZephrinViewControllerStore::isHaveInitPowerSaveBrightness() const {
    return _d.boolForKey("HaveInitPowerSaveBrightness");
}

void ZephrinViewControllerStore::SetHaveInitPowerSaveBrightness() {
    _d.setBool("HaveInitPowerSaveBrightness", true);
}

bool ZephrinViewControllerStore::isHaveInitVideoBitrateAndExtensionSetting() const {
    return _d.boolForKey("HaveInitVideoBitrateAndExtensionSetting");
}

void ZephrinViewControllerStore::SetHaveInitVideoBitrateAndExtensionSetting() {
    _d.setBool("HaveInitVideoBitrateAndExtensionSetting", true);
}

bool ZephrinViewControllerStore::isHaveAdjustFontLevel() const {
    return _d.boolForKey("HaveAdjustFontLevel");
}

void ZephrinViewControllerStore::SetHaveAdjustFontLevel(bool value) {
    _d.setBool("HaveAdjustFontLevel", value);
}

// Capture.

std::int64_t ZephrinViewControllerStore::getCameraModeIndex() const {
    return _d.integerForKey("cameraModeIndex");
}

void ZephrinViewControllerStore::saveCameraModeIndex(std::int64_t mode) {
    _d.setInteger("cameraModeIndex", mode);
}

std::int64_t ZephrinViewControllerStore::readCurrentWhichCamera() const {
    return _d.integerForKey("currentWhichCamera");
}

void ZephrinViewControllerStore::saveCurrentWhichCamera(std::int64_t camera) {
    _d.setInteger("currentWhichCamera", camera);
}

std::int64_t ZephrinViewControllerStore::getDefaultResolution() const {
    const auto value = _d.integerForKey("defaultresolution");
    return value >= 1 && value <= 11 ? value : 2;
}

void ZephrinViewControllerStore::setDefaultResolution(std::int64_t resolution) {
    _cache.setCurrentVideoResolution(resolution);
    _d.setInteger("defaultresolution", resolution);
}

std::int64_t ZephrinViewControllerStore::getDefaultPhotoResolution() const {
    const auto value = _d.integerForKey("defaultPhotoresolution");
    return value >= 1 && value <= 7 ? value : 5;
}

void ZephrinViewControllerStore::setDefaultPhotoResolution(std::int64_t resolution) {
    _d.setInteger("defaultPhotoresolution", resolution);
}

bool ZephrinViewControllerStore::isSmallPhoto() const {
    return _d.boolForKey("SmallPhoto");
}

void ZephrinViewControllerStore::SetSmallPhoto(bool value) {
    _d.setBool("SmallPhoto", value);
}

std::int64_t ZephrinViewControllerStore::readBackFlashMode() const {
    return _d.integerForKey("backFlashMode") + 1;
}

void ZephrinViewControllerStore::saveBackFlashMode(std::int64_t mode) {
    _d.setInteger("backFlashMode", mode - 1);
}

std::int64_t ZephrinViewControllerStore::readFrontFlashMode() const {
    return _d.integerForKey("frontFlashMode") + 1;
}

void ZephrinViewControllerStore::saveFrontFlashMode(std::int64_t mode) {
    _d.setInteger("frontFlashMode", mode - 1);
}

bool ZephrinViewControllerStore::isAudioMute() const {
    return _d.boolForKey("AudioMute");
}

void ZephrinViewControllerStore::SetAudioMute(bool value) {
    _d.setBool("AudioMute", value);
}

bool ZephrinViewControllerStore::isEnableVideoStabilization() const {
    return _d.boolForKey("EnableVideoStabilization");
}

void ZephrinViewControllerStore::SetEnableVideoStabilization(bool value) {
    _d.setBool("EnableVideoStabilization", value);
}

bool ZephrinViewControllerStore::isMirrorFrontCamera() const {
    return _d.boolForKey("MirrorFrontCamera");
}

void ZephrinViewControllerStore::SetMirrorFrontCamera(bool value) {
    _d.setBool("MirrorFrontCamera", value);
}

bool ZephrinViewControllerStore::isKeepOriginalImage() const {
    return _d.boolForKey("KeepOriginalImage");
}

void ZephrinViewControllerStore::SetKeepOriginalImage(bool value) {
    _d.setBool("KeepOriginalImage", value);
}

std::int64_t ZephrinViewControllerStore::readVideoBitrateMode() const {
    return _d.integerForKey("VideoBitrateMode");
}

void ZephrinViewControllerStore::saveVideoBitrateMode(std::int64_t mode) {
    _d.setInteger("VideoBitrateMode", mode);
}

std::int64_t ZephrinViewControllerStore::readVideoExtensionMode() const {
    return _d.integerForKey("VideoExtensionMode");
}

void ZephrinViewControllerStore::saveVideoExtensionMode(std::int64_t mode) {
    _d.setInteger("VideoExtensionMode", mode);
}

std::int64_t ZephrinViewControllerStore::readVideoCodec() const {
    return _d.integerForKey("VideoCodec");
}

void ZephrinViewControllerStore::saveVideoCodec(std::int64_t codec) {
    _d.setInteger("VideoCodec", codec);
}

std::int64_t ZephrinViewControllerStore::readFileNameFormat() const {
    return _d.integerForKey("FileNameFormat");
}

void ZephrinViewControllerStore::saveFileNameFormat(std::int64_t format) {
    _d.setInteger("FileNameFormat", format);
}

std::optional<std::string> ZephrinViewControllerStore::getFileNamePrefix() const {
    return _d.stringForKey("FileNamePrefix");
}

void ZephrinViewControllerStore::setFileNamePrefix(std::optional<std::string> prefix) {
    _d.setString("FileNamePrefix", std::move(prefix));
}

bool ZephrinViewControllerStore::isShowFileIndex() const {
    return _d.boolForKey("ShowFileIndex");
}

void ZephrinViewControllerStore::SetShowFileIndex(bool value) {
    _d.setBool("ShowFileIndex", value);
}

bool ZephrinViewControllerStore::isNameWithCustomText() const {
    return _d.boolForKey("NameWithCustomText");
}

void ZephrinViewControllerStore::SetNameWithCustomText(bool value) {
    _d.setBool("NameWithCustomText", value);
}

double ZephrinViewControllerStore::readTimelpaseInterval() const {
    const double value = _d.doubleForKey("TimelpaseInterval");
    return value >= 0.25 && value <= 7200.0 ? value : 0.5;
}

void ZephrinViewControllerStore::saveTimelpaseInterval(double seconds) {
    _d.setDouble("TimelpaseInterval", seconds);
}

std::int64_t ZephrinViewControllerStore::readPlanCaptureInterval() const {
    const auto value = _d.integerForKey("PlanCaptureInterval");
    return value >= 2 && value <= 600 ? value : 0;
}

void ZephrinViewControllerStore::savePlanCaptureInterval(std::int64_t seconds) {
    _d.setInteger("PlanCaptureInterval", seconds);
}

std::int64_t ZephrinViewControllerStore::readvideoSplitInterval() const {
    const auto value = _d.integerForKey("videoSplitInterval");
    return value >= 15 && value <= 3600 ? value : 0;
}

void ZephrinViewControllerStore::savevideoSplitInterval(std::int64_t seconds) {
    _d.setInteger("videoSplitInterval", seconds);
}

bool ZephrinViewControllerStore::isEnableCaptureTimer() const {
    return _d.boolForKey("EnableCaptureTimer");
}

void ZephrinViewControllerStore::SetEnableCaptureTimer(bool value) {
    _d.setBool("EnableCaptureTimer", value);
}

std::int64_t ZephrinViewControllerStore::readCaptureTimerSeconds() const {
    return _d.integerForKey("CaptureTimerSeconds");
}

void ZephrinViewControllerStore::saveCaptureTimerSeconds(std::int64_t seconds) {
    _d.setInteger("CaptureTimerSeconds", seconds);
}

}  // namespace orvane::screen
