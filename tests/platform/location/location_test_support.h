// What the position source tests share: a delegate that records, a temporary file, and the
// wait for fixes from real threads.
#pragma once

#include <unistd.h>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include "platform/location/LocationManager.h"

namespace orvane::platform::testing {

// An NMEA sentence with its checksum and line end, from the text between "$" and "*".
inline std::string nmeaLine(const std::string& body) {
    unsigned sum = 0;
    for (char c : body) {
        sum ^= static_cast<unsigned char>(c);
    }
    char tail[8];
    std::snprintf(tail, sizeof tail, "*%02X\r\n", sum);
    return "$" + body + tail;
}

class RecordingDelegate final : public LocationManagerDelegate {
  public:
    void locationManagerDidUpdateToLocation(LocationManager&, const Location& location,
                                            const std::optional<Location>&) override {
        std::lock_guard lock(_mutex);
        _fixes.push_back(location);
        _changed.notify_all();
    }
    void locationManagerDidFailWithError(LocationManager&,
                                         const foundation::Error& error) override {
        std::lock_guard lock(_mutex);
        _errors.push_back(error);
        _changed.notify_all();
    }
    std::vector<Location> fixes() const {
        std::lock_guard lock(_mutex);
        return _fixes;
    }
    std::vector<foundation::Error> errors() const {
        std::lock_guard lock(_mutex);
        return _errors;
    }
    // For real threads: waits until `count` fixes have arrived, or a minute has passed.
    bool waitForFixes(std::size_t count) {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(60),
                                 [&] { return _fixes.size() >= count; });
    }

  private:
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Location> _fixes;
    std::vector<foundation::Error> _errors;
};

// A file with the given contents, removed with the object.
class TemporaryFile {
  public:
    TemporaryFile(const std::string& suffix, const std::string& contents) {
        static int counter = 0;
        _path = (std::filesystem::temp_directory_path() /
                 ("orvane-location-" + std::to_string(::getpid()) + "-" +
                  std::to_string(counter++) + suffix))
                    .string();
        std::ofstream(_path, std::ios::binary) << contents;
    }
    ~TemporaryFile() { std::filesystem::remove(_path); }
    const std::string& path() const { return _path; }

  private:
    std::string _path;
};

}  // namespace orvane::platform::testing
