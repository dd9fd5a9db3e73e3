#include "platform/location/NmeaLocationManager.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "platform/location/nmea.h"

namespace orvane::platform {
namespace {

constexpr const char* kDomain = "orvane.location.nmea";

speed_t termiosSpeed(int baud) {
    switch (baud) {
        case 4800:
            return B4800;
        case 9600:
            return B9600;
        case 19200:
            return B19200;
        case 38400:
            return B38400;
        case 57600:
            return B57600;
        case 115200:
            return B115200;
        case 230400:
            return B230400;
        case 460800:
            return B460800;
        case 921600:
            return B921600;
        default:
            return B0;
    }
}

}  // namespace

std::unique_ptr<NmeaLocationManager> NmeaLocationManager::device(
    std::string path, int baud, std::shared_ptr<foundation::DispatchQueue> callbackQueue,
    foundation::Clock& clock) {
    return std::unique_ptr<NmeaLocationManager>(new NmeaLocationManager(
        Kind::Device, std::move(path), baud, std::move(callbackQueue), clock));
}

std::unique_ptr<NmeaLocationManager> NmeaLocationManager::file(
    std::string path, std::shared_ptr<foundation::DispatchQueue> callbackQueue,
    foundation::Clock& clock) {
    return std::unique_ptr<NmeaLocationManager>(
        new NmeaLocationManager(Kind::File, std::move(path), 0, std::move(callbackQueue), clock));
}

bool NmeaLocationManager::supportedBaud(int baud) {
    return termiosSpeed(baud) != B0;
}

NmeaLocationManager::NmeaLocationManager(Kind kind, std::string path, int baud,
                                         std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                                         foundation::Clock& clock)
    : LocationManager(std::move(callbackQueue)),
      _kind(kind),
      _path(std::move(path)),
      _baud(baud),
      _clock(clock),
      _pacer(clock) {}

NmeaLocationManager::~NmeaLocationManager() {
    stopUpdatingLocation();
}

std::string NmeaLocationManager::description() const {
    return _kind == Kind::Device
               ? "NMEA receiver at " + _path + " (" + std::to_string(_baud) + " baud)"
               : "NMEA log " + _path;
}

foundation::Error NmeaLocationManager::failure(const std::string& what, int code) const {
    return {kDomain, code, description() + ": " + what, code ? std::strerror(code) : ""};
}

std::optional<foundation::Error> NmeaLocationManager::startUpdatingLocation() {
    stopUpdatingLocation();
    _failedLines = 0;
    return _kind == Kind::Device ? startDevice() : startFile();
}

void NmeaLocationManager::stopUpdatingLocation() {
    _pacer.stop();
    if (_reader.joinable()) {
        const std::uint64_t one = 1;
        [[maybe_unused]] auto written = ::write(_wake, &one, sizeof one);
        _reader.join();
    }
    if (_wake >= 0) {
        ::close(_wake);
        _wake = -1;
    }
}

std::optional<foundation::Error> NmeaLocationManager::startFile() {
    std::ifstream in(_path);
    if (!in) {
        return failure("cannot be read", errno);
    }
    std::vector<Location> fixes;
    nmea::Assembler assembler([&](const Location& fix) { fixes.push_back(fix); },
                              [this] { return _clock.timeIntervalSince1970(); });
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line != "\r") {
            assembler.addLine(line);
        }
    }
    assembler.flush();
    _failedLines = assembler.failedLines();
    if (fixes.empty()) {
        return failure("holds no position fix (" + std::to_string(assembler.failedLines()) +
                           " unreadable lines)",
                       0);
    }
    _fixes = std::move(fixes);
    // Each fix at its time after the first; a time that steps back (a receiver's reset) is
    // played at once after the fix before it.
    _offsets.clear();
    for (const Location& fix : _fixes) {
        const double offset = fix.timestamp() - _fixes.front().timestamp();
        _offsets.push_back(_offsets.empty() ? 0.0 : std::max(_offsets.back(), offset));
    }
    _pacer.start(
        [this](std::size_t index) -> std::optional<double> {
            if (index > _fixes.size()) {
                return std::nullopt;
            }
            return _offsets[std::min(index, _offsets.size() - 1)];
        },
        [this](std::size_t index) {
            if (index < _fixes.size()) {
                deliver(_fixes[index]);
            } else {
                deliverFailure({kLocationErrorDomain, kLocationErrorEnded,
                                description() + ": the log has ended", ""});
            }
        });
    return std::nullopt;
}

std::optional<foundation::Error> NmeaLocationManager::startDevice() {
    const int fd = ::open(_path.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        return failure("cannot be opened", errno);
    }
    termios settings{};
    if (::tcgetattr(fd, &settings) != 0) {
        const int error = errno;
        ::close(fd);
        return failure("is not a serial device", error);
    }
    ::cfmakeraw(&settings);
    settings.c_cflag |= CLOCAL | CREAD;
    ::cfsetispeed(&settings, termiosSpeed(_baud));
    ::cfsetospeed(&settings, termiosSpeed(_baud));
    if (::tcsetattr(fd, TCSANOW, &settings) != 0) {
        const int error = errno;
        ::close(fd);
        return failure("cannot be set to " + std::to_string(_baud) + " baud", error);
    }
    _wake = ::eventfd(0, EFD_CLOEXEC);
    if (_wake < 0) {
        const int error = errno;
        ::close(fd);
        return failure("cannot start its reader", error);
    }
    _reader = std::thread([this, fd, wake = _wake] {
        readDevice(fd, wake);
        ::close(fd);
    });
    return std::nullopt;
}

// The reader thread: lines into the assembler, fixes out through deliver(), until stopped or
// the device goes away.
void NmeaLocationManager::readDevice(int fd, int wake) {
    nmea::Assembler assembler([this](const Location& fix) { deliver(fix); },
                              [this] { return _clock.timeIntervalSince1970(); });
    std::string pending;
    char buffer[512];
    for (;;) {
        pollfd fds[2] = {{fd, POLLIN, 0}, {wake, POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            deliverFailure(failure("cannot be read", errno));
            return;
        }
        if (fds[1].revents) {
            return;
        }
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
            continue;
        }
        if (count <= 0) {
            deliverFailure(failure("has gone away", count < 0 ? errno : 0));
            return;
        }
        pending.append(buffer, static_cast<std::size_t>(count));
        for (std::size_t end; (end = pending.find('\n')) != std::string::npos;) {
            assembler.addLine(std::string_view(pending).substr(0, end));
            pending.erase(0, end + 1);
        }
        // A line without an end is noise, not a sentence.
        if (pending.size() > 1024) {
            pending.clear();
        }
        _failedLines = assembler.failedLines();
    }
}

}  // namespace orvane::platform
