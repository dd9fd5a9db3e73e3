#include "capture/media_naming.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "platform/sim/MemoryUserDefaults.h"
#include "screen/settings_cache.h"
#include "screen/settings_session.h"

namespace orvane::capture {
namespace {

using std::chrono::system_clock;

constexpr const char* kT = "20260314_091530";
constexpr const char* kD = "20260314";

enum Kind { kPhoto, kMov, kMp4 };

struct NameRow {
    std::int64_t format;
    Kind kind;
    bool text;      // custom text "My trip" is set
    bool onSwitch;  // "End file name with custom text"
    bool prefix;    // prefix "P" is set
    bool tags;      // tags "a", "b" are selected
    std::optional<std::string> expected;
};

MediaNameInputs inputsFor(const NameRow& row) {
    MediaNameInputs in;
    in.format = row.format;
    if (row.prefix)
        in.prefix = "P";
    in.nameWithCustomText = row.onSwitch;
    if (row.text)
        in.customText = "My trip";
    if (row.tags)
        in.tags = {"a", "b"};
    in.index = 42;
    in.timeStamp = kT;
    in.dateStamp = kD;
    in.movie = row.kind != kPhoto;
    in.videoExtensionMode = row.kind == kMp4 ? 1 : 0;
    return in;
}

std::string describe(const NameRow& row) {
    return "format " + std::to_string(row.format) +
           (row.kind == kPhoto ? " photo"
            : row.kind == kMov ? " mov"
                               : " mp4") +
           (row.text ? " text" : "") + (row.onSwitch ? " switch" : "") +
           (row.prefix ? " prefix" : "") + (row.tags ? " tags" : "");
}

TEST(MediaFileName, FollowsTheFormatTable) {
    const std::optional<std::string> none;
    // format, kind, text, switch, prefix, tags, expected
    const std::vector<NameRow> rows = {
        // 0 for movies shares format 2's path.
        {0, kMov, true, true, false, false, "20260314_091530_My-trip.MOV"},
        {0, kMp4, true, false, false, false, "20260314_091530.MP4"},
        {0, kMov, false, true, false, false, "20260314_091530.MOV"},
        {0, kMov, true, true, true, false, "P_20260314_091530_My-trip.MOV"},
        {0, kMov, false, false, true, true, "P_20260314_091530.MOV"},
        // 0 for photos: the one format that may leave the name to the library.
        {0, kPhoto, true, true, false, false, "20260314_091530_My-trip.JPG"},
        {0, kPhoto, true, true, true, false, "P_20260314_091530_My-trip.JPG"},
        {0, kPhoto, false, true, false, false, none},
        {0, kPhoto, false, true, true, false, none},
        {0, kPhoto, false, false, true, false, "P_20260314_091530.JPG"},
        {0, kPhoto, true, false, true, false, "P_20260314_091530.JPG"},
        {0, kPhoto, true, false, false, false, none},
        // 1: the prefix stands in place of "QK", never in front of it.
        {1, kPhoto, true, true, false, false, "QK_00042_My-trip.JPG"},
        {1, kPhoto, true, true, true, false, "P_00042_My-trip.JPG"},
        {1, kPhoto, true, false, false, false, "QK_00042.JPG"},
        {1, kMp4, false, true, true, false, "P_00042.MP4"},
        // 2
        {2, kPhoto, true, true, false, false, "20260314_091530_My-trip.JPG"},
        {2, kPhoto, true, false, false, false, "20260314_091530.JPG"},
        {2, kPhoto, false, false, true, false, "P_20260314_091530.JPG"},
        {2, kMov, false, false, false, false, "20260314_091530.MOV"},
        // 3: text first, with or without the switch.
        {3, kPhoto, true, false, false, false, "My-trip_20260314_091530_00042.JPG"},
        {3, kPhoto, false, true, false, false, "20260314_091530_00042.JPG"},
        {3, kMov, true, true, true, true, "P_My-trip_20260314_091530_00042.MOV"},
        // 4: tags in front of the finished name, the prefix in front of them.
        {4, kPhoto, true, true, false, true, "a-b_20260314_091530_00042_My-trip.JPG"},
        {4, kPhoto, true, false, false, true, "a-b_20260314_091530_00042.JPG"},
        {4, kPhoto, true, true, false, false, "20260314_091530_00042_My-trip.JPG"},
        {4, kMp4, true, true, true, true, "P_a-b_20260314_091530_00042_My-trip.MP4"},
        // 5
        {5, kPhoto, true, true, false, true, "20260314_091530_00042_My-trip.JPG"},
        {5, kPhoto, true, false, true, false, "P_20260314_091530_00042.JPG"},
        // 6
        {6, kPhoto, true, false, false, false, "My-trip_20260314_00042.JPG"},
        {6, kMov, false, true, true, false, "P_20260314_00042.MOV"},
        // 7
        {7, kPhoto, true, true, false, true, "a-b_20260314_00042_My-trip.JPG"},
        {7, kPhoto, true, false, true, true, "P_a-b_20260314_00042.JPG"},
        {7, kPhoto, false, true, false, false, "20260314_00042.JPG"},
        // 8
        {8, kPhoto, true, true, false, false, "20260314_00042_My-trip.JPG"},
        {8, kMp4, true, false, false, true, "20260314_00042.MP4"},
        // 9: with no text, the stamp and extension alone.
        {9, kPhoto, true, false, false, false, "My-trip_20260314_091530.JPG"},
        {9, kPhoto, false, true, false, false, "20260314_091530.JPG"},
        {9, kPhoto, false, false, true, false, "P_20260314_091530.JPG"},
        // 10: tags behind the name, before the extension.
        {10, kPhoto, true, false, false, true, "20260314_091530_My-trip_a-b.JPG"},
        {10, kPhoto, false, false, false, true, "20260314_091530_a-b.JPG"},
        {10, kPhoto, false, false, false, false, "20260314_091530.JPG"},
        {10, kMov, true, true, true, true, "P_20260314_091530_My-trip_a-b.MOV"},
        // Outside the table.
        {11, kPhoto, true, true, true, true, none},
        {11, kMov, false, false, false, false, none},
        {-1, kMp4, false, false, false, false, none},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(mediaFileName(inputsFor(row)), row.expected) << describe(row);
    }
}

TEST(MediaFileName, AnEmptyPrefixIsNoPrefix) {
    MediaNameInputs in = inputsFor({1, kPhoto, false, false, false, false, {}});
    in.prefix = "";
    EXPECT_EQ(mediaFileName(in), "QK_00042.JPG");
    in.format = 9;
    EXPECT_EQ(mediaFileName(in), "20260314_091530.JPG");
    in.format = 0;
    EXPECT_EQ(mediaFileName(in), std::nullopt);
}

TEST(MediaFileName, TextCleanedToNothingLeavesAnEmptyField) {
    MediaNameInputs in = inputsFor({5, kPhoto, false, true, false, false, {}});
    in.customText = "*?:/";
    EXPECT_EQ(mediaFileName(in), "20260314_091530_00042_.JPG");
    in.format = 3;
    EXPECT_EQ(mediaFileName(in), "_20260314_091530_00042.JPG");
    // White space alone has length, so it is text, and cleans to nothing.
    in.customText = "  \n ";
    EXPECT_EQ(mediaFileName(in), "_20260314_091530_00042.JPG");
}

TEST(MediaFileName, IndexIsFiveDigitsWide) {
    MediaNameInputs in = inputsFor({1, kPhoto, false, false, false, false, {}});
    for (auto [index, text] : std::vector<std::pair<std::int64_t, std::string>>{
             {0, "QK_00000.JPG"}, {42, "QK_00042.JPG"}, {9999, "QK_09999.JPG"}}) {
        in.index = index;
        EXPECT_EQ(mediaFileName(in), text);
    }
}

TEST(CleanedCustomText, TrimsReplacesAndRemoves) {
    struct Row {
        std::string in, out;
    };
    const std::vector<Row> rows = {
        {"My trip", "My-trip"},
        {"a:b", "ab"},
        {"  line one\nline two \n", "line-one-line-two"},
        {"*/\\!|:?<>", ""},
        {"a*b/c\\d!e|f:g?h<i>j", "abcdefghij"},
        {"\t\r\n", ""},
        // The trim knows Unicode spaces (no-break, ideographic) at the ends only.
        {"\u00a0\u3000旅行 日记\u3000", "旅行-日记"},
        {"x\u00a0y", "x\u00a0y"},
        {"a\r\nb", "a\r-b"},
        {"-_.", "-_."},
    };
    for (const auto& row : rows)
        EXPECT_EQ(cleanedCustomText(row.in), row.out) << row.in;
}

TEST(NextFileNameIndex, WrapsAfter9999) {
    EXPECT_EQ(nextFileNameIndex(0), 1);
    EXPECT_EQ(nextFileNameIndex(9998), 9999);
    EXPECT_EQ(nextFileNameIndex(9999), 0);
    EXPECT_EQ(nextFileNameIndex(12345), 0);
}

class ScopedTimeZone {
  public:
    explicit ScopedTimeZone(const char* zone) {
        if (const char* old = std::getenv("TZ"))
            _old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        if (_old) {
            setenv("TZ", _old->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

  private:
    std::optional<std::string> _old;
};

system_clock::time_point utc(std::int64_t secondsSince1970) {
    return system_clock::time_point(std::chrono::seconds(secondsSince1970));
}

TEST(FileNameStamps, AreInTheSystemTimeZone) {
    // 2026-03-14 23:40:05 UTC.
    const auto instant = utc(1773531605) + std::chrono::milliseconds(999);
    {
        ScopedTimeZone zone("UTC0");
        FileNameStamps stamps = fileNameStamps(instant);
        EXPECT_EQ(stamps.timeStamp, "20260314_234005");
        EXPECT_EQ(stamps.dateStamp, "20260314");
    }
    {
        // Five and a half hours east: the local date is already the next day.
        ScopedTimeZone zone("IST-5:30");
        FileNameStamps stamps = fileNameStamps(instant);
        EXPECT_EQ(stamps.timeStamp, "20260315_051005");
        EXPECT_EQ(stamps.dateStamp, "20260315");
    }
}

class StoredNaming : public ::testing::Test {
  protected:
    void SetUp() override {
        cache.setFileNameFormat(1);
        cache.setVideoExtensionMode(1);
    }

    ScopedTimeZone zone{"UTC0"};
    platform::MemoryUserDefaults defaults;
    screen::ZephrinSessionManagerStore store{defaults};
    screen::SettingsCache cache;
    const system_clock::time_point now = utc(1773531605);
};

TEST_F(StoredNaming, MovieReadsAndSavesTheStoredIndexAndLeavesTheCache) {
    store.saveFileNameIndex(9999);
    cache.gSetFileNameIndex(7);
    EXPECT_EQ(movieFileName(cache, store, now), "QK_09999.MP4");
    EXPECT_EQ(store.readFileNameIndex(), 0);
    EXPECT_EQ(cache.gGetFileNameIndex(), 7);
    EXPECT_EQ(movieFileName(cache, store, now), "QK_00000.MP4");
    EXPECT_EQ(store.readFileNameIndex(), 1);
}

TEST_F(StoredNaming, PhotoReadsTheCacheAndSavesBoth) {
    store.saveFileNameIndex(5);
    cache.gSetFileNameIndex(42);
    cache.gSetFileNamePrefix(std::nullopt);
    EXPECT_EQ(photoFileName(cache, store, now), "QK_00042.JPG");
    EXPECT_EQ(store.readFileNameIndex(), 43);
    EXPECT_EQ(cache.gGetFileNameIndex(), 43);
}

TEST_F(StoredNaming, EveryFormatAdvancesTheIndexEvenWithoutAName) {
    for (std::int64_t format : {2, 0, 11}) {
        cache.setFileNameFormat(format);
        cache.gSetFileNameIndex(100);
        photoFileName(cache, store, now);
        EXPECT_EQ(cache.gGetFileNameIndex(), 101) << format;
        store.saveFileNameIndex(200);
        movieFileName(cache, store, now);
        EXPECT_EQ(store.readFileNameIndex(), 201) << format;
    }
}

TEST_F(StoredNaming, ReadsTextTagsPrefixAndSwitchFromTheCache) {
    cache.setFileNameFormat(4);
    cache.setVideoExtensionMode(0);
    cache.SetIsNameWithCustomText(true);
    cache.setInputString("Site 7: north");
    cache.setSelectTags({"crack", "wall"});
    cache.gSetFileNamePrefix(std::string("ACME"));
    store.saveFileNameIndex(3);
    EXPECT_EQ(movieFileName(cache, store, now),
              "ACME_crack-wall_20260314_234005_00003_Site-7-north.MOV");
}

}  // namespace
}  // namespace orvane::capture
