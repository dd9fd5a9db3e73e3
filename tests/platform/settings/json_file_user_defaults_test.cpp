#include "platform/settings/JsonFileUserDefaults.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <limits>
#include <mutex>
#include <nlohmann/json.hpp>
#include <numeric>
#include <set>
#include <thread>
#include <tuple>

#include "foundation/log.h"

namespace orvane::platform {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

std::string readBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeBytes(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// "defaults.json.broken-YYYYMMDD-HHMMSS", with a "-N" when that was taken.
bool isMovedName(const std::string& name) {
    int date = 0, time = 0, end = 0;
    return std::sscanf(name.c_str(), "defaults.json.broken-%8d-%6d%n", &date, &time, &end) == 2 &&
           end == 36 && (name.size() == 36 || name[36] == '-');
}

class JsonFileUserDefaultsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "orvane-json-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        root = pattern;
        dir = root / "orvane";
        foundation::setLogSink([this](const std::string& line) {
            std::lock_guard lock(logMutex);
            logLines.push_back(line);
        });
    }
    void TearDown() override {
        foundation::setLogSink({});
        fs::remove_all(root);
    }

    // Files beside the store other than the store and its lock.
    std::vector<fs::path> strayFiles(const fs::path& where) const {
        std::vector<fs::path> stray;
        for (const auto& entry : fs::directory_iterator(where)) {
            const auto name = entry.path().filename().string();
            if (name != "defaults.json" && name != "defaults.json.lock") {
                stray.push_back(entry.path());
            }
        }
        return stray;
    }
    void writeFile(const std::string& bytes) const {
        fs::create_directories(dir);
        writeBytes(dir / "defaults.json", bytes);
    }
    Json fileJson() const { return Json::parse(readBytes(dir / "defaults.json")); }

    fs::path root;
    fs::path dir;
    std::mutex logMutex;
    std::vector<std::string> logLines;
};

TEST_F(JsonFileUserDefaultsTest, EveryShapeSurvivesANewInstance) {
    Blob allBytes(256);
    std::iota(allBytes.begin(), allBytes.end(), 0);
    const std::pair<std::string, DefaultsValue> rows[] = {
        {"boolTrue", true},
        {"boolFalse", false},
        {"intMin", std::numeric_limits<std::int64_t>::min()},
        {"intMax", std::numeric_limits<std::int64_t>::max()},
        {"double", -2.5e-7},
        {"whole", 1.0},
        {"huge", 1e300},
        {"string", std::string("Ünïcode \"quoted\"\n\ttabbed 东方")},
        {"stringEmpty", std::string()},
        {"strings", StringArray{"a", "", "#tag"}},
        {"stringsEmpty", StringArray{}},
        {"blobEmpty", Blob{}},
        {"blob3", Blob{1, 2, 3}},
        {"blobAll", allBytes}};
    {
        JsonFileUserDefaults store(dir);
        store.setFloat("MapOpacity", 0.4f);
        store.setDouble("infinite", -INFINITY);  // JSON has no form for it: written as text
        for (const auto& [key, value] : rows) {
            store.setObject(key, value);
            EXPECT_FALSE(store.lastWriteError()) << key;
        }
        store.setString("SavedLocationType", "gps2");
        store.setString("SavedLocationType", std::nullopt);
        EXPECT_FALSE(store.objectForKey("SavedLocationType"));
    }
    JsonFileUserDefaults reopened(dir);
    EXPECT_FALSE(reopened.recoveryMessage());
    for (const auto& [key, value] : rows) {
        EXPECT_EQ(reopened.objectForKey(key), value) << key;
    }
    EXPECT_EQ(reopened.floatForKey("MapOpacity"), 0.4f);
    EXPECT_EQ(reopened.doubleForKey("infinite"), -INFINITY);
    EXPECT_EQ(reopened.allKeys().size(), std::size(rows) + 2);
    EXPECT_TRUE(logLines.empty());

    // What a person sees when opening the file.
    const std::string text = readBytes(dir / "defaults.json");
    EXPECT_NE(text.find("\n    \"MapOpacity\": 0.4,\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\"whole\": 1.0\n"), std::string::npos);
    EXPECT_EQ(fileJson()["blob3"], Json({{"data", "AQID"}}));
    EXPECT_FALSE(fileJson().contains("SavedLocationType"));
}

