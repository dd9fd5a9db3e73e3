// The camera screen's accessors to the settings store: first-run flags, capture, screen and
// stamp keys. ZephrinViewController forwards to these; each reads or writes the store at once.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/Color.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::screen {

class SettingsCache;

// Rules of keys that other classes also read under the same accessor name.
constexpr float kLeastPowerSaveBrightness = 0.02f;
float readPowerSaveBrightness(const platform::UserDefaults& defaults);
foundation::Color readDefaultFontColor(const platform::UserDefaults& defaults);

class ZephrinViewControllerStore {
  public:
    // `cache` receives the one copy a setter writes itself: the video resolution.
    ZephrinViewControllerStore(platform::UserDefaults& defaults, SettingsCache& cache)
        : _d(defaults), _cache(cache) {}

    // First-run and migration flags: set once, never cleared.
    bool isHaveInit() const;
    void SetHaveInit();
    bool isHaveInitWatermarkSetting() const;
    void SetHaveInitWatermarkSetting();
    bool isHaveInitWatermarkSetting2() const;
    void SetHaveInitWatermarkSetting2();
    bool isHaveInitMapSetting() const;
    void SetHaveInitMapSetting();
    bool isHaveInitASSetting() const;
    void SetHaveInitASSetting();
    bool isHaveInitLuoPanSetting() const;
    void SetHaveInitLuoPanSetting();
    bool isHaveInitUIRotateMode() const;
    void SetHaveInitUIRotateMode();
    bool isHaveInitPowerSaveBrightness() const;
    void SetHaveInitPowerSaveBrightness();
    bool isHaveInitVideoBitrateAndExtensionSetting() const;
    void SetHaveInitVideoBitrateAndExtensionSetting();
    bool isHaveAdjustFontLevel() const;
    void SetHaveAdjustFontLevel(bool value);

    // Capture.
    std::int64_t getCameraModeIndex() const;
    void saveCameraModeIndex(std::int64_t mode);
    std::int64_t readCurrentWhichCamera() const;
    void saveCurrentWhichCamera(std::int64_t camera);
    // Video quality 1..11; anything else reads as 2.
    std::int64_t getDefaultResolution() const;
    // Writes the cached copy and the store together.
    void setDefaultResolution(std::int64_t resolution);
    // Photo resolution 1..7; anything else reads as 5.
    std::int64_t getDefaultPhotoResolution() const;
    void setDefaultPhotoResolution(std::int64_t resolution);
    bool isSmallPhoto() const;
    void SetSmallPhoto(bool value);
    // Flash modes 0..3 are stored one less, so an absent key reads mode 1 (auto).
    std::int64_t readBackFlashMode() const;
    void saveBackFlashMode(std::int64_t mode);
    std::int64_t readFrontFlashMode() const;
    void saveFrontFlashMode(std::int64_t mode);
    bool isAudioMute() const;
    void SetAudioMute(bool value);
    bool isEnableVideoStabilization() const;
    void SetEnableVideoStabilization(bool value);
    bool isMirrorFrontCamera() const;
    void SetMirrorFrontCamera(bool value);
    bool isKeepOriginalImage() const;
    void SetKeepOriginalImage(bool value);
    std::int64_t readVideoBitrateMode() const;
    void saveVideoBitrateMode(std::int64_t mode);
    std::int64_t readVideoExtensionMode() const;
    void saveVideoExtensionMode(std::int64_t mode);
    std::int64_t readVideoCodec() const;
    void saveVideoCodec(std::int64_t codec);
    std::int64_t readFileNameFormat() const;
    void saveFileNameFormat(std::int64_t format);
    std::optional<std::string> getFileNamePrefix() const;
    void setFileNamePrefix(std::optional<std::string> prefix);
    bool isShowFileIndex() const;
    void SetShowFileIndex(bool value);
    bool isNameWithCustomText() const;
    void SetNameWithCustomText(bool value);
    // Seconds; values outside 0.25..7200 read as 0.5, so an absent key reads 0.5.
    double readTimelpaseInterval() const;
    void saveTimelpaseInterval(double seconds);
    // Seconds; values outside 2..600 read as 0 (no plan).
    std::int64_t readPlanCaptureInterval() const;
    void savePlanCaptureInterval(std::int64_t seconds);
    // Seconds; values outside 15..3600 read as 0 (no segmentation).
    std::int64_t readvideoSplitInterval() const;
    void savevideoSplitInterval(std::int64_t seconds);
    bool isEnableCaptureTimer() const;
    void SetEnableCaptureTimer(bool value);
    std::int64_t readCaptureTimerSeconds() const;
    void saveCaptureTimerSeconds(std::int64_t seconds);

