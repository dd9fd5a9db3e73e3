#include "platform/library/FolderPhotoLibrary.h"

#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>

#include "foundation/log.h"
#include "platform/library/MovieDraft.h"
#include "platform/library/freedesktop_thumbnail.h"
#include "platform/library/library_files.h"
#include "platform/library/library_index.h"
#include "platform/library/thumbnail_decoders.h"

namespace orvane::platform {

namespace {

foundation::Error libraryError(std::int64_t code, std::string description) {
    return {kPhotoLibraryErrorDomain, code, std::move(description), {}};
}

PHAssetMediaType mediaTypeOf(PHAssetResourceType type) {
    return type == PHAssetResourceType::Video ? PHAssetMediaType::Video : PHAssetMediaType::Image;
}

// The name the library gives an asset added without one: IMG_0001.JPG, MOV_0002.MOV, keeping
// the extension of a source file.
std::string chosenFileName(const AssetCreation& creation, std::int64_t number) {
    const bool video = creation.type == PHAssetResourceType::Video;
    std::string extension = video ? ".MOV" : ".JPG";
    if (const auto* file = std::get_if<std::filesystem::path>(&creation.source);
        file && file->has_extension()) {
        extension = file->extension().string();
    }
    char stem[32];
    std::snprintf(stem, sizeof stem, "%s_%04lld", video ? "MOV" : "IMG",
                  static_cast<long long>(number));
    return stem + extension;
}

}  // namespace

struct FolderPhotoLibrary::Core {
    FolderPhotoLibraryOptions options;
    UserDefaults& defaults;
    foundation::Clock& clock;
    std::atomic<bool> reportedUnknownAccess{false};

    std::mutex mutex;  // guards index and every use of it
    std::unique_ptr<LibraryIndex> index;

    Core(FolderPhotoLibraryOptions options, UserDefaults& defaults, foundation::Clock& clock)
        : options(std::move(options)), defaults(defaults), clock(clock) {}

    const std::filesystem::path& folder() const { return options.location.directory; }

    PhotoLibraryAccess access() {
        std::string unknown;
        const auto access = readPhotoLibraryAccess(defaults, &unknown);
        if (!unknown.empty() && !reportedUnknownAccess.exchange(true)) {
            foundation::log(
                "Photo library: %s \"%s\" is not full, limited or addOnly; only adding is allowed",
                kPhotoLibraryAccessLevelKey, unknown.c_str());
        }
        return access;
    }

    foundation::Error denied() const {
        return libraryError(kPhotoLibraryAccessDenied,
                            "Orvane may only add to the photo library at " + folder().string());
    }

    // Assets limited access may see: those this program added.
    std::optional<std::string> visibleTo(PhotoLibraryAccess access) const {
        if (access == PhotoLibraryAccess::Limited) {
            return options.client;
        }
        return std::nullopt;
    }

    // The index for a read, or none for a library with no index yet. Called under the mutex.
    LibraryIndex* readableIndex(std::optional<foundation::Error>& error) {
        if (!index) {
            auto opened = LibraryIndex::open(folder(), false);
            error = std::move(opened.error);
            index = std::move(opened.index);
        }
        return index.get();
    }

    // The library's folder, made when missing; false with `error` when it cannot be.
    bool makeFolder(std::optional<foundation::Error>& error) const {
        std::error_code failed;
        if (!std::filesystem::is_directory(folder(), failed)) {
            // A folder the user named is made alone, never its parents: a missing parent is
            // more likely a drive not mounted than a wish.
            if (options.location.chosenByUser) {
                std::filesystem::create_directory(folder(), failed);
            } else {
                std::filesystem::create_directories(folder(), failed);
            }
            if (failed) {
                error = photoLibraryWriteError(folder(), std::strerror(failed.value()));
                return false;
            }
        }
        return true;
    }

