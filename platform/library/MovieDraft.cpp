#include "platform/library/MovieDraft.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "foundation/log.h"

namespace orvane::platform {

namespace {

// Drafts that vanished under us while being locked are made again this many times.
constexpr int kCreateAttempts = 8;
// Room for the library's index and the movie's header once the disk is full.
constexpr off_t kReserveBytes = 1 << 20;
constexpr const char* kReserveName = ".reserve";

// An open, locked descriptor of `folder`, or -1 with errno (EWOULDBLOCK when someone holds it).
int lockFolder(const std::filesystem::path& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        return -1;
    }
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EINTR) {
            const int error = errno;
            ::close(fd);
            errno = error;
            return -1;
        }
    }
    // A folder removed between the open and the lock by the one who held it is not a draft.
    struct stat opened {
    }, named{};
    if (::fstat(fd, &opened) != 0 || ::stat(folder.c_str(), &named) != 0 ||
        opened.st_ino != named.st_ino || opened.st_dev != named.st_dev) {
        ::close(fd);
        errno = ENOENT;
        return -1;
    }
    return fd;
}

foundation::Error draftError(const std::filesystem::path& folder, int error) {
    return {"Orvane", error, "Cannot make a movie in " + folder.string(), std::strerror(error)};
}

}  // namespace

std::filesystem::path movieDraftsFolder(const std::filesystem::path& library) {
    return library / ".recording";
}

MovieDraft::MovieDraft(std::filesystem::path folder, std::string fileName, int lockFd)
    : _folder(std::move(folder)), _fileName(std::move(fileName)), _lockFd(lockFd) {}

MovieDraft::~MovieDraft() {
    // Only an empty folder goes: a movie the library did not take stays for a later recovery.
    ::rmdir(_folder.c_str());
    ::close(_lockFd);
}

std::unique_ptr<MovieDraft> MovieDraft::create(const std::filesystem::path& draftsFolder,
                                               const std::string& fileName,
                                               std::optional<foundation::Error>& error) {
    if (::mkdir(draftsFolder.c_str(), 0700) != 0 && errno != EEXIST) {
        error = draftError(draftsFolder, errno);
        return nullptr;
    }
    for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
        std::string pattern = (draftsFolder / "XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            error = draftError(draftsFolder, errno);
            return nullptr;
        }
        // A recovery in another program may take the new, empty folder before it is locked.
        const int fd = lockFolder(pattern);
        if (fd >= 0) {
            auto draft = std::unique_ptr<MovieDraft>(new MovieDraft(pattern, fileName, fd));
            draft->reserve();
            return draft;
        }
        if (errno != EWOULDBLOCK && errno != ENOENT) {
            error = draftError(pattern, errno);
            return nullptr;
        }
    }
    error = draftError(draftsFolder, EBUSY);
    return nullptr;
}

std::vector<std::unique_ptr<MovieDraft>> MovieDraft::claimAbandoned(
    const std::filesystem::path& draftsFolder) {
    std::vector<std::unique_ptr<MovieDraft>> claimed;
    std::error_code error;
    std::vector<std::filesystem::path> folders;
    for (const auto& entry : std::filesystem::directory_iterator(draftsFolder, error)) {
        std::error_code kindError;
        if (entry.is_directory(kindError)) {
            folders.push_back(entry.path());
        }
    }
    std::sort(folders.begin(), folders.end());
    for (const auto& folder : folders) {
        const int fd = lockFolder(folder);
        if (fd < 0) {
            if (errno != EWOULDBLOCK && errno != ENOENT) {
                foundation::log("Movie drafts: %s cannot be opened: %s", folder.c_str(),
                                std::strerror(errno));
            }
            continue;
        }
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
            const std::string name = entry.path().filename().string();
            std::error_code kindError;
            if (name.front() != '.' && entry.is_regular_file(kindError)) {
                names.push_back(name);
            }
        }
        std::sort(names.begin(), names.end());
        claimed.push_back(std::unique_ptr<MovieDraft>(
            new MovieDraft(folder, names.empty() ? std::string() : names.front(), fd)));
    }
    return claimed;
}

void MovieDraft::reserve() const {
    const auto file = _folder / kReserveName;
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const int error = fd < 0 ? errno : ::posix_fallocate(fd, 0, kReserveBytes);
    if (fd >= 0) {
        ::close(fd);
    }
    if (error != 0) {
        // Not fatal: the recording goes on, with less room to end well on a full disk.
        foundation::log("Movie drafts: no room kept in reserve in %s: %s", _folder.c_str(),
                        std::strerror(error));
        ::unlink(file.c_str());
    }
}

void MovieDraft::releaseReserve() const {
    ::unlink((_folder / kReserveName).c_str());
}

void MovieDraft::removeLeftovers() const {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(_folder, error)) {
        if (_fileName.empty() || entry.path().filename() != _fileName) {
            std::error_code removeError;
            std::filesystem::remove_all(entry.path(), removeError);
        }
    }
}

}  // namespace orvane::platform
