#include "capture/movie_recovery.h"

#include <sys/stat.h>

#include <future>
#include <utility>

#include "foundation/log.h"
#include "platform/library/MovieDraft.h"

namespace orvane::capture {

namespace {

// Thumbnails are made at the size the camera screen asks for its library button.
constexpr int kThumbnailSize = 256;

platform::AssetFileType fileTypeOfName(const std::string& name) {
    const auto dot = name.rfind('.');
    std::string extension = dot == std::string::npos ? std::string() : name.substr(dot + 1);
    for (char& c : extension) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return extension == "mp4" ? platform::AssetFileType::MPEG4
                              : platform::AssetFileType::QuickTimeMovie;
}

// When the recording began: its last write less its length.
std::optional<double> startOfRecording(const std::filesystem::path& movie, double seconds) {
    struct stat written {};
    if (::stat(movie.c_str(), &written) != 0) {
        return std::nullopt;
    }
    return static_cast<double>(written.st_mtim.tv_sec) + written.st_mtim.tv_nsec * 1e-9 - seconds;
}

using ChangeAnswer = std::pair<bool, std::optional<foundation::Error>>;

ChangeAnswer performAndWait(platform::PhotoLibrary& library,
                            const platform::PhotoLibrary::ChangeBlock& changes) {
    std::promise<ChangeAnswer> answered;
    library.performChanges(
        changes, [&answered](bool success, const std::optional<foundation::Error>& error) {
            answered.set_value({success, error});
        });
    return answered.get_future().get();
}

// Gives the library what it needs to show the movie: its album and its thumbnail.
void fileDelivered(platform::PhotoLibrary& library, const std::string& identifier,
                   const std::string& albumTitle) {
    if (const auto album = library.albumWithTitle(albumTitle)) {
        const auto [added, error] = performAndWait(library, [&](platform::PhotoLibraryChanges& c) {
            c.addAssets(album->localIdentifier, {identifier});
        });
        if (!added && error) {
            foundation::log("The recovered movie was not added to the album: %s",
                            error->message().c_str());
        }
    }
    std::promise<void> thumbnailMade;
    library.requestImageForAsset(identifier, kThumbnailSize,
                                 [&thumbnailMade](const std::optional<platform::PhotoThumbnail>&,
                                                  const std::optional<foundation::Error>& error) {
                                     if (error) {
                                         foundation::log("No thumbnail for the recovered movie: %s",
                                                         error->message().c_str());
                                     }
                                     thumbnailMade.set_value();
                                 });
    thumbnailMade.get_future().wait();
}

}  // namespace

std::vector<RecoveredMovie> recoverMovies(const std::filesystem::path& draftsFolder,
                                          platform::PhotoLibrary& library,
                                          platform::AssetWriterFactory& writers,
                                          const std::string& albumTitle) {
    std::vector<RecoveredMovie> recovered;
    for (const auto& draft : platform::MovieDraft::claimAbandoned(draftsFolder)) {
        draft->removeLeftovers();
        if (draft->fileName().empty()) {
            continue;  // killed before the movie's file was made: the folder goes with the draft
        }
        RecoveredMovie movie;
        movie.fileName = draft->fileName();
        const std::filesystem::path file = draft->movie();
        const auto closed =
            writers.closeInterruptedMovie(file.string(), fileTypeOfName(movie.fileName));
        movie.seconds = closed.seconds;
        if (closed.videoFrames == 0 && closed.audioPackets == 0) {
            std::error_code ignored;
            std::filesystem::remove(file, ignored);
            movie.outcome = RecoveredMovie::Outcome::Empty;
            recovered.push_back(std::move(movie));
            continue;
        }
        if (closed.error) {
            foundation::log("%s is recovered as it was written: %s", file.c_str(),
                            closed.error->message().c_str());
        }
        std::string identifier;
        const auto [delivered, error] =
            performAndWait(library, [&](platform::PhotoLibraryChanges& changes) {
                platform::PHAssetResourceCreationOptions options;
                options.originalFilename = movie.fileName;
                options.shouldMoveFile = true;
                identifier = changes.addResourceWithTypeFileURL(
                    platform::PHAssetResourceType::Video, file, options,
                    startOfRecording(file, closed.seconds));
            });
        if (!delivered) {
            movie.outcome = RecoveredMovie::Outcome::Kept;
            movie.error = error;
            recovered.push_back(std::move(movie));
            continue;
        }
        const auto assets = library.fetchAssetsWithLocalIdentifiers({identifier});
        if (!assets.values.empty()) {
            movie.asset = assets.values.front();
        }
        fileDelivered(library, identifier, albumTitle);
        recovered.push_back(std::move(movie));
    }
    return recovered;
}

}  // namespace orvane::capture