    // The index for a write, made with its folder when missing. Called under the mutex.
    LibraryIndex* writableIndex(std::optional<foundation::Error>& error) {
        if (index) {
            return index.get();
        }
        if (!makeFolder(error)) {
            return nullptr;
        }
        auto opened = LibraryIndex::open(folder(), true);
        error = std::move(opened.error);
        index = std::move(opened.index);
        return index.get();
    }

    PhotoAsset toAsset(const IndexedAsset& indexed) const {
        return {indexed.identifier, indexed.mediaType, folder() / indexed.fileName,
                indexed.originalName.value_or(indexed.fileName), indexed.creationTime};
    }

    std::optional<foundation::Error> validate(const PhotoLibraryChanges& changes,
                                              PhotoLibraryAccess access) const {
        for (const auto& entry : changes.entries()) {
            if (const auto* creation = std::get_if<AssetCreation>(&entry.change)) {
                if (const auto* data = std::get_if<Blob>(&creation->source);
                    data && data->empty()) {
                    return libraryError(kPhotoLibraryInvalidRequest,
                                        "A photo library asset needs at least one byte");
                }
            } else if (access == PhotoLibraryAccess::AddOnly) {
                return denied();
            } else if (const auto* album = std::get_if<AlbumCreation>(&entry.change);
                       album && album->title.empty()) {
                return libraryError(kPhotoLibraryInvalidRequest,
                                    "A photo library album needs a title");
            }
        }
        return std::nullopt;
    }

    std::optional<foundation::Error> apply(const PhotoLibraryChanges& changes) {
        const auto access = this->access();
        if (auto error = validate(changes, access)) {
            return error;
        }
        if (changes.entries().empty()) {
            return std::nullopt;
        }
        std::lock_guard lock(mutex);
        std::optional<foundation::Error> error;
        LibraryIndex* writable = writableIndex(error);
        if (!writable) {
            return error;
        }
        sqlite::Transaction transaction(writable->database());
        if (transaction.status() != SQLITE_OK) {
            return writable->writeError(transaction.status());
        }
        FilePlacement placement(folder());
        std::set<std::string> newAssets;
        std::set<std::string> newAlbums;
        std::int64_t count = writable->assetCount();
        const double now = clock.timeIntervalSince1970();
        for (const auto& entry : changes.entries()) {
            if (const auto* creation = std::get_if<AssetCreation>(&entry.change)) {
                std::string name;
                if (creation->options.originalFilename) {
                    name = cleanFileName(*creation->options.originalFilename);
                }
                const bool named = !name.empty();
                if (!named) {
                    name = chosenFileName(*creation, ++count);
                }
                FilePlacement::Placed placed;
                if (const auto* file = std::get_if<std::filesystem::path>(&creation->source)) {
                    placed = creation->options.shouldMoveFile ? placement.moveFile(*file, name)
                                                              : placement.copyFile(*file, name);
                } else {
                    placed = placement.writeData(std::get<Blob>(creation->source), name);
                }
                if (placed.error) {
                    return placed.error;
                }
                IndexedAsset indexed{entry.identifier,
                                     placed.fileName,
                                     mediaTypeOf(creation->type),
                                     named ? std::optional(name) : std::nullopt,
                                     creation->creationDate.value_or(now),
                                     options.client};
                if (auto failed = writable->insertAsset(indexed)) {
                    return failed;
                }
                newAssets.insert(entry.identifier);
            } else if (const auto* album = std::get_if<AlbumCreation>(&entry.change)) {
                if (auto failed = writable->insertAlbum(entry.identifier, album->title, now)) {
                    return failed;
                }
                newAlbums.insert(entry.identifier);
            } else if (const auto* addition = std::get_if<AlbumAddition>(&entry.change)) {
                if (auto failed = addToAlbum(*writable, *addition, newAlbums, newAssets, access)) {
                    return failed;
                }
            }
        }
        if (const int status = transaction.commit(); status != SQLITE_OK) {
            return writable->writeError(status);
        }
        placement.commit();
        return std::nullopt;
    }

