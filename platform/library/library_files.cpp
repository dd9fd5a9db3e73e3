#include "platform/library/library_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "foundation/log.h"
#include "platform/library/PhotoLibrary.h"
#include "platform/library/library_index.h"

namespace orvane::platform {

namespace {

constexpr int kMostNumberedNames = 10000;

std::string errnoText(int error) {
    return std::strerror(error);
}

class FileDescriptor {
  public:
    explicit FileDescriptor(int fd) : _fd(fd) {}
    ~FileDescriptor() {
        if (_fd >= 0) {
            ::close(_fd);
        }
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return _fd; }
    // Closes now, answering 0 or the errno of a failed close (a late write error on some file
    // systems).
    int close() {
        const int result = ::close(_fd);
        _fd = -1;
        return result == 0 ? 0 : errno;
    }

  private:
    int _fd;
};

int writeAll(int fd, const std::uint8_t* bytes, std::size_t size) {
    while (size > 0) {
        const auto written = ::write(fd, bytes, size);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

// Renames without replacing: EEXIST when `to` is taken. File systems without the flag get a
// hard link and an unlink, which cannot replace either.
int renameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    if (::link(from.c_str(), to.c_str()) != 0) {
        return errno;
    }
    ::unlink(from.c_str());
    return 0;
}

}  // namespace

FilePlacement::FilePlacement(std::filesystem::path folder) : _folder(std::move(folder)) {}

FilePlacement::~FilePlacement() {
    undo();
}

FilePlacement::Placed FilePlacement::nameWithoutReplacing(const std::filesystem::path& from,
                                                          const std::string& name, int& error) {
    for (int n = 0; n < kMostNumberedNames; ++n) {
        const auto candidate = numberedFileName(name, n);
        error = renameWithoutReplacing(from, _folder / candidate);
        if (error == 0) {
            return {candidate, std::nullopt};
        }
        if (error != EEXIST) {
            return {{}, photoLibraryWriteError(_folder, errnoText(error))};
        }
    }
    return {{}, photoLibraryWriteError(_folder, "every name for \"" + name + "\" is taken")};
}

template <typename Fill>
FilePlacement::Placed FilePlacement::writeThenName(const std::string& name, Fill&& fill) {
    std::string pattern = (_folder / ".orvane-XXXXXX").string();
    FileDescriptor file(::mkostemp(pattern.data(), O_CLOEXEC));
    if (file.get() < 0) {
        return {{}, photoLibraryWriteError(_folder, errnoText(errno))};
    }
    const std::filesystem::path temporary = pattern;
    int error = fill(file.get());
    if (error == 0 && ::fchmod(file.get(), 0644) != 0) {
        error = errno;
    }
    if (error == 0 && ::fsync(file.get()) != 0) {
        error = errno;
    }
    if (const int closed = file.close(); error == 0) {
        error = closed;
    }
    if (error != 0) {
        ::unlink(temporary.c_str());
        return {{}, photoLibraryWriteError(_folder, errnoText(error))};
    }
    auto placed = nameWithoutReplacing(temporary, name, error);
    if (placed.error) {
        ::unlink(temporary.c_str());
    }
    return placed;
}

FilePlacement::Placed FilePlacement::writeData(const Blob& data, const std::string& name) {
    auto placed =
        writeThenName(name, [&data](int fd) { return writeAll(fd, data.data(), data.size()); });
    if (!placed.error) {
        _steps.push_back({_folder / placed.fileName, std::nullopt, std::nullopt});
    }
    return placed;
}

FilePlacement::Placed FilePlacement::copyFile(const std::filesystem::path& source,
                                              const std::string& name) {
    FileDescriptor input(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (input.get() < 0) {
        const std::string reason = errnoText(errno);
        return {{},
                foundation::Error{kPhotoLibraryErrorDomain, kPhotoLibraryWriteFailed,
                                  "Cannot read " + source.string() + ": " + reason, reason}};
    }
    auto placed = writeThenName(name, [&input](int fd) {
        std::vector<std::uint8_t> buffer(1 << 20);
        while (true) {
            const auto count = ::read(input.get(), buffer.data(), buffer.size());
            if (count < 0) {
                if (errno == EINTR) {
                    continue;
                }
                return errno;
            }
            if (count == 0) {
                return 0;
            }
            if (const int error = writeAll(fd, buffer.data(), static_cast<std::size_t>(count))) {
                return error;
            }
        }
    });
    if (!placed.error) {
        _steps.push_back({_folder / placed.fileName, std::nullopt, std::nullopt});
    }
    return placed;
}

FilePlacement::Placed FilePlacement::moveFile(const std::filesystem::path& source,
                                              const std::string& name) {
    struct stat status {};
    std::string reason;
    if (::stat(source.c_str(), &status) != 0) {
        reason = errnoText(errno);
    } else if (!S_ISREG(status.st_mode)) {
        reason = "not a regular file";
    }
    if (!reason.empty()) {
        return {{},
                foundation::Error{kPhotoLibraryErrorDomain, kPhotoLibraryWriteFailed,
                                  "Cannot read " + source.string() + ": " + reason, reason}};
    }
    int error = 0;
    auto placed = nameWithoutReplacing(source, name, error);
    if (!placed.error) {
        _steps.push_back({_folder / placed.fileName, source, std::nullopt});
        return placed;
    }
    if (error != EXDEV) {
        return placed;
    }
    placed = copyFile(source, name);
    if (!placed.error) {
        _steps.back().copiedFrom = source;
    }
    return placed;
}

void FilePlacement::commit() {
    for (const auto& step : _steps) {
        if (step.copiedFrom && ::unlink(step.copiedFrom->c_str()) != 0) {
            foundation::log("Photo library: could not remove %s after copying it in: %s",
                            step.copiedFrom->c_str(), std::strerror(errno));
        }
    }
    _steps.clear();
    FileDescriptor folder(::open(_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.get() >= 0) {
        ::fsync(folder.get());
    }
}

void FilePlacement::undo() {
    for (auto step = _steps.rbegin(); step != _steps.rend(); ++step) {
        if (step->renamedFrom) {
            if (const int error = renameWithoutReplacing(step->placed, *step->renamedFrom)) {
                foundation::log("Photo library: could not move %s back to %s: %s",
                                step->placed.c_str(), step->renamedFrom->c_str(),
                                std::strerror(error));
            }
        } else {
            ::unlink(step->placed.c_str());
        }
    }
    _steps.clear();
}

}  // namespace orvane::platform
