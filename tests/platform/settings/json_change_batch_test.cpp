// A batch of changes to the JSON store is written once, at the end of its outermost scope.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/settings/JsonFileUserDefaults.h"

namespace orvane::platform {
namespace {

namespace fs = std::filesystem;

class JsonChangeBatchTest : public ::testing::Test {
  protected:
    void SetUp() override {
        _directory = fs::temp_directory_path() /
                     ("orvane-batch-" + std::to_string(::getpid()) + "-" +
                      ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(_directory);
    }
    void TearDown() override { fs::remove_all(_directory); }

    std::string fileText() const {
        std::ifstream in(_directory / JsonFileUserDefaults::kFileName);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    fs::path _directory;
};

TEST_F(JsonChangeBatchTest, NestedBatchesWriteOnceAtTheOutermostEnd) {
    JsonFileUserDefaults store(_directory);
    store.setInteger("before", 1);
    const std::string written = fileText();
    {
        UserDefaults::ChangeBatch outer(store);
        store.setInteger("cameraModeIndex", 1);
        {
            UserDefaults::ChangeBatch inner(store);
            store.setString("defaultFontName", "ArialMT");
        }
        store.setObject("before", std::nullopt);
        // Reads see the changes at once; the file and other readers do not yet.
        EXPECT_EQ(store.integerForKey("cameraModeIndex"), 1);
        EXPECT_EQ(store.stringForKey("defaultFontName"), "ArialMT");
        EXPECT_EQ(fileText(), written);
        EXPECT_EQ(JsonFileUserDefaults(_directory).integerForKey("before"), 1);
    }
    JsonFileUserDefaults reopened(_directory);
    EXPECT_EQ(reopened.integerForKey("cameraModeIndex"), 1);
    EXPECT_EQ(reopened.stringForKey("defaultFontName"), "ArialMT");
    EXPECT_FALSE(reopened.objectForKey("before").has_value());
    EXPECT_FALSE(store.lastWriteError().has_value());
}

TEST_F(JsonChangeBatchTest, ABatchMergesWithAnotherWriterAndReportsAFailedWrite) {
    JsonFileUserDefaults ours(_directory);
    JsonFileUserDefaults theirs(_directory);
    {
        UserDefaults::ChangeBatch batch(ours);
        ours.setBool("ShowGrid", true);
        theirs.setBool("hideMenu", true);  // lands on disk while our batch is open
    }
    JsonFileUserDefaults reopened(_directory);
    EXPECT_TRUE(reopened.boolForKey("ShowGrid"));
    EXPECT_TRUE(reopened.boolForKey("hideMenu"));

    // The folder becomes a file: the batch's one write fails, and says so.
    JsonFileUserDefaults blocked(_directory / "settings");
    std::ofstream(_directory / "settings") << "not a folder";
    {
        UserDefaults::ChangeBatch batch(blocked);
        blocked.setInteger("UIMode", 1);
        EXPECT_FALSE(blocked.lastWriteError().has_value());
    }
    EXPECT_TRUE(blocked.lastWriteError().has_value());
    EXPECT_EQ(blocked.integerForKey("UIMode"), 1);
}

}  // namespace
}  // namespace orvane::platform
