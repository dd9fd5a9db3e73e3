#include "platform/settings/JsonFileUserDefaults.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <nlohmann/json.hpp>
#include <system_error>

#include "foundation/local_time.h"
#include "foundation/log.h"
#include "platform/settings/JsonDefaultsValue.h"
#include "platform/settings/defaults_document.h"
#include "platform/system/replace_file.h"
#include "platform/system/user_folders.h"

namespace orvane::platform {

namespace {

using Json = nlohmann::json;

std::string errorText(int error) {
    return std::system_category().message(error);
}

// The advisory lock every writer of the file takes; released when destroyed.
class FileLock {
  public:
    explicit FileLock(const std::filesystem::path& path) {
        _fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (_fd < 0) {
            _error = errno;
            return;
        }
        while (::flock(_fd, LOCK_EX) != 0) {
            if (errno != EINTR) {
                _error = errno;
                ::close(_fd);
                _fd = -1;
                return;
            }
        }
    }
    ~FileLock() {
        if (_fd >= 0) {
            ::close(_fd);
        }
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool held() const { return _fd >= 0; }
    int error() const { return _error; }

  private:
    int _fd = -1;
    int _error = 0;
};

std::string localTimestamp() {
    return foundation::formatLocalTime(std::chrono::system_clock::now(), "%Y%m%d-%H%M%S");
}

}  // namespace

std::filesystem::path JsonFileUserDefaults::defaultDirectory() {
    return userConfigFolder();
}

JsonFileUserDefaults::JsonFileUserDefaults(std::filesystem::path directory)
    : _directory(std::move(directory)),
      _path(_directory / kFileName),
      _lockPath(_directory / (std::string(kFileName) + ".lock")) {
    std::lock_guard lock(_mutex);
    // Only an existing directory gets a lock file now; a missing one is made by the first write.
    std::error_code error;
    std::optional<FileLock> fileLock;
    if (std::filesystem::is_directory(_directory, error)) {
        fileLock.emplace(_lockPath);
    }
    refresh(true);
}

std::optional<std::string> JsonFileUserDefaults::recoveryMessage() const {
    std::lock_guard lock(_mutex);
    return _recoveryMessage;
}

std::optional<foundation::Error> JsonFileUserDefaults::lastWriteError() const {
    std::lock_guard lock(_mutex);
    return _lastWriteError;
}

std::optional<DefaultsValue> JsonFileUserDefaults::objectForKey(std::string_view key) const {
    std::lock_guard lock(_mutex);
    const auto found = _contents.values.find(key);
    if (found == _contents.values.end()) {
        return std::nullopt;
    }
    return found->second;
}

std::vector<std::string> JsonFileUserDefaults::allKeys() const {
    std::lock_guard lock(_mutex);
    std::vector<std::string> keys;
    keys.reserve(_contents.values.size());
    for (const auto& entry : _contents.values) {
        keys.push_back(entry.first);
    }
    return keys;
}

void JsonFileUserDefaults::setObject(std::string_view key, std::optional<DefaultsValue> value) {
    std::lock_guard lock(_mutex);
    const auto current = _contents.values.find(key);
    const bool unchanged =
        value ? current != _contents.values.end() && current->second == *value
              : current == _contents.values.end() && !_contents.unknown.contains(key);
    if (unchanged && _batchDepth > 0) {
        return;  // nothing for the batch's write to carry
    }
    std::optional<std::string> onDisk;
    if (unchanged && _pending.empty() && !_memoryOnly && _fileText && readBytes(onDisk) == 0 &&
        onDisk == _fileText) {
        _lastWriteError.reset();  // the file already holds exactly this
        return;
    }
    if (value) {
        try {
            Json member = Json::object();
            member[std::string(key)] = encodeDefaultsValue(*value);
            (void)member.dump();
        } catch (const Json::type_error&) {
            foundation::log(
                "Settings: \"%.*s\" is not valid UTF-8 text; it is saved with "
                "replacement characters",
                static_cast<int>(key.size()), key.data());
        }
    }
    apply(_contents, key, value);
    _pending.insert_or_assign(std::string(key), std::move(value));
    if (_batchDepth == 0) {
        save();
    }
}

void JsonFileUserDefaults::beginChanges() {
    std::lock_guard lock(_mutex);
    ++_batchDepth;
}

void JsonFileUserDefaults::endChanges() {
    std::lock_guard lock(_mutex);
    if (_batchDepth == 0) {
        foundation::log("Settings: a batch of changes ended that never began");
        return;
    }
    if (--_batchDepth == 0 && !_pending.empty()) {
        save();
    }
}

void JsonFileUserDefaults::apply(Contents& contents, std::string_view key,
                                 const std::optional<DefaultsValue>& value) {
    if (auto unknown = contents.unknown.find(key); unknown != contents.unknown.end()) {
        contents.unknown.erase(unknown);
    }
    if (value) {
        contents.values.insert_or_assign(std::string(key), *value);
    } else if (auto known = contents.values.find(key); known != contents.values.end()) {
        contents.values.erase(known);
    }
}

int JsonFileUserDefaults::readBytes(std::optional<std::string>& text) const {
    const int fd = ::open(_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            text.reset();
            return 0;
        }
        return errno;
    }
    std::string bytes;
    int error = 0;
    for (;;) {
        char buffer[16384];
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count > 0) {
            bytes.append(buffer, static_cast<size_t>(count));
        } else if (count == 0) {
            break;
        } else if (errno != EINTR) {
            error = errno;
            break;
        }
    }
    ::close(fd);
    if (error == 0) {
        text = std::move(bytes);
    }
    return error;
}

