#include "app/where_command.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <thread>

#include "app/row_output.h"
#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "platform/linux/NominatimGeocoder.h"
#include "platform/linux/OfflineGeocoder.h"
#include "platform/linux/location_sources.h"
#include "stamp/LineDrawer.h"
#include "stamp/location_updater.h"

namespace orvane::app {

namespace {

std::string number(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

bool isUrl(std::string_view text) {
    return text.starts_with("http://") || text.starts_with("https://");
}

void printBlock(std::ostream& out, const platform::Location& fix, stamp::LineDrawer& drawer) {
    const auto coordinate = fix.coordinate();
    out << "fix\t" << number("%.6f", coordinate.latitude) << ','
        << number("%.6f", coordinate.longitude) << '\n';
    printRow(out, "altitude", fix.altitude() ? number("%.1f m", *fix.altitude()) : "none");
    printRow(out, "speed", fix.speed() >= 0 ? number("%.2f m/s", fix.speed()) : "none");
    printRow(out, "accuracy",
             fix.horizontalAccuracy() >= 0 ? number("%.1f m", fix.horizontalAccuracy()) : "none");
    auto& coordinates = drawer.coordinateCatalogue();
    for (const auto key : stamp::kCoordinateFormKeys) {
        if (auto text = coordinates.textForKey(key)) {
            printRow(out, key, *text);
        }
    }
    for (const auto& [key, text] : drawer.addressCatalogue().latestForms()) {
        printRow(out, "address." + key, text);
    }
    out.flush();
}

// SIGINT and SIGTERM end a watch: the handler writes to a pipe, and a thread that reads it quits
// the run loop, since nothing else is safe to do inside a handler.
class InterruptWatcher {
  public:
    explicit InterruptWatcher(foundation::RunLoop& loop) {
        if (::pipe2(_pipe, O_CLOEXEC) != 0) {
            _pipe[0] = _pipe[1] = -1;
            return;
        }
        s_writeEnd = _pipe[1];
        struct sigaction action {};
        action.sa_handler = [](int) {
            const char byte = 's';
            [[maybe_unused]] auto written = ::write(s_writeEnd, &byte, 1);
        };
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGINT, &action, &_oldInt);
        ::sigaction(SIGTERM, &action, &_oldTerm);
        _thread = std::thread([this, &loop] {
            char byte = 0;
            while (::read(_pipe[0], &byte, 1) < 0 && errno == EINTR) {
            }
            if (byte == 's') {
                loop.quit();
            }
        });
    }
    ~InterruptWatcher() {
        if (_pipe[0] < 0) {
            return;
        }
        ::sigaction(SIGINT, &_oldInt, nullptr);
        ::sigaction(SIGTERM, &_oldTerm, nullptr);
        const char byte = 'e';
        [[maybe_unused]] auto written = ::write(_pipe[1], &byte, 1);
        _thread.join();
        ::close(_pipe[0]);
        ::close(_pipe[1]);
    }
    InterruptWatcher(const InterruptWatcher&) = delete;
    InterruptWatcher& operator=(const InterruptWatcher&) = delete;

  private:
    static inline volatile int s_writeEnd = -1;
    int _pipe[2];
    struct sigaction _oldInt {};
    struct sigaction _oldTerm {};
    std::thread _thread;
};

}  // namespace

std::optional<std::string> checkWhereOptions(const WhereOptions& options) {
    if (options.geocoder && *options.geocoder != "offline" && !isUrl(*options.geocoder)) {
        return "--geocoder takes \"offline\" or an http:// or https:// URL, not \"" +
               *options.geocoder + "\"";
    }
    return std::nullopt;
}

int runWhere(const WhereOptions& options, screen::SettingsStore& store,
             screen::SettingsCache& cache, const screen::StampLayerStartValues& start,
             const std::string& languageCode, std::ostream& out, std::ostream& err) {
    auto& loop = foundation::mainRunLoop();
    const auto queue = loop.mainQueue();
    auto& clock = loop.clock();

    std::string problem;
    auto manager = platform::makeLocationManager(options.source, queue, clock, problem);
    if (!manager) {
        err << "orvane where: " << problem << "\n";
        return 1;
    }
    std::string url = options.geocoder.value_or(store.lineDrawer.getGeocoderURL().value_or(""));
    std::unique_ptr<platform::Geocoder> geocoder;
    if (url.empty() || url == "offline") {
        geocoder = std::make_unique<platform::OfflineGeocoder>(queue, languageCode);
    } else {
        platform::NominatimOptions online;
        online.baseUrl = url;
        online.contact = store.lineDrawer.getGeocoderContact().value_or("");
        online.languageCode = languageCode;
        geocoder = std::make_unique<platform::NominatimGeocoder>(std::move(online), queue);
    }
    const std::string sourceName = manager->description();
    const std::string geocoderName = geocoder->description();

    stamp::StampState state(clock);
    stamp::LineDrawer drawer(store, cache, start, state, stamp::dateSettingsFromEnvironment(),
                             languageCode);
    stamp::LocationUpdater updater(
        drawer, [&manager] { return std::move(manager); },
        [&geocoder] { return std::move(geocoder); }, state);

    int status = 0;
    // Cleared once the first block is out: the timeout is for the first fix and its address.
    auto pending = std::make_shared<bool>(true);
    bool printedFirst = false;
    bool answered = false;
    std::optional<platform::Location> latest;
    const auto finish = [&](int code) {
        status = code;
        loop.quit();
    };
    const auto print = [&] {
        if (printedFirst) {
            out << '\n';
        }
        printBlock(out, *latest, drawer);
        printedFirst = true;
        *pending = false;
        if (!options.watch) {
            finish(0);
        }
    };
    stamp::LocationUpdater::Observer observer;
    observer.didFormat = [&](const platform::Location& fix) {
        latest = fix;
        if (answered) {
            print();
        }
    };
    observer.didGeocode = [&](const std::vector<platform::Placemark>&,
                              const std::optional<foundation::Error>& error) {
        if (error) {
            err << "orvane where: " << geocoderName << ": " << error->message() << "\n";
            // Later failures while watching wait for the next request, as the stamp does.
            if (!answered) {
                finish(1);
            }
            return;
        }
        if (!answered) {
            answered = true;
            print();
        }
    };
    observer.didFail = [&](const foundation::Error& error) {
        err << "orvane where: " << sourceName << ": " << error.message() << "\n";
        if (!options.watch) {
            finish(1);
        }
    };
    updater.setObserver(std::move(observer));

    if (auto error = updater.getCurrentLocation()) {
        err << "orvane where: " << sourceName << " could not start: " << error->message() << "\n";
        return 1;
    }
    queue->after(options.timeoutSeconds, [pending, &loop, &err, &status, sourceName, &options] {
        if (!*pending) {
            return;
        }
        err << "orvane where: no position and address from " << sourceName << " within "
            << options.timeoutSeconds << " seconds\n";
        status = 1;
        loop.quit();
    });
    std::optional<InterruptWatcher> interrupts;
    if (options.watch) {
        interrupts.emplace(loop);
    }
    try {
        loop.run();
    } catch (const std::exception& e) {
        err << "orvane where: " << e.what() << "\n";
        status = 1;
    }
    *pending = false;
    if (printedFirst && options.watch) {
        status = 0;
    }
    return status;
}

}  // namespace orvane::app
