// The store side of the text panel's reset: the stamp back to its factory state. Capture, file
// and screen keys are left alone. Main thread.
#pragma once

#include <string_view>

#include "screen/settings_store.h"

namespace orvane::screen {

// Writes, in order: text position 2; font "ArialMT", level 2, white; the language's default
// address form, time row 1, no coordinates ("None", ""); altitude and speed, map, compass and
// lunar line off; margin mode 1; background opacity 0, text opacity 100, black plate; effect
// and particle 0; time above. The cached copies of those keys follow. Stopping the map updates
// and the motion updates is the camera screen's part.
void resetTextSettings(SettingsStore& store, std::string_view languageCode);

}  // namespace orvane::screen
