#include "platform/map/TileDiskCache.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

#include "foundation/log.h"

namespace orvane::platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTileSuffix = ".tile";
constexpr const char* kPartSuffix = ".part";

bool endsWith(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

TileDiskCache::TileDiskCache(fs::path directory, std::uintmax_t capacityBytes, double maxAgeSeconds)
    : _directory(std::move(directory)),
      _capacityBytes(capacityBytes),
      _maxAgeSeconds(maxAgeSeconds) {}

fs::path TileDiskCache::pathOf(const std::string& key) const {
    return _directory / (key + kTileSuffix);
}

void TileDiskCache::scan() {
    if (_scanned) {
        return;
    }
    _scanned = true;
    std::error_code error;
    fs::recursive_directory_iterator it(_directory, error), end;
    for (; !error && it != end; it.increment(error)) {
        if (!it->is_regular_file(error)) {
            continue;
        }
        const std::string path = it->path().string();
        if (endsWith(path, kPartSuffix)) {
            fs::remove(it->path(), error);  // left by a program that stopped while writing
            error.clear();
            continue;
        }
        if (!endsWith(path, kTileSuffix)) {
            continue;
        }
        std::string key = it->path().lexically_relative(_directory).string();
        key.resize(key.size() - std::char_traits<char>::length(kTileSuffix));
        Entry entry;
        entry.bytes = it->file_size(error);
        entry.written = it->last_write_time(error);
        if (!error) {
            _totalBytes += entry.bytes;
            _entries[key] = entry;
        }
        error.clear();
    }
}

std::optional<std::string> TileDiskCache::read(const std::string& key) {
    scan();
    const auto found = _entries.find(key);
    if (found == _entries.end()) {
        return std::nullopt;
    }
    const auto age = fs::file_time_type::clock::now() - found->second.written;
    if (std::chrono::duration<double>(age).count() > _maxAgeSeconds) {
        return std::nullopt;
    }
    std::ifstream file(pathOf(key), std::ios::binary);
    if (!file) {
        // Another program evicted it.
        _totalBytes -= found->second.bytes;
        _entries.erase(found);
        return std::nullopt;
    }
    std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) {
        return std::nullopt;
    }
    return bytes;
}

void TileDiskCache::write(const std::string& key, const std::string& bytes) {
    scan();
    const fs::path path = pathOf(key);
    const fs::path part = path.string() + "." + std::to_string(::getpid()) + kPartSuffix;
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    bool written = false;
    if (!error) {
        std::ofstream file(part, std::ios::binary | std::ios::trunc);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        file.close();
        written = file.good();
    }
    if (written) {
        // Readers see the whole tile or none.
        fs::rename(part, path, error);
        written = !error;
    }
    if (!written) {
        fs::remove(part, error);
        if (!_writeFailureLogged) {
            _writeFailureLogged = true;
            foundation::log("Map tiles cannot be cached in %s", _directory.c_str());
        }
        return;
    }
    Entry& entry = _entries[key];
    _totalBytes -= entry.bytes;
    entry.bytes = bytes.size();
    entry.written = fs::file_time_type::clock::now();
    _totalBytes += entry.bytes;
    evict();
}

void TileDiskCache::remove(const std::string& key) {
    scan();
    const auto found = _entries.find(key);
    if (found == _entries.end()) {
        return;
    }
    std::error_code error;
    fs::remove(pathOf(key), error);
    _totalBytes -= found->second.bytes;
    _entries.erase(found);
}

void TileDiskCache::evict() {
    if (_totalBytes <= _capacityBytes) {
        return;
    }
    std::vector<std::map<std::string, Entry>::iterator> byAge;
    byAge.reserve(_entries.size());
    for (auto it = _entries.begin(); it != _entries.end(); ++it) {
        byAge.push_back(it);
    }
    std::sort(byAge.begin(), byAge.end(),
              [](const auto& a, const auto& b) { return a->second.written < b->second.written; });
    for (const auto& oldest : byAge) {
        if (_totalBytes <= _capacityBytes) {
            break;
        }
        std::error_code error;
        fs::remove(pathOf(oldest->first), error);
        _totalBytes -= oldest->second.bytes;
        _entries.erase(oldest);
    }
}

std::uintmax_t TileDiskCache::sizeBytes() {
    scan();
    return _totalBytes;
}

}  // namespace orvane::platform
