#include "platform/system/data_directory.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace orvane::platform {

std::string dataDirectory() {
    if (const char* fromEnvironment = std::getenv("ORVANE_DATADIR");
        fromEnvironment && *fromEnvironment) {
        return fromEnvironment;
    }
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        const auto dir = (executable.parent_path() / ".." / "share" / "orvane").lexically_normal();
        if (std::filesystem::is_directory(dir, error)) {
            return dir.string();
        }
    }
    return ORVANE_INSTALL_DATADIR;
}

}  // namespace orvane::platform
