// `orvane frame`: one frame pass with the current settings, written as a PNG, so that a person
// can look at the stamp at any position, orientation and margin.
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "app/stamp_commands.h"
#include "screen/settings_cache.h"
#include "screen/settings_first_run.h"
#include "screen/settings_store.h"

namespace orvane::app {

struct FrameOptions {
    std::string out;                      // the PNG to write
    std::string in;                       // a PNG to stamp, or empty
    std::string synthetic = "1920x1080";  // the test scene's size when there is no input
    std::string photo;                    // a PNG or JPEG drawn in place of the camera, or empty
    std::optional<int> orientation;       // 1 to 4; 3 (landscape) when absent
    std::optional<int> position;          // text position 0 to 5; the stored one when absent
    std::optional<int> margin;            // margin mode 0 to 3; the stored one when absent
    std::string gl = "auto";              // the GL platform: auto, device or surfaceless
    bool dance = false;                   // bend the picture as dance mode does
    FormatsOptions stamp;                 // time and position, as `orvane formats` takes them
};

// The options' problem as a message, or nothing when they are usable.
std::optional<std::string> checkFrameOptions(const FrameOptions& options);

// Renders and writes the frame. Returns the exit status: 0, or 1 with a message on `err`.
int runFrame(const FrameOptions& options, screen::SettingsStore& store,
             screen::SettingsCache& cache, const screen::LaunchValues& launch, double now,
             std::ostream& out, std::ostream& err);

}  // namespace orvane::app
