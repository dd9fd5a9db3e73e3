#include "screen/settings_loading.h"

namespace orvane::screen {

void loadViewDidLoadCopies(SettingsStore& store) {
    auto& vc = store.viewController;
    auto& cache = store.cache();
    cache.setUseTextStroke(vc.ReadUseTextStroke());
    cache.setStrokeColor(vc.getTextStrokeColor());
    cache.gSetFileNameIndex(store.sessionManager.readFileNameIndex());
    cache.gSetShowFileNameIndex(vc.isShowFileIndex());
    cache.gSetFileNamePrefix(vc.getFileNamePrefix());
    cache.setIsTouchToCapture(vc.isTouchToCapture());
    cache.setCustomTextOrder(vc.readCustomTextOrder());
    cache.setPlanCaptureInterval(vc.readPlanCaptureInterval());
    cache.setIsEnableVideoStabilization(vc.isEnableVideoStabilization());
    cache.setIsKeepOriginalImage(vc.isKeepOriginalImage());
    cache.setvideoSplitInterval(vc.readvideoSplitInterval());
    cache.setIsMirrorFrontCamera(vc.isMirrorFrontCamera());
    cache.setHideLevelLine(vc.hideLevelLine());
    cache.setMarginsMode(vc.readTextDistanceMode());
    cache.setCurrentVideoResolution(vc.getDefaultResolution());
    cache.setCaptureTimerOn(vc.isEnableCaptureTimer());
    cache.setCaptureTimerSeconds(vc.readCaptureTimerSeconds());
    cache.setTimelpaseInterval(vc.readTimelpaseInterval());
    cache.setUIRotateMode(vc.readUIRotateMode());
    cache.setHideDanceMode(vc.isHideDanceMode());
    cache.setShowParticleEffect(vc.isShowParticleEffect());
    cache.setFileNameFormat(vc.readFileNameFormat());
    cache.setSmallPhoto(vc.isSmallPhoto());
    cache.setCurrentPhotoRes(vc.getDefaultPhotoResolution());
    cache.setNeedDoubleTapToPowerSaveMode(vc.isSupportTapToChangePowerSaveMode());
    cache.setPowerSaveMode(vc.isPowerSaveMode());
}

void loadInitializeInterfaceCopies(SettingsStore& store) {
    auto& vc = store.viewController;
    auto& cache = store.cache();
    cache.setUIMode(vc.readUIMode());
    cache.setVideoBitrateMode(vc.readVideoBitrateMode());
    cache.setVideoExtensionMode(vc.readVideoExtensionMode());
    cache.setVideoCodec(vc.readVideoCodec());
    cache.setShowTagOnCamera(vc.readShowTagOnCamera());
    cache.setSelectTags(vc.readSelectTags().value_or(platform::StringArray{}));
    cache.setInputString(vc.getInputText().value_or(""));
    cache.SetIsNameWithCustomText(vc.isNameWithCustomText());
    cache.setShowAltitudeAndSpeed(vc.GetShowAltitudeAndSpeed());
    cache.setShowLuoPan(vc.isNeedDisplayLuoPan());
    cache.setShowLunar(vc.GetShowLunar());
    cache.setPowerSaveBrightness(vc.getPowerSaveBrightness());
    cache.setBackgroundAlpha(static_cast<float>(vc.readBackgroundAlpha()) * 0.01f);
    cache.setTextAlpha(static_cast<float>(vc.readTextAlpha()) * 0.01f);
    cache.setBackgroundColor(vc.getTextBackgroundColor());
    cache.setTimeInAbove(vc.readTimeAboveMode());
    cache.setDefaultFontName(vc.getDefaultFont());
    cache.setDefaultFontSizeLevel(vc.getDefaultFontSizeLevel());
    cache.setDefaultFontColor(vc.getDefaultFontColor());
}

void reloadWaterMarkSetting(SettingsStore& store) {
    auto& v = store.cache()._v;
    const auto& watermark = store.watermark;
    v.waterPositionNotAuto.store(watermark.isWaterPositionNotAuto());
    v.watermarkPosition.store(watermark.readWatermarkPosition());
    v.watermarkOpacity.store(watermark.readWatermarkOpacity());
    v.watermarkSize.store(watermark.readWatermarkSize_public());
    v.watermarkEdge.store(watermark.readWatermarkEdge());
}

void reloadMapSetting(SettingsStore& store) {
    auto& v = store.cache()._v;
    const auto& map = store.map;
    v.mapPositionNotAuto.store(map.isMapPositionNotAuto());
    v.mapPosition.store(map.readMapPosition());
    v.mapOpacity.store(map.readMapOpacity());
    v.mapSize.store(map.readMapSize_public());
}

void reloadASSetting(SettingsStore& store) {
    auto& v = store.cache()._v;
    v.asDisplay.store(store.altAndSpeed.readASDisplay());
    v.asUnits.store(store.altAndSpeed.readASUnits());
}

void reloadLuoPanSetting(SettingsStore& store) {
    auto& v = store.cache()._v;
    const auto& luoPan = store.luoPan;
    v.luoPanPositionNotAuto.store(luoPan.isLuoPanPositionNotAuto());
    v.luoPanPosition.store(luoPan.readLuoPanPosition());
    v.compassDisplayType.store(luoPan.readLuoPanStyle());
    v.luoPanScale.store(luoPanScale(luoPan.readLuoPanSize()));
}

void loadEmailCopies(SettingsStore& store) {
    auto& v = store.cache()._v;
    v.emailAfterCapture.store(store.email.isEmailAfterPhotoTaken());
    v.putAddressInSubject.store(store.email.isPutAddressInSubject());
}

void reloadOnAppear(SettingsStore& store) {
    reloadWaterMarkSetting(store);
    reloadMapSetting(store);
    reloadASSetting(store);
    reloadLuoPanSetting(store);
    loadEmailCopies(store);
}

}  // namespace orvane::screen