    std::optional<foundation::Error> addToAlbum(LibraryIndex& writable,
                                                const AlbumAddition& addition,
                                                const std::set<std::string>& newAlbums,
                                                const std::set<std::string>& newAssets,
                                                PhotoLibraryAccess access) {
        bool albumKnown = newAlbums.contains(addition.albumIdentifier);
        if (!albumKnown) {
            auto albums = writable.albums();
            if (albums.error) {
                return albums.error;
            }
            for (const auto& album : albums.values) {
                albumKnown = albumKnown || album.localIdentifier == addition.albumIdentifier;
            }
        }
        if (!albumKnown) {
            return libraryError(kPhotoLibraryNotFound,
                                "The photo library has no album " + addition.albumIdentifier);
        }
        for (const auto& asset : addition.assetIdentifiers) {
            if (!newAssets.contains(asset)) {
                auto found = writable.assetsWithIdentifiers({asset}, visibleTo(access));
                if (found.error) {
                    return found.error;
                }
                if (found.assets.empty()) {
                    return libraryError(kPhotoLibraryNotFound,
                                        "The photo library has no asset " + asset);
                }
            }
            if (auto failed = writable.addToAlbum(addition.albumIdentifier, asset)) {
                return failed;
            }
        }
        return std::nullopt;
    }

    // Runs `read` on the index under the access rules; a library without an index is empty.
    template <typename T, typename Read>
    PhotoLibraryAnswer<T> read(Read&& reader) {
        const auto access = this->access();
        if (access == PhotoLibraryAccess::AddOnly) {
            return {{}, denied()};
        }
        std::lock_guard lock(mutex);
        std::optional<foundation::Error> error;
        LibraryIndex* readable = readableIndex(error);
        if (!readable) {
            return {{}, error};
        }
        return reader(*readable, visibleTo(access));
    }

