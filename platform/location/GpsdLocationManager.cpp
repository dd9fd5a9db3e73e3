#include "platform/location/GpsdLocationManager.h"

#include <gps.h>

#include <cerrno>
#include <cmath>
#include <cstring>

namespace orvane::platform {
namespace {

constexpr const char* kDomain = "orvane.location.gpsd";
constexpr double kReconnectSeconds = 2.0;
// How long a read waits before the thread looks at the stop flag again.
constexpr int kPollMicroseconds = 200'000;
// The accuracy claimed when gpsd gives no error estimate.
constexpr double kUnknownAccuracy = 50.0;

}  // namespace

GpsdLocationManager::GpsdLocationManager(std::string host, std::string port,
                                         std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                                         foundation::Clock& clock)
    : LocationManager(std::move(callbackQueue)),
      _host(std::move(host)),
      _port(std::move(port)),
      _clock(clock) {}

GpsdLocationManager::~GpsdLocationManager() {
    stopUpdatingLocation();
}

std::string GpsdLocationManager::description() const {
    return "gpsd at " + _host + ":" + _port;
}

std::optional<foundation::Error> GpsdLocationManager::connect(gps_data_t& data) const {
    std::memset(&data, 0, sizeof data);
    if (gps_open(_host.c_str(), _port.c_str(), &data) != 0) {
        return foundation::Error{kDomain, errno, description() + " cannot be reached",
                                 gps_errstr(errno)};
    }
    if (gps_stream(&data, WATCH_ENABLE | WATCH_JSON, nullptr) != 0) {
        gps_close(&data);
        return foundation::Error{kDomain, errno, description() + " refused to stream",
                                 gps_errstr(errno)};
    }
    return std::nullopt;
}

std::optional<foundation::Error> GpsdLocationManager::startUpdatingLocation() {
    stopUpdatingLocation();
    auto connection = std::make_unique<gps_data_t>();
    if (auto error = connect(*connection)) {
        return error;
    }
    {
        std::lock_guard lock(_mutex);
        _stopping = false;
    }
    _reader = std::thread([this, c = std::move(connection)]() mutable { run(std::move(c)); });
    return std::nullopt;
}

void GpsdLocationManager::stopUpdatingLocation() {
    {
        std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _stopped.notify_all();
    if (_reader.joinable()) {
        _reader.join();
    }
}

bool GpsdLocationManager::waitForStop(double seconds) {
    std::unique_lock lock(_mutex);
    return _stopped.wait_for(lock, std::chrono::duration<double>(seconds),
                             [this] { return _stopping; });
}

void GpsdLocationManager::run(std::unique_ptr<gps_data_t> connection) {
    gps_data_t& data = *connection;
    bool connected = true;
    while (!waitForStop(0)) {
        if (!connected) {
            if (waitForStop(kReconnectSeconds)) {
                return;
            }
            connected = !connect(data);
            continue;
        }
        if (!gps_waiting(&data, kPollMicroseconds)) {
            continue;
        }
        data.set = 0;  // so a report without a position does not repeat the last one
        if (gps_read(&data, nullptr, 0) < 0) {
            gps_close(&data);
            connected = false;
            deliverFailure({kDomain, 1, description() + " has gone away; reconnecting", ""});
            continue;
        }
        const gps_fix_t& fix = data.fix;
        if (!(data.set & LATLON_SET) || fix.mode < MODE_2D || !std::isfinite(fix.latitude) ||
            !std::isfinite(fix.longitude)) {
            continue;
        }
        std::optional<double> altitude;
        if (fix.mode >= MODE_3D && std::isfinite(fix.altMSL)) {
            altitude = fix.altMSL;
        }
        const double speed = std::isfinite(fix.speed) ? fix.speed : -1.0;
        double accuracy = kUnknownAccuracy;
        if (std::isfinite(fix.eph)) {
            accuracy = fix.eph;
        } else if (std::isfinite(fix.epx) && std::isfinite(fix.epy)) {
            accuracy = std::hypot(fix.epx, fix.epy);
        }
        const double timestamp =
            fix.time.tv_sec != 0 ? static_cast<double>(fix.time.tv_sec) + fix.time.tv_nsec * 1e-9
                                 : _clock.timeIntervalSince1970();
        deliver(Location({fix.latitude, fix.longitude}, altitude, accuracy, speed, timestamp));
    }
    if (connected) {
        gps_stream(&data, WATCH_DISABLE, nullptr);
        gps_close(&data);
    }
}

}  // namespace orvane::platform
