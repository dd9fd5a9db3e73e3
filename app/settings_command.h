// The `orvane settings` commands on a loaded store: list, get, set and the stamp reset.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "screen/settings_first_run.h"
#include "screen/settings_keys.h"

namespace orvane::app {

// The values a fresh store reads after the launch sequence on this device and language, one per
// row of screen::settingKeys(). Computed on a scratch store and cache, so nothing real changes.
std::vector<screen::SettingValue> freshSettingValues(const screen::DeviceTraits& device,
                                                     std::string_view languageCode);

// Every key by group, "KEY = VALUE", marked "(default)" when the value read equals what a fresh
// store reads (so a key the user set back to its first value counts as default too).
void listSettings(screen::SettingsStore& store, const std::vector<screen::SettingValue>& fresh,
                  std::ostream& out);

// The value of `key` through its reading rule, bare (see formatForGet).
void getSetting(screen::SettingsStore& store, const screen::SettingKey& key, std::ostream& out);

// Stores `value` through the key's setter.
void setSetting(screen::SettingsStore& store, const screen::SettingKey& key,
                const screen::SettingValue& value);

}  // namespace orvane::app
