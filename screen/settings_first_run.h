// First-run bookkeeping and migrations of the settings store, and the one launch sequence every
// entry point runs before it reads settings. Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "screen/settings_store.h"

namespace orvane::screen {

// What the first run needs to know of the machine. A Linux desktop has no known screen size and
// no physical home button.
struct DeviceTraits {
    // 0 unknown, 1 3.5 inch, 2 4 inch, 3 4.7 inch, 4 5.5 inch, 5 5.8 inch, 6 6.1 inch, 7..10 later.
    int screenSizeCode = 0;
    bool hasPhysicalHomeButton = false;
};

// "fulladdress" for Chinese, else "formatAddress2".
std::string defaultLocationType(std::string_view languageCode);

// The camera screen's first-run block, its nine steps in order: rotation mode, hidden dance
// mode, the first installation ("haveinit"), power-save brightness, then the five init steps
// below.
void runFirstRunBlock(SettingsStore& store, const DeviceTraits& device);
// Each sets its group's first values once; initWatermarkSetting also moves an older store's logo
// size to the current scale. initVideoBitrateAndExtensionSetting writes the cached copies too.
void initWatermarkSetting(SettingsStore& store);
void initMapSetting(SettingsStore& store);
void initASSetting(SettingsStore& store);
void initLuoPanSetting(SettingsStore& store);
void initVideoBitrateAndExtensionSetting(SettingsStore& store);

// initializeInterface's font step: a fresh store gets "ArialMT", level 2 and white; an older
// store with a font but no "HaveAdjustFontLevel" has its level raised by one, once.
void initializeFontSettings(SettingsStore& store);

// What the GL view starts with: set on its first run, loaded from the store after.
struct GLViewStartValues {
    std::int64_t effectIndex = 0;
    std::int64_t backgroundIndex = 0;
    std::int64_t particleIndex = 0;
    std::int64_t paperIndex = 0;
    std::int64_t penColorIndex = 0;
    std::int64_t timePosition = 0;
    std::int64_t worldCupIndex = 0;
};
GLViewStartValues runGLViewFirstRun(SettingsStore& store);

// What the stamp layer starts with, after its first run and the coordinate-type migration: older
// versions kept "gps1"/"gps2" in the address form's key.
struct StampLayerStartValues {
    std::int64_t timeFormatIndex = 0;
    std::optional<std::string> locationType;
    std::optional<std::string> gpsType;
};
StampLayerStartValues runStampLayerFirstRun(SettingsStore& store, std::string_view languageCode);

// The steps the camera screen runs at every launch: power-save mode off, a legacy "SmallPhoto"
// turned into photo resolution 4, the lunar line off outside Chinese.
void applyLaunchSettings(SettingsStore& store, std::string_view languageCode);

struct LaunchValues {
    GLViewStartValues glView;
    StampLayerStartValues stampLayer;
};

// Everything an entry point runs at load, in the camera screen's order: the first-run block, the
// font step, the GL view's and stamp layer's first runs, the launch steps, then the cached copies
// (viewDidLoad's, initializeInterface's, and the reloads of viewWillAppear).
LaunchValues loadSettingsAtLaunch(SettingsStore& store, const DeviceTraits& device,
                                  std::string_view languageCode);
// The same on this machine: desktop traits and the user's preferred language.
LaunchValues loadSettingsAtLaunch(SettingsStore& store);

}  // namespace orvane::screen
