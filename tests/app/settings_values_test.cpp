// How the command line reads typed values and prints what the program reads.
#include <gtest/gtest.h>

#include "app/settings_values.h"

namespace orvane::app {
namespace {

using screen::SettingValue;

const screen::SettingKey& key(const char* name) {
    return *screen::findSettingKey(name);
}

TEST(ParseSettingValueTest, AcceptedWordsBecomeTypedValues) {
    struct Row {
        const char* key;
        std::vector<std::string> words;
        SettingValue value;
    };
    const std::vector<Row> rows = {
        {"ShowGrid", {"true"}, true},
        {"ShowGrid", {"YES"}, true},
        {"ShowGrid", {"0"}, false},
        {"ShowGrid", {"False"}, false},
        {"UIMode", {"1"}, std::int64_t{1}},
        {"LuoPanSize", {"-0.5"}, -0.5},
        {"TimelpaseInterval", {"0.25"}, 0.25},
        {"TimelpaseInterval", {"7200"}, 7200.0},
        {"FileNamePrefix", {"site A"}, std::string("site A")},
        {"FileNamePrefix", {""}, std::string()},
        {"AllTags", {}, platform::StringArray{}},
        {"AllTags", {"a", "b c"}, platform::StringArray{"a", "b c"}},
        {"defaultFontColor", {"#00FF00"}, foundation::Color{0, 1, 0, 1}},
        {"TextBackgroundColor", {"0xFF000000"}, foundation::Color::blackColor()},
    };
    for (const auto& row : rows) {
        const auto parsed = parseSettingValue(key(row.key), row.words);
        ASSERT_TRUE(parsed.value) << row.key << ": " << parsed.problem;
        EXPECT_EQ(*parsed.value, row.value) << row.key;
    }
}

TEST(ParseSettingValueTest, RejectedWordsSayWhatTheKeyTakes) {
    struct Row {
        const char* key;
        std::vector<std::string> words;
        const char* problem;
    };
    const std::vector<Row> rows = {
        {"ShowGrid", {"maybe"}, "takes a boolean (true or false), not \"maybe\""},
        {"UIMode", {"2"}, "takes an integer from 0 to 1, not 2"},
        {"UIMode", {"1.0"}, "takes an integer, not \"1.0\""},
        {"UIMode", {"1x"}, "takes an integer, not \"1x\""},
        {"UIMode", {""}, "takes an integer, not \"\""},
        {"cameraModeIndex", {"99999999999999999999"}, "takes an integer, not"},
        {"PlanCaptureInterval", {"7"}, "takes one of 0, 2, 5, 10, 20, 30, 60, 120, 180, 300, 600"},
        {"TimelpaseInterval", {"0.3"}, "takes one of 0.25, 0.5, 1,"},
        {"PowerSaveBrightness", {"nan"}, "takes a number, not \"nan\""},
        {"PowerSaveBrightness", {"inf"}, "takes a number, not \"inf\""},
        {"PowerSaveBrightness", {"1.5"}, "takes a number from 0 to 1, not 1.5"},
        {"defaultFontColor", {"red"}, "takes a colour written 0xAARRGGBB"},
        {"ShowGrid", {}, "takes one value, not 0"},
        {"FileNamePrefix", {"a", "b"}, "takes one value, not 2"},
        {"PhotoLibraryAccessLevel", {"all"}, "takes one of full, limited, addOnly, not \"all\""},
    };
    for (const auto& row : rows) {
        const auto parsed = parseSettingValue(key(row.key), row.words);
        EXPECT_FALSE(parsed.value) << row.key;
        EXPECT_NE(parsed.problem.find(row.problem), std::string::npos)
            << row.key << ": " << parsed.problem;
    }
}

TEST(FormatSettingValueTest, GetPrintsBareValues) {
    EXPECT_EQ(formatForGet(key("ShowGrid"), false), "false\n");
    EXPECT_EQ(formatForGet(key("FileNamePrefix"), std::string()), "\n");
    EXPECT_EQ(formatForGet(key("AllTags"), platform::StringArray{"a", "b"}), "a\nb\n");
    EXPECT_EQ(formatForGet(key("AllTags"), platform::StringArray{}), "");
    EXPECT_EQ(formatForGet(key("defaultLineColor"), foundation::Color::redColor()), "0xFFFF0000\n");
}

TEST(FormatSettingValueTest, ListQuotesTextAndMarksNil) {
    EXPECT_EQ(formatForList(key("FileNamePrefix"), SettingValue{}), "(nil)");
    EXPECT_EQ(formatForList(key("InputText"), std::string("say \"hi\"\nthen\\go")),
              "\"say \\\"hi\\\"\\nthen\\\\go\"");
    EXPECT_EQ(formatForList(key("AllTags"), platform::StringArray{"a", "b c"}), "[\"a\", \"b c\"]");
    EXPECT_EQ(formatForList(key("TextAlpha"), std::int64_t{100}), "100");
}

}  // namespace
}  // namespace orvane::app
