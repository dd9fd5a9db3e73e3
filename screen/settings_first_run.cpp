#include "screen/settings_first_run.h"

#include "foundation/strings.h"
#include "screen/settings_loading.h"

namespace orvane::screen {

namespace {

constexpr std::int64_t kDanceMode = 4;
constexpr std::int64_t kPhotoMode = 1;
constexpr std::int64_t kSmallPhotoResolution = 4;

bool needsMarginAtFirstRun(const DeviceTraits& device) {
    const bool tallScreen = device.screenSizeCode >= 5 && device.screenSizeCode <= 10;
    return tallScreen || !device.hasPhysicalHomeButton;
}

}  // namespace

std::string defaultLocationType(std::string_view languageCode) {
    return languageCode == "zh" ? "fulladdress" : "formatAddress2";
}

void runFirstRunBlock(SettingsStore& store, const DeviceTraits& device) {
    auto& vc = store.viewController;
    if (!vc.isHaveInitUIRotateMode()) {
        vc.saveUIRotateMode(0);
        vc.SetHaveInitUIRotateMode();
    }
    if (vc.isHideDanceMode() && vc.getCameraModeIndex() == kDanceMode) {
        vc.saveCameraModeIndex(kPhotoMode);
    }
    if (!vc.isHaveInit()) {
        vc.saveCameraModeIndex(kPhotoMode);
        vc.saveTimeSegIndex(1);
        vc.SetHaveInit();
        if (needsMarginAtFirstRun(device)) {
            vc.saveTextDistanceMode(1);
        }
        vc.saveFileNameFormat(1);
    }
    if (!vc.isHaveInitPowerSaveBrightness()) {
        vc.SetPowerSaveBrightness(0.1f);
        vc.SetHaveInitPowerSaveBrightness();
    }
    initWatermarkSetting(store);
    initMapSetting(store);
    initASSetting(store);
    initLuoPanSetting(store);
    initVideoBitrateAndExtensionSetting(store);
}

void initWatermarkSetting(SettingsStore& store) {
    auto& vc = store.viewController;
    auto& watermark = store.watermark;
    if (vc.isHaveInitWatermarkSetting() && !vc.isHaveInitWatermarkSetting2()) {
        const float older = watermark.readWatermarkSize();
        watermark.saveWatermarkSize(older * 1.5f + 0.25f);
        vc.SetHaveInitWatermarkSetting2();
    }
    if (!vc.isHaveInitWatermarkSetting()) {
        watermark.SetWaterPositionNotAuto(false);
        watermark.saveWatermarkPosition(2);
        watermark.saveWatermarkOpacity(1.0f);
        watermark.saveWatermarkSize(1.0f);
        watermark.saveWatermarkEdge(20);
        vc.SetHaveInitWatermarkSetting();
        vc.SetHaveInitWatermarkSetting2();
    }
}

void initMapSetting(SettingsStore& store) {
    if (store.viewController.isHaveInitMapSetting()) {
        return;
    }
    auto& map = store.map;
    map.SetMapPositionNotAuto(false);
    map.saveMapPosition(2);
    map.saveMapType(0);
    map.saveMapOpacity(0.4f);
    map.saveMapSize_public(1.0);
    map.saveMapScale_public(0.01);
    store.viewController.SetHaveInitMapSetting();
}

void initASSetting(SettingsStore& store) {
    if (store.viewController.isHaveInitASSetting()) {
        return;
    }
    store.altAndSpeed.saveASDisplay(0);
    store.altAndSpeed.saveASUnits(0);
    store.viewController.SetHaveInitASSetting();
}

void initLuoPanSetting(SettingsStore& store) {
    if (store.viewController.isHaveInitLuoPanSetting()) {
        return;
    }
    auto& luoPan = store.luoPan;
    luoPan.SetLuoPanPositionNotAuto(false);
    luoPan.saveLuoPanPosition(0);
    luoPan.saveLuoPanStyle(4);
    luoPan.saveLuoPanSize(0.0f);
    store.viewController.SetHaveInitLuoPanSetting();
}

void initVideoBitrateAndExtensionSetting(SettingsStore& store) {
    auto& vc = store.viewController;
    if (vc.isHaveInitVideoBitrateAndExtensionSetting()) {
        return;
    }
    vc.saveVideoBitrateMode(1);
    store.cache().setVideoBitrateMode(1);
    vc.saveVideoExtensionMode(0);
    store.cache().setVideoExtensionMode(0);
    vc.SetHaveInitVideoBitrateAndExtensionSetting();
}

void initializeFontSettings(SettingsStore& store) {
    auto& vc = store.viewController;
    if (vc.getDefaultFont()) {
        if (!vc.isHaveAdjustFontLevel()) {
            // Older installations used a coarser level list; one step up keeps the same size.
            vc.setDefaultFontSizeLevel(vc.getDefaultFontSizeLevel() + 1);
            vc.SetHaveAdjustFontLevel(true);
        }
        return;
    }
    vc.setDefaultFont("ArialMT");
    vc.setDefaultFontSizeLevel(2);
    vc.setDefaultFontColor(foundation::Color::whiteColor());
    vc.SetHaveAdjustFontLevel(true);
}

GLViewStartValues runGLViewFirstRun(SettingsStore& store) {
    auto& glView = store.glView;
    GLViewStartValues values;
    if (!glView.isHaveRun()) {
        values.effectIndex = 0;
        values.backgroundIndex = 0;
        values.particleIndex = 0;
        values.paperIndex = 2;
        values.penColorIndex = 2;
        values.timePosition = 2;
        glView.SetHaveRun();
        glView.saveEffectIndex(values.effectIndex);
        glView.saveBackgroundIndex(values.backgroundIndex);
        glView.saveParticleIndex(values.particleIndex);
        glView.savePaperIndex(values.paperIndex);
        glView.savePenColorIndex(values.penColorIndex);
        glView.saveTimePosition(values.timePosition);
    } else {
        values.effectIndex = glView.getEffectIndex();
        values.backgroundIndex = glView.getBackgroundIndex();
        values.particleIndex = glView.getParticleIndex();
        values.paperIndex = glView.getPaperIndex();
        values.penColorIndex = glView.getPenColorIndex();
        values.timePosition = glView.getTimePosition();
    }
    if (!glView.isHaveRun2()) {
        values.worldCupIndex = 0;
        glView.SetHaveRun2();
        glView.saveWorldCupIndex(values.worldCupIndex);
    } else {
        values.worldCupIndex = glView.getWorldCupIndex();
    }
    return values;
}

StampLayerStartValues runStampLayerFirstRun(SettingsStore& store, std::string_view languageCode) {
    auto& layer = store.lineDrawer;
    StampLayerStartValues values;
    if (!layer.isHaveRun()) {
        layer.SetHaveRun();
        values.timeFormatIndex = 1;
        layer.saveTimeFormatIndex(values.timeFormatIndex);
        layer.saveLocationType(defaultLocationType(languageCode));
    } else {
        values.timeFormatIndex = layer.getTimeFormatIndex();
    }
    values.locationType = layer.getSavedLocationType();
    values.gpsType = layer.getSavedGpsType();
    const bool noGpsType = !values.gpsType || values.gpsType->empty();
    if (noGpsType && (values.locationType == "gps1" || values.locationType == "gps2")) {
        values.gpsType = std::move(values.locationType);
        values.locationType.reset();
        layer.saveGpsType(values.gpsType);
        layer.saveLocationType(std::nullopt);
    }
    return values;
}

void applyLaunchSettings(SettingsStore& store, std::string_view languageCode) {
    auto& vc = store.viewController;
    vc.SetPowerSaveMode(false);
    if (vc.isSmallPhoto()) {
        vc.setDefaultPhotoResolution(kSmallPhotoResolution);
        vc.SetSmallPhoto(false);
    }
    if (languageCode != "zh") {
        vc.SetShowLunar(false);
    }
}

LaunchValues loadSettingsAtLaunch(SettingsStore& store, const DeviceTraits& device,
                                  std::string_view languageCode) {
    // A first launch sets some seventy keys: one write for all of them.
    platform::UserDefaults::ChangeBatch batch(store.defaults());
    runFirstRunBlock(store, device);
    initializeFontSettings(store);
    LaunchValues values;
    values.glView = runGLViewFirstRun(store);
    values.stampLayer = runStampLayerFirstRun(store, languageCode);
    applyLaunchSettings(store, languageCode);
    loadViewDidLoadCopies(store);
    loadInitializeInterfaceCopies(store);
    reloadOnAppear(store);
    return values;
}

LaunchValues loadSettingsAtLaunch(SettingsStore& store) {
    return loadSettingsAtLaunch(store, DeviceTraits{}, foundation::preferredLanguageCode());
}

}  // namespace orvane::screen