TEST_F(JsonFileUserDefaultsTest, TextThatIsNotUtf8IsSavedWithReplacementAndReported) {
    {
        JsonFileUserDefaults store(dir);
        store.setString("InputText", std::string("ok\xFF"));
        EXPECT_FALSE(store.lastWriteError());
        EXPECT_EQ(store.stringForKey("InputText"), std::string("ok\xFF")) << "kept for this run";
    }
    ASSERT_EQ(logLines.size(), 1u);
    EXPECT_NE(logLines[0].find("\"InputText\""), std::string::npos);
    JsonFileUserDefaults reopened(dir);
    EXPECT_FALSE(reopened.recoveryMessage());
    EXPECT_EQ(reopened.stringForKey("InputText"), "ok\xEF\xBF\xBD");
}

void setOrUnset(const char* name, const char* value) {
    value ? ::setenv(name, value, 1) : ::unsetenv(name);
}

TEST(JsonFileUserDefaultsDirectory, FollowsXdgConfigHomeThenHome) {
    const std::pair<const char*, const char*> rows[] = {{"/cfg", "/cfg/orvane"},
                                                        {"", "/home/u/.config/orvane"},
                                                        {nullptr, "/home/u/.config/orvane"},
                                                        {"relative/cfg", "/home/u/.config/orvane"}};
    const char* names[2] = {"XDG_CONFIG_HOME", "HOME"};
    std::optional<std::string> saved[2];
    for (int i = 0; i < 2; ++i) {
        if (const char* value = std::getenv(names[i])) {
            saved[i] = value;
        }
    }
    ::setenv("HOME", "/home/u", 1);
    for (const auto& [xdg, expected] : rows) {
        setOrUnset("XDG_CONFIG_HOME", xdg);
        EXPECT_EQ(JsonFileUserDefaults::defaultDirectory(), fs::path(expected))
            << (xdg ? xdg : "(unset)");
    }
    for (int i = 0; i < 2; ++i) {
        setOrUnset(names[i], saved[i] ? saved[i]->c_str() : nullptr);
    }
}

TEST_F(JsonFileUserDefaultsTest, BrokenFilesAreMovedAsideUnchangedAndBlankOnesAreEmptyStores) {
    const std::tuple<const char*, std::string, bool> rows[] = {
        {"empty", "", false},
        {"only white space", " \n\t\n", false},
        {"truncated", "{\n    \"haveinit\": true,\n    \"UIMode\": ", true},
        {"array at top level", "[\"haveinit\", true]", true},
        {"binary garbage", std::string("\x89PNG\r\n\x1a\n\0\0\xff\xfe", 12), true},
        {"not UTF-8 inside a string", "{\"InputText\": \"caf\xE9\"}", true},
        {"nested deeper than a member is kept",
         "{\"Future\": " + std::string(100000, '[') + std::string(100000, ']') + "}", true}};
    for (const auto& [what, bytes, broken] : rows) {
        SCOPED_TRACE(what);
        writeFile(bytes);
        logLines.clear();

        JsonFileUserDefaults store(dir);
        EXPECT_TRUE(store.allKeys().empty()) << "goes on with defaults";
        const auto stray = strayFiles(dir);
        ASSERT_EQ(stray.size(), broken ? 1u : 0u);
        ASSERT_EQ(store.recoveryMessage().has_value(), broken);
        ASSERT_EQ(logLines.size(), broken ? 1u : 0u);
        if (broken) {
            const fs::path moved = stray[0];
            EXPECT_TRUE(isMovedName(moved.filename().string())) << moved;
            EXPECT_EQ(readBytes(moved), bytes);
            EXPECT_FALSE(fs::exists(dir / "defaults.json"));
            EXPECT_NE(store.recoveryMessage()->find(moved.string()), std::string::npos);
            EXPECT_EQ(logLines[0], *store.recoveryMessage());
        }

        store.setBool("haveinit", true);
        EXPECT_FALSE(store.lastWriteError());
        EXPECT_EQ(fileJson(), Json({{"haveinit", true}}));
        EXPECT_EQ(strayFiles(dir), stray);
        for (const auto& moved : stray) {
            EXPECT_EQ(readBytes(moved), bytes);
        }
        fs::remove_all(dir);
    }
}

