// A photo library held in memory, for the tests of the capture paths: its answers are scripted
// (authorization per access level, a failing change, a failing thumbnail), and what was written
// can be inspected. Files given with shouldMoveFile are read in and removed, as a move would.
//
// Answers are posted to the queue given, or made on the calling thread when there is none.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "foundation/DispatchQueue.h"
#include "platform/library/PhotoLibrary.h"

namespace orvane::platform {

class MemoryPhotoLibrary final : public PhotoLibrary {
  public:
    explicit MemoryPhotoLibrary(std::shared_ptr<foundation::DispatchQueue> queue = nullptr);

    // What a request for `level` answers; both start authorized. The read-write answer also
    // rules reading back: limited sees only the assets added through this library, anything
    // but authorized or limited sees nothing.
    void setAuthorizationStatus(PHAccessLevel level, PHAuthorizationStatus status);
    // Every later change block fails with this error and changes nothing; none lets them pass.
    void setChangeError(std::optional<foundation::Error> error);
    void setThumbnailError(std::optional<foundation::Error> error);

    struct StoredAsset {
        PhotoAsset asset;
        Blob bytes;
        bool addedHere = true;  // false for assets put in with addAssetFromElsewhere
    };
    // An asset some other program added, which limited access does not see.
    std::string addAssetFromElsewhere(PHAssetMediaType type, std::string fileName, Blob bytes);

    std::vector<StoredAsset> storedAssets() const;
    // The levels asked for, in order.
    std::vector<PHAccessLevel> authorizationRequests() const;
    // Change blocks asked for, applied or failed.
    int changeBlockCount() const;

    PHAuthorizationStatus authorizationStatusForAccessLevel(PHAccessLevel level) const override;
    void requestAuthorizationForAccessLevel(PHAccessLevel level,
                                            AuthorizationHandler handler) override;
    void performChanges(const ChangeBlock& changes, ChangeCompletion completion) override;
    PhotoLibraryAnswer<PhotoAsset> fetchAssetsWithLocalIdentifiers(
        const std::vector<std::string>& identifiers) const override;
    PhotoLibraryAnswer<PhotoAsset> fetchAssets() const override;
    PhotoLibraryAnswer<PhotoAlbum> fetchUserAlbums() const override;
    PhotoLibraryAnswer<std::string> fetchAssetsInAlbum(
        const std::string& albumIdentifier) const override;
    // Answers a grey picture of 4:3 at the size asked.
    void requestImageForAsset(const std::string& localIdentifier, int maximumSize,
                              ThumbnailHandler handler) override;

  private:
    struct Album {
        PhotoAlbum album;
        std::vector<std::string> assets;
    };

    void answer(foundation::Task task);
    std::optional<foundation::Error> apply(const PhotoLibraryChanges& changes);
    // Whether reads are allowed and which assets they see. Called under the mutex.
    std::optional<foundation::Error> readDenied() const;
    bool visible(const StoredAsset& asset) const;

    const std::shared_ptr<foundation::DispatchQueue> _queue;
    mutable std::mutex _mutex;
    std::map<PHAccessLevel, PHAuthorizationStatus> _status;
    std::optional<foundation::Error> _changeError;
    std::optional<foundation::Error> _thumbnailError;
    std::vector<StoredAsset> _assets;
    std::vector<Album> _albums;
    std::vector<PHAccessLevel> _requests;
    int _changeBlocks = 0;
};

}  // namespace orvane::platform
