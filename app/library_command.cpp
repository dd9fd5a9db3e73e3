#include "app/library_command.h"

#include <cmath>
#include <ctime>
#include <string>

#include "foundation/local_time.h"
#include "platform/library/FolderPhotoLibrary.h"

namespace orvane::app {

namespace {

std::string localTime(double secondsSince1970) {
    std::string formatted = foundation::formatLocalTime(
        static_cast<std::time_t>(std::floor(secondsSince1970)), "%Y-%m-%dT%H:%M:%S%z");
    // ISO 8601's extended form puts a colon in the offset: +0100 becomes +01:00.
    if (formatted.size() >= 5) {
        formatted.insert(formatted.size() - 2, ":");
    }
    return formatted;
}

}  // namespace

void printLibraryAssets(const std::vector<platform::PhotoAsset>& assets, std::ostream& out) {
    for (const auto& asset : assets) {
        out << asset.localIdentifier << '\t' << platform::mediaTypeName(asset.mediaType) << '\t'
            << localTime(asset.creationDate) << '\t' << asset.path.string() << '\n';
    }
}

int listLibrary(platform::UserDefaults& defaults, std::ostream& out, std::ostream& err) {
    platform::FolderPhotoLibrary library({}, defaults);
    const auto assets = library.fetchAssets();
    if (assets.error) {
        err << "orvane library list: " << assets.error->description << "\n";
        return 1;
    }
    printLibraryAssets(assets.values, out);
    return 0;
}

}  // namespace orvane::app
