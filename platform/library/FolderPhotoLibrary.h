// The photo library as a folder of files under the names the user chose, with an SQLite index
// beside them (identifiers, albums, who added what), the access level the user granted read
// from the settings store, and freedesktop thumbnails.
//
// Change blocks and thumbnails run on the library's serial queue and answer there; reads answer
// at once from any thread. The settings store and clock must outlive the library, and a queue
// handed in must have run the library's work before they go.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "foundation/Clock.h"
#include "foundation/DispatchQueue.h"
#include "platform/library/PhotoLibrary.h"
#include "platform/library/photo_library_folder.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::platform {

struct FolderPhotoLibraryOptions {
    PhotoLibraryLocation location = photoLibraryLocation();
    // The freedesktop thumbnail cache, holding "normal" and "large".
    std::filesystem::path thumbnailCache = {};
    // The program adding assets; limited access reads back only what it added.
    std::string client = "orvane";
};

class FolderPhotoLibrary final : public PhotoLibrary {
  public:
    // A library on `options.location`, answering on `queue` (a serial queue of its own when
    // none). Nothing is made on disk until the first change.
    FolderPhotoLibrary(FolderPhotoLibraryOptions options, UserDefaults& defaults,
                       foundation::Clock& clock = foundation::systemClock(),
                       std::shared_ptr<foundation::DispatchQueue> queue = nullptr);
    ~FolderPhotoLibrary() override;

    const std::filesystem::path& directory() const;
    // Where movies are made before the library takes them (MovieDraft): inside its folder, on
    // its disk, so taking one is a rename. Makes the library's folder when missing; none with
    // `error` when that fails.
    std::optional<std::filesystem::path> draftsFolder(
        std::optional<foundation::Error>& error) const;

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
    void requestImageForAsset(const std::string& localIdentifier, int maximumSize,
                              ThumbnailHandler handler) override;

  private:
    struct Core;
    // Shared with the blocks still queued, which may outlive the library object.
    std::shared_ptr<Core> _core;
    bool _ownQueue;  // made here, so drained here
    std::shared_ptr<foundation::DispatchQueue> _queue;
};

}  // namespace orvane::platform
