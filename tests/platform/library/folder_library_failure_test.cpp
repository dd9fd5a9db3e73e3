// The folder photo library when the disk or the index refuses: the source stays, the error says
// what failed.
#include <gtest/gtest.h>

#include "tests/platform/library/folder_library_rig.h"

namespace orvane::platform {
namespace {

using namespace testing;

TEST_F(FolderPhotoLibraryTest, AnUnwritableFolderKeepsTheSource) {
    addData("first", "1.JPG");
    WriteProtection protection(folder);
    if (!protection.active()) {
        GTEST_SKIP() << "cannot make the folder refuse writes here";
    }
    const auto source = waitingMovie();
    const auto error = moveIn(source, "M.MOV");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, kPhotoLibraryWriteFailed);
    EXPECT_TRUE(error->description.starts_with("Cannot write to the photo library at " +
                                               folder.string() + ": "))
        << error->description;
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_EQ(library->fetchAssets().values.size(), 1u);
    const auto data = perform([](PhotoLibraryChanges& changes) {
        changes.addResourceWithTypeData(PHAssetResourceType::Photo, blob("x"), {"X.JPG", false});
    });
    ASSERT_TRUE(data);
    EXPECT_EQ(data->code, kPhotoLibraryWriteFailed);
}

TEST_F(FolderPhotoLibraryTest, AMissingChosenFolderIsReportedNotMade) {
    const auto unmounted = root / "card" / "DCIM";
    library = make(unmounted, true);
    const auto source = waitingMovie();
    const auto error = moveIn(source, "M.MOV");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description, "Cannot write to the photo library at " + unmounted.string() +
                                      ": No such file or directory");
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_FALSE(fs::exists(root / "card"));

    // The default folder is made with its parents.
    library = make(unmounted, false);
    EXPECT_FALSE(moveIn(source, "M.MOV"));
    EXPECT_EQ(readFile(unmounted / "M.MOV"), "movie");
}

TEST_F(FolderPhotoLibraryTest, AReadOnlyIndexRefusesWritesAndKeepsTheSource) {
    addData("first", "1.JPG");
    library = make(folder);  // opens the index afresh, after it is protected
    WriteProtection protection(folder / LibraryIndex::kFileName);
    if (!protection.active()) {
        GTEST_SKIP() << "cannot make the index refuse writes here";
    }
    const auto source = waitingMovie();
    const auto error = moveIn(source, "M.MOV");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, kPhotoLibraryWriteFailed);
    EXPECT_TRUE(error->description.starts_with("Cannot write to the photo library at "))
        << error->description;
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_EQ(filesInFolder(), std::vector<std::string>{"1.JPG"});
    EXPECT_EQ(library->fetchAssets().values.size(), 1u);
}

TEST_F(FolderPhotoLibraryTest, ACorruptIndexIsReportedAndLeftAlone) {
    const std::string garbage(4096, 'x');
    writeFile(folder / LibraryIndex::kFileName, garbage);
    const auto assets = library->fetchAssets();
    ASSERT_TRUE(assets.error);
    EXPECT_EQ(assets.error->code, kPhotoLibraryIndexUnreadable);
    EXPECT_NE(assets.error->description.find("cannot be read"), std::string::npos)
        << assets.error->description;
    const auto source = waitingMovie();
    ASSERT_TRUE(moveIn(source, "M.MOV"));
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_EQ(readFile(folder / LibraryIndex::kFileName), garbage);
    EXPECT_TRUE(filesInFolder().empty());
}

TEST_F(FolderPhotoLibraryTest, AMissingSourceIsNamedInTheError) {
    const auto error = moveIn(root / "gone.MOV", "M.MOV");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description,
              "Cannot read " + (root / "gone.MOV").string() + ": No such file or directory");
    EXPECT_TRUE(library->fetchAssets().values.empty());
}


}  // namespace
}  // namespace orvane::platform