    PhotoLibraryAnswer<PhotoAsset> assets(const std::vector<std::string>* identifiers) {
        return read<PhotoAsset>(
            [&](LibraryIndex& readable, const std::optional<std::string>& visible) {
                auto found = identifiers ? readable.assetsWithIdentifiers(*identifiers, visible)
                                         : readable.assets(visible);
                PhotoLibraryAnswer<PhotoAsset> answer{{}, found.error};
                for (const auto& asset : found.assets) {
                    answer.values.push_back(toAsset(asset));
                }
                return answer;
            });
    }
};

FolderPhotoLibrary::FolderPhotoLibrary(FolderPhotoLibraryOptions options, UserDefaults& defaults,
                                       foundation::Clock& clock,
                                       std::shared_ptr<foundation::DispatchQueue> queue)
    : _ownQueue(!queue),
      _queue(queue ? std::move(queue)
                   : foundation::SerialQueue::create("com.orvane.photolibrary")) {
    if (options.thumbnailCache.empty()) {
        options.thumbnailCache = thumbnailCacheDirectory();
    }
    _core = std::make_shared<Core>(std::move(options), defaults, clock);
}

FolderPhotoLibrary::~FolderPhotoLibrary() {
    // Work still queued uses the settings store and clock, which may go with this object's
    // owner: the library's own queue is drained first. A queue handed in is its owner's to
    // drain, since waiting on it from here could wait for ever (a main queue not running).
    if (_ownQueue && !_queue->isCurrent()) {
        try {
            _queue->sync([] {});
        } catch (const std::exception&) {
            // The queue can no longer run work: nothing queued will run either.
        }
    }
}

const std::filesystem::path& FolderPhotoLibrary::directory() const {
    return _core->folder();
}

std::optional<std::filesystem::path> FolderPhotoLibrary::draftsFolder(
    std::optional<foundation::Error>& error) const {
    if (!_core->makeFolder(error)) {
        return std::nullopt;
    }
    return movieDraftsFolder(_core->folder());
}

PHAuthorizationStatus FolderPhotoLibrary::authorizationStatusForAccessLevel(
    PHAccessLevel level) const {
    return authorizationStatusFor(_core->access(), level);
}

void FolderPhotoLibrary::requestAuthorizationForAccessLevel(PHAccessLevel level,
                                                            AuthorizationHandler handler) {
    _queue->async([core = _core, level, handler = std::move(handler)] {
        handler(authorizationStatusFor(core->access(), level));
    });
}

void FolderPhotoLibrary::performChanges(const ChangeBlock& changes, ChangeCompletion completion) {
    PhotoLibraryChanges collected;
    changes(collected);
    _queue->async(
        [core = _core, collected = std::move(collected), completion = std::move(completion)] {
            const auto error = core->apply(collected);
            if (completion) {
                completion(!error, error);
            }
        });
}

PhotoLibraryAnswer<PhotoAsset> FolderPhotoLibrary::fetchAssetsWithLocalIdentifiers(
    const std::vector<std::string>& identifiers) const {
    return _core->assets(&identifiers);
}

PhotoLibraryAnswer<PhotoAsset> FolderPhotoLibrary::fetchAssets() const {
    return _core->assets(nullptr);
}

PhotoLibraryAnswer<PhotoAlbum> FolderPhotoLibrary::fetchUserAlbums() const {
    return _core->read<PhotoAlbum>([](LibraryIndex& readable, const std::optional<std::string>&) {
        return readable.albums();
    });
}

PhotoLibraryAnswer<std::string> FolderPhotoLibrary::fetchAssetsInAlbum(
    const std::string& albumIdentifier) const {
    return _core->read<std::string>(
        [&](LibraryIndex& readable, const std::optional<std::string>& visible) {
            auto members = readable.albumAssets(albumIdentifier);
            if (members.error || !visible) {
                return members;
            }
            // Limited access sees an album's members it added, and no others.
            auto seen = readable.assetsWithIdentifiers(members.values, visible);
            PhotoLibraryAnswer<std::string> answer{{}, seen.error};
            for (const auto& asset : seen.assets) {
                answer.values.push_back(asset.identifier);
            }
            return answer;
        });
}

void FolderPhotoLibrary::requestImageForAsset(const std::string& localIdentifier, int maximumSize,
                                              ThumbnailHandler handler) {
    _queue->async([core = _core, localIdentifier, maximumSize, handler = std::move(handler)] {
        const std::vector identifiers{localIdentifier};
        auto found = core->assets(&identifiers);
        if (found.error) {
            handler(std::nullopt, found.error);
            return;
        }
        if (found.values.empty()) {
            handler(std::nullopt,
                    libraryError(kPhotoLibraryNotFound,
                                 "The photo library has no asset " + localIdentifier));
            return;
        }
        const auto& path = found.values.front().path;
        struct stat status {};
        if (::stat(path.c_str(), &status) != 0) {
            handler(std::nullopt,
                    libraryError(kPhotoLibraryNotFound,
                                 "The file of a photo library asset is missing: " + path.string()));
            return;
        }
        const auto uri = thumbnailFileURI(path);
        const auto flavor = thumbnailFlavorFor(maximumSize);
        const auto file = core->options.thumbnailCache / flavor.folder / thumbnailFileName(uri);
        const std::int64_t mtime = status.st_mtim.tv_sec;
        if (auto cached = readThumbnailPng(file);
            cached && cached->uri == uri && cached->mtime == mtime) {
            handler(PhotoThumbnail{cached->image, file}, std::nullopt);
            return;
        }
        auto decoded = decodeThumbnail(path, flavor.size);
        if (!decoded.image) {
            handler(std::nullopt, libraryError(kPhotoLibraryThumbnailFailed,
                                               "Cannot make a thumbnail of " + path.string() +
                                                   ": " + decoded.problem));
            return;
        }
        PhotoThumbnail thumbnail{decoded.image, file};
        if (auto problem = writeThumbnailPng(file, *decoded.image, uri, mtime)) {
            // The picture is still good to show; only the cache missed it.
            foundation::log("Photo library: %s", problem->c_str());
            thumbnail.file.clear();
        }
        handler(thumbnail, std::nullopt);
    });
}

}  // namespace orvane::platform
