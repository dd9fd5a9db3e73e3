#include "app/settings_command.h"

#include "app/settings_values.h"
#include "platform/settings/MemoryUserDefaults.h"

namespace orvane::app {

std::vector<screen::SettingValue> freshSettingValues(const screen::DeviceTraits& device,
                                                     std::string_view languageCode) {
    platform::MemoryUserDefaults scratch;
    screen::SettingsCache scratchCache;
    screen::SettingsStore store(scratch, scratchCache);
    screen::loadSettingsAtLaunch(store, device, languageCode);
    std::vector<screen::SettingValue> values;
    for (const auto& key : screen::settingKeys()) {
        values.push_back(key.read(store));
    }
    return values;
}

void listSettings(screen::SettingsStore& store, const std::vector<screen::SettingValue>& fresh,
                  std::ostream& out) {
    const auto keys = screen::settingKeys();
    for (size_t i = 0; i < keys.size(); ++i) {
        const auto& key = keys[i];
        if (i == 0 || keys[i - 1].group != key.group) {
            out << (i == 0 ? "" : "\n") << "[" << screen::groupName(key.group) << "]\n";
        }
        const auto value = key.read(store);
        out << key.name << " = " << formatForList(key, value);
        if (i < fresh.size() && value == fresh[i]) {
            out << "  (default)";
        }
        out << "\n";
    }
}

void getSetting(screen::SettingsStore& store, const screen::SettingKey& key, std::ostream& out) {
    out << formatForGet(key, key.read(store));
}

void setSetting(screen::SettingsStore& store, const screen::SettingKey& key,
                const screen::SettingValue& value) {
    key.write(store, key.name, value);
}

}  // namespace orvane::app