TEST_F(JsonFileUserDefaultsTest, FileBrokenWhileRunningIsMovedAsideAndThisRunKeepsItsValues) {
    JsonFileUserDefaults store(dir);
    store.setInteger("UIMode", 1);
    writeBytes(dir / "defaults.json", "{\"UIMode\": 2,");  // a hand edit gone wrong
    store.setBool("ShowGrid", true);
    ASSERT_TRUE(store.recoveryMessage());
    EXPECT_NE(store.recoveryMessage()->find("this run are saved"), std::string::npos);
    ASSERT_EQ(strayFiles(dir).size(), 1u);
    EXPECT_EQ(readBytes(strayFiles(dir)[0]), "{\"UIMode\": 2,");
    EXPECT_EQ(fileJson(), Json({{"UIMode", 1}, {"ShowGrid", true}}));
}

TEST_F(JsonFileUserDefaultsTest, MovedNameIsUniqueWhenTaken) {
    // Occupy the plain names of the next few seconds so the move must pick another.
    writeFile("{");
    std::vector<fs::path> occupied;
    for (int second = 0; second < 5; ++second) {
        const std::time_t t = std::time(nullptr) + second;
        std::tm local{};
        char stamp[32];
        std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", localtime_r(&t, &local));
        occupied.push_back(dir / (std::string("defaults.json.broken-") + stamp));
        writeBytes(occupied.back(), "older");
    }
    JsonFileUserDefaults store(dir);
    ASSERT_TRUE(store.recoveryMessage());
    int moved = 0;
    for (const auto& path : occupied) {
        EXPECT_EQ(readBytes(path), "older");
        moved += fs::exists(path.string() + "-2") && readBytes(path.string() + "-2") == "{";
    }
    EXPECT_EQ(moved, 1) << *store.recoveryMessage();
}

TEST_F(JsonFileUserDefaultsTest, BrokenFileThatCannotMoveIsNeverOverwritten) {
    // So deep that the file's own path fits the system's limit but its moved name does not.
    fs::path deep = root;
    while (deep.string().size() < 4070) {
        deep /= std::string(std::min<size_t>(4070 - deep.string().size() - 1, 200), 'd');
    }
    fs::create_directories(deep);
    const std::string bytes = "{\"haveinit\": tru";
    writeBytes(deep / "defaults.json", bytes);

    JsonFileUserDefaults store(deep);
    ASSERT_TRUE(store.recoveryMessage());
    EXPECT_NE(store.recoveryMessage()->find("could not be moved aside"), std::string::npos);
    store.setBool("haveinit", true);
    EXPECT_TRUE(store.boolForKey("haveinit")) << "kept in memory for this run";
    ASSERT_TRUE(store.lastWriteError());
    EXPECT_EQ(store.lastWriteError()->code, ENAMETOOLONG);
    EXPECT_EQ(readBytes(deep / "defaults.json"), bytes);
    EXPECT_TRUE(strayFiles(deep).empty());
}

TEST_F(JsonFileUserDefaultsTest, PathsInTheWayFailTheWriteButKeepTheValue) {
    fs::create_directories(dir / "defaults.json");  // a folder where the file should be
    writeBytes(root / "plain", "not a folder");     // a file where the folder should be
    const std::pair<fs::path, bool> rows[] = {{dir, true}, {root / "plain", false}};
    for (const auto& [where, reported] : rows) {
        SCOPED_TRACE(where);
        JsonFileUserDefaults store(where);
        EXPECT_EQ(store.recoveryMessage().has_value(), reported);
        store.setInteger("UIMode", 1);
        EXPECT_EQ(store.integerForKey("UIMode"), 1);
        ASSERT_TRUE(store.lastWriteError());
        EXPECT_NE(store.lastWriteError()->code, 0);
    }
    EXPECT_TRUE(fs::is_directory(dir / "defaults.json"));
    EXPECT_TRUE(fs::is_empty(dir / "defaults.json"));
    EXPECT_EQ(readBytes(root / "plain"), "not a folder");
}

