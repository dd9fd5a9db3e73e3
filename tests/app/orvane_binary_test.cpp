// The real `orvane` executable on a real settings file in a temporary folder.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

struct Result {
    int status;
    std::string out;
    std::string err;
};

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class OrvaneBinaryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "orvane-binary-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        config = folder / "config";
    }
    void TearDown() override { fs::remove_all(folder); }

    // Runs the binary as a new process; arguments must not need shell quoting.
    Result run(const std::string& arguments) {
        const auto out = folder / "out.txt";
        const auto err = folder / "err.txt";
        const std::string command = std::string("'") + ORVANE_BINARY + "' --config-dir '" +
                                    config.string() + "' " + arguments + " >'" + out.string() +
                                    "' 2>'" + err.string() + "'";
        const int raw = std::system(command.c_str());
        const int status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        return {status, readFile(out), readFile(err)};
    }

    fs::path folder;
    fs::path config;
};

TEST_F(OrvaneBinaryTest, NewStoreReadsTheDefaultIntervalAndFlashMode) {
    const auto interval = run("settings get TimelpaseInterval");
    EXPECT_EQ(interval.status, 0) << interval.err;
    EXPECT_EQ(interval.out, "0.5\n");
    const auto flash = run("settings get backFlashMode");
    EXPECT_EQ(flash.status, 0) << flash.err;
    EXPECT_EQ(flash.out, "1\n");
    EXPECT_TRUE(fs::exists(config / "defaults.json"));
}

TEST_F(OrvaneBinaryTest, AValueSetIsReadBackByANewProcess) {
    ASSERT_EQ(run("settings set TextAlpha 80").status, 0);
    ASSERT_EQ(run("settings set ShowGrid true").status, 0);
    EXPECT_EQ(run("settings get TextAlpha").out, "80\n");
    EXPECT_EQ(run("settings get ShowGrid").out, "true\n");
    EXPECT_NE(readFile(config / "defaults.json").find("\"TextAlpha\": 20"), std::string::npos);
}

TEST_F(OrvaneBinaryTest, ARejectedSetLeavesTheFileAsItWas) {
    ASSERT_EQ(run("settings set UIMode 1").status, 0);
    const auto before = readFile(config / "defaults.json");
    const auto rejected = run("settings set UIMode 7");
    EXPECT_EQ(rejected.status, 1);
    EXPECT_NE(rejected.err.find("\"UIMode\""), std::string::npos) << rejected.err;
    EXPECT_EQ(readFile(config / "defaults.json"), before);
}

TEST_F(OrvaneBinaryTest, ABrokenFileIsMovedAsideAndTheProgramGoesOn) {
    fs::create_directories(config);
    std::ofstream(config / "defaults.json") << "{\"ShowGrid\": tru";
    const auto result = run("settings get backFlashMode");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "1\n");
    // One message, naming where the file went.
    const auto mention = result.err.find("defaults.json.broken-");
    ASSERT_NE(mention, std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("defaults.json.broken-", mention + 1), std::string::npos)
        << result.err;
    int setAside = 0;
    for (const auto& entry : fs::directory_iterator(config)) {
        const auto name = entry.path().filename().string();
        if (name.starts_with("defaults.json.broken-")) {
            ++setAside;
            EXPECT_EQ(readFile(entry.path()), "{\"ShowGrid\": tru");
        }
    }
    EXPECT_EQ(setAside, 1);
    EXPECT_EQ(run("settings get ShowGrid").out, "false\n");
}

}  // namespace
