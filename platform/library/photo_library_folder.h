// Where the photo library lives: ORVANE_LIBRARY_DIR when set, else the user's pictures folder
// (XDG_PICTURES_DIR from the environment, else from user-dirs.dirs, else ~/Pictures) with
// "Orvane" in it.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace orvane::platform {

// Looks up an environment variable; none when unset.
using EnvironmentLookup = std::function<std::optional<std::string>(const char* name)>;
// The process's own environment.
std::optional<std::string> processEnvironment(const char* name);

struct PhotoLibraryLocation {
    std::filesystem::path directory;
    // True when the user named the folder (ORVANE_LIBRARY_DIR): only its last component is made
    // when missing, so an unmounted drive is reported instead of written beside.
    bool chosenByUser = false;
};

PhotoLibraryLocation photoLibraryLocation(
    const EnvironmentLookup& environment = processEnvironment);

// The XDG_PICTURES_DIR line of a user-dirs.dirs text, with $HOME replaced by `home`; none when
// the text has no such line or its value is not a usable absolute path.
std::optional<std::filesystem::path> picturesDirectoryFromUserDirs(const std::string& text,
                                                                   const std::string& home);

}  // namespace orvane::platform
