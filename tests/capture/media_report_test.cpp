// Which report a lost capture gets, and the texts of the denied library's alert.
#include "capture/media_report.h"

#include <gtest/gtest.h>

#include "foundation/strings.h"
#include "platform/library/PhotoLibrary.h"

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

TEST_F(MediaReportTest, EachReportCarriesItsTexts) {
    const std::vector<std::string> denied{"Open Settings", "Cancel"};
    const struct {
        const char* name;
        std::optional<foundation::Error> error;
        const char* title;
        const char* message;
        std::vector<std::string> actions;
    } rows[] = {
        {"no error", std::nullopt, "Error", "", {}},
        {"the library's own words",
         foundation::Error{platform::kPhotoLibraryErrorDomain, platform::kPhotoLibraryWriteFailed,
                           "The movie could not be added to the library.",
                           "No space left on device"},
         "The movie could not be added to the library.",
         "No space left on device",
         {}},
        {"a reason already in the description is not said twice",
         foundation::Error{platform::kPhotoLibraryErrorDomain, platform::kPhotoLibraryWriteFailed,
                           "Cannot write to the photo library at /x: Not a directory",
                           "Not a directory"},
         "Cannot write to the photo library at /x: Not a directory",
         "",
         {}},
        {"denied", foundation::Error{"NSCocoaErrorDomain", 2047, "x", "y"}, "Photos Access Denied",
         "You must allow photos access in Settings", denied},
    };
    for (const auto& row : rows) {
        const MediaFileReport report = reportInsertedMediaFile(std::nullopt, row.error);
        EXPECT_EQ(report.title, row.title) << row.name;
        EXPECT_EQ(report.message, row.message) << row.name;
        EXPECT_EQ(report.actions, row.actions) << row.name;
    }
    const MediaFileReport direct = photoAccessDeniedReport();
    EXPECT_EQ(direct.title, "Photos Access Denied");
    EXPECT_EQ(direct.actions, denied);
}

}  // namespace
}  // namespace orvane::capture
