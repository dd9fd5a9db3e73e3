// Running the real `orvane` executable from a test: a temporary folder per test, the command's
// status and both outputs captured.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace orvane::app::testing {

struct Result {
    int status;
    std::string out;
    std::string err;
};

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class CommandTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "orvane-command-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    // Runs a shell command line with its outputs sent to files of the folder.
    Result runShell(const std::string& command) {
        const auto out = folder / "out.txt";
        const auto err = folder / "err.txt";
        const std::string redirected =
            command + " >'" + out.string() + "' 2>'" + err.string() + "'";
        const int raw = std::system(redirected.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out), readFile(err)};
    }

    std::filesystem::path folder;
};

// A test of the capturing commands: the movie's drafts, the library and the thumbnails stay
// inside the test's folder.
class CaptureCommandTest : public CommandTest {
  protected:
    void SetUp() override {
        CommandTest::SetUp();
        library = folder / "Library";
    }

    // The command line up to the command's own arguments.
    std::string command() const {
        return "env TZ=UTC TMPDIR='" + folder.string() + "' XDG_CACHE_HOME='" +
               (folder / "cache").string() + "' ORVANE_LIBRARY_DIR='" + library.string() + "' '" +
               ORVANE_BINARY + "' --config-dir '" + (folder / "config").string() + "' ";
    }
    Result run(const std::string& arguments) { return runShell(command() + arguments); }

    std::filesystem::path library;
};

}  // namespace orvane::app::testing
