// `orvane library list`, run as its own process on a library filled in a temporary folder.
#include <filesystem>
#include <fstream>
#include <future>

#include "foundation/Clock.h"
#include "platform/library/FolderPhotoLibrary.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "tests/app/command_test_support.h"

namespace orvane::app {
namespace {

namespace fs = std::filesystem;

using testing::CommandTest;
using testing::Result;

class LibraryCommandTest : public CommandTest {
  protected:
    void SetUp() override {
        CommandTest::SetUp();
        library = folder / "Library";
    }

    Result list() {
        return runShell("env TZ=UTC ORVANE_LIBRARY_DIR='" + library.string() + "' '" +
                        ORVANE_BINARY + "' --config-dir '" + (folder / "config").string() +
                        "' library list");
    }

    // Adds a photo and a movie as the camera would; answers their identifiers.
    std::pair<std::string, std::string> fill() {
        platform::MemoryUserDefaults defaults;
        foundation::ManualClock clock(1700000000.0);
        platform::FolderPhotoLibrary photos({{library, true}, folder / "thumbnails"}, defaults,
                                            clock);
        const auto movie = folder / "Movie.MOV";
        std::ofstream(movie) << "movie";
        std::string photo;
        std::string video;
        std::promise<bool> done;
        photos.performChanges(
            [&](platform::PhotoLibraryChanges& changes) {
                photo = changes.addResourceWithTypeData(platform::PHAssetResourceType::Photo,
                                                        {0xFF, 0xD8}, {"20231114_221320.JPG"});
                video =
                    changes.addResourceWithTypeFileURL(platform::PHAssetResourceType::Video, movie,
                                                       {"20231114_221320.MOV", true}, 1700000100.0);
            },
            [&](bool success, const auto&) { done.set_value(success); });
        EXPECT_TRUE(done.get_future().get());
        return {photo, video};
    }

    fs::path library;
};

TEST_F(LibraryCommandTest, ListsEachAssetOnItsOwnLine) {
    const auto [photo, video] = fill();
    const auto result = list();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, photo + "\tphoto\t2023-11-14T22:13:20+00:00\t" +
                              (library / "20231114_221320.JPG").string() + "\n" + video +
                              "\tvideo\t2023-11-14T22:15:00+00:00\t" +
                              (library / "20231114_221320.MOV").string() + "\n");
}

TEST_F(LibraryCommandTest, AnEmptyLibraryListsNothingAndMakesNothing) {
    const auto result = list();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_FALSE(fs::exists(library));
}

TEST_F(LibraryCommandTest, RefusalsAndBrokenIndexesAreReported) {
    fill();
    fs::create_directories(folder / "config");
    std::ofstream(folder / "config" / "defaults.json")
        << R"({"PhotoLibraryAccessLevel": "addOnly"})";
    const auto refused = list();
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err, "orvane library list: Orvane may only add to the photo library at " +
                               library.string() + "\n");

    std::ofstream(folder / "config" / "defaults.json") << "{}";
    std::ofstream(library / ".orvane-index.sqlite", std::ios::trunc) << std::string(2048, 'x');
    const auto broken = list();
    EXPECT_EQ(broken.status, 1);
    EXPECT_NE(broken.err.find("index at " + (library / ".orvane-index.sqlite").string() +
                              " cannot be read"),
              std::string::npos)
        << broken.err;
}

}  // namespace
}  // namespace orvane::app
