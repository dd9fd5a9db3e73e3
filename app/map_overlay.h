// The map overlay of the commands without a screen: the map updater over the source the
// settings choose, its maps handed to the GL view, on the command's run loop.
#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "compositor/ZephrinOpenGLView.h"
#include "foundation/RunLoop.h"
#include "screen/MapOverlayUpdater.h"
#include "screen/settings_store.h"

namespace orvane::app {

// What a map overlay tells its command besides the maps: a snapshot that failed.
using MapFailure = std::function<void(const std::string& message)>;

// When "NeedDisplayMap" is on, starts an updater that hands each map to `view` and returns it;
// nothing when the map is off, or when the source the settings name cannot be used (said on
// `err` after `prefix`: the capture goes on without a map). `onMap` hears each map handed on,
// `onFailure` each snapshot that failed.
std::unique_ptr<screen::MapOverlayUpdater> startMapOverlay(
    foundation::RunLoop& loop, screen::SettingsStore& store, compositor::ZephrinOpenGLView& view,
    screen::MapOverlayUpdater::LocationSource location, const std::string& prefix,
    std::ostream& err, std::function<void()> onMap = {}, MapFailure onFailure = {});

}  // namespace orvane::app
