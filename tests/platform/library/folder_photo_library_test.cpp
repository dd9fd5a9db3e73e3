// The folder photo library against a real SQLite index and real files in a temporary folder:
// where the folder is, the access levels, moves, names, albums and change blocks.
#include <gtest/gtest.h>

#include "tests/platform/library/folder_library_rig.h"

namespace orvane::platform {
namespace {

using namespace testing;

TEST_F(FolderPhotoLibraryTest, TheFolderFollowsTheEnvironmentInOrder) {
    const fs::path config = root / "config";
    writeFile(config / "user-dirs.dirs",
              "# written by xdg-user-dirs-update\nXDG_PICTURES_DIR=\"$HOME/Bilder\"\n");
    struct Row {
        std::map<std::string, std::string> environment;
        fs::path expected;
        bool chosenByUser;
    };
    const Row rows[] = {
        {{{"ORVANE_LIBRARY_DIR", "/media/card/dcim"}, {"XDG_PICTURES_DIR", "/p"}},
         "/media/card/dcim",
         true},
        {{{"XDG_PICTURES_DIR", "/data/pictures"}, {"HOME", "/home/u"}},
         "/data/pictures/Orvane",
         false},
        {{{"XDG_CONFIG_HOME", config.string()}, {"HOME", "/home/u"}},
         "/home/u/Bilder/Orvane",
         false},
        // A relative pictures folder is no folder; the file is read instead.
        {{{"XDG_PICTURES_DIR", "pictures"}, {"XDG_CONFIG_HOME", config.string()}, {"HOME", "/h"}},
         "/h/Bilder/Orvane",
         false},
        {{{"XDG_CONFIG_HOME", (config / "none").string()}, {"HOME", "/home/u"}},
         "/home/u/Pictures/Orvane",
         false},
    };
    for (const auto& row : rows) {
        const auto location = photoLibraryLocation([&row](const char* name) {
            const auto found = row.environment.find(name);
            return found == row.environment.end() ? std::nullopt : std::optional(found->second);
        });
        EXPECT_EQ(location.directory, row.expected);
        EXPECT_EQ(location.chosenByUser, row.chosenByUser) << row.expected;
    }
}

TEST(PhotoLibraryFolderTest, UserDirsLinesAreReadAsTheShellWould) {
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIR=\"$HOME\"\n", "/h"), "/h");
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIR=\"/srv/p\"", "/h"), "/srv/p");
    EXPECT_EQ(picturesDirectoryFromUserDirs(
                  "XDG_PICTURES_DIR=\"$HOME/a\"\nXDG_PICTURES_DIR=\"$HOME/b\"\n", "/h"),
              "/h/b");
    EXPECT_EQ(picturesDirectoryFromUserDirs("# XDG_PICTURES_DIR=\"/x\"\n", "/h"), std::nullopt);
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIRS=\"/x\"\n", "/h"), std::nullopt);
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIR=\"relative\"\n", "/h"), std::nullopt);
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIR=\"$HOME/My \\\"Pics\\\"\"", "/h"),
              "/h/My \"Pics\"");
}

TEST_F(FolderPhotoLibraryTest, AccessLevelsAnswerAsTheStoredSettingSays) {
    struct Row {
        std::optional<std::string> stored;
        PHAuthorizationStatus readWrite;
        PHAuthorizationStatus addOnly;
    };
    const Row rows[] = {
        {std::nullopt, PHAuthorizationStatus::Authorized, PHAuthorizationStatus::Authorized},
        {"full", PHAuthorizationStatus::Authorized, PHAuthorizationStatus::Authorized},
        {"limited", PHAuthorizationStatus::Limited, PHAuthorizationStatus::Authorized},
        {"addOnly", PHAuthorizationStatus::Denied, PHAuthorizationStatus::Authorized},
        {"everything", PHAuthorizationStatus::Denied, PHAuthorizationStatus::Authorized},
    };
    for (const auto& row : rows) {
        defaults.setString(kPhotoLibraryAccessLevelKey, row.stored);
        EXPECT_EQ(library->authorizationStatusForAccessLevel(PHAccessLevel::ReadWrite),
                  row.readWrite)
            << row.stored.value_or("none");
        std::promise<PHAuthorizationStatus> readWrite;
        std::promise<PHAuthorizationStatus> addOnly;
        library->requestAuthorizationForAccessLevel(
            PHAccessLevel::ReadWrite, [&](PHAuthorizationStatus s) { readWrite.set_value(s); });
        library->requestAuthorizationForAccessLevel(
            PHAccessLevel::AddOnly, [&](PHAuthorizationStatus s) { addOnly.set_value(s); });
        EXPECT_EQ(readWrite.get_future().get(), row.readWrite);
        EXPECT_EQ(addOnly.get_future().get(), row.addOnly);
    }
}

