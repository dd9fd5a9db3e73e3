// Fakes and helpers shared by the settings store tests.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_store.h"

namespace orvane::screen::testing {

// An in-memory store that also remembers the order in which keys were written.
class RecordingDefaults final : public platform::UserDefaults {
  public:
    std::optional<platform::DefaultsValue> objectForKey(std::string_view key) const override {
        return _store.objectForKey(key);
    }
    void setObject(std::string_view key, std::optional<platform::DefaultsValue> value) override {
        _written.emplace_back(key);
        _store.setObject(key, std::move(value));
    }
    std::vector<std::string> allKeys() const override { return _store.allKeys(); }

    const std::vector<std::string>& written() const { return _written; }
    void clearWritten() { _written.clear(); }

  private:
    platform::MemoryUserDefaults _store;
    std::vector<std::string> _written;
};

// A store on recording defaults with cached copies of its own, as one run of the program has.
struct TestStore {
    RecordingDefaults defaults;
    SettingsCache cache;
    SettingsStore store{defaults, cache};
    ZephrinViewControllerStore& vc = store.viewController;
};

// Every key and its stored value, for comparing a whole store before and after.
inline std::map<std::string, platform::DefaultsValue> snapshot(
    const platform::UserDefaults& defaults) {
    std::map<std::string, platform::DefaultsValue> values;
    for (const auto& key : defaults.allKeys()) {
        values.emplace(key, *defaults.objectForKey(key));
    }
    return values;
}

}  // namespace orvane::screen::testing
