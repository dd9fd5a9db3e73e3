// The key table: names, writers that reach exactly their key, and the values a user may set.
#include <gtest/gtest.h>

#include <set>

#include "platform/sim/MemoryUserDefaults.h"
#include "screen/settings_keys.h"

namespace orvane::screen {
namespace {

// A value of the key's type that the key accepts and that differs from the zero value.
SettingValue sampleFor(const SettingKey& key) {
    const auto& accepted = key.accepted;
    const double number = !accepted.choices.empty() ? accepted.choices.back()
                          : accepted.isLimited()    ? accepted.maximum
                                                    : 7.0;
    switch (key.type) {
        case KeyType::Bool:
            return true;
        case KeyType::Integer:
            return static_cast<std::int64_t>(number);
        case KeyType::Float:
        case KeyType::Double:
            return number;
        case KeyType::String:
            return std::string("sample");
        case KeyType::StringArray:
            return platform::StringArray{"x", "y"};
        case KeyType::Color:
            return foundation::Color{0.25, 0.5, 0.75, 0.5};
    }
    return {};
}

TEST(SettingKeysTest, NamesAreUniqueAndFoundExactly) {
    std::set<std::string_view> names;
    for (const auto& key : settingKeys()) {
        EXPECT_TRUE(names.insert(key.name).second) << key.name;
        EXPECT_EQ(findSettingKey(key.name), &key);
    }
    EXPECT_EQ(findSettingKey("showgrid"), nullptr);
    EXPECT_EQ(findSettingKey("iRateUseCount"), nullptr);
    EXPECT_EQ(findSettingKey(""), nullptr);
}

// A writer that reached another key than its reader, or more than one, would show here.
TEST(SettingKeysTest, EachWriterStoresOnlyItsOwnKeyAndReadsBack) {
    for (const auto& key : settingKeys()) {
        platform::MemoryUserDefaults defaults;
        SettingsCache cache;
        SettingsStore store(defaults, cache);
        const auto value = sampleFor(key);
        key.write(store, key.name, value);
        EXPECT_EQ(defaults.allKeys(), std::vector<std::string>{std::string(key.name)}) << key.name;
        EXPECT_EQ(key.read(store), value) << key.name;
    }
}

TEST(SettingKeysTest, NilStringsAndListsRemoveTheKey) {
    platform::MemoryUserDefaults defaults;
    SettingsCache cache;
    SettingsStore store(defaults, cache);
    for (const char* name : {"FileNamePrefix", "SelectTags"}) {
        const auto* key = findSettingKey(name);
        key->write(store, key->name, sampleFor(*key));
        key->write(store, key->name, SettingValue{});
        EXPECT_EQ(key->read(store), SettingValue{}) << name;
    }
    EXPECT_TRUE(defaults.allKeys().empty());
}

TEST(SettingKeysTest, PickerKeysAcceptTheirRowsOnly) {
    struct Row {
        const char* key;
        double value;
        bool accepted;
    };
    const std::vector<Row> rows = {
        {"TimelpaseInterval", 0.25, true},
        {"TimelpaseInterval", 7200, true},
        {"TimelpaseInterval", 0.3, false},
        {"TimelpaseInterval", 90, false},
        {"videoSplitInterval", 270, true},
        {"videoSplitInterval", 120, false},
        {"videoSplitInterval", 0, true},
        {"PlanCaptureInterval", 2, true},
        {"PlanCaptureInterval", 1, false},
        {"CaptureTimerSeconds", 3, true},
        {"CaptureTimerSeconds", 4, false},
        {"cameraModeIndex", 4, true},
        {"cameraModeIndex", 5, false},
        {"cameraModeIndex", -1, false},
        {"defaultresolution", 0, false},
        {"defaultresolution", 11, true},
        {"defaultPhotoresolution", 8, false},
        {"backFlashMode", 3, true},
        {"backFlashMode", 4, false},
        {"WatermarkPosition", 6, true},
        {"MapPosition", 6, false},
        {"MapType", 1, false},
        {"MapType", 2, true},
        {"LuoPanSize", -0.5, true},
        {"LuoPanSize", 0.6, false},
        {"TimeFormatIndex", 90, true},
        {"TimeFormatIndex", 91, false},
        {"FileNameIndex", 10000, false},
        {"currentWhichCamera", 12, true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(findSettingKey(row.key)->accepted.accepts(row.value), row.accepted)
            << row.key << " " << row.value;
    }
}

}  // namespace
}  // namespace orvane::screen
