// `orvane record`: the main job. Runs the capture session on the synthetic camera and
// microphone with the stamp of the current settings, records for the duration asked (or until
// SIGINT or SIGTERM, which stop it as the stop button would), leaves the movie in the photo
// library and prints its path.
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "screen/settings_cache.h"
#include "screen/settings_first_run.h"
#include "screen/settings_store.h"

namespace orvane::app {

struct RecordOptions {
    double duration = 10;        // seconds; 0 records until interrupted
    std::string mode = "video";  // video, timelapse, square or dance
    std::string camera = "sim";
    std::string location;                 // a position source string; empty is the simulated route
    std::optional<std::string> geocoder;  // as for `orvane where`
    std::string gl = "auto";
    // How long the recording waits for the first position and address before it starts
    // without them.
    double locationWaitSeconds = 10;
};

std::optional<std::string> checkRecordOptions(const RecordOptions& options);

// The status of a recording that a write failure (a full disk, say) ended early: the movie so
// far is in the library, and `err` says what ended it.
inline constexpr int kRecordingEndedEarly = 3;

// Returns 0 once the movie is in the library; kRecordingEndedEarly when a failure ended it early
// but the movie so far is in the library; 1 with a message on `err` when no camera, GL context
// or position source can start, or the recording or the library fails. Movies left by killed
// recordings are recovered first, each with a line on `err`.
int runRecord(const RecordOptions& options, screen::SettingsStore& store,
              screen::SettingsCache& cache, const screen::LaunchValues& launch,
              const std::string& languageCode, std::ostream& out, std::ostream& err);

}  // namespace orvane::app
