// The in-memory photo library that stands in for the real one in the capture paths' tests: its
// scripted answers must behave as the real library's would.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/library/MemoryPhotoLibrary.h"

namespace orvane::platform {
namespace {

namespace fs = std::filesystem;

std::optional<foundation::Error> perform(MemoryPhotoLibrary& library,
                                         const PhotoLibrary::ChangeBlock& block) {
    std::optional<foundation::Error> answer;
    bool answered = false;
    library.performChanges(block, [&](bool, const std::optional<foundation::Error>& error) {
        answer = error;
        answered = true;
    });
    EXPECT_TRUE(answered);  // no queue: answers come at once
    return answer;
}

TEST(MemoryPhotoLibraryTest, AScriptedFailureChangesNothingAndKeepsTheMovedFile) {
    const fs::path source =
        fs::temp_directory_path() / ("orvane-memory-library-" + std::to_string(::getpid()));
    std::ofstream(source) << "movie";
    MemoryPhotoLibrary library;
    library.setChangeError(foundation::Error{"NSCocoaErrorDomain", 640, "No space", {}});
    const auto failed = perform(library, [&](PhotoLibraryChanges& changes) {
        changes.addResourceWithTypeFileURL(PHAssetResourceType::Video, source, {"M.MOV", true});
    });
    ASSERT_TRUE(failed);
    EXPECT_EQ(failed->code, 640);
    EXPECT_TRUE(fs::exists(source));
    EXPECT_TRUE(library.storedAssets().empty());

    library.setChangeError(std::nullopt);
    ASSERT_FALSE(perform(library, [&](PhotoLibraryChanges& changes) {
        changes.addResourceWithTypeFileURL(PHAssetResourceType::Video, source, {"M.MOV", true});
        changes.addResourceWithTypeData(PHAssetResourceType::Photo, {1}, {"M.MOV"});
    }));
    EXPECT_FALSE(fs::exists(source));
    const auto stored = library.storedAssets();
    ASSERT_EQ(stored.size(), 2u);
    EXPECT_EQ(stored[0].bytes, Blob({'m', 'o', 'v', 'i', 'e'}));
    EXPECT_EQ(stored[1].asset.path, "M (1).MOV");
    EXPECT_EQ(library.changeBlockCount(), 2);
}

TEST(MemoryPhotoLibraryTest, TheReadWriteAnswerRulesWhatIsReadBack) {
    MemoryPhotoLibrary library;
    const auto theirs = library.addAssetFromElsewhere(PHAssetMediaType::Image, "T.JPG", {1});
    std::string ours;
    ASSERT_FALSE(perform(library, [&](PhotoLibraryChanges& changes) {
        ours = changes.addResourceWithTypeData(PHAssetResourceType::Photo, {2}, {});
    }));
    EXPECT_EQ(library.fetchAssets().values.size(), 2u);

    library.setAuthorizationStatus(PHAccessLevel::ReadWrite, PHAuthorizationStatus::Limited);
    ASSERT_EQ(library.fetchAssets().values.size(), 1u);
    EXPECT_EQ(library.fetchAssets().values[0].localIdentifier, ours);
    EXPECT_TRUE(library.fetchAssetsWithLocalIdentifiers({theirs}).values.empty());

    library.setAuthorizationStatus(PHAccessLevel::ReadWrite, PHAuthorizationStatus::Denied);
    EXPECT_EQ(library.fetchAssets().error->code, kPhotoLibraryAccessDenied);
    const auto album = perform(library, [](PhotoLibraryChanges& changes) {
        changes.creationRequestForAssetCollectionWithTitle("Orvane");
    });
    ASSERT_TRUE(album);
    EXPECT_EQ(album->code, kPhotoLibraryAccessDenied);
    EXPECT_FALSE(perform(library, [](PhotoLibraryChanges& changes) {
        changes.addResourceWithTypeData(PHAssetResourceType::Photo, {3}, {});
    }));
}

}  // namespace
}  // namespace orvane::platform
