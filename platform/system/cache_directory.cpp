#include "platform/system/cache_directory.h"

#include <cstdlib>

namespace orvane::platform {

std::optional<std::filesystem::path> userCacheDirectory() {
    // The XDG base directory rules ignore a relative XDG_CACHE_HOME.
    if (const char* xdg = std::getenv("XDG_CACHE_HOME"); xdg != nullptr && xdg[0] == '/') {
        return std::filesystem::path(xdg) / "orvane";
    }
    if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/') {
        return std::filesystem::path(home) / ".cache" / "orvane";
    }
    return std::nullopt;
}

}  // namespace orvane::platform
