#include "app/library_command.h"

#include <cmath>
#include <ctime>
#include <sstream>
#include <string>

#include "foundation/local_time.h"
#include "foundation/strings.h"
#include "platform/library/FolderPhotoLibrary.h"
#include "platform/writer/FfmpegAssetWriter.h"

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

std::optional<foundation::Error> recoverLeftMovies(platform::FolderPhotoLibrary& library,
                                                   const std::string& prefix, std::ostream& out,
                                                   bool& keptBack) {
    std::optional<foundation::Error> error;
    const auto drafts = library.draftsFolder(error);
    if (!drafts) {
        return error;
    }
    platform::FfmpegAssetWriterFactory writers;
    using Outcome = capture::RecoveredMovie::Outcome;
    for (const auto& movie : capture::recoverMovies(*drafts, library, writers,
                                                    std::string(foundation::localized("Orvane")))) {
        out << prefix;
        switch (movie.outcome) {
            case Outcome::Delivered:
                out << "recovered " << (movie.asset ? movie.asset->path.string() : movie.fileName)
                    << " (" << static_cast<long>(movie.seconds) << " s"
                    << (movie.asset ? "" : ", into the library, which add-only access cannot read")
                    << ")\n";
                break;
            case Outcome::Empty:
                out << "removed " << movie.fileName
                    << ": the interrupted recording holds no frame\n";
                break;
            case Outcome::Kept:
                keptBack = true;
                out << "could not recover " << movie.fileName << ": "
                    << (movie.error ? movie.error->message()
                                    : std::string("the library refused it"))
                    << "; it stays in " << drafts->string() << "\n";
                break;
        }
    }
    return std::nullopt;
}

int recoverLibrary(platform::UserDefaults& defaults, std::ostream& out, std::ostream& err) {
    // The library answers on a queue of its own while this thread waits for it.
    platform::FolderPhotoLibrary library({}, defaults);
    bool keptBack = false;
    std::ostringstream lines;
    if (auto error = recoverLeftMovies(library, "", lines, keptBack)) {
        err << "orvane library recover: " << error->message() << "\n";
        return 1;
    }
    out << (lines.str().empty() ? std::string("nothing to recover\n") : lines.str());
    return keptBack ? 1 : 0;
}

}  // namespace orvane::app
