// Movies left behind by a recording that was killed, crashed or lost its power: each waits in
// a draft of the library's drafts folder that no running program holds. Recovery closes it as
// far as it was written and gives it to the library under the name it was to have, dated from
// when it began, with its thumbnail and in the program's album. A draft that holds neither
// picture nor sound is removed. Drafts a running recording holds are left alone, and a recovered draft is gone, so
// running recovery twice recovers nothing twice.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "platform/library/PhotoLibrary.h"
#include "platform/writer/AssetWriter.h"

namespace orvane::capture {

struct RecoveredMovie {
    enum class Outcome {
        Delivered,  // in the library: `asset` when the access level lets it be read back
        Empty,      // held neither picture nor sound, removed
        Kept,       // the library refused it (`error`); it stays in its draft for next time
    };
    Outcome outcome = Outcome::Delivered;
    std::string fileName;
    std::optional<platform::PhotoAsset> asset;
    double seconds = 0;
    std::optional<foundation::Error> error;
};

// Recovers every abandoned draft of `draftsFolder`, waiting for the library (which must answer
// on a queue other than the caller's). `albumTitle` names the album the movies join when the
// library has one.
std::vector<RecoveredMovie> recoverMovies(const std::filesystem::path& draftsFolder,
                                          platform::PhotoLibrary& library,
                                          platform::AssetWriterFactory& writers,
                                          const std::string& albumTitle);

}  // namespace orvane::capture
