// Tiles kept on disk between runs, so a map drawn again asks the tile server nothing: one file a
// tile, written whole or not at all, kept for a while and evicted oldest first past a size cap.
//
// Threads: one thread uses a cache at a time (the snapshotter's). Several programs may share the
// folder: a tile another one evicted is simply fetched again.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace orvane::platform {

class TileDiskCache {
  public:
    // `directory` is made on the first write. Tiles older than `maxAgeSeconds` are not used.
    TileDiskCache(std::filesystem::path directory, std::uintmax_t capacityBytes,
                  double maxAgeSeconds);

    // The tile stored under `key` ("3f2a.../12/2048/1361"), when present and fresh.
    std::optional<std::string> read(const std::string& key);
    // Stores the tile, then removes the oldest tiles until the cache holds at most its capacity.
    // A tile that cannot be written is only not cached: the cache says so once in the log.
    void write(const std::string& key, const std::string& bytes);
    void remove(const std::string& key);

    // The bytes the cache holds, as it counts them.
    std::uintmax_t sizeBytes();
    const std::filesystem::path& directory() const { return _directory; }

  private:
    struct Entry {
        std::uintmax_t bytes = 0;
        std::filesystem::file_time_type written;
    };

    // Learns what earlier runs left, once, at the first use.
    void scan();
    void evict();
    std::filesystem::path pathOf(const std::string& key) const;

    const std::filesystem::path _directory;
    const std::uintmax_t _capacityBytes;
    const double _maxAgeSeconds;
    bool _scanned = false;
    bool _writeFailureLogged = false;
    std::map<std::string, Entry> _entries;  // by key
    std::uintmax_t _totalBytes = 0;
};

}  // namespace orvane::platform
