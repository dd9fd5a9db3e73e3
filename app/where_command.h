// `orvane where`: where the camera is, as the stamp would say it. Starts the position source and
// the geocoder on the main run loop and prints the fix, altitude, speed, accuracy, every
// coordinate form and every address form of the first fix (or of each accepted fix with
// --watch), one `KEY<TAB>TEXT` line per item, line feeds inside a text written as "<enter>".
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "screen/settings_cache.h"
#include "screen/settings_first_run.h"
#include "screen/settings_store.h"

namespace orvane::app {

struct WhereOptions {
    std::string source;  // a position source string; empty is the simulated route
    // "offline", or the base URL of a Nominatim-compatible service; none takes the URL stored
    // under GeocoderURL when there is one, else the offline geocoder.
    std::optional<std::string> geocoder;
    bool watch = false;
    double timeoutSeconds = 30.0;  // for the first fix and its address
};

// The geocoder option's problem as a message, or nothing when it is usable.
std::optional<std::string> checkWhereOptions(const WhereOptions& options);

// Runs on the main run loop until the first block is printed, or with `watch` until SIGINT or
// SIGTERM. Returns the exit status: 0, or 1 with a message on `err` for a bad source string, a
// source that cannot start or fails, a geocoder error, or no answer within the timeout. A log or
// track that ends after giving a fix has not failed: that fix's block is printed.
int runWhere(const WhereOptions& options, screen::SettingsStore& store,
             screen::SettingsCache& cache, const screen::StampLayerStartValues& start,
             const std::string& languageCode, std::ostream& out, std::ostream& err);

}  // namespace orvane::app
