// The photo library's index: one SQLite file beside the photos, holding each asset's identifier,
// file name, media type, original name, creation time and the program that added it, the
// albums, and which assets each album holds.
//
// Not thread-safe: the library serialises every use.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "platform/library/PhotoLibrary.h"
#include "platform/library/sqlite_handle.h"

namespace orvane::platform {

struct IndexedAsset {
    std::string identifier;
    std::string fileName;  // inside the library's folder
    PHAssetMediaType mediaType = PHAssetMediaType::Unknown;
    std::optional<std::string> originalName;
    double creationTime = 0;
    std::string addedBy;
};

class LibraryIndex {
  public:
    static constexpr const char* kFileName = ".orvane-index.sqlite";

    // Opens the index in `folder`, creating it when `create` is set. Without `create`, a missing
    // index answers no index and no error: an empty library. An index that cannot be read
    // answers kPhotoLibraryIndexUnreadable, one that cannot be made kPhotoLibraryWriteFailed.
    struct Opened {
        std::unique_ptr<LibraryIndex> index;
        std::optional<foundation::Error> error;
    };
    static Opened open(const std::filesystem::path& folder, bool create);

    sqlite3* database() const { return _database.get(); }
    const std::filesystem::path& folder() const { return _folder; }

    // Writes; each answers the error that stopped it. Run them inside a sqlite::Transaction.
    std::optional<foundation::Error> insertAsset(const IndexedAsset& asset);
    std::optional<foundation::Error> insertAlbum(const std::string& identifier,
                                                 const std::string& title, double creationTime);
    // Adds at the end of the album; an asset already in it stays where it is.
    std::optional<foundation::Error> addToAlbum(const std::string& album, const std::string& asset);

    // Reads. `addedBy` limits the assets to those one program added.
    struct Assets {
        std::vector<IndexedAsset> assets;
        std::optional<foundation::Error> error;
    };
    Assets assets(const std::optional<std::string>& addedBy) const;
    Assets assetsWithIdentifiers(const std::vector<std::string>& identifiers,
                                 const std::optional<std::string>& addedBy) const;
    PhotoLibraryAnswer<PhotoAlbum> albums() const;
    PhotoLibraryAnswer<std::string> albumAssets(const std::string& album) const;
    std::int64_t assetCount() const;

    // The errors of this index for a failed SQLite call.
    foundation::Error writeError(int status) const;
    foundation::Error readError(int status) const;

  private:
    LibraryIndex(sqlite::Database database, std::filesystem::path folder);

    sqlite::Database _database;
    std::filesystem::path _folder;
};

// "Cannot write to the photo library at FOLDER: REASON", the library's text for every write that
// fails, with code kPhotoLibraryWriteFailed.
foundation::Error photoLibraryWriteError(const std::filesystem::path& folder,
                                         const std::string& reason);

}  // namespace orvane::platform