TEST_F(JsonFileUserDefaultsTest, UnknownShapesAreKeptVerbatimAndReportedOnce) {
    const Json unknown = {
        {"nullValue", nullptr},
        {"nested", {{"a", Json::array({1, {{"b", nullptr}}, "c"})}}},
        {"mixedArray", Json::array({1, "x"})},
        {"badBase64", {{"data", "!!"}}},
        {"twoMembers", {{"data", "AA=="}, {"kind", "colour"}}},
        {"beyondInt64", std::uint64_t{18446744073709551615u}},
    };
    Json document = unknown;
    document["UIMode"] = 1;
    writeFile(document.dump());

    JsonFileUserDefaults store(dir);
    JsonFileUserDefaults other(dir);
    EXPECT_FALSE(store.recoveryMessage());
    EXPECT_EQ(store.allKeys(), std::vector<std::string>{"UIMode"});
    EXPECT_FALSE(store.objectForKey("nested"));
    EXPECT_EQ(logLines.size(), 2 * unknown.size()) << "one line per key and instance";
    for (const auto& [key, value] : unknown.items()) {
        const auto named = [&](const std::string& l) { return l.find('"' + key + '"') != l.npos; };
        EXPECT_EQ(std::ranges::count_if(logLines, named), 2) << key;
    }

    // `other` changes the file, so `store` merges with it on its write: nothing is logged anew.
    logLines.clear();
    other.setInteger("UIMode", 2);
    store.setBool("haveinit", true);
    EXPECT_TRUE(logLines.empty());
    document["UIMode"] = 2;
    document["haveinit"] = true;
    EXPECT_EQ(fileJson(), document);

    store.setInteger("nullValue", 5);  // writing over an unknown value replaces it
    EXPECT_EQ(fileJson()["nullValue"], 5);
}

TEST_F(JsonFileUserDefaultsTest, TwoInstancesKeepEachOthersKeys) {
    JsonFileUserDefaults camera(dir);
    JsonFileUserDefaults command(dir);
    camera.setInteger("UIMode", 1);
    command.setInteger("MapType", 2);
    camera.setBool("ShowGrid", true);
    command.setObject("UIMode", std::nullopt);
    camera.setInteger("ASUnits", 1);
    const Json saved = {{"MapType", 2}, {"ShowGrid", true}, {"ASUnits", 1}};
    EXPECT_EQ(fileJson(), saved);
    // Reads come from memory until the next write: `camera` has seen the removal by now.
    EXPECT_FALSE(camera.objectForKey("UIMode"));
    EXPECT_FALSE(command.objectForKey("ASUnits"));

    // Setting the value the file holds writes nothing (the file keeps its inode)...
    const auto inode = [&] {
        struct stat status {};
        EXPECT_EQ(::stat((dir / "defaults.json").c_str(), &status), 0);
        return status.st_ino;
    };
    const ino_t before = inode();
    camera.setInteger("ASUnits", 1);
    EXPECT_EQ(inode(), before) << "nothing to write";
    // ...but `camera` still believing 1 while the file says 2 must write its 1.
    command.setInteger("ASUnits", 2);
    camera.setInteger("ASUnits", 1);
    EXPECT_EQ(fileJson(), saved);
}

TEST_F(JsonFileUserDefaultsTest, LinkedFileIsWrittenWhereItPoints) {
    const fs::path dotfiles = root / "dotfiles";
    fs::create_directories(dotfiles);
    writeBytes(dotfiles / "orvane.json", "{\"UIMode\": 1}");
    fs::create_directories(dir);
    fs::create_symlink(dotfiles / "orvane.json", dir / "defaults.json");
    JsonFileUserDefaults store(dir);
    EXPECT_EQ(store.integerForKey("UIMode"), 1);
    store.setBool("ShowGrid", true);
    EXPECT_TRUE(fs::is_symlink(dir / "defaults.json"));
    EXPECT_EQ(Json::parse(readBytes(dotfiles / "orvane.json")),
              Json({{"UIMode", 1}, {"ShowGrid", true}}));
}

TEST_F(JsonFileUserDefaultsTest, ProcessesWritingAtOnceLoseNothing) {
    constexpr int kProcesses = 4, kKeys = 20;
    std::vector<pid_t> children;
    std::fflush(nullptr);  // children must not repeat the test runner's buffered output
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            JsonFileUserDefaults store(dir);
            for (int k = 0; k < kKeys; ++k) {
                store.setInteger("p" + std::to_string(p) + "k" + std::to_string(k), k);
                if (store.lastWriteError()) {
                    ::_exit(1);
                }
            }
            ::_exit(0);
        }
        children.push_back(pid);
    }
    for (pid_t pid : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    JsonFileUserDefaults reopened(dir);
    EXPECT_EQ(reopened.allKeys().size(), size_t{kProcesses * kKeys});
    EXPECT_EQ(reopened.integerForKey("p3k19"), 19);
}