    // Screen.
    std::int64_t readUIMode() const;
    void saveUIMode(std::int64_t mode);
    std::int64_t readUIRotateMode() const;
    void saveUIRotateMode(std::int64_t mode);
    bool isHideMenu() const;
    void SetHideMenu(bool value);
    bool isShowGrid() const;
    void SetShowGrid(bool value);
    bool hideLevelLine() const;
    void SetHideLevelLine(bool value);
    bool isAlwaysShowZoomSlider() const;
    void SetAlwaysShowZoomSlider(bool value);
    bool isTouchToCapture() const;
    void SetTouchToCapture(bool value);
    // Key "VolumeButtonCapture": true means the volume buttons do not capture.
    bool isVolumeButtonCaptureDisable() const;
    void SetVolumeButtonCaptureDisable(bool value);
    bool isPowerSaveMode() const;
    void SetPowerSaveMode(bool value);
    // Values at or under 0.02 read, and are stored, as 0.02: the dark screen never goes black.
    float getPowerSaveBrightness() const;
    void SetPowerSaveBrightness(float brightness);
    bool isSupportTapToChangePowerSaveMode() const;
    void SetSupportTapToChangePowerSaveMode(bool value);
    bool isSupportSingleTapToChangeBrightenWhenPowerSaveMode() const;
    void SetSupportSingleTapToChangeBrightenWhenPowerSaveMode(bool value);
    // Stored inverted, so an absent key reads "hidden".
    bool isHideDanceMode() const;
    void SetHideDanceMode(bool value);
    bool isShowParticleEffect() const;
    void SetShowParticleEffect(bool value);
    bool isShowShortcutText() const;
    void SetShowShortcutText(bool value);
    bool isShowShortcutTag() const;
    void SetShowShortcutTag(bool value);
    bool isShowShortcutStopWatch() const;
    void SetShowShortcutStopWatch(bool value);
    bool isShowShortcutLock() const;
    void SetShowShortcutLock(bool value);

    // Stamp.
    std::optional<std::string> getDefaultFont() const;
    void setDefaultFont(std::optional<std::string> fontName);
    std::int64_t getDefaultFontSizeLevel() const;
    void setDefaultFontSizeLevel(std::int64_t level);
    // White when absent or unreadable.
    foundation::Color getDefaultFontColor() const;
    void setDefaultFontColor(const foundation::Color& color);
    // Black when absent or unreadable, and then written back.
    foundation::Color getTextBackgroundColor();
    void setTextBackgroundColor(const foundation::Color& color);
    foundation::Color getTextStrokeColor();
    void setTextStrokeColor(const foundation::Color& color);
    bool ReadUseTextStroke() const;
    void SaveUseTextStroke(bool value);
    // Percent.
    std::int64_t readBackgroundAlpha() const;
    void saveBackgroundAlpha(std::int64_t percent);
    // Percent, stored as 100 minus the value so an absent key reads 100.
    std::int64_t readTextAlpha() const;
    void saveTextAlpha(std::int64_t percent);
    std::int64_t readTextDistanceMode() const;
    void saveTextDistanceMode(std::int64_t mode);
    std::int64_t readTimeAboveMode() const;
    void saveTimeAboveMode(std::int64_t mode);
    std::int64_t getTimeSegIndex() const;
    void saveTimeSegIndex(std::int64_t index);
    std::optional<std::string> getInputText() const;
    void setInputText(std::optional<std::string> text);
    std::optional<platform::StringArray> readCustomTextArray() const;
    void saveCustomTextArray(std::optional<platform::StringArray> texts);
    std::int64_t readCustomTextOrder() const;
    void saveCustomTextOrder(std::int64_t order);
    std::optional<platform::StringArray> readAllTags() const;
    void saveAllTags(std::optional<platform::StringArray> tags);
    std::optional<platform::StringArray> readSelectTags() const;
    void saveSelectTags(std::optional<platform::StringArray> tags);
    bool readShowTagOnCamera() const;
    void SetShowTagOnCamera(bool value);
    bool GetShowAltitudeAndSpeed() const;
    void SetShowAltitudeAndSpeed(bool value);
    bool GetShowLunar() const;
    void SetShowLunar(bool value);
    bool isNeedDisplayLuoPan() const;
    void SetNeedDisplayLuoPan(bool value);
    bool isNeedDisplayMap() const;
    void SetNeedDisplayMap(bool value);

  private:
    platform::UserDefaults& _d;
    SettingsCache& _cache;
};

}  // namespace orvane::screen
