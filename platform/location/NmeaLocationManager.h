// Fixes from an NMEA 0183 receiver: a serial device read on a thread of the manager, or a log
// file replayed at the pace of its sentences' own times on the clock. Lines that fail their
// checksum or cannot be read are skipped and counted.
#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "foundation/Clock.h"
#include "platform/location/LocationManager.h"
#include "platform/replay_pacer.h"

namespace orvane::platform {

class NmeaLocationManager final : public LocationManager {
  public:
    // A serial device (`/dev/ttyUSB0`) at `baud`, which must be one termios knows.
    static std::unique_ptr<NmeaLocationManager> device(
        std::string path, int baud, std::shared_ptr<foundation::DispatchQueue> callbackQueue,
        foundation::Clock& clock);
    // A log file, replayed from its first fix at once; when it ends, a failure says so.
    static std::unique_ptr<NmeaLocationManager> file(
        std::string path, std::shared_ptr<foundation::DispatchQueue> callbackQueue,
        foundation::Clock& clock);
    // Whether termios has a speed for `baud`.
    static bool supportedBaud(int baud);

    ~NmeaLocationManager() override;

    std::optional<foundation::Error> startUpdatingLocation() override;
    void stopUpdatingLocation() override;
    std::string description() const override;

    // Lines skipped since the start: bad checksums, truncated or unreadable sentences.
    std::size_t failedLines() const { return _failedLines.load(); }

  private:
    enum class Kind { Device, File };
    NmeaLocationManager(Kind kind, std::string path, int baud,
                        std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                        foundation::Clock& clock);

    std::optional<foundation::Error> startDevice();
    std::optional<foundation::Error> startFile();
    void readDevice(int fd, int wake);
    foundation::Error failure(const std::string& what, int code) const;

    const Kind _kind;
    const std::string _path;
    const int _baud;
    foundation::Clock& _clock;
    std::atomic<std::size_t> _failedLines{0};

    // The device's reader thread, and the eventfd that wakes it to stop.
    std::thread _reader;
    int _wake = -1;

    std::vector<Location> _fixes;  // the file's fixes, in order
    std::vector<double> _offsets;  // seconds from the first fix to each
    ReplayPacer _pacer;
};

}  // namespace orvane::platform
