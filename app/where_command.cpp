#include "app/where_command.h"

#include <cstdio>
#include <memory>

#include "app/geocoder_choice.h"
#include "app/interrupts.h"
#include "app/row_output.h"
#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "platform/location/location_sources.h"
#include "stamp/LineDrawer.h"
#include "stamp/location_updater.h"

namespace orvane::app {

namespace {

std::string number(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
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
    auto geocoder = makeGeocoder(options.geocoder, store, languageCode, queue);
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
        // A log or track ends right after its last fix, often before that fix's address comes:
        // the block still waits for it. The source's own messages name the source.
        if (platform::isEndOfSource(error) && latest) {
            return;
        }
        err << "orvane where: " << error.message() << "\n";
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
        interrupts.emplace([&loop] { loop.quit(); });
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
