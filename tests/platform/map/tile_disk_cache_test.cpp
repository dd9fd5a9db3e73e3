// The tile cache on disk: tiles kept between runs, the oldest dropped past the cap, stale ones
// not used, and half-written files never read.
#include "platform/map/TileDiskCache.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "tests/platform/map/map_test_support.h"

namespace orvane::platform {
namespace {

namespace fs = std::filesystem;

TEST(TileDiskCacheTest, TilesOutliveTheCacheThatWroteThem) {
    testing::ScratchFolder scratch;
    {
        TileDiskCache cache(scratch.path(), 1000, 3600);
        cache.write("abc/3/4/5", "tile three-four-five");
    }
    TileDiskCache later(scratch.path(), 1000, 3600);
    EXPECT_EQ(later.read("abc/3/4/5"), "tile three-four-five");
    EXPECT_EQ(later.read("abc/3/4/6"), std::nullopt);
    EXPECT_EQ(later.sizeBytes(), 20u);
}

TEST(TileDiskCacheTest, TheOldestTilesGoFirstPastTheCap) {
    testing::ScratchFolder scratch;
    TileDiskCache cache(scratch.path(), 250, 3600);
    for (const char* key : {"t/1/0/0", "t/1/0/1", "t/1/1/0"}) {
        cache.write(key, std::string(100, 'x'));
        // Write times a little apart, as on any file system's clock.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(cache.read("t/1/0/0"), std::nullopt);
    EXPECT_TRUE(cache.read("t/1/0/1"));
    EXPECT_TRUE(cache.read("t/1/1/0"));
    EXPECT_EQ(cache.sizeBytes(), 200u);
    EXPECT_FALSE(fs::exists(scratch.path() / "t/1/0/0.tile"));
    // A cache opened afterwards counts the same and goes on from there.
    TileDiskCache again(scratch.path(), 250, 3600);
    EXPECT_EQ(again.sizeBytes(), 200u);
    again.write("t/1/1/1", std::string(100, 'y'));
    EXPECT_EQ(again.read("t/1/0/1"), std::nullopt);
    EXPECT_EQ(again.sizeBytes(), 200u);
}

TEST(TileDiskCacheTest, StaleTilesAreNotUsed) {
    testing::ScratchFolder scratch;
    TileDiskCache cache(scratch.path(), 1000, 3600);
    cache.write("t/2/1/1", "old");
    fs::last_write_time(scratch.path() / "t/2/1/1.tile",
                        fs::file_time_type::clock::now() - std::chrono::hours(2));
    TileDiskCache reopened(scratch.path(), 1000, 3600);
    EXPECT_EQ(reopened.read("t/2/1/1"), std::nullopt);
}

TEST(TileDiskCacheTest, HalfWrittenFilesAreClearedAndNeverRead) {
    testing::ScratchFolder scratch;
    fs::create_directories(scratch.path() / "t/2/1");
    std::ofstream(scratch.path() / "t/2/1/1.tile.4242.part") << "half a ti";
    TileDiskCache cache(scratch.path(), 1000, 3600);
    EXPECT_EQ(cache.read("t/2/1/1"), std::nullopt);
    EXPECT_EQ(cache.sizeBytes(), 0u);
    EXPECT_FALSE(fs::exists(scratch.path() / "t/2/1/1.tile.4242.part"));
}

TEST(TileDiskCacheTest, AFolderThatCannotBeWrittenOnlyCachesNothing) {
    testing::ScratchFolder scratch;
    std::ofstream(scratch.path() / "file") << "a file where the folder would be";
    TileDiskCache cache(scratch.path() / "file", 1000, 3600);
    cache.write("t/1/0/0", "tile");
    EXPECT_EQ(cache.read("t/1/0/0"), std::nullopt);
    EXPECT_EQ(cache.sizeBytes(), 0u);
}

}  // namespace
}  // namespace orvane::platform
