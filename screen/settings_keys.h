// Every key of the settings store as data: its type, its group, the value the program reads
// (through the key's accessor, so the reading rule is the accessor's), the writer (through the
// setter, so stored inversions and clamps apply) and the values a user may set. The command line
// and the tests walk this table; code reads keys through the typed accessors.
#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "foundation/Color.h"
#include "platform/settings/UserDefaults.h"
#include "screen/settings_store.h"

namespace orvane::screen {

enum class KeyType { Bool, Integer, Float, Double, String, StringArray, Color };
enum class KeyGroup { FirstRun, Capture, Screen, Stamp, Overlay, Effect, Email };

// A value as the program reads it. monostate is nil: an absent string or string array.
// Float keys carry their float widened to double.
using SettingValue = std::variant<std::monostate, bool, std::int64_t, double, std::string,
                                  platform::StringArray, foundation::Color>;

// The numbers a user may set for a numeric key: a closed range, or a list of choices.
struct AcceptedValues {
    double minimum = -std::numeric_limits<double>::infinity();
    double maximum = std::numeric_limits<double>::infinity();
    std::span<const double> choices;
    // The words a user may set for a string key; empty is any text.
    std::span<const std::string_view> words;

    bool isLimited() const;
    bool accepts(double value) const;
    bool acceptsWord(std::string_view word) const;
};

struct SettingKey {
    std::string_view name;
    KeyType type;
    KeyGroup group;
    // The value the program reads. A few readers write a default back, as the accessor does.
    SettingValue (*read)(SettingsStore& store);
    // Stores `value`, which holds the alternative of `type` (or monostate for a nil string or
    // array). `name` is passed for the first-run flags, whose setters only ever set true.
    void (*write)(SettingsStore& store, std::string_view name, const SettingValue& value);
    AcceptedValues accepted;
};

// Every key, grouped as first-run flags, capture, screen, stamp, overlay, effect and e-mail keys.
std::span<const SettingKey> settingKeys();
// The row of `name` (exact spelling), or nullptr.
const SettingKey* findSettingKey(std::string_view name);

std::string_view groupName(KeyGroup group);
std::string_view typeName(KeyType type);

}  // namespace orvane::screen
