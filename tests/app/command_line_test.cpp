// The settings commands run in-process on an in-memory store.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "app/command_line.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_keys.h"
#include "tests/screen/settings_test_support.h"

namespace orvane::app {
namespace {

using screen::testing::snapshot;

// Hands the test's memory store to the command, with scripted failures.
class FakeOpenedStore final : public OpenedStore {
  public:
    FakeOpenedStore(platform::UserDefaults& defaults, std::optional<foundation::Error> writeError)
        : _defaults(defaults), _writeError(std::move(writeError)) {}

    platform::UserDefaults& defaults() override { return _defaults; }
    std::string location() const override { return "/fake/defaults.json"; }
    std::optional<foundation::Error> lastWriteError() const override { return _writeError; }

  private:
    platform::UserDefaults& _defaults;
    std::optional<foundation::Error> _writeError;
};

struct Result {
    int status;
    std::string out;
    std::string err;
};

class CommandLineTest : public ::testing::Test {
  protected:
    Result run(std::vector<std::string> arguments) {
        screen::SettingsCache cache;  // each run is a new process with its own copies
        CommandEnvironment environment;
        environment.languageCode = "en";
        environment.cache = &cache;
        environment.openStore = [this](const std::filesystem::path& directory) {
            openedDirectories.push_back(directory);
            return std::make_unique<FakeOpenedStore>(defaults, writeError);
        };
        std::ostringstream out;
        std::ostringstream err;
        const int status = runCommandLine(arguments, out, err, environment);
        return {status, out.str(), err.str()};
    }

    platform::MemoryUserDefaults defaults;
    std::optional<foundation::Error> writeError;
    std::vector<std::filesystem::path> openedDirectories;
};

TEST_F(CommandLineTest, GetOnANewStorePrintsWhatTheProgramReads) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"TimelpaseInterval", "0.5\n"}, {"backFlashMode", "1\n"},
        {"TextAlpha", "100\n"},         {"HideDanceMode", "true\n"},
        {"cameraModeIndex", "1\n"},     {"MapOpacity", "0.4\n"},
        {"FileNamePrefix", ""},         {"defaultFontColor", "0xFFFFFFFF\n"},
    };
    for (const auto& [key, printed] : rows) {
        const auto result = run({"settings", "get", key, "--config-dir", "/tmp/x"});
        EXPECT_EQ(result.status, 0) << key << result.err;
        EXPECT_EQ(result.out, printed) << key;
    }
}

TEST_F(CommandLineTest, SetStoresThroughTheAccessorAndAnotherRunReadsIt) {
    ASSERT_EQ(run({"settings", "set", "TextAlpha", "80"}).status, 0);
    ASSERT_EQ(run({"settings", "set", "backFlashMode", "2"}).status, 0);
    ASSERT_EQ(run({"settings", "set", "SelectTags", "north", "day 2"}).status, 0);
    EXPECT_EQ(defaults.integerForKey("TextAlpha"), 20);
    EXPECT_EQ(defaults.integerForKey("backFlashMode"), 1);
    EXPECT_EQ(run({"settings", "get", "TextAlpha"}).out, "80\n");
    EXPECT_EQ(run({"settings", "get", "backFlashMode"}).out, "2\n");
    EXPECT_EQ(run({"settings", "get", "SelectTags"}).out, "north\nday 2\n");
}

TEST_F(CommandLineTest, RejectedCommandsNameTheKeyAndChangeNothing) {
    ASSERT_EQ(run({"settings", "set", "ShowGrid", "true"}).status, 0);
    const auto before = snapshot(defaults);
    openedDirectories.clear();
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
        {{"settings", "set", "NoSuchKey", "1"}, "unknown settings key \"NoSuchKey\""},
        {{"settings", "get", "showgrid"}, "unknown settings key \"showgrid\""},
        {{"settings", "set", "ShowGrid", "sometimes"}, "\"ShowGrid\" takes a boolean"},
        {{"settings", "set", "TextAlpha", "101"}, "\"TextAlpha\" takes an integer from 0 to 100"},
        {{"settings", "set", "UIMode"}, "\"UIMode\" takes one value, not 0"},
    };
    for (const auto& [arguments, message] : rows) {
        const auto result = run(arguments);
        EXPECT_EQ(result.status, 1) << message;
        EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(snapshot(defaults), before);
    EXPECT_TRUE(openedDirectories.empty()) << "a rejected command does not even open the store";
}

