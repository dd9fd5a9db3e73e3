#include "platform/location/location_sources.h"

#include <charconv>

#include "platform/location/GpsdLocationManager.h"
#include "platform/location/GpxLocationManager.h"
#include "platform/location/NmeaLocationManager.h"
#include "platform/location/SimulatedLocationManager.h"

namespace orvane::platform {
namespace {

constexpr int kDefaultBaud = 4800;  // what NMEA 0183 itself prescribes
constexpr std::string_view kDefaultGpsdPort = "2947";
constexpr std::string_view kForms =
    "sim, gpsd[://HOST[:PORT]], nmea:DEVICE[@BAUD], nmea-file:PATH or gpx:PATH";

std::optional<int> positiveNumber(std::string_view text) {
    int value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || value <= 0) {
        return std::nullopt;
    }
    return value;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

}  // namespace

std::unique_ptr<LocationManager> makeLocationManager(
    std::string_view source, std::shared_ptr<foundation::DispatchQueue> callbackQueue,
    foundation::Clock& clock, std::string& problem) {
    const std::string quoted = "\"" + std::string(source) + "\"";
    if (source.empty() || source == "sim") {
        return std::make_unique<SimulatedLocationManager>(std::move(callbackQueue), clock);
    }
    if (source == "gpsd" || startsWith(source, "gpsd://")) {
        std::string_view address = source == "gpsd" ? "" : source.substr(7);
        std::string_view host = address, port = kDefaultGpsdPort;
        if (startsWith(address, "[")) {  // an IPv6 address in brackets
            const auto close = address.find(']');
            if (close == std::string_view::npos) {
                problem = "Position source " + quoted + ": the IPv6 address has no closing ]";
                return nullptr;
            }
            host = address.substr(1, close - 1);
            std::string_view rest = address.substr(close + 1);
            if (!rest.empty()) {
                if (rest[0] != ':') {
                    problem = "Position source " + quoted + ": expected :PORT after the address";
                    return nullptr;
                }
                port = rest.substr(1);
            }
        } else if (const auto colon = address.rfind(':'); colon != std::string_view::npos) {
            host = address.substr(0, colon);
            port = address.substr(colon + 1);
        }
        if (host.empty()) {
            host = address.empty() ? "localhost" : host;
        }
        if (host.empty() || host.find_first_of("/ ") != std::string_view::npos) {
            problem = "Position source " + quoted + ": no host name";
            return nullptr;
        }
        const auto portNumber = positiveNumber(port);
        if (!portNumber || *portNumber > 65535) {
            problem = "Position source " + quoted + ": the port must be a number from 1 to 65535";
            return nullptr;
        }
        return std::make_unique<GpsdLocationManager>(std::string(host), std::string(port),
                                                     std::move(callbackQueue), clock);
    }
    if (startsWith(source, "nmea:")) {
        std::string_view device = source.substr(5);
        int baud = kDefaultBaud;
        if (const auto at = device.rfind('@'); at != std::string_view::npos) {
            const auto value = positiveNumber(device.substr(at + 1));
            if (!value || !NmeaLocationManager::supportedBaud(*value)) {
                problem = "Position source " + quoted + ": \"" +
                          std::string(device.substr(at + 1)) +
                          "\" is not a serial speed (4800, 9600, 19200, 38400, 57600, 115200 ...)";
                return nullptr;
            }
            baud = *value;
            device = device.substr(0, at);
        }
        if (device.empty()) {
            problem = "Position source " + quoted + ": no device, as in nmea:/dev/ttyUSB0@9600";
            return nullptr;
        }
        return NmeaLocationManager::device(std::string(device), baud, std::move(callbackQueue),
                                           clock);
    }
    if (startsWith(source, "nmea-file:") || startsWith(source, "gpx:")) {
        const bool isGpx = startsWith(source, "gpx:");
        const std::string path(source.substr(isGpx ? 4 : 10));
        if (path.empty()) {
            problem = "Position source " + quoted + ": no file named after the colon";
            return nullptr;
        }
        if (isGpx) {
            return std::make_unique<GpxLocationManager>(path, std::move(callbackQueue), clock);
        }
        return NmeaLocationManager::file(path, std::move(callbackQueue), clock);
    }
    problem = "Unknown position source " + quoted + ": expected " + std::string(kForms);
    return nullptr;
}

}  // namespace orvane::platform
