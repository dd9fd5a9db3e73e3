// `orvane library list`: the assets of the photo library (ORVANE_LIBRARY_DIR, else the pictures
// folder's "Orvane"), oldest first, one `IDENTIFIER<TAB>TYPE<TAB>CREATED<TAB>PATH` line each,
// as the access level in the settings store allows.
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "capture/movie_recovery.h"
#include "platform/library/PhotoLibrary.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::platform {
class FolderPhotoLibrary;
}

namespace orvane::app {

// Prints every asset the library lets this program read. Returns 0, or 1 with a message on
// `err` when the library refuses (add-only access) or its index cannot be read.
int listLibrary(platform::UserDefaults& defaults, std::ostream& out, std::ostream& err);

// `orvane library recover`: delivers the movies killed recordings left (capture/movie_recovery.h)
// and prints a line for each, or that there was nothing to recover. Returns 0, or 1 when the
// library cannot be reached or kept a movie back.
int recoverLibrary(platform::UserDefaults& defaults, std::ostream& out, std::ostream& err);

// Recovers the movies of `library`'s drafts folder and prints a line for each on `out`, each
// starting with `prefix`; the error of the drafts folder when it cannot be made. Used by every
// command that captures, before it starts. Sets `keptBack` when the library refused a movie.
std::optional<foundation::Error> recoverLeftMovies(platform::FolderPhotoLibrary& library,
                                                   const std::string& prefix, std::ostream& out,
                                                   bool& keptBack);

// The lines of `assets`, creation times in the local time zone as ISO 8601 with its offset.
void printLibraryAssets(const std::vector<platform::PhotoAsset>& assets, std::ostream& out);

}  // namespace orvane::app
