#include "platform/library/MemoryPhotoLibrary.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>

namespace orvane::platform {

namespace {

foundation::Error memoryError(std::int64_t code, std::string description) {
    return {kPhotoLibraryErrorDomain, code, std::move(description), {}};
}

}  // namespace

MemoryPhotoLibrary::MemoryPhotoLibrary(std::shared_ptr<foundation::DispatchQueue> queue)
    : _queue(std::move(queue)),
      _status{{PHAccessLevel::AddOnly, PHAuthorizationStatus::Authorized},
              {PHAccessLevel::ReadWrite, PHAuthorizationStatus::Authorized}} {}

void MemoryPhotoLibrary::setAuthorizationStatus(PHAccessLevel level, PHAuthorizationStatus status) {
    std::lock_guard lock(_mutex);
    _status[level] = status;
}

void MemoryPhotoLibrary::setChangeError(std::optional<foundation::Error> error) {
    std::lock_guard lock(_mutex);
    _changeError = std::move(error);
}

void MemoryPhotoLibrary::setThumbnailError(std::optional<foundation::Error> error) {
    std::lock_guard lock(_mutex);
    _thumbnailError = std::move(error);
}

std::string MemoryPhotoLibrary::addAssetFromElsewhere(PHAssetMediaType type, std::string fileName,
                                                      Blob bytes) {
    std::lock_guard lock(_mutex);
    auto identifier = makeLocalIdentifier();
    _assets.push_back(
        {PhotoAsset{identifier, type, fileName, fileName, 0}, std::move(bytes), false});
    return identifier;
}

std::vector<MemoryPhotoLibrary::StoredAsset> MemoryPhotoLibrary::storedAssets() const {
    std::lock_guard lock(_mutex);
    return _assets;
}

std::vector<PHAccessLevel> MemoryPhotoLibrary::authorizationRequests() const {
    std::lock_guard lock(_mutex);
    return _requests;
}

int MemoryPhotoLibrary::changeBlockCount() const {
    std::lock_guard lock(_mutex);
    return _changeBlocks;
}

void MemoryPhotoLibrary::answer(foundation::Task task) {
    if (_queue) {
        _queue->async(std::move(task));
    } else {
        task();
    }
}

PHAuthorizationStatus MemoryPhotoLibrary::authorizationStatusForAccessLevel(
    PHAccessLevel level) const {
    std::lock_guard lock(_mutex);
    return _status.at(level);
}

void MemoryPhotoLibrary::requestAuthorizationForAccessLevel(PHAccessLevel level,
                                                            AuthorizationHandler handler) {
    PHAuthorizationStatus status;
    {
        std::lock_guard lock(_mutex);
        _requests.push_back(level);
        status = _status.at(level);
    }
    answer([handler = std::move(handler), status] { handler(status); });
}

std::optional<foundation::Error> MemoryPhotoLibrary::apply(const PhotoLibraryChanges& changes) {
    std::lock_guard lock(_mutex);
    ++_changeBlocks;
    if (_changeError) {
        return _changeError;
    }
    const bool readWrite =
        _status.at(PHAccessLevel::ReadWrite) == PHAuthorizationStatus::Authorized ||
        _status.at(PHAccessLevel::ReadWrite) == PHAuthorizationStatus::Limited;
    // Work on copies, so a failing block changes nothing.
    auto assets = _assets;
    auto albums = _albums;
    std::vector<std::filesystem::path> moved;
    std::set<std::string> names;
    for (const auto& stored : assets) {
        names.insert(stored.asset.path.string());
    }
    for (const auto& entry : changes.entries()) {
        if (const auto* creation = std::get_if<AssetCreation>(&entry.change)) {
            Blob bytes;
            if (const auto* file = std::get_if<std::filesystem::path>(&creation->source)) {
                std::ifstream in(*file, std::ios::binary);
                if (!in) {
                    return memoryError(kPhotoLibraryWriteFailed, "Cannot read " + file->string());
                }
                bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
                if (creation->options.shouldMoveFile) {
                    moved.push_back(*file);
                }
            } else {
                bytes = std::get<Blob>(creation->source);
            }
            const bool video = creation->type == PHAssetResourceType::Video;
            std::string name = creation->options.originalFilename
                                   ? cleanFileName(*creation->options.originalFilename)
                                   : std::string();
            if (name.empty()) {
                name = (video ? "MOV_" : "IMG_") + std::to_string(assets.size() + 1) +
                       (video ? ".MOV" : ".JPG");
            }
            std::string free = name;
            for (int n = 1; names.contains(free); ++n) {
                free = numberedFileName(name, n);
            }
            names.insert(free);
            assets.push_back({PhotoAsset{entry.identifier,
                                         video ? PHAssetMediaType::Video : PHAssetMediaType::Image,
                                         free, name, creation->creationDate.value_or(0)},
                              std::move(bytes), true});
        } else if (!readWrite) {
            return memoryError(kPhotoLibraryAccessDenied, "Only adding is allowed");
        } else if (const auto* album = std::get_if<AlbumCreation>(&entry.change)) {
            albums.push_back({PhotoAlbum{entry.identifier, album->title}, {}});
        } else if (const auto* addition = std::get_if<AlbumAddition>(&entry.change)) {
            auto target = std::find_if(albums.begin(), albums.end(), [&](const Album& a) {
                return a.album.localIdentifier == addition->albumIdentifier;
            });
            if (target == albums.end()) {
                return memoryError(kPhotoLibraryNotFound, "No album " + addition->albumIdentifier);
            }
            for (const auto& asset : addition->assetIdentifiers) {
                if (std::find(target->assets.begin(), target->assets.end(), asset) ==
                    target->assets.end()) {
                    target->assets.push_back(asset);
                }
            }
        }
    }
    for (const auto& file : moved) {
        std::filesystem::remove(file);
    }
    _assets = std::move(assets);
    _albums = std::move(albums);
    return std::nullopt;
}

void MemoryPhotoLibrary::performChanges(const ChangeBlock& changes, ChangeCompletion completion) {
    PhotoLibraryChanges collected;
    changes(collected);
    auto error = apply(collected);
    answer([completion = std::move(completion), error = std::move(error)] {
        if (completion) {
            completion(!error, error);
        }
    });
}

std::optional<foundation::Error> MemoryPhotoLibrary::readDenied() const {
    const auto status = _status.at(PHAccessLevel::ReadWrite);
    if (status == PHAuthorizationStatus::Authorized || status == PHAuthorizationStatus::Limited) {
        return std::nullopt;
    }
    return memoryError(kPhotoLibraryAccessDenied, "Reading back is not allowed");
}

bool MemoryPhotoLibrary::visible(const StoredAsset& asset) const {
    return asset.addedHere ||
           _status.at(PHAccessLevel::ReadWrite) != PHAuthorizationStatus::Limited;
}

PhotoLibraryAnswer<PhotoAsset> MemoryPhotoLibrary::fetchAssetsWithLocalIdentifiers(
    const std::vector<std::string>& identifiers) const {
    std::lock_guard lock(_mutex);
    if (auto denied = readDenied()) {
        return {{}, denied};
    }
    PhotoLibraryAnswer<PhotoAsset> answer;
    for (const auto& identifier : identifiers) {
        for (const auto& stored : _assets) {
            if (stored.asset.localIdentifier == identifier && visible(stored)) {
                answer.values.push_back(stored.asset);
            }
        }
    }
    return answer;
}

PhotoLibraryAnswer<PhotoAsset> MemoryPhotoLibrary::fetchAssets() const {
    std::lock_guard lock(_mutex);
    if (auto denied = readDenied()) {
        return {{}, denied};
    }
    PhotoLibraryAnswer<PhotoAsset> answer;
    for (const auto& stored : _assets) {
        if (visible(stored)) {
            answer.values.push_back(stored.asset);
        }
    }
    return answer;
}

PhotoLibraryAnswer<PhotoAlbum> MemoryPhotoLibrary::fetchUserAlbums() const {
    std::lock_guard lock(_mutex);
    if (auto denied = readDenied()) {
        return {{}, denied};
    }
    PhotoLibraryAnswer<PhotoAlbum> answer;
    for (const auto& album : _albums) {
        answer.values.push_back(album.album);
    }
    return answer;
}

PhotoLibraryAnswer<std::string> MemoryPhotoLibrary::fetchAssetsInAlbum(
    const std::string& albumIdentifier) const {
    std::lock_guard lock(_mutex);
    if (auto denied = readDenied()) {
        return {{}, denied};
    }
    for (const auto& album : _albums) {
        if (album.album.localIdentifier == albumIdentifier) {
            return {album.assets, std::nullopt};
        }
    }
    return {{}, memoryError(kPhotoLibraryNotFound, "No album " + albumIdentifier)};
}

void MemoryPhotoLibrary::requestImageForAsset(const std::string& localIdentifier, int maximumSize,
                                              ThumbnailHandler handler) {
    std::optional<foundation::Error> error;
    {
        std::lock_guard lock(_mutex);
        error = _thumbnailError ? _thumbnailError : readDenied();
        const bool known = std::any_of(_assets.begin(), _assets.end(), [&](const StoredAsset& a) {
            return a.asset.localIdentifier == localIdentifier && visible(a);
        });
        if (!error && !known) {
            error = memoryError(kPhotoLibraryNotFound, "No asset " + localIdentifier);
        }
    }
    if (error) {
        answer([handler = std::move(handler), error] { handler(std::nullopt, error); });
        return;
    }
    const int width = std::max(maximumSize, 4);
    auto created = PixelBuffer::create(width, std::max(width * 3 / 4, 1));
    if (created.buffer) {
        const PixelBufferWriteLock lock(*created.buffer);
        std::memset(lock.data(), 0x80, created.buffer->dataSize());
    }
    answer([handler = std::move(handler), image = created.buffer] {
        handler(PhotoThumbnail{image, {}}, std::nullopt);
    });
}

}  // namespace orvane::platform
