// `orvane logo`: the picture drawn in every movie, frame and photo at the logo's place, size and
// opacity, kept as a copy in the program's data folder.
#pragma once

#include <ostream>
#include <string>

#include "compositor/ZephrinOpenGLView.h"
#include "screen/settings_cache.h"

namespace orvane::app {

// `orvane logo set PATH`: the picture becomes the logo, and prints where it is kept. A file that
// is not a picture is an error naming it, and the logo before stays. Returns 0 or 1.
int setLogo(const std::string& path, std::ostream& out, std::ostream& err);
// `orvane logo off`: no logo from now on. Returns 0 or 1.
int turnLogoOff(std::ostream& out, std::ostream& err);
// `orvane logo`: where the logo is kept and its size, or "off".
int showLogo(std::ostream& out, std::ostream& err);

// Hands the saved logo, at the stored opacity, to the view; a logo that cannot be read is left
// out with a message on `err` starting with `prefix`.
void loadSavedLogo(compositor::ZephrinOpenGLView& view, const screen::SettingsCache& cache,
                   const std::string& prefix, std::ostream& err);

}  // namespace orvane::app
