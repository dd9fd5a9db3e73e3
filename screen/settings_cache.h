// The class-level cached copies of settings: what the frame path, the capture queues and the
// still path read instead of touching the store. The main thread writes them (at load, through
// the reload operations, and from every settings handler together with the store); any thread
// reads them. One process-wide instance; tests may make their own or reset the shared one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/Color.h"
#include "platform/settings/UserDefaults.h"
#include "screen/settings_shared_value.h"

namespace orvane::screen {

class SettingsStore;

// "#a", then "#a #b" and so on; nothing for no tags.
std::optional<std::string> selectTagsString(const platform::StringArray& tags);

class SettingsCache {
  public:
    SettingsCache() = default;
    SettingsCache(const SettingsCache&) = delete;
    SettingsCache& operator=(const SettingsCache&) = delete;

    // The instance the program's classes read.
    static SettingsCache& shared();

    // Back to the state before any load. Tests only: no other thread may use the cache meanwhile.
    void reset();

    // Loaded by viewDidLoad.
    bool isUseTextStroke() const { return _v.useTextStroke.load(); }
    void setUseTextStroke(bool value) { _v.useTextStroke.store(value); }
    foundation::Color getStrokeColor() const { return _v.strokeColor.load(); }
    void setStrokeColor(const foundation::Color& value) { _v.strokeColor.store(value); }
    std::int64_t gGetFileNameIndex() const { return _v.fileNameIndex.load(); }
    void gSetFileNameIndex(std::int64_t value) { _v.fileNameIndex.store(value); }
    bool gIsShowFileNameIndex() const { return _v.showFileNameIndex.load(); }
    void gSetShowFileNameIndex(bool value) { _v.showFileNameIndex.store(value); }
    std::optional<std::string> gGetFileNamePrefix() const { return _v.fileNamePrefix.load(); }
    void gSetFileNamePrefix(std::optional<std::string> value) {
        _v.fileNamePrefix.store(std::move(value));
    }
    bool getIsTouchToCapture() const { return _v.touchToCapture.load(); }
    void setIsTouchToCapture(bool value) { _v.touchToCapture.store(value); }
    std::int64_t getCustomTextOrder() const { return _v.customTextOrder.load(); }
    void setCustomTextOrder(std::int64_t value) { _v.customTextOrder.store(value); }
    std::int64_t getPlanCaptureInterval() const { return _v.planCaptureInterval.load(); }
    void setPlanCaptureInterval(std::int64_t value) { _v.planCaptureInterval.store(value); }
    bool getIsEnableVideoStabilization() const { return _v.videoStabilization.load(); }
    void setIsEnableVideoStabilization(bool value) { _v.videoStabilization.store(value); }
    bool getIsKeepOriginalImage() const { return _v.keepOriginalImage.load(); }
    void setIsKeepOriginalImage(bool value) { _v.keepOriginalImage.store(value); }
    std::int64_t getvideoSplitInterval() const { return _v.videoSplitInterval.load(); }
    void setvideoSplitInterval(std::int64_t value) { _v.videoSplitInterval.store(value); }
    bool getIsMirrorFrontCamera() const { return _v.mirrorFrontCamera.load(); }
    void setIsMirrorFrontCamera(bool value) { _v.mirrorFrontCamera.store(value); }
    bool isHideLevelLine() const { return _v.hideLevelLine.load(); }
    void setHideLevelLine(bool value) { _v.hideLevelLine.store(value); }
    std::int64_t getMarginsMode() const { return _v.marginsMode.load(); }
    void setMarginsMode(std::int64_t value) { _v.marginsMode.store(value); }
    std::int64_t getCurrentVideoResolution() const { return _v.videoResolution.load(); }
    void setCurrentVideoResolution(std::int64_t value) { _v.videoResolution.store(value); }
    bool isCaptureTimerOn() const { return _v.captureTimerOn.load(); }
    void setCaptureTimerOn(bool value) { _v.captureTimerOn.store(value); }
    std::int64_t getCaptureTimerSeconds() const { return _v.captureTimerSeconds.load(); }
    void setCaptureTimerSeconds(std::int64_t value) { _v.captureTimerSeconds.store(value); }
    double getTimelpaseInterval() const { return _v.timelpaseInterval.load(); }
    void setTimelpaseInterval(double value) { _v.timelpaseInterval.store(value); }
    std::int64_t getUIRotateMode() const { return _v.uiRotateMode.load(); }
    void setUIRotateMode(std::int64_t value) { _v.uiRotateMode.store(value); }
    // Read once at launch by design: a change takes effect after a restart.
    bool isHideDanceMode() const { return _v.hideDanceMode.load(); }
    void setHideDanceMode(bool value) { _v.hideDanceMode.store(value); }
    bool isShowParticleEffect() const { return _v.showParticleEffect.load(); }
    void setShowParticleEffect(bool value) { _v.showParticleEffect.store(value); }
    std::int64_t getFileNameFormat() const { return _v.fileNameFormat.load(); }
    void setFileNameFormat(std::int64_t value) { _v.fileNameFormat.store(value); }
    bool isSmallPhoto() const { return _v.smallPhoto.load(); }
    void setSmallPhoto(bool value) { _v.smallPhoto.store(value); }
    std::int64_t getCurrentPhotoRes() const { return _v.photoResolution.load(); }
    void setCurrentPhotoRes(std::int64_t value) { _v.photoResolution.store(value); }
    bool isNeedDoubleTapToPowerSaveMode() const { return _v.doubleTapPowerSave.load(); }
    void setNeedDoubleTapToPowerSaveMode(bool value) { _v.doubleTapPowerSave.store(value); }
    bool isPowerSaveMode() const { return _v.powerSaveMode.load(); }
    void setPowerSaveMode(bool value) { _v.powerSaveMode.store(value); }