bool JsonFileUserDefaults::parse(const std::string& text, Contents& contents,
                                 std::string& problem) {
    auto document = decodeDefaultsDocument(text, problem);
    if (!document) {
        return false;
    }
    for (const auto& [key, member] : document->unknown) {
        if (_reportedUnknown.insert(key).second) {
            foundation::log(
                "Settings: \"%s\" in %s has a form this program does not read; it is "
                "kept in the file and reads as absent",
                key.c_str(), _path.c_str());
        }
    }
    contents = std::move(*document);
    return true;
}

bool JsonFileUserDefaults::refresh(bool opening) {
    std::optional<std::string> text;
    if (const int error = readBytes(text)) {
        goMemoryOnly("The settings file " + _path.string() + " could not be read (" +
                         errorText(error) +
                         "); it is left as it is and settings are kept for this run only.",
                     error);
        return false;
    }
    if (text == _fileText) {
        return true;
    }
    Contents contents;
    std::string problem;
    if (text && !parse(*text, contents, problem)) {
        // What this run already holds stays; the broken text is kept in the moved file.
        _fileText.reset();
        return setAside(problem, opening);
    }
    _contents = std::move(contents);
    _fileText = std::move(text);
    return true;
}

bool JsonFileUserDefaults::setAside(const std::string& reason, bool opening) {
    const std::string base = _path.string() + ".broken-" + localTimestamp();
    int error = 0;
    for (int attempt = 1; attempt <= 1000; ++attempt) {
        const std::string target = attempt == 1 ? base : base + "-" + std::to_string(attempt);
        int result =
            ::renameat2(AT_FDCWD, _path.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE);
        if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {
            // A file system without no-replace renames: the lock keeps our own writers out.
            struct stat existing {};
            if (::lstat(target.c_str(), &existing) == 0) {
                error = EEXIST;
                continue;
            }
            result = ::rename(_path.c_str(), target.c_str());
        }
        if (result == 0) {
            std::string message = "The settings file " + _path.string() + " was broken (" + reason +
                                  ") and has been moved to " + target +
                                  (opening ? "; the program goes on with its default settings."
                                           : "; the settings of this run are saved in its place.");
            foundation::log("%s", message.c_str());
            _recoveryMessage = std::move(message);
            return true;
        }
        error = errno;
        if (error != EEXIST) {
            break;
        }
    }
    goMemoryOnly("The settings file " + _path.string() + " is broken (" + reason +
                     ") and could not be moved aside (" + errorText(error) +
                     "); it is left as it is and settings are kept for this run only.",
                 error);
    return false;
}

