// The program's folders in the user's home, after the XDG base directory rules: a variable that
// is unset, empty or relative counts as unset.
#pragma once

#include <filesystem>

namespace orvane::platform {

// $XDG_CONFIG_HOME/orvane, else $HOME/.config/orvane: the settings.
std::filesystem::path userConfigFolder();
// $XDG_DATA_HOME/orvane, else $HOME/.local/share/orvane: what the user gave the program to keep
// (the logo).
std::filesystem::path userDataFolder();
// $XDG_CACHE_HOME/orvane, else $HOME/.cache/orvane: what can be made again (map tiles).
std::filesystem::path userCacheFolder();

}  // namespace orvane::platform