    // Loaded by initializeInterface.
    std::int64_t getUIMode() const { return _v.uiMode.load(); }
    void setUIMode(std::int64_t value) { _v.uiMode.store(value); }
    std::int64_t getVideoBitrateMode() const { return _v.videoBitrateMode.load(); }
    void setVideoBitrateMode(std::int64_t value) { _v.videoBitrateMode.store(value); }
    std::int64_t getVideoExtensionMode() const { return _v.videoExtensionMode.load(); }
    void setVideoExtensionMode(std::int64_t value) { _v.videoExtensionMode.store(value); }
    std::int64_t getVideoCodec() const { return _v.videoCodec.load(); }
    void setVideoCodec(std::int64_t value) { _v.videoCodec.store(value); }
    bool isShowTagOnCamera() const { return _v.showTagOnCamera.load(); }
    void setShowTagOnCamera(bool value) { _v.showTagOnCamera.store(value); }
    platform::StringArray getSelectTags() const { return _v.selectTags.load().tags; }
    std::optional<std::string> getSelectTagsString() const { return _v.selectTags.load().text; }
    // Keeps the tags and rebuilds their string in one step, so readers never see them disagree.
    void setSelectTags(platform::StringArray tags);
    bool GetIsNameWithCustomText() const { return _v.nameWithCustomText.load(); }
    void SetIsNameWithCustomText(bool value) { _v.nameWithCustomText.store(value); }
    bool isShowAltitudeAndSpeed() const { return _v.showAltitudeAndSpeed.load(); }
    void setShowAltitudeAndSpeed(bool value) { _v.showAltitudeAndSpeed.store(value); }
    bool isShowLuoPan() const { return _v.showLuoPan.load(); }
    void setShowLuoPan(bool value) { _v.showLuoPan.store(value); }
    bool isShowLunar() const { return _v.showLunar.load(); }
    void setShowLunar(bool value) { _v.showLunar.store(value); }
    float getPowerSaveBrightness() const { return _v.powerSaveBrightness.load(); }
    void setPowerSaveBrightness(float value) { _v.powerSaveBrightness.store(value); }
    // The two opacities as fractions: the stored percentage times 0.01.
    float getBackgroundAlpha() const { return _v.backgroundAlpha.load(); }
    void setBackgroundAlpha(float value) { _v.backgroundAlpha.store(value); }
    float getTextAlpha() const { return _v.textAlpha.load(); }
    void setTextAlpha(float value) { _v.textAlpha.store(value); }
    foundation::Color getBackgroundColor() const { return _v.backgroundColor.load(); }
    void setBackgroundColor(const foundation::Color& value) { _v.backgroundColor.store(value); }
    // 0 "Time in above", 1 "Time in below".
    std::int64_t getTimeInAbove() const { return _v.timeInAbove.load(); }
    void setTimeInAbove(std::int64_t value) { _v.timeInAbove.store(value); }
    std::optional<std::string> getDefaultFontName() const { return _v.fontName.load(); }
    void setDefaultFontName(std::optional<std::string> value) {
        _v.fontName.store(std::move(value));
    }
    std::int64_t getDefaultFontSizeLevel() const { return _v.fontSizeLevel.load(); }
    void setDefaultFontSizeLevel(std::int64_t value) { _v.fontSizeLevel.store(value); }
    foundation::Color getDefaultFontColor() const { return _v.fontColor.load(); }
    void setDefaultFontColor(const foundation::Color& value) { _v.fontColor.store(value); }
    // The custom text in use; "" when none.
    std::string inputString() const { return _v.inputString.load(); }
    // Ignores empty text, so a missing hand-over never clears the text in use.
    void setInputString(const std::string& value);

