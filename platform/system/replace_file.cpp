#include "platform/system/replace_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace orvane::platform {

namespace {

bool writeAll(int fd, std::string_view bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        done += static_cast<std::size_t>(written);
    }
    return true;
}

}  // namespace

int replaceFile(const std::filesystem::path& target, std::string_view bytes, const char*& step) {
    std::string temporary =
        (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        step = "creating a temporary file";
        return errno;
    }
    struct stat existing {};
    if (::stat(target.c_str(), &existing) == 0) {
        ::fchmod(fd, existing.st_mode & 07777);
    }
    int error = 0;
    if (!writeAll(fd, bytes)) {
        step = "writing";
        error = errno;
    } else if (::fsync(fd) != 0) {
        step = "flushing to disk";
        error = errno;
    }
    if (::close(fd) != 0 && !error) {
        step = "writing";
        error = errno;
    }
    if (!error && ::rename(temporary.c_str(), target.c_str()) != 0) {
        step = "replacing the file";
        error = errno;
    }
    if (error) {
        ::unlink(temporary.c_str());
    }
    return error;
}

int syncDirectory(const std::filesystem::path& directory) {
    const int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return errno;
    }
    const int error = ::fsync(fd) == 0 || errno == EINVAL ? 0 : errno;
    ::close(fd);
    return error;
}

}  // namespace orvane::platform
