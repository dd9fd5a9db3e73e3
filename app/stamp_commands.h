// `orvane formats` and `orvane lunar`: what the stamp would say, from outside. `formats` prints
// every time row, every coordinate form, the lunar line and the stamp's blocks as the current
// settings compose them; `lunar` prints the lunar calendar's fields for one date. Both print one
// `KEY<TAB>TEXT` line per item, line feeds inside a text written as "<enter>".
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "screen/settings_cache.h"
#include "screen/settings_first_run.h"
#include "screen/settings_store.h"

namespace orvane::app {

struct FormatsOptions {
    std::optional<double> latitude;   // degrees
    std::optional<double> longitude;  // degrees
    std::optional<double> altitude;   // metres
    std::optional<double> speed;      // metres per second
    double accuracy = 0.0;            // metres
    std::optional<double> heading;    // degrees clockwise from north
    std::string time;                 // ISO 8601; empty is now
};

// An ISO 8601 instant ("2024-02-10T12:00:00+08:00", "...Z", "2024-02-10 12:00", "2024-02-10")
// as seconds since 1970. Without an offset the time is read in the user's time zone. Nothing for
// text that is not such an instant or names an impossible date or time.
std::optional<double> parseIsoInstant(std::string_view text);

// The options' problem as a message, or nothing when they are usable.
std::optional<std::string> checkFormatsOptions(const FormatsOptions& options);

// Prints the rows; the options must have passed checkFormatsOptions.
void printFormats(screen::SettingsStore& store, screen::SettingsCache& cache,
                  const screen::StampLayerStartValues& start, const FormatsOptions& options,
                  double now, std::ostream& out);

// Prints the lookup of `date` (YYYY-MM-DD). Returns the exit status: 1 with a message on `err`
// for a malformed date or one outside the calendar's tables.
int printLunar(std::string_view date, std::ostream& out, std::ostream& err);

}  // namespace orvane::app
