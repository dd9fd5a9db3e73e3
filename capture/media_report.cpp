#include "capture/media_report.h"

#include "foundation/strings.h"
#include "platform/library/PhotoLibrary.h"

namespace orvane::capture {

namespace {

// Besides the library's own "access denied" (in whatever domain it travels), the file system's
// "no permission to write".
constexpr const char* kCocoaErrorDomain = "NSCocoaErrorDomain";
constexpr std::int64_t kCocoaWriteNoPermission = 2047;

bool isAccessDenied(const foundation::Error& error) {
    return error.code == platform::kPhotoLibraryAccessDenied ||
           (error.domain == kCocoaErrorDomain && error.code == kCocoaWriteNoPermission);
}

}  // namespace

MediaFileReport photoAccessDeniedReport() {
    return {MediaFileReport::Kind::AccessDenied,
            foundation::localized("Photos Access Denied"),
            foundation::localized("You must allow photos access in Settings"),
            {foundation::localized("Open Settings"), foundation::localized("STRcancel")}};
}

MediaFileReport reportInsertedMediaFile(const std::optional<std::string>& localIdentifier,
                                        const std::optional<foundation::Error>& error) {
    if (localIdentifier) {
        return {};
    }
    if (!error) {
        return {MediaFileReport::Kind::Message, foundation::localized("Error"), {}, {}};
    }
    if (isAccessDenied(*error)) {
        return photoAccessDeniedReport();
    }
    // The library's texts often end with the system's reason already; it is not said twice.
    const bool reasonIsSaid = error->description.find(error->failureReason) != std::string::npos;
    return {MediaFileReport::Kind::LibraryError,
            error->description,
            reasonIsSaid ? std::string() : error->failureReason,
            {}};
}

}  // namespace orvane::capture