// A counter that processes advance at once hands each of them its own values, also from inside
// a batch of other changes.
TEST_F(JsonFileUserDefaultsTest, ProcessesAdvancingACounterNeverTakeOneValueTwice) {
    constexpr int kProcesses = 4, kTakes = 25;
    int pipeFds[2];
    ASSERT_EQ(::pipe(pipeFds), 0);
    std::vector<pid_t> children;
    std::fflush(nullptr);
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            JsonFileUserDefaults store(dir);
            UserDefaults::ChangeBatch batch(store);
            for (int k = 0; k < kTakes; ++k) {
                const auto taken = UserDefaults::integerOf(store.updateObject(
                    "FileNameIndex", [](const std::optional<DefaultsValue>& value) {
                        return DefaultsValue{UserDefaults::integerOf(value) + 1};
                    }));
                const std::int32_t value = static_cast<std::int32_t>(taken);
                if (::write(pipeFds[1], &value, sizeof value) != sizeof value) {
                    ::_exit(1);
                }
            }
            ::_exit(0);
        }
        children.push_back(pid);
    }
    ::close(pipeFds[1]);
    for (pid_t pid : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    std::set<std::int32_t> taken;
    std::int32_t value = 0;
    while (::read(pipeFds[0], &value, sizeof value) == sizeof value) {
        EXPECT_TRUE(taken.insert(value).second) << value << " taken twice";
    }
    ::close(pipeFds[0]);
    EXPECT_EQ(taken.size(), size_t{kProcesses * kTakes});
    EXPECT_EQ(JsonFileUserDefaults(dir).integerForKey("FileNameIndex"), kProcesses * kTakes);
}

TEST_F(JsonFileUserDefaultsTest, ThreadsOfTwoInstancesWritingAtOnceLoseNothing) {
    constexpr int kThreads = 6, kKeys = 15;
    JsonFileUserDefaults first(dir);
    JsonFileUserDefaults second(dir);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            JsonFileUserDefaults& store = t % 2 ? first : second;
            for (int k = 0; k < kKeys; ++k) {
                std::string key = "t";  // appended, not "t" + ...: GCC 12 warns falsely at -O3
                key += std::to_string(t) + "k" + std::to_string(k);
                store.setInteger(key, k);
                EXPECT_EQ(store.integerForKey(key), k);
                (void)store.allKeys();
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(first.lastWriteError());
    EXPECT_FALSE(second.lastWriteError());
    EXPECT_EQ(JsonFileUserDefaults(dir).allKeys().size(), size_t{kThreads * kKeys});
}

TEST_F(JsonFileUserDefaultsTest, FailedWriteKeepsTheOldFileAndTheNewValueInMemory) {
    JsonFileUserDefaults store(dir);
    store.setString("FileNamePrefix", "IMG");
    const std::string before = readBytes(dir / "defaults.json");
    // A file size limit makes the write fail with EFBIG (the signal it would raise is ignored).
    rlimit saved{};
    ::getrlimit(RLIMIT_FSIZE, &saved);
    const sighandler_t savedHandler = ::signal(SIGXFSZ, SIG_IGN);
    rlimit lowered = saved;
    lowered.rlim_cur = before.size() + 16;
    ::setrlimit(RLIMIT_FSIZE, &lowered);
    store.setString("InputText", std::string(200, 'x'));
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ::signal(SIGXFSZ, savedHandler);
    EXPECT_EQ(readBytes(dir / "defaults.json"), before);
    EXPECT_TRUE(strayFiles(dir).empty()) << "temporary file removed";
    EXPECT_EQ(store.stringForKey("InputText"), std::string(200, 'x'));
    ASSERT_TRUE(store.lastWriteError());
    EXPECT_EQ(store.lastWriteError()->domain, "Orvane.Settings");
    EXPECT_EQ(store.lastWriteError()->code, EFBIG);
    EXPECT_EQ(store.lastWriteError()->failureReason, std::strerror(EFBIG));
    ASSERT_EQ(logLines.size(), 1u);
    EXPECT_NE(logLines[0].find((dir / "defaults.json").string()), std::string::npos);
    EXPECT_NE(logLines[0].find(std::strerror(EFBIG)), std::string::npos);

    // Once writing works again, the change that failed is saved along with the next.
    store.setBool("haveinit", true);
    EXPECT_FALSE(store.lastWriteError());
    EXPECT_EQ(JsonFileUserDefaults(dir).stringForKey("InputText"), std::string(200, 'x'));
}

}  // namespace
}  // namespace orvane::platform