TEST_F(FolderPhotoLibraryTest, AMovedMovieIsReadBackByItsIdentifier) {
    const auto source = waitingMovie();
    std::string identifier;
    const auto error = moveIn(source, "20240101_120000.MOV", &identifier);
    ASSERT_FALSE(error) << error->message();
    EXPECT_FALSE(fs::exists(source));
    const auto found = library->fetchAssetsWithLocalIdentifiers({identifier, "NOT-THERE"});
    ASSERT_FALSE(found.error);
    ASSERT_EQ(found.values.size(), 1u);
    const auto& asset = found.values.front();
    EXPECT_EQ(asset.localIdentifier, identifier);
    EXPECT_EQ(asset.mediaType, PHAssetMediaType::Video);
    EXPECT_EQ(asset.path, folder / "20240101_120000.MOV");
    EXPECT_EQ(asset.originalFilename, "20240101_120000.MOV");
    EXPECT_EQ(asset.creationDate, kNow);
    EXPECT_EQ(readFile(asset.path), "movie");

    // A new library object reads the same index from disk.
    library = make(folder);
    EXPECT_EQ(library->fetchAssets().values.size(), 1u);
}

TEST_F(FolderPhotoLibraryTest, AMoveAcrossFileSystemsCopiesThenRemovesTheSource) {
    struct stat shm {};
    struct stat here {};
    if (::stat("/dev/shm", &shm) != 0 || ::stat(root.c_str(), &here) != 0 ||
        shm.st_dev == here.st_dev) {
        GTEST_SKIP() << "no second file system at /dev/shm";
    }
    const fs::path source = "/dev/shm/orvane-library-test-" + std::to_string(::getpid());
    writeFile(source, "across");
    const auto error = moveIn(source, "A.MOV");
    ASSERT_FALSE(error) << error->message();
    EXPECT_FALSE(fs::exists(source));
    EXPECT_EQ(readFile(folder / "A.MOV"), "across");
    EXPECT_EQ(filesInFolder(), std::vector<std::string>{"A.MOV"});
}

TEST_F(FolderPhotoLibraryTest, NamesNeverReplaceAnotherFile) {
    writeFile(folder / "B.JPG", "not ours");
    struct Row {
        std::optional<std::string> name;
        std::string file;
        std::string original;
    };
    const Row rows[] = {
        {"A.JPG", "A.JPG", "A.JPG"},
        {"A.JPG", "A (1).JPG", "A.JPG"},
        {"A.JPG", "A (2).JPG", "A.JPG"},
        {"B.JPG", "B (1).JPG", "B.JPG"},
        {"README", "README", "README"},
        {"README", "README (1)", "README"},
        {"a/b.JPG", "a_b.JPG", "a_b.JPG"},
        // Without a usable name the library names the asset itself.
        {std::nullopt, "IMG_0008.JPG", "IMG_0008.JPG"},
        {"..", "IMG_0009.JPG", "IMG_0009.JPG"},
    };
    int n = 0;
    for (const auto& row : rows) {
        const auto identifier = addData("photo " + std::to_string(n++), row.name);
        const auto found = library->fetchAssetsWithLocalIdentifiers({identifier});
        ASSERT_EQ(found.values.size(), 1u) << row.file;
        EXPECT_EQ(found.values.front().path, folder / row.file);
        EXPECT_EQ(found.values.front().originalFilename, row.original);
    }
    EXPECT_EQ(readFile(folder / "B.JPG"), "not ours");
    EXPECT_EQ(readFile(folder / "A.JPG"), "photo 0");
    EXPECT_EQ(readFile(folder / "A (2).JPG"), "photo 2");
    EXPECT_EQ(library->fetchAssets().values.size(), std::size(rows));
}

