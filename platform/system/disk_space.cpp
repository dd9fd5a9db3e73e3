#include "platform/system/disk_space.h"

#include <sys/statvfs.h>

namespace orvane::platform {

std::int64_t freeDiskspaceNew(const std::filesystem::path& path) {
    struct statvfs disk {};
    if (::statvfs(path.c_str(), &disk) != 0) {
        return 0;
    }
    const unsigned long long bytes = static_cast<unsigned long long>(disk.f_bavail) *
                                     static_cast<unsigned long long>(disk.f_frsize);
    return static_cast<std::int64_t>(bytes >> 20);
}

}  // namespace orvane::platform
