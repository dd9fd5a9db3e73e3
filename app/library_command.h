// `orvane library list`: the assets of the photo library (ORVANE_LIBRARY_DIR, else the pictures
// folder's "Orvane"), oldest first, one `IDENTIFIER<TAB>TYPE<TAB>CREATED<TAB>PATH` line each,
// as the access level in the settings store allows.
#pragma once

#include <ostream>

#include "platform/library/PhotoLibrary.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::app {

// Prints every asset the library lets this program read. Returns 0, or 1 with a message on
// `err` when the library refuses (add-only access) or its index cannot be read.
int listLibrary(platform::UserDefaults& defaults, std::ostream& out, std::ostream& err);

// The lines of `assets`, creation times in the local time zone as ISO 8601 with its offset.
void printLibraryAssets(const std::vector<platform::PhotoAsset>& assets, std::ostream& out);

}  // namespace orvane::app
