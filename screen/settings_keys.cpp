#include "screen/settings_keys.h"

#include <algorithm>
#include <array>
#include <functional>
#include <type_traits>

#include "platform/library/PhotoLibrary.h"

namespace orvane::screen {

namespace {

// The rows of the interval and timer pickers, in seconds.
constexpr std::array<double, 23> kTimelapseSeconds = {0.25, 0.5, 1,   2,    3,    5,    8,   10,
                                                      15,   20,  25,  30,   45,   60,   120, 180,
                                                      240,  300, 600, 1200, 1800, 3600, 7200};
constexpr std::array<double, 11> kPlanSeconds = {0, 2, 5, 10, 20, 30, 60, 120, 180, 300, 600};
constexpr std::array<double, 13> kSplitSeconds = {0,   15,  30,  60,   180,  240, 270,
                                                  300, 600, 900, 1200, 1800, 3600};
constexpr std::array<double, 4> kTimerSeconds = {0, 3, 5, 10};
// "Standard" and "Satellite hybrid".
constexpr std::array<double, 2> kMapTypes = {0, 2};

// The library's access levels, as the photo library reads them.
constexpr std::array<std::string_view, 3> kAccessLevels = {"full", "limited", "addOnly"};

constexpr AcceptedValues any() {
    return {};
}

constexpr AcceptedValues range(double minimum, double maximum) {
    return {minimum, maximum, {}, {}};
}

constexpr AcceptedValues oneOf(std::span<const double> choices) {
    return {-std::numeric_limits<double>::infinity(),
            std::numeric_limits<double>::infinity(),
            choices,
            {}};
}

constexpr AcceptedValues oneOfWords(std::span<const std::string_view> words) {
    return {-std::numeric_limits<double>::infinity(),
            std::numeric_limits<double>::infinity(),
            {},
            words};
}

SettingValue toValue(bool value) {
    return value;
}
SettingValue toValue(std::int64_t value) {
    return value;
}
SettingValue toValue(float value) {
    return static_cast<double>(value);
}
SettingValue toValue(double value) {
    return value;
}
SettingValue toValue(std::optional<std::string> value) {
    return value ? SettingValue(std::move(*value)) : SettingValue();
}
SettingValue toValue(std::optional<platform::StringArray> value) {
    return value ? SettingValue(std::move(*value)) : SettingValue();
}
SettingValue toValue(const foundation::Color& value) {
    return value;
}

template <class T>
T fromValue(const SettingValue& value) {
    if constexpr (std::is_same_v<T, float>) {
        return static_cast<float>(std::get<double>(value));
    } else if constexpr (std::is_same_v<T, std::optional<std::string>> ||
                         std::is_same_v<T, std::optional<platform::StringArray>>) {
        if (std::holds_alternative<std::monostate>(value)) {
            return std::nullopt;
        }
        return std::get<typename T::value_type>(value);
    } else {
        return std::get<T>(value);
    }
}

template <class Setter>
struct ArgumentOf;
template <class Group, class Argument>
struct ArgumentOf<void (Group::*)(Argument)> {
    using type = std::remove_cvref_t<Argument>;
};

// Reads through the accessor `Getter` of the group `Group` of the store.
template <auto Group, auto Getter>
SettingValue read(SettingsStore& store) {
    return toValue(std::invoke(Getter, store.*Group));
}

// Writes through the setter `Setter` of the group `Group` of the store.
template <auto Group, auto Setter>
void write(SettingsStore& store, std::string_view, const SettingValue& value) {
    using Argument = typename ArgumentOf<decltype(Setter)>::type;
    std::invoke(Setter, store.*Group, fromValue<Argument>(value));
}

// The access level the user granted the program, read as the library reads it: a missing key is
// full access, an unknown word add-only.
SettingValue readPhotoLibraryAccessLevel(SettingsStore& store) {
    switch (platform::readPhotoLibraryAccess(store.defaults())) {
        case platform::PhotoLibraryAccess::Full:
            return std::string(kAccessLevels[0]);
        case platform::PhotoLibraryAccess::Limited:
            return std::string(kAccessLevels[1]);
        case platform::PhotoLibraryAccess::AddOnly:
            break;
    }
    return std::string(kAccessLevels[2]);
}

void writePhotoLibraryAccessLevel(SettingsStore& store, std::string_view name,
                                  const SettingValue& value) {
    store.defaults().setString(name, fromValue<std::optional<std::string>>(value));
}

// The flags' own setters only set true; a user may also clear one to run a first-run step again.
void writeFlag(SettingsStore& store, std::string_view name, const SettingValue& value) {
    store.defaults().setBool(name, std::get<bool>(value));
}

using VC = ZephrinViewControllerStore;
using GL = ZephrinOpenGLViewStore;
using LD = LineDrawerStore;
using SM = ZephrinSessionManagerStore;
using WM = WatermarkSettingViewControllerStore;
using MP = MapSettingViewControllerStore;
using LP = LuoPanSettingViewControllerStore;
using AS = AltAndSpeedSettingViewControllerStore;
using EM = EmailPhotoViewControllerStore;
using ID = ImageDrawingControllerStore;
constexpr auto vc = &SettingsStore::viewController;
constexpr auto gl = &SettingsStore::glView;
constexpr auto ld = &SettingsStore::lineDrawer;
constexpr auto sm = &SettingsStore::sessionManager;
constexpr auto wm = &SettingsStore::watermark;
constexpr auto mp = &SettingsStore::map;
constexpr auto lp = &SettingsStore::luoPan;
constexpr auto as = &SettingsStore::altAndSpeed;
constexpr auto em = &SettingsStore::email;
constexpr auto id = &SettingsStore::imageDrawing;

using enum KeyType;

constexpr KeyGroup kFirstRun = KeyGroup::FirstRun;
constexpr KeyGroup kCapture = KeyGroup::Capture;
constexpr KeyGroup kScreen = KeyGroup::Screen;
constexpr KeyGroup kStamp = KeyGroup::Stamp;
constexpr KeyGroup kOverlay = KeyGroup::Overlay;
constexpr KeyGroup kEffect = KeyGroup::Effect;
constexpr KeyGroup kEmail = KeyGroup::Email;

const SettingKey kKeys[] = {
    {"haveinit", Bool, kFirstRun, read<vc, &VC::isHaveInit>, writeFlag, any()},
    {"haverun", Bool, kFirstRun, read<gl, &GL::isHaveRun>, writeFlag, any()},
    {"haverun2", Bool, kFirstRun, read<gl, &GL::isHaveRun2>, writeFlag, any()},
    {"haverun1", Bool, kFirstRun, read<ld, &LD::isHaveRun>, writeFlag, any()},
    {"HaveInitWatermarkSetting", Bool, kFirstRun, read<vc, &VC::isHaveInitWatermarkSetting>,
     writeFlag, any()},
    {"HaveInitWatermarkSetting2", Bool, kFirstRun, read<vc, &VC::isHaveInitWatermarkSetting2>,
     writeFlag, any()},
    {"HaveInitMapSetting", Bool, kFirstRun, read<vc, &VC::isHaveInitMapSetting>, writeFlag, any()},
    {"HaveInitASSetting", Bool, kFirstRun, read<vc, &VC::isHaveInitASSetting>, writeFlag, any()},
    {"HaveInitLuoPanSetting", Bool, kFirstRun, read<vc, &VC::isHaveInitLuoPanSetting>, writeFlag,
     any()},
    {"HaveInitUIRotateMode", Bool, kFirstRun, read<vc, &VC::isHaveInitUIRotateMode>, writeFlag,
     any()},
    {"HaveInitPowerSaveBrightness", Bool, kFirstRun, read<vc, &VC::isHaveInitPowerSaveBrightness>,
     writeFlag, any()},
    {"HaveInitVideoBitrateAndExtensionSetting", Bool, kFirstRun,
     read<vc, &VC::isHaveInitVideoBitrateAndExtensionSetting>, writeFlag, any()},
    {"HaveAdjustFontLevel", Bool, kFirstRun, read<vc, &VC::isHaveAdjustFontLevel>,
     write<vc, &VC::SetHaveAdjustFontLevel>, any()},

    {"cameraModeIndex", Integer, kCapture, read<vc, &VC::getCameraModeIndex>,
     write<vc, &VC::saveCameraModeIndex>, range(0, 4)},
    {"currentWhichCamera", Integer, kCapture, read<vc, &VC::readCurrentWhichCamera>,
     write<vc, &VC::saveCurrentWhichCamera>, any()},
    {"defaultresolution", Integer, kCapture, read<vc, &VC::getDefaultResolution>,
     write<vc, &VC::setDefaultResolution>, range(1, 11)},
    {"defaultPhotoresolution", Integer, kCapture, read<vc, &VC::getDefaultPhotoResolution>,
     write<vc, &VC::setDefaultPhotoResolution>, range(1, 7)},
    {"SmallPhoto", Bool, kCapture, read<vc, &VC::isSmallPhoto>, write<vc, &VC::SetSmallPhoto>,
     any()},
    {"backFlashMode", Integer, kCapture, read<vc, &VC::readBackFlashMode>,
     write<vc, &VC::saveBackFlashMode>, range(0, 3)},
    {"frontFlashMode", Integer, kCapture, read<vc, &VC::readFrontFlashMode>,
     write<vc, &VC::saveFrontFlashMode>, range(0, 3)},
    {"AudioMute", Bool, kCapture, read<vc, &VC::isAudioMute>, write<vc, &VC::SetAudioMute>, any()},
    {"EnableVideoStabilization", Bool, kCapture, read<vc, &VC::isEnableVideoStabilization>,
     write<vc, &VC::SetEnableVideoStabilization>, any()},
    {"MirrorFrontCamera", Bool, kCapture, read<vc, &VC::isMirrorFrontCamera>,
     write<vc, &VC::SetMirrorFrontCamera>, any()},
    {"KeepOriginalImage", Bool, kCapture, read<vc, &VC::isKeepOriginalImage>,
     write<vc, &VC::SetKeepOriginalImage>, any()},
    {"VideoBitrateMode", Integer, kCapture, read<vc, &VC::readVideoBitrateMode>,
     write<vc, &VC::saveVideoBitrateMode>, range(0, 2)},
    {"VideoExtensionMode", Integer, kCapture, read<vc, &VC::readVideoExtensionMode>,
     write<vc, &VC::saveVideoExtensionMode>, range(0, 1)},
    {"VideoCodec", Integer, kCapture, read<vc, &VC::readVideoCodec>, write<vc, &VC::saveVideoCodec>,
     range(0, 1)},
    {"FileNameFormat", Integer, kCapture, read<vc, &VC::readFileNameFormat>,
     write<vc, &VC::saveFileNameFormat>, range(0, 10)},
    {"FileNameIndex", Integer, kCapture, read<sm, &SM::readFileNameIndex>,
     write<sm, &SM::saveFileNameIndex>, range(0, 9999)},
    {"FileNamePrefix", String, kCapture, read<vc, &VC::getFileNamePrefix>,
     write<vc, &VC::setFileNamePrefix>, any()},
    {"ShowFileIndex", Bool, kCapture, read<vc, &VC::isShowFileIndex>,
     write<vc, &VC::SetShowFileIndex>, any()},
    {"NameWithCustomText", Bool, kCapture, read<vc, &VC::isNameWithCustomText>,
     write<vc, &VC::SetNameWithCustomText>, any()},
    {"TimelpaseInterval", Double, kCapture, read<vc, &VC::readTimelpaseInterval>,
     write<vc, &VC::saveTimelpaseInterval>, oneOf(kTimelapseSeconds)},
    {"PlanCaptureInterval", Integer, kCapture, read<vc, &VC::readPlanCaptureInterval>,
     write<vc, &VC::savePlanCaptureInterval>, oneOf(kPlanSeconds)},
    {"videoSplitInterval", Integer, kCapture, read<vc, &VC::readvideoSplitInterval>,
     write<vc, &VC::savevideoSplitInterval>, oneOf(kSplitSeconds)},
    {"EnableCaptureTimer", Bool, kCapture, read<vc, &VC::isEnableCaptureTimer>,
     write<vc, &VC::SetEnableCaptureTimer>, any()},
    {"CaptureTimerSeconds", Integer, kCapture, read<vc, &VC::readCaptureTimerSeconds>,
     write<vc, &VC::saveCaptureTimerSeconds>, oneOf(kTimerSeconds)},
    {platform::kPhotoLibraryAccessLevelKey, String, kCapture, readPhotoLibraryAccessLevel,
     writePhotoLibraryAccessLevel, oneOfWords(kAccessLevels)},

    {"UIMode", Integer, kScreen, read<vc, &VC::readUIMode>, write<vc, &VC::saveUIMode>,
     range(0, 1)},
    {"UIRotateMode", Integer, kScreen, read<vc, &VC::readUIRotateMode>,
     write<vc, &VC::saveUIRotateMode>, range(0, 3)},
    {"hideMenu", Bool, kScreen, read<vc, &VC::isHideMenu>, write<vc, &VC::SetHideMenu>, any()},
    {"ShowGrid", Bool, kScreen, read<vc, &VC::isShowGrid>, write<vc, &VC::SetShowGrid>, any()},
    {"hideLevelLine", Bool, kScreen, read<vc, &VC::hideLevelLine>, write<vc, &VC::SetHideLevelLine>,
     any()},
    {"AlwaysShowZoomSlider", Bool, kScreen, read<vc, &VC::isAlwaysShowZoomSlider>,
     write<vc, &VC::SetAlwaysShowZoomSlider>, any()},
    {"TouchToCapture", Bool, kScreen, read<vc, &VC::isTouchToCapture>,
     write<vc, &VC::SetTouchToCapture>, any()},
    {"VolumeButtonCapture", Bool, kScreen, read<vc, &VC::isVolumeButtonCaptureDisable>,
     write<vc, &VC::SetVolumeButtonCaptureDisable>, any()},
    {"PowerSaveMode", Bool, kScreen, read<vc, &VC::isPowerSaveMode>,
     write<vc, &VC::SetPowerSaveMode>, any()},
    {"PowerSaveBrightness", Float, kScreen, read<vc, &VC::getPowerSaveBrightness>,
     write<vc, &VC::SetPowerSaveBrightness>, range(0, 1)},
    {"SupportTapToChangePowerSaveMode", Bool, kScreen,
     read<vc, &VC::isSupportTapToChangePowerSaveMode>,
     write<vc, &VC::SetSupportTapToChangePowerSaveMode>, any()},
    {"SupportSingleTapToChangeBrightenWhenPowerSaveMode", Bool, kScreen,
     read<vc, &VC::isSupportSingleTapToChangeBrightenWhenPowerSaveMode>,
     write<vc, &VC::SetSupportSingleTapToChangeBrightenWhenPowerSaveMode>, any()},
    {"HideDanceMode", Bool, kScreen, read<vc, &VC::isHideDanceMode>,
     write<vc, &VC::SetHideDanceMode>, any()},
    {"ShowParticleEffect", Bool, kScreen, read<vc, &VC::isShowParticleEffect>,
     write<vc, &VC::SetShowParticleEffect>, any()},
    {"ShowShortcutText", Bool, kScreen, read<vc, &VC::isShowShortcutText>,
     write<vc, &VC::SetShowShortcutText>, any()},
    {"ShowShortcutTag", Bool, kScreen, read<vc, &VC::isShowShortcutTag>,
     write<vc, &VC::SetShowShortcutTag>, any()},
    {"ShowShortcutStopWatch", Bool, kScreen, read<vc, &VC::isShowShortcutStopWatch>,
     write<vc, &VC::SetShowShortcutStopWatch>, any()},
    {"ShowShortcutLock", Bool, kScreen, read<vc, &VC::isShowShortcutLock>,
     write<vc, &VC::SetShowShortcutLock>, any()},

    {"defaultFontName", String, kStamp, read<vc, &VC::getDefaultFont>,
     write<vc, &VC::setDefaultFont>, any()},
    {"defaultFontSizeLevel", Integer, kStamp, read<vc, &VC::getDefaultFontSizeLevel>,
     write<vc, &VC::setDefaultFontSizeLevel>, range(0, 4)},
    {"defaultFontColor", Color, kStamp, read<vc, &VC::getDefaultFontColor>,
     write<vc, &VC::setDefaultFontColor>, any()},
    {"TextBackgroundColor", Color, kStamp, read<vc, &VC::getTextBackgroundColor>,
     write<vc, &VC::setTextBackgroundColor>, any()},
    {"TextStrokeColor", Color, kStamp, read<vc, &VC::getTextStrokeColor>,
     write<vc, &VC::setTextStrokeColor>, any()},
    {"useTextStroke", Bool, kStamp, read<vc, &VC::ReadUseTextStroke>,
     write<vc, &VC::SaveUseTextStroke>, any()},
    {"BackgroundAlpha", Integer, kStamp, read<vc, &VC::readBackgroundAlpha>,
     write<vc, &VC::saveBackgroundAlpha>, range(0, 100)},
    {"TextAlpha", Integer, kStamp, read<vc, &VC::readTextAlpha>, write<vc, &VC::saveTextAlpha>,
     range(0, 100)},
    {"TextDistanceMode", Integer, kStamp, read<vc, &VC::readTextDistanceMode>,
     write<vc, &VC::saveTextDistanceMode>, range(0, 3)},
    {"TimeAboveMode", Integer, kStamp, read<vc, &VC::readTimeAboveMode>,
     write<vc, &VC::saveTimeAboveMode>, range(0, 1)},
    {"timePosition", Integer, kStamp, read<gl, &GL::getTimePosition>,
     write<gl, &GL::saveTimePosition>, range(0, 5)},
    {"timeSegIndex", Integer, kStamp, read<vc, &VC::getTimeSegIndex>,
     write<vc, &VC::saveTimeSegIndex>, range(0, 4)},
    {"TimeFormatIndex", Integer, kStamp, read<ld, &LD::getTimeFormatIndex>,
     write<ld, &LD::saveTimeFormatIndex>, range(0, 90)},
    {"SavedLocationType", String, kStamp, read<ld, &LD::getSavedLocationType>,
     write<ld, &LD::saveLocationType>, any()},
    {"SavedLocation", String, kStamp, read<ld, &LD::getSavedLocation>, write<ld, &LD::saveLocation>,
     any()},
    {"SavedGpsType", String, kStamp, read<ld, &LD::getSavedGpsType>, write<ld, &LD::saveGpsType>,
     any()},
    {"SavedGps", String, kStamp, read<ld, &LD::getSavedGps>, write<ld, &LD::saveGps>, any()},
    {"GeocoderURL", String, kStamp, read<ld, &LD::getGeocoderURL>, write<ld, &LD::saveGeocoderURL>,
     any()},
    {"GeocoderContact", String, kStamp, read<ld, &LD::getGeocoderContact>,
     write<ld, &LD::saveGeocoderContact>, any()},
    {"InputText", String, kStamp, read<vc, &VC::getInputText>, write<vc, &VC::setInputText>, any()},
    {"CustomTextArray", StringArray, kStamp, read<vc, &VC::readCustomTextArray>,
     write<vc, &VC::saveCustomTextArray>, any()},
    {"CustomTextOrder", Integer, kStamp, read<vc, &VC::readCustomTextOrder>,
     write<vc, &VC::saveCustomTextOrder>, range(0, 1)},
    {"AllTags", StringArray, kStamp, read<vc, &VC::readAllTags>, write<vc, &VC::saveAllTags>,
     any()},
    {"SelectTags", StringArray, kStamp, read<vc, &VC::readSelectTags>,
     write<vc, &VC::saveSelectTags>, any()},
    {"ShowTagOnCamera", Bool, kStamp, read<vc, &VC::readShowTagOnCamera>,
     write<vc, &VC::SetShowTagOnCamera>, any()},
    {"ShowAltitudeAndSpeed", Bool, kStamp, read<vc, &VC::GetShowAltitudeAndSpeed>,
     write<vc, &VC::SetShowAltitudeAndSpeed>, any()},
    {"ShowLunar", Bool, kStamp, read<vc, &VC::GetShowLunar>, write<vc, &VC::SetShowLunar>, any()},
    {"NeedDisplayLuoPan", Bool, kStamp, read<vc, &VC::isNeedDisplayLuoPan>,
     write<vc, &VC::SetNeedDisplayLuoPan>, any()},
    {"NeedDisplayMap", Bool, kStamp, read<vc, &VC::isNeedDisplayMap>,
     write<vc, &VC::SetNeedDisplayMap>, any()},

    {"WaterPositionNotAuto", Bool, kOverlay, read<wm, &WM::isWaterPositionNotAuto>,
     write<wm, &WM::SetWaterPositionNotAuto>, any()},
    {"WatermarkPosition", Integer, kOverlay, read<wm, &WM::readWatermarkPosition>,
     write<wm, &WM::saveWatermarkPosition>, range(0, 6)},
    {"WatermarkOpacity", Float, kOverlay, read<wm, &WM::readWatermarkOpacity>,
     write<wm, &WM::saveWatermarkOpacity>, range(0, 1)},
    {"WatermarkSize", Float, kOverlay, read<wm, &WM::readWatermarkSize>,
     write<wm, &WM::saveWatermarkSize>, range(0.25, 6.25)},
    {"WatermarkEdge", Integer, kOverlay, read<wm, &WM::readWatermarkEdge>,
     write<wm, &WM::saveWatermarkEdge>, range(0, 100)},
    {"MapPositionNotAuto", Bool, kOverlay, read<mp, &MP::isMapPositionNotAuto>,
     write<mp, &MP::SetMapPositionNotAuto>, any()},
    {"MapPosition", Integer, kOverlay, read<mp, &MP::readMapPosition>,
     write<mp, &MP::saveMapPosition>, range(0, 5)},
    {"MapType", Integer, kOverlay, read<mp, &MP::readMapType>, write<mp, &MP::saveMapType>,
     oneOf(kMapTypes)},
    {"MapOpacity", Float, kOverlay, read<mp, &MP::readMapOpacity>, write<mp, &MP::saveMapOpacity>,
     range(0, 1)},
    {"MapSize", Float, kOverlay, read<mp, &MP::readMapSize>, write<mp, &MP::saveMapSize>,
     range(0, 1)},
    {"MapScale", Float, kOverlay, read<mp, &MP::readMapScale>, write<mp, &MP::saveMapScale>,
     range(0, 1)},
    {"MapAppearance", Integer, kOverlay, read<mp, &MP::readMapAppearance>,
     write<mp, &MP::saveMapAppearance>, range(0, 2)},
    {"MapTileURL", String, kOverlay, read<mp, &MP::getMapTileURL>, write<mp, &MP::saveMapTileURL>,
     any()},
    {"MapAttribution", String, kOverlay, read<mp, &MP::getMapAttribution>,
     write<mp, &MP::saveMapAttribution>, any()},
    {"MapTilesFile", String, kOverlay, read<mp, &MP::getMapTilesFile>,
     write<mp, &MP::saveMapTilesFile>, any()},
    {"ASDisplay", Integer, kOverlay, read<as, &AS::readASDisplay>, write<as, &AS::saveASDisplay>,
     range(0, 2)},
    {"ASUnits", Integer, kOverlay, read<as, &AS::readASUnits>, write<as, &AS::saveASUnits>,
     range(0, 1)},
    {"LuoPanPositionNotAuto", Bool, kOverlay, read<lp, &LP::isLuoPanPositionNotAuto>,
     write<lp, &LP::SetLuoPanPositionNotAuto>, any()},
    {"LuoPanPosition", Integer, kOverlay, read<lp, &LP::readLuoPanPosition>,
     write<lp, &LP::saveLuoPanPosition>, range(0, 5)},
    {"LuoPanStyle", Integer, kOverlay, read<lp, &LP::readLuoPanStyle>,
     write<lp, &LP::saveLuoPanStyle>, range(0, 4)},
    {"LuoPanSize", Float, kOverlay, read<lp, &LP::readLuoPanSize>, write<lp, &LP::saveLuoPanSize>,
     range(-0.5, 0.5)},

    {"effectIndex", Integer, kEffect, read<gl, &GL::getEffectIndex>,
     write<gl, &GL::saveEffectIndex>, range(0, 10)},
    {"backgroundIndex", Integer, kEffect, read<gl, &GL::getBackgroundIndex>,
     write<gl, &GL::saveBackgroundIndex>, range(0, 8)},
    {"particleIndex", Integer, kEffect, read<gl, &GL::getParticleIndex>,
     write<gl, &GL::saveParticleIndex>, range(0, 21)},
    {"paperIndex", Integer, kEffect, read<gl, &GL::getPaperIndex>, write<gl, &GL::savePaperIndex>,
     any()},
    {"penColor", Integer, kEffect, read<gl, &GL::getPenColorIndex>,
     write<gl, &GL::savePenColorIndex>, range(0, 8)},
    {"worldCup", Integer, kEffect, read<gl, &GL::getWorldCupIndex>,
     write<gl, &GL::saveWorldCupIndex>, any()},
    {"defaultLineColor", Color, kEffect, read<id, &ID::getDefaultLineColor>,
     write<id, &ID::setDefaultLineColor>, any()},

    {"EmailAfterPhotoTaken", Bool, kEmail, read<em, &EM::isEmailAfterPhotoTaken>,
     write<em, &EM::SetEmailAfterPhotoTaken>, any()},
    {"PutAddressInSubject", Bool, kEmail, read<em, &EM::isPutAddressInSubject>,
     write<em, &EM::SetPutAddressInSubject>, any()},
    {"EmailTarget", String, kEmail, read<em, &EM::getEmailTarget>, write<em, &EM::setEmailTarget>,
     any()},
    {"EmailSubject", String, kEmail, read<em, &EM::getEmailSubject>,
     write<em, &EM::setEmailSubject>, any()},
    {"EmailContent", String, kEmail, read<em, &EM::getEmailContent>,
     write<em, &EM::setEmailContent>, any()},
};

}  // namespace

bool AcceptedValues::isLimited() const {
    return !choices.empty() || minimum > -std::numeric_limits<double>::infinity() ||
           maximum < std::numeric_limits<double>::infinity();
}

bool AcceptedValues::acceptsWord(std::string_view word) const {
    return words.empty() || std::find(words.begin(), words.end(), word) != words.end();
}

bool AcceptedValues::accepts(double value) const {
    if (!choices.empty()) {
        return std::find(choices.begin(), choices.end(), value) != choices.end();
    }
    return value >= minimum && value <= maximum;
}

std::span<const SettingKey> settingKeys() {
    return kKeys;
}

const SettingKey* findSettingKey(std::string_view name) {
    for (const auto& key : kKeys) {
        if (key.name == name) {
            return &key;
        }
    }
    return nullptr;
}

std::string_view groupName(KeyGroup group) {
    switch (group) {
        case KeyGroup::FirstRun:
            return "first run";
        case KeyGroup::Capture:
            return "capture";
        case KeyGroup::Screen:
            return "screen";
        case KeyGroup::Stamp:
            return "stamp";
        case KeyGroup::Overlay:
            return "overlay";
        case KeyGroup::Effect:
            return "effect";
        case KeyGroup::Email:
            return "email";
    }
    return "";
}

std::string_view typeName(KeyType type) {
    switch (type) {
        case KeyType::Bool:
            return "boolean";
        case KeyType::Integer:
            return "integer";
        case KeyType::Float:
        case KeyType::Double:
            return "number";
        case KeyType::String:
            return "string";
        case KeyType::StringArray:
            return "list of strings";
        case KeyType::Color:
            return "colour";
    }
    return "";
}

}  // namespace orvane::screen
