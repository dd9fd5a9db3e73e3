// The `orvane` command line: `--version`, and `settings list|get|set|reset-stamp` on the store
// chosen by `--config-dir DIR` (or ORVANE_CONFIG_DIR, or the JSON store's default folder).
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "app/opened_store.h"
#include "screen/settings_cache.h"
#include "screen/settings_first_run.h"

namespace orvane::app {

// What a run takes from its surroundings; tests replace the store and the cache.
struct CommandEnvironment {
    std::function<std::unique_ptr<OpenedStore>(const std::filesystem::path& directory)> openStore =
        openJsonStore;
    screen::DeviceTraits device;
    // The user's language; empty means foundation::preferredLanguageCode().
    std::string languageCode;
    // Where the launch sequence puts the cached copies; null means the shared cache.
    screen::SettingsCache* cache = nullptr;
};

// Runs one command. `arguments` leaves out the program name. Returns the exit status: 0, 1 for a
// settings error (unknown key, bad value, failed write), or the command line parser's status.
int runCommandLine(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
                   const CommandEnvironment& environment = {});

}  // namespace orvane::app
