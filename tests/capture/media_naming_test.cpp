#include "capture/media_naming.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_cache.h"
#include "screen/settings_session.h"
#include "tests/capture/scoped_time_zone.h"

namespace orvane::capture {
namespace {

using std::chrono::system_clock;

enum Kind { kPhoto, kMov, kMp4 };

struct NameRow {
    std::int64_t format;
    Kind kind;
    // x: custom text "My trip"; s: the switch on; p: prefix "P"; e: empty prefix; g: tags a, b.
    std::string flags;
    const char* expected;  // nullptr: no name
};

TEST(MediaFileName, FollowsTheFormatTable) {
    const std::vector<NameRow> rows = {
        {0, kMov, "xs", "20260314_091530_My-trip.MOV"},  // movies share format 2's path
        {0, kMp4, "x", "20260314_091530.MP4"},
        {0, kMov, "s", "20260314_091530.MOV"},
        {0, kMov, "xsp", "P_20260314_091530_My-trip.MOV"},
        {0, kPhoto, "xs", "20260314_091530_My-trip.JPG"},
        {0, kPhoto, "xsp", "P_20260314_091530_My-trip.JPG"},
        {0, kPhoto, "sp", nullptr},
        {0, kPhoto, "p", "P_20260314_091530.JPG"},
        {0, kPhoto, "xp", "P_20260314_091530.JPG"},
        {0, kPhoto, "xe", nullptr},
        {1, kPhoto, "xs", "QK_00042_My-trip.JPG"},  // the prefix replaces QK
        {1, kPhoto, "xsp", "P_00042_My-trip.JPG"},
        {1, kPhoto, "xe", "QK_00042.JPG"},
        {1, kMp4, "sp", "P_00042.MP4"},
        {2, kPhoto, "xs", "20260314_091530_My-trip.JPG"},
        {2, kPhoto, "xp", "P_20260314_091530.JPG"},
        {3, kPhoto, "x", "My-trip_20260314_091530_00042.JPG"},  // text without the switch
        {3, kPhoto, "s", "20260314_091530_00042.JPG"},
        {3, kMov, "xspg", "P_My-trip_20260314_091530_00042.MOV"},
        {4, kPhoto, "xsg", "a-b_20260314_091530_00042_My-trip.JPG"},
        {4, kPhoto, "xg", "a-b_20260314_091530_00042.JPG"},
        {4, kPhoto, "xs", "20260314_091530_00042_My-trip.JPG"},
        {4, kMp4, "xspg", "P_a-b_20260314_091530_00042_My-trip.MP4"},
        {5, kPhoto, "xsg", "20260314_091530_00042_My-trip.JPG"},
        {5, kPhoto, "xp", "P_20260314_091530_00042.JPG"},
        {6, kPhoto, "x", "My-trip_20260314_00042.JPG"},
        {6, kMov, "sp", "P_20260314_00042.MOV"},
        {7, kPhoto, "xsg", "a-b_20260314_00042_My-trip.JPG"},
        {7, kPhoto, "xpg", "P_a-b_20260314_00042.JPG"},
        {8, kPhoto, "xs", "20260314_00042_My-trip.JPG"},
        {8, kMp4, "xg", "20260314_00042.MP4"},
        {9, kPhoto, "x", "My-trip_20260314_091530.JPG"},
        {9, kPhoto, "s", "20260314_091530.JPG"},
        {9, kPhoto, "p", "P_20260314_091530.JPG"},
        {10, kPhoto, "xg", "20260314_091530_My-trip_a-b.JPG"},  // tags behind the name
        {10, kPhoto, "g", "20260314_091530_a-b.JPG"},
        {10, kMov, "xspg", "P_20260314_091530_My-trip_a-b.MOV"},
        {11, kPhoto, "xspg", nullptr},
        {11, kMov, "", nullptr},
        {-1, kMp4, "", nullptr},
    };
    for (const auto& row : rows) {
        auto has = [&](char flag) { return row.flags.find(flag) != std::string::npos; };
        MediaNameInputs in;
        in.format = row.format;
        in.nameWithCustomText = has('s');
        if (has('x'))
            in.customText = "My trip";
        in.index = 42;
        in.timeStamp = "20260314_091530";
        in.dateStamp = "20260314";
        in.movie = row.kind != kPhoto;
        in.videoExtensionMode = row.kind == kMp4 ? 1 : 0;
        if (has('p') || has('e'))
            in.prefix = has('p') ? "P" : "";
        if (has('g'))
            in.tags = {"a", "b"};
        auto expected = row.expected ? std::optional<std::string>(row.expected) : std::nullopt;
        EXPECT_EQ(mediaFileName(in), expected) << row.format << " " << row.kind << " " << row.flags;
    }
}

TEST(MediaFileName, TextCleanedToNothingLeavesAnEmptyField) {
    MediaNameInputs in;
    in.format = 5;
    in.nameWithCustomText = true;
    in.customText = "*?:/";
    in.index = 7;
    in.timeStamp = "20260314_091530";
    EXPECT_EQ(mediaFileName(in), "20260314_091530_00007_.JPG");
    in.format = 3;
    in.customText = "  \n ";  // has length, so it is text
    EXPECT_EQ(mediaFileName(in), "_20260314_091530_00007.JPG");
}

TEST(CleanedCustomText, TrimsReplacesAndRemoves) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"  line one\nline two \n", "line-one-line-two"},
        {"a*b/c\\d!e|f:g?h<i>j", "abcdefghij"},
        {"\u00a0\u3000旅行 日记\u3000", "旅行-日记"},  // Unicode spaces trimmed at the ends only
        {"x\u00a0y", "x\u00a0y"},
        {"a\r\nb", "a\r-b"},
    };
    for (const auto& [in, out] : rows)
        EXPECT_EQ(cleanedCustomText(in), out) << in;
}

TEST(FileNameStamps, AreInTheSystemTimeZone) {
    const auto instant = system_clock::time_point(std::chrono::seconds(1773531605));  // 23:40:05Z
    ScopedTimeZone zone("IST-5:30");  // already the next day there
    FileNameStamps stamps = fileNameStamps(instant + std::chrono::milliseconds(999));
    EXPECT_EQ(stamps.timeStamp, "20260315_051005");
    EXPECT_EQ(stamps.dateStamp, "20260315");
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
    const system_clock::time_point now{std::chrono::seconds(1773531605)};
};

TEST_F(StoredNaming, MovieUsesTheStoredIndexAndPhotoTheCachedOne) {
    store.saveFileNameIndex(9999);
    cache.gSetFileNameIndex(42);
    EXPECT_EQ(movieFileName(cache, store, now), "QK_09999.MP4");
    EXPECT_EQ(store.readFileNameIndex(), 0);
    EXPECT_EQ(cache.gGetFileNameIndex(), 42);  // the recording's stop copies it over
    EXPECT_EQ(movieFileName(cache, store, now), "QK_00000.MP4");

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
        movieFileName(cache, store, now);
        EXPECT_EQ(store.readFileNameIndex(), 102) << format;
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
