#include "foundation/log.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "foundation/Error.h"

namespace orvane::foundation {
namespace {

class CapturedLog {
  public:
    CapturedLog() {
        setLogSink([this](const std::string& line) { lines.push_back(line); });
    }
    ~CapturedLog() { setLogSink({}); }
    std::vector<std::string> lines;
};

TEST(Log, FormatsOneLineWithoutLevel) {
    CapturedLog captured;
    log("audio diff %f", 0.75);
    log("%s input not ready for more media data, dropping buffer", "video");
    log("allocator changing");
    ASSERT_EQ(captured.lines.size(), 3u);
    EXPECT_EQ(captured.lines[0], "audio diff 0.750000");
    EXPECT_EQ(captured.lines[1], "video input not ready for more media data, dropping buffer");
    EXPECT_EQ(captured.lines[2], "allocator changing");
}

TEST(Log, KeepsLongLinesWhole) {
    CapturedLog captured;
    const std::string longText(5000, 'x');
    log("start %s end", longText.c_str());
    ASSERT_EQ(captured.lines.size(), 1u);
    EXPECT_EQ(captured.lines[0], "start " + longText + " end");
}

TEST(Log, LinesFromManyThreadsArriveWhole) {
    CapturedLog captured;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                log("thread %d line %d", t, i);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    ASSERT_EQ(captured.lines.size(), 800u);
    for (const auto& line : captured.lines) {
        EXPECT_EQ(line.rfind("thread ", 0), 0u) << line;
    }
}

TEST(ErrorMessage, NamesDomainCodeAndReason) {
    const Error withReason{"Zephrin", 0, "Recording cannot be started",
                           "Cannot setup asset writer input."};
    EXPECT_EQ(withReason.message(),
              "Zephrin 0: Recording cannot be started (Cannot setup asset writer input.)");
    const Error withoutReason{"Orvane.Settings", 28, "The settings could not be saved", ""};
    EXPECT_EQ(withoutReason.message(), "Orvane.Settings 28: The settings could not be saved");
}

}  // namespace
}  // namespace orvane::foundation