    // Loaded by the reload operations each time the camera screen shows.
    bool isWaterPositionNotAuto() const { return _v.waterPositionNotAuto.load(); }
    std::int64_t readWatermarkPosition() const { return _v.watermarkPosition.load(); }
    float readWatermarkOpacity() const { return _v.watermarkOpacity.load(); }
    float readWatermarkSize() const { return _v.watermarkSize.load(); }
    std::int64_t readWatermarkEdge() const { return _v.watermarkEdge.load(); }
    bool isMapPositionNotAuto() const { return _v.mapPositionNotAuto.load(); }
    std::int64_t readMapPosition() const { return _v.mapPosition.load(); }
    float readMapOpacity() const { return _v.mapOpacity.load(); }
    // The public size: a share factor from 0.25 to 1.75.
    double readMapSize() const { return _v.mapSize.load(); }
    std::int64_t readASDisplay() const { return _v.asDisplay.load(); }
    std::int64_t readASUnits() const { return _v.asUnits.load(); }
    bool isLuoPanPositionNotAuto() const { return _v.luoPanPositionNotAuto.load(); }
    std::int64_t readLuoPanPosition() const { return _v.luoPanPosition.load(); }
    std::int64_t getCompassDisplayType() const { return _v.compassDisplayType.load(); }
    // The compass scale derived from the stored size: 0.5 to 2.0, 1.0 at the slider's middle.
    float readLuoPanSize() const { return _v.luoPanScale.load(); }
    bool isNeedEmailAfterCapture() const { return _v.emailAfterCapture.load(); }
    bool isPutAddressInSubject() const { return _v.putAddressInSubject.load(); }

  private:
    friend void reloadWaterMarkSetting(SettingsStore&);
    friend void reloadMapSetting(SettingsStore&);
    friend void reloadASSetting(SettingsStore&);
    friend void reloadLuoPanSetting(SettingsStore&);
    friend void loadEmailCopies(SettingsStore&);

    struct Tags {
        platform::StringArray tags;
        std::optional<std::string> text;
    };

    struct Values {
        RelaxedValue<bool> useTextStroke;
        GuardedValue<foundation::Color> strokeColor;
        RelaxedValue<std::int64_t> fileNameIndex;
        RelaxedValue<bool> showFileNameIndex;
        GuardedValue<std::optional<std::string>> fileNamePrefix;
        RelaxedValue<bool> touchToCapture;
        RelaxedValue<std::int64_t> customTextOrder;
        RelaxedValue<std::int64_t> planCaptureInterval;
        RelaxedValue<bool> videoStabilization;
        RelaxedValue<bool> keepOriginalImage;
        RelaxedValue<std::int64_t> videoSplitInterval;
        RelaxedValue<bool> mirrorFrontCamera;
        RelaxedValue<bool> hideLevelLine;
        RelaxedValue<std::int64_t> marginsMode;
        RelaxedValue<std::int64_t> videoResolution;
        RelaxedValue<bool> captureTimerOn;
        RelaxedValue<std::int64_t> captureTimerSeconds;
        RelaxedValue<double> timelpaseInterval;
        RelaxedValue<std::int64_t> uiRotateMode;
        RelaxedValue<bool> hideDanceMode;
        RelaxedValue<bool> showParticleEffect;
        RelaxedValue<std::int64_t> fileNameFormat;
        RelaxedValue<bool> smallPhoto;
        RelaxedValue<std::int64_t> photoResolution;
        RelaxedValue<bool> doubleTapPowerSave;
        RelaxedValue<bool> powerSaveMode;

        RelaxedValue<std::int64_t> uiMode;
        RelaxedValue<std::int64_t> videoBitrateMode;
        RelaxedValue<std::int64_t> videoExtensionMode;
        RelaxedValue<std::int64_t> videoCodec;
        RelaxedValue<bool> showTagOnCamera;
        GuardedValue<Tags> selectTags;
        RelaxedValue<bool> nameWithCustomText;
        RelaxedValue<bool> showAltitudeAndSpeed;
        RelaxedValue<bool> showLuoPan;
        RelaxedValue<bool> showLunar;
        RelaxedValue<float> powerSaveBrightness;
        RelaxedValue<float> backgroundAlpha;
        RelaxedValue<float> textAlpha;
        GuardedValue<foundation::Color> backgroundColor;
        RelaxedValue<std::int64_t> timeInAbove;
        GuardedValue<std::optional<std::string>> fontName;
        RelaxedValue<std::int64_t> fontSizeLevel;
        GuardedValue<foundation::Color> fontColor;
        GuardedValue<std::string> inputString;

        RelaxedValue<bool> waterPositionNotAuto;
        RelaxedValue<std::int64_t> watermarkPosition;
        RelaxedValue<float> watermarkOpacity;
        RelaxedValue<float> watermarkSize;
        RelaxedValue<std::int64_t> watermarkEdge;
        RelaxedValue<bool> mapPositionNotAuto;
        RelaxedValue<std::int64_t> mapPosition;
        RelaxedValue<float> mapOpacity;
        RelaxedValue<double> mapSize;
        RelaxedValue<std::int64_t> asDisplay;
        RelaxedValue<std::int64_t> asUnits;
        RelaxedValue<bool> luoPanPositionNotAuto;
        RelaxedValue<std::int64_t> luoPanPosition;
        RelaxedValue<std::int64_t> compassDisplayType;
        RelaxedValue<float> luoPanScale;
        RelaxedValue<bool> emailAfterCapture;
        RelaxedValue<bool> putAddressInSubject;
    };

    Values _v;
};

}  // namespace orvane::screen
