// What the camera screen shows when the library did not take a capture. Photos and movies end
// here alike; the capture itself is never retried and nothing is kept elsewhere.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"

namespace orvane::capture {

struct MediaFileReport {
    enum class Kind {
        Nothing,       // the capture is in the library
        Message,       // a plain message on the camera screen
        AccessDenied,  // the denied library's alert, which offers the system's settings
        LibraryError,  // the library's own error, shown as it stands
    };
    Kind kind = Kind::Nothing;
    std::string title;
    std::string message;
    // The alert's buttons, in order, already localized; the first is the default action.
    std::vector<std::string> actions;
};

// The one reporting point of a lost capture. A set identifier means the library took it.
MediaFileReport reportInsertedMediaFile(const std::optional<std::string>& localIdentifier,
                                        const std::optional<foundation::Error>& error);

// The alert shown when the user's answer leaves the library closed to the capture.
MediaFileReport photoAccessDeniedReport();

}  // namespace orvane::capture
