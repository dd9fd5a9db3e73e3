// Which report a lost capture gets, and the texts of the denied library's alert.
#include "capture/media_report.h"

#include <gtest/gtest.h>

#include "foundation/strings.h"
#include "platform/PhotoLibrary.h"

namespace orvane::capture {
namespace {

using Kind = MediaFileReport::Kind;

class MediaReportTest : public ::testing::Test {
  protected:
    // "STRcancel" is a name; its text comes from the English catalogue of the build tree.
    static void SetUpTestSuite() { foundation::initializeStrings(); }
};

struct Case {
    const char* name;
    std::optional<std::string> identifier;
    std::optional<foundation::Error> error;
    Kind kind;
};

TEST_F(MediaReportTest, EachOutcomeGetsItsReport) {
    const foundation::Error diskFull{
        platform::kPhotoLibraryErrorDomain, platform::kPhotoLibraryWriteFailed,
        "The movie could not be added to the library.", "No space left on device"};
    const Case cases[] = {
        {"saved", "A1B2/L0/001", std::nullopt, Kind::Nothing},
        {"saved, an error beside it", "A1B2/L0/001", diskFull, Kind::Nothing},
        {"no identifier, no error", std::nullopt, std::nullopt, Kind::Message},
        {"the library's denial", std::nullopt,
         foundation::Error{platform::kPhotoLibraryErrorDomain, 3311, "denied", ""},
         Kind::AccessDenied},
        {"3311 in another domain", std::nullopt,
         foundation::Error{"PHPhotosErrorDomain", 3311, "x", ""}, Kind::AccessDenied},
        {"no write permission", std::nullopt,
         foundation::Error{"NSCocoaErrorDomain", 2047, "x", ""}, Kind::AccessDenied},
        {"2047 outside its domain", std::nullopt,
         foundation::Error{platform::kPhotoLibraryErrorDomain, 2047, "x", ""}, Kind::LibraryError},
        {"a full disk", std::nullopt, diskFull, Kind::LibraryError},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(reportInsertedMediaFile(c.identifier, c.error).kind, c.kind) << c.name;
    }
}

TEST_F(MediaReportTest, TheLibrarysErrorIsShownInItsOwnWords) {
    const MediaFileReport report = reportInsertedMediaFile(
        std::nullopt,
        foundation::Error{platform::kPhotoLibraryErrorDomain, platform::kPhotoLibraryWriteFailed,
                          "The movie could not be added to the library.",
                          "No space left on device"});
    EXPECT_EQ(report.title, "The movie could not be added to the library.");
    EXPECT_EQ(report.message, "No space left on device");
    EXPECT_TRUE(report.actions.empty());

    const MediaFileReport saidOnce = reportInsertedMediaFile(
        std::nullopt,
        foundation::Error{platform::kPhotoLibraryErrorDomain, platform::kPhotoLibraryWriteFailed,
                          "Cannot write to the photo library at /x: Not a directory",
                          "Not a directory"});
    EXPECT_EQ(saidOnce.title, "Cannot write to the photo library at /x: Not a directory");
    EXPECT_EQ(saidOnce.message, "");
}

TEST_F(MediaReportTest, WithoutAnErrorTheScreenSaysError) {
    const MediaFileReport report = reportInsertedMediaFile(std::nullopt, std::nullopt);
    EXPECT_EQ(report.title, "Error");
    EXPECT_TRUE(report.actions.empty());
}

TEST_F(MediaReportTest, TheDeniedAlertOffersTheSettingsThenCancel) {
    const MediaFileReport fromError = reportInsertedMediaFile(
        std::nullopt, foundation::Error{"NSCocoaErrorDomain", 2047, "x", "y"});
    const MediaFileReport direct = photoAccessDeniedReport();
    for (const MediaFileReport& report : {fromError, direct}) {
        EXPECT_EQ(report.title, "Photos Access Denied");
        EXPECT_EQ(report.message, "You must allow photos access in Settings");
        EXPECT_EQ(report.actions, (std::vector<std::string>{"Open Settings", "Cancel"}));
    }
}

}  // namespace
}  // namespace orvane::capture