void JsonFileUserDefaults::goMemoryOnly(const std::string& message, int error) {
    foundation::log("%s", message.c_str());
    _memoryOnly = true;
    _recoveryMessage = message;
    _lastWriteError = foundation::Error{kErrorDomain, error,
                                        "The settings are kept for this run only and not saved.",
                                        errorText(error)};
}

void JsonFileUserDefaults::save() {
    if (_memoryOnly) {
        return;  // the reason stays in _lastWriteError
    }
    std::error_code created;
    std::filesystem::create_directories(_directory, created);
    if (created) {
        recordWriteError(created.value(), "creating its folder");
        return;
    }
    FileLock lock(_lockPath);
    if (!lock.held()) {
        recordWriteError(lock.error(), "locking " + _lockPath.string());
        return;
    }
    if (refreshUnderLock()) {
        writeUnderLock();
    }
}

bool JsonFileUserDefaults::refreshUnderLock() {
    if (!refresh(false)) {
        return false;
    }
    for (const auto& [key, value] : _pending) {
        apply(_contents, key, value);
    }
    return true;
}

std::optional<DefaultsValue> JsonFileUserDefaults::updateObject(std::string_view key,
                                                                const ValueChange& change) {
    std::lock_guard lock(_mutex);
    const auto changeInMemory = [&] {
        std::optional<DefaultsValue> current;
        if (auto found = _contents.values.find(key); found != _contents.values.end()) {
            current = found->second;
        }
        auto value = change(current);
        apply(_contents, key, value);
        _pending.insert_or_assign(std::string(key), std::move(value));
        return current;
    };
    if (_memoryOnly) {
        return changeInMemory();
    }
    std::error_code created;
    std::filesystem::create_directories(_directory, created);
    std::optional<FileLock> fileLock;
    if (!created) {
        fileLock.emplace(_lockPath);
    }
    if (created || !fileLock->held()) {
        recordWriteError(created ? created.value() : fileLock->error(),
                         created ? "creating its folder" : "locking " + _lockPath.string());
        return changeInMemory();
    }
    // The file's value, as another process may have just written it.
    if (!refreshUnderLock()) {
        return changeInMemory();
    }
    auto current = changeInMemory();
    // Written now even inside a batch: the next reader must see the change.
    writeUnderLock();
    return current;
}

void JsonFileUserDefaults::writeUnderLock() {
    const std::string text = encodeDefaultsDocument(_contents);

    // A file that is a link (into a folder of dotfiles, say) is written where it points.
    std::filesystem::path target = _path;
    std::error_code linkError;
    if (std::filesystem::is_symlink(_path, linkError)) {
        if (auto resolved = std::filesystem::canonical(_path, linkError); !linkError) {
            target = std::move(resolved);
        }
    }
    const char* step = nullptr;
    if (const int error = replaceFile(target, text, step)) {
        recordWriteError(error, step);
        return;
    }
    _fileText = text;
    _pending.clear();
    _lastWriteError.reset();

    // The rename is durable only once the directory entry is on disk.
    if (const int error = syncDirectory(target.parent_path())) {
        foundation::log("Settings: %s is written but its folder could not be flushed to disk (%s)",
                        target.c_str(), errorText(error).c_str());
        _lastWriteError = foundation::Error{
            kErrorDomain, error, "The settings may not survive a power loss.", errorText(error)};
    }
}

void JsonFileUserDefaults::recordWriteError(int error, const std::string& step) {
    const std::string reason = errorText(error);
    foundation::log("Settings: could not save %s (%s: %s); the change is kept for this run only",
                    _path.c_str(), step.c_str(), reason.c_str());
    _lastWriteError = foundation::Error{
        kErrorDomain, error, "The settings could not be saved to " + _path.string() + ".", reason};
}

}  // namespace orvane::platform
