#include "foundation/log.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/Error.h"
#include "tests/foundation/dispatch_test_support.h"

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

TEST(Log, FormatsOneLineWithoutLevelAndKeepsLongLinesWhole) {
    CapturedLog captured;
    const std::string longText(5000, 'x');
    log("audio diff %f", 0.75);
    log("%s input not ready for more media data, dropping buffer", "video");
    log("allocator changing");
    log("start %s end", longText.c_str());
    EXPECT_EQ(captured.lines, (std::vector<std::string>{
                                  "audio diff 0.750000",
                                  "video input not ready for more media data, dropping buffer",
                                  "allocator changing", "start " + longText + " end"}));
}

TEST(Log, LinesFromManyThreadsArriveWhole) {
    CapturedLog captured;
    testing::repeatOnThreads(4, 200, [](int t, int i) { log("thread %d line %d", t, i); });
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