TEST_F(FolderPhotoLibraryTest, AlbumsAreMadeFoundAndFilled) {
    EXPECT_FALSE(library->albumWithTitle("Orvane"));
    std::string album;
    ASSERT_FALSE(perform([&](PhotoLibraryChanges& changes) {
        album = changes.creationRequestForAssetCollectionWithTitle("Orvane");
        changes.creationRequestForAssetCollectionWithTitle("Other");
    }));
    const auto found = library->albumWithTitle("Orvane");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->localIdentifier, album);
    EXPECT_EQ(found->localizedTitle, "Orvane");

    const auto first = addData("one", "1.JPG");
    std::string second;
    ASSERT_FALSE(perform([&](PhotoLibraryChanges& changes) {
        changes.addAssets(album, {first});
        second = changes.addResourceWithTypeData(PHAssetResourceType::Photo, blob("two"),
                                                 {"2.JPG", false});
        changes.addAssets(album, {second, first});
    }));
    EXPECT_EQ(library->fetchAssetsInAlbum(album).values, (std::vector{first, second}));
    EXPECT_TRUE(library->fetchAssetsInAlbum(library->albumWithTitle("Other")->localIdentifier)
                    .values.empty());
}

TEST_F(FolderPhotoLibraryTest, AFailedBlockLeavesNoFileAndNoRecord) {
    const auto source = waitingMovie();
    const auto error = perform([&](PhotoLibraryChanges& changes) {
        changes.addResourceWithTypeData(PHAssetResourceType::Photo, blob("x"), {"X.JPG", false});
        const auto movie =
            changes.addResourceWithTypeFileURL(PHAssetResourceType::Video, source, {"M.MOV", true});
        changes.addAssets("NO-SUCH-ALBUM", {movie});
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, kPhotoLibraryNotFound);
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_TRUE(filesInFolder().empty());
    EXPECT_TRUE(library->fetchAssets().values.empty());
}

TEST_F(FolderPhotoLibraryTest, AddOnlyAccessWritesButReadsNothingBack) {
    defaults.setString(kPhotoLibraryAccessLevelKey, "addOnly");
    const auto identifier = addData("bytes", "A.JPG");
    EXPECT_NE(identifier, "");
    EXPECT_EQ(readFile(folder / "A.JPG"), "bytes");
    const auto assets = library->fetchAssets();
    ASSERT_TRUE(assets.error);
    EXPECT_EQ(assets.error->code, kPhotoLibraryAccessDenied);
    EXPECT_TRUE(assets.values.empty());
    EXPECT_EQ(library->fetchUserAlbums().error->code, kPhotoLibraryAccessDenied);
    const auto album = perform([](PhotoLibraryChanges& changes) {
        changes.creationRequestForAssetCollectionWithTitle("Orvane");
    });
    ASSERT_TRUE(album);
    EXPECT_EQ(album->code, kPhotoLibraryAccessDenied);
    EXPECT_EQ(thumbnail(identifier, 128).second->code, kPhotoLibraryAccessDenied);
}

TEST_F(FolderPhotoLibraryTest, LimitedAccessReadsBackOnlyWhatTheProgramAdded) {
    auto other = make(folder, true, "another program");
    std::string theirs;
    ASSERT_FALSE(perform(*other, [&](PhotoLibraryChanges& changes) {
        theirs = changes.addResourceWithTypeData(PHAssetResourceType::Photo, blob("theirs"),
                                                 {"T.JPG", false});
    }));
    const auto ours = addData("ours", "O.JPG");
    std::string album;
    ASSERT_FALSE(perform([&](PhotoLibraryChanges& changes) {
        album = changes.creationRequestForAssetCollectionWithTitle("Orvane");
        changes.addAssets(album, {ours});
    }));
    ASSERT_FALSE(
        perform(*other, [&](PhotoLibraryChanges& changes) { changes.addAssets(album, {theirs}); }));

    EXPECT_EQ(library->fetchAssets().values.size(), 2u);
    defaults.setString(kPhotoLibraryAccessLevelKey, "limited");
    const auto seen = library->fetchAssets().values;
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen.front().localIdentifier, ours);
    EXPECT_TRUE(library->fetchAssetsWithLocalIdentifiers({theirs}).values.empty());
    EXPECT_EQ(library->fetchAssetsInAlbum(album).values, std::vector{ours});
    const auto refused =
        perform([&](PhotoLibraryChanges& changes) { changes.addAssets(album, {theirs}); });
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->code, kPhotoLibraryNotFound);
}


}  // namespace
}  // namespace orvane::platform