TEST_F(CommandLineTest, ListShowsEveryKeyOnceAndMarksDefaults) {
    ASSERT_EQ(run({"settings", "set", "ShowGrid", "true"}).status, 0);
    ASSERT_EQ(run({"settings", "set", "MapOpacity", "0.4"}).status, 0);
    const auto result = run({"settings", "list"});
    ASSERT_EQ(result.status, 0) << result.err;
    std::istringstream lines(result.out);
    std::string line;
    size_t entries = 0;
    while (std::getline(lines, line)) {
        entries += line.find(" = ") != std::string::npos;
    }
    EXPECT_EQ(entries, screen::settingKeys().size());
    EXPECT_NE(result.out.find("[capture]\n"), std::string::npos);
    EXPECT_NE(result.out.find("\nShowGrid = true\n"), std::string::npos);
    EXPECT_NE(result.out.find("\nTimelpaseInterval = 0.5  (default)\n"), std::string::npos);
    EXPECT_NE(result.out.find("\nMapOpacity = 0.4  (default)\n"), std::string::npos);
    EXPECT_NE(result.out.find("\nFileNamePrefix = (nil)  (default)\n"), std::string::npos);
}

TEST_F(CommandLineTest, ResetStampReturnsTheStampOnly) {
    ASSERT_EQ(run({"settings", "set", "TextAlpha", "10"}).status, 0);
    ASSERT_EQ(run({"settings", "set", "ShowGrid", "true"}).status, 0);
    ASSERT_EQ(run({"settings", "reset-stamp"}).status, 0);
    EXPECT_EQ(run({"settings", "get", "TextAlpha"}).out, "100\n");
    EXPECT_EQ(run({"settings", "get", "ShowGrid"}).out, "true\n");
}

TEST_F(CommandLineTest, EveryCommandRunsTheFirstRunBlockFirst) {
    ASSERT_EQ(run({"settings", "set", "ShowGrid", "true"}).status, 0);
    EXPECT_TRUE(defaults.boolForKey("haveinit"));
    EXPECT_TRUE(defaults.boolForKey("haverun1"));
    EXPECT_EQ(defaults.stringForKey("defaultFontName"), "ArialMT");
}

TEST_F(CommandLineTest, AFailedWriteIsAnErrorNamingKeyAndFile) {
    writeError = foundation::Error{"Orvane.Settings", 28, "The settings could not be saved.",
                                   "No space left on device"};
    const auto result = run({"settings", "set", "ShowGrid", "true"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("\"ShowGrid\" was not saved"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("/fake/defaults.json"), std::string::npos);
    EXPECT_NE(result.err.find("No space left on device"), std::string::npos);
}

// The option wins wherever it stands; without it the environment chooses.
TEST_F(CommandLineTest, ConfigDirectoryComesFromTheOptionOrTheEnvironment) {
    ::setenv("ORVANE_CONFIG_DIR", "/tmp/from-environment", 1);
    const int statuses[] = {run({"--config-dir", "/tmp/one", "settings", "list"}).status,
                            run({"settings", "get", "UIMode", "--config-dir", "/tmp/two"}).status,
                            run({"settings", "get", "UIMode"}).status};
    ::unsetenv("ORVANE_CONFIG_DIR");
    EXPECT_THAT(statuses, ::testing::Each(0));
    EXPECT_EQ(openedDirectories, (std::vector<std::filesystem::path>{"/tmp/one", "/tmp/two",
                                                                     "/tmp/from-environment"}));
}

TEST_F(CommandLineTest, VersionAndUsageNeedNoStore) {
    const auto version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_NE(version.out.find(std::string("orvane ") + ORVANE_VERSION), std::string::npos);
    const auto usage = run({});
    EXPECT_EQ(usage.status, 0);
    EXPECT_NE(usage.out.find("settings"), std::string::npos);
    EXPECT_NE(run({"settings"}).status, 0);
    EXPECT_NE(run({"settings", "frobnicate"}).status, 0);
    EXPECT_TRUE(openedDirectories.empty());
}

}  // namespace
}  // namespace orvane::app
