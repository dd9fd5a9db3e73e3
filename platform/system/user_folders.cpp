#include "platform/system/user_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace orvane::platform {

namespace {

std::filesystem::path home() {
    if (const char* value = std::getenv("HOME"); value && *value) {
        return value;
    }
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
        found->pw_dir) {
        return found->pw_dir;
    }
    return {};
}

std::filesystem::path programFolder(const char* variable, const char* belowHome) {
    if (const char* value = std::getenv(variable); value && *value == '/') {
        return std::filesystem::path(value) / "orvane";
    }
    return home() / belowHome / "orvane";
}

}  // namespace

std::filesystem::path userConfigFolder() {
    return programFolder("XDG_CONFIG_HOME", ".config");
}

std::filesystem::path userDataFolder() {
    return programFolder("XDG_DATA_HOME", ".local/share");
}

std::filesystem::path userCacheFolder() {
    return programFolder("XDG_CACHE_HOME", ".cache");
}

}  // namespace orvane::platform
