// The key table: names, writers that reach exactly their key, and the values a user may set.
#include <gtest/gtest.h>

#include <set>

#include "screen/settings_keys.h"
#include "tests/screen/settings_test_support.h"

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
            return std::string(accepted.words.empty() ? "sample" : accepted.words.back());
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
        testing::TestStore fresh;
        const auto value = sampleFor(key);
        key.write(fresh.store, key.name, value);
        EXPECT_EQ(fresh.defaults.allKeys(), std::vector<std::string>{std::string(key.name)})
            << key.name;
        EXPECT_EQ(key.read(fresh.store), value) << key.name;
    }
}

TEST(SettingKeysTest, NilStringsAndListsRemoveTheKey) {
    testing::TestStore fresh;
    for (const char* name : {"FileNamePrefix", "SelectTags"}) {
        const auto* key = findSettingKey(name);
        key->write(fresh.store, key->name, sampleFor(*key));
        key->write(fresh.store, key->name, SettingValue{});
        EXPECT_EQ(key->read(fresh.store), SettingValue{}) << name;
    }
    EXPECT_TRUE(fresh.defaults.allKeys().empty());
}

TEST(SettingKeysTest, PickerKeysAcceptTheirRowsOnly) {
    const struct {
        const char* key;
        std::vector<double> accepted;
        std::vector<double> rejected;
    } rows[] = {
        {"TimelpaseInterval", {0.25, 7200}, {0.3, 90}},
        {"videoSplitInterval", {270, 0}, {120}},
        {"PlanCaptureInterval", {2}, {1}},
        {"CaptureTimerSeconds", {3}, {4}},
        {"cameraModeIndex", {4}, {5, -1}},
        {"defaultresolution", {11}, {0}},
        {"defaultPhotoresolution", {}, {8}},
        {"backFlashMode", {3}, {4}},
        {"WatermarkPosition", {6}, {}},
        {"MapPosition", {}, {6}},
        {"MapType", {2}, {1}},
        {"LuoPanSize", {-0.5}, {0.6}},
        {"TimeFormatIndex", {90}, {91}},
        {"FileNameIndex", {}, {10000}},
        {"currentWhichCamera", {12}, {}},
    };
    for (const auto& row : rows) {
        const auto& accepted = findSettingKey(row.key)->accepted;
        for (double value : row.accepted) {
            EXPECT_TRUE(accepted.accepts(value)) << row.key << " " << value;
        }
        for (double value : row.rejected) {
            EXPECT_FALSE(accepted.accepts(value)) << row.key << " " << value;
        }
    }
}

// The access level reads as the library reads it, whatever the file holds.
TEST(SettingKeysTest, TheLibraryAccessLevelReadsAsTheLibraryDoes) {
    const auto& key = *findSettingKey("PhotoLibraryAccessLevel");
    EXPECT_TRUE(key.accepted.acceptsWord("limited"));
    EXPECT_FALSE(key.accepted.acceptsWord("Full"));
    const struct {
        std::optional<std::string> stored;
        const char* read;
    } rows[] = {{std::nullopt, "full"},
                {"limited", "limited"},
                {"addOnly", "addOnly"},
                {"everything", "addOnly"}};
    for (const auto& row : rows) {
        testing::TestStore fresh;
        fresh.defaults.setString(key.name, row.stored);
        EXPECT_EQ(key.read(fresh.store), SettingValue(std::string(row.read)))
            << row.stored.value_or("(absent)");
    }
}

}  // namespace
}  // namespace orvane::screen
