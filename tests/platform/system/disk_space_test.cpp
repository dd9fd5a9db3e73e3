// Free space read on the disk that holds a path, on a disk of a known size.
#include "platform/system/disk_space.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace orvane::platform {
namespace {

TEST(FreeDiskspaceTest, ReadsTheDiskOfThePathAndZeroWhenThereIsNone) {
    std::string pattern = std::filesystem::temp_directory_path() / "orvane-disk-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    const std::filesystem::path disk = pattern;
    if (::mount("orvane-test", disk.c_str(), "tmpfs", 0, "size=8m") != 0) {
        std::filesystem::remove_all(disk);
        GTEST_SKIP() << "a disk of known size needs root to mount a tmpfs: "
                     << std::strerror(errno);
    }
    std::filesystem::create_directory(disk / "drafts");
    EXPECT_EQ(freeDiskspaceNew(disk / "drafts"), 8);
    {
        std::ofstream fill(disk / "drafts" / "movie.mov", std::ios::binary);
        const std::string mebibyte(1 << 20, 'x');
        for (int i = 0; i < 3; ++i) {
            fill << mebibyte;
        }
    }
    EXPECT_EQ(freeDiskspaceNew(disk / "drafts"), 5);
    // The disk of the path, not the root's: the two differ on any machine with a working "/".
    EXPECT_NE(freeDiskspaceNew(disk), freeDiskspaceNew("/"));
    ::umount2(disk.c_str(), MNT_DETACH);
    std::filesystem::remove_all(disk);

    EXPECT_EQ(freeDiskspaceNew(disk / "drafts"), 0);
}

}  // namespace
}  // namespace orvane::platform
