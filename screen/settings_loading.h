// How the cached copies follow the store: loaded at launch in the camera screen's order, and
// reloaded each time the camera screen shows so that what the overlay screens saved takes effect.
// Main thread.
#pragma once

#include "screen/settings_store.h"

namespace orvane::screen {

// The copies viewDidLoad loads: stroke, file naming, capture options, intervals, margins, video
// and photo resolution, self-timer, rotation, dance mode, particles, power-save taps.
void loadViewDidLoadCopies(SettingsStore& store);
// The copies initializeInterface loads after them: UI and video modes, tags, custom text, the
// stamp's switches, brightness, opacities, plate colour, time-above mode and the font.
void loadInitializeInterfaceCopies(SettingsStore& store);

// The overlay groups. The camera screen also drops its cached logo image after
// reloadWaterMarkSetting and its cached map image after reloadMapSetting; those images are its
// own, so it does that itself.
void reloadWaterMarkSetting(SettingsStore& store);
void reloadMapSetting(SettingsStore& store);
void reloadASSetting(SettingsStore& store);
void reloadLuoPanSetting(SettingsStore& store);
// The two e-mail switches the screen copies each time it shows.
void loadEmailCopies(SettingsStore& store);

// What viewWillAppear does: the four reloads, then the e-mail copies.
void reloadOnAppear(SettingsStore& store);

}  // namespace orvane::screen
