// Where the program keeps what it can fetch again (map tiles), by the XDG base directory rule.
#pragma once

#include <filesystem>
#include <optional>

namespace orvane::platform {

// $XDG_CACHE_HOME/orvane when that is an absolute path, else ~/.cache/orvane from $HOME; nothing
// when neither is set.
std::optional<std::filesystem::path> userCacheDirectory();

}  // namespace orvane::platform
