// The photo library as the capture paths use it: permission, change blocks that add assets and
// albums, read-back by identifier, user albums by title, and thumbnails.
//
// Asynchronous answers (authorization requests, change completions, thumbnails) come on the
// library's own queue; callers hop to the main queue themselves. Reads (fetches, album lookups,
// the authorization status) answer at once and are safe from any thread, including inside a
// completion handler.
//
// Implementations: a folder with an SQLite index (FolderPhotoLibrary), and the
// scriptable one in memory for tests (MemoryPhotoLibrary).
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "foundation/Error.h"
#include "platform/media/PixelBuffer.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::platform {

// The answers of an authorization request, with their platform numbers.
enum class PHAuthorizationStatus : std::int64_t {
    NotDetermined = 0,
    Restricted = 1,
    Denied = 2,
    Authorized = 3,
    Limited = 4,
};

enum class PHAccessLevel : std::int64_t { AddOnly = 1, ReadWrite = 2 };

enum class PHAssetMediaType : std::int64_t { Unknown = 0, Image = 1, Video = 2 };

enum class PHAssetResourceType : std::int64_t { Photo = 1, Video = 2 };

// "photo", "video" or "unknown", for listings and logs.
const char* mediaTypeName(PHAssetMediaType type);

// The error domain of the photo library, and its codes.
inline constexpr const char* kPhotoLibraryErrorDomain = "OrvanePhotoLibraryErrorDomain";
// The access granted does not allow the operation (the platform's "access denied" code, which
// the capture paths answer with the denied alert).
inline constexpr std::int64_t kPhotoLibraryAccessDenied = 3311;
// The library's folder or index cannot be written; the failure reason carries the system's text.
inline constexpr std::int64_t kPhotoLibraryWriteFailed = 3300;
// The index exists but cannot be read (corrupt, or made by a newer program).
inline constexpr std::int64_t kPhotoLibraryIndexUnreadable = 3301;
// The asset or album named is not in the library, or is not visible with the access granted.
inline constexpr std::int64_t kPhotoLibraryNotFound = 3302;
// The asset's file cannot be decoded into a thumbnail.
inline constexpr std::int64_t kPhotoLibraryThumbnailFailed = 3303;
// A change block that asks for nothing the library can do (no resource, an empty title).
inline constexpr std::int64_t kPhotoLibraryInvalidRequest = 3304;

// The settings key of the access level the user granted, "full", "limited" or "addOnly". A
// missing key is full access.
inline constexpr const char* kPhotoLibraryAccessLevelKey = "PhotoLibraryAccessLevel";

enum class PhotoLibraryAccess { Full, Limited, AddOnly };

// The access level stored in `defaults`. An unknown value reads as add-only: writes still keep
// every capture, and nothing is read back that the user may have meant to keep private. The
// unknown text, when there is one, is put in `unknownValue`.
PhotoLibraryAccess readPhotoLibraryAccess(const UserDefaults& defaults,
                                          std::string* unknownValue = nullptr);
// What a request for `level` answers under `access`.
PHAuthorizationStatus authorizationStatusFor(PhotoLibraryAccess access, PHAccessLevel level);

struct PHAssetResourceCreationOptions {
    // The file name the asset keeps; none lets the library choose one.
    std::optional<std::string> originalFilename;
    // Moves the source file into the library instead of copying it.
    bool shouldMoveFile = false;
};

// One asset to create: a file or bytes, of one resource type.
struct AssetCreation {
    PHAssetResourceType type = PHAssetResourceType::Photo;
    std::variant<std::filesystem::path, Blob> source;
    PHAssetResourceCreationOptions options;
    // Seconds since 1970; none is the moment of the change.
    std::optional<double> creationDate;
};

struct AlbumCreation {
    std::string title;
};

struct AlbumAddition {
    std::string albumIdentifier;
    std::vector<std::string> assetIdentifiers;
};

// What one change block asks for. Identifiers of new assets and albums are known as soon as
// they are asked for (the placeholders' local identifiers), so a block may create an album and
// add a new asset to it. The library applies a block whole or not at all: a failed block leaves
// no file moved and the index as it was.
class PhotoLibraryChanges {
  public:
    // A creation request with one resource from a file; answers the placeholder's identifier.
    std::string addResourceWithTypeFileURL(PHAssetResourceType type, std::filesystem::path file,
                                           PHAssetResourceCreationOptions options,
                                           std::optional<double> creationDate = std::nullopt);
    // The same with the resource's bytes.
    std::string addResourceWithTypeData(PHAssetResourceType type, Blob data,
                                        PHAssetResourceCreationOptions options,
                                        std::optional<double> creationDate = std::nullopt);
    // A user album with this title; answers the placeholder's identifier.
    std::string creationRequestForAssetCollectionWithTitle(std::string title);
    void addAssets(std::string albumIdentifier, std::vector<std::string> assetIdentifiers);

    // In the order asked.
    using Change = std::variant<AssetCreation, AlbumCreation, AlbumAddition>;
    struct Entry {
        std::string identifier;  // of the asset or album created; empty for an addition
        Change change;
    };
    const std::vector<Entry>& entries() const { return _entries; }

  private:
    std::vector<Entry> _entries;
};

struct PhotoAsset {
    std::string localIdentifier;
    PHAssetMediaType mediaType = PHAssetMediaType::Unknown;
    std::filesystem::path path;  // the file in the library
    std::string originalFilename;
    double creationDate = 0;  // seconds since 1970
};

struct PhotoAlbum {
    std::string localIdentifier;
    std::string localizedTitle;
};

// An answer that may be refused: values, or the error that says why there are none.
template <typename T>
struct PhotoLibraryAnswer {
    std::vector<T> values;
    std::optional<foundation::Error> error;
};

// A thumbnail, 32BGRA, at most the size asked for on its longer side.
struct PhotoThumbnail {
    PixelBufferRef image;
    std::filesystem::path file;  // where it is cached; may be empty
};

// `name` as a file name: path separators and NULs become "_", and an over-long name is shortened
// before its extension. Answers empty for a name that cannot be one ("", ".", "..").
std::string cleanFileName(const std::string& name);
// The n-th name tried for `name` when names clash: the name itself, then "stem (1).ext",
// "stem (2).ext"...
std::string numberedFileName(const std::string& name, int n);

// A new identifier for an asset or album: random UUID text in capitals.
std::string makeLocalIdentifier();

class PhotoLibrary {
  public:
    using AuthorizationHandler = std::function<void(PHAuthorizationStatus)>;
    using ChangeBlock = std::function<void(PhotoLibraryChanges&)>;
    using ChangeCompletion =
        std::function<void(bool success, const std::optional<foundation::Error>& error)>;
    using ThumbnailHandler = std::function<void(const std::optional<PhotoThumbnail>&,
                                                const std::optional<foundation::Error>&)>;

    virtual ~PhotoLibrary() = default;

    virtual PHAuthorizationStatus authorizationStatusForAccessLevel(PHAccessLevel level) const = 0;
    // Answers on the library's queue.
    virtual void requestAuthorizationForAccessLevel(PHAccessLevel level,
                                                    AuthorizationHandler handler) = 0;

    // Runs `changes` at once on the calling thread to collect the requests, applies them on the
    // library's queue, and answers there.
    virtual void performChanges(const ChangeBlock& changes, ChangeCompletion completion) = 0;

    // Assets visible with the access granted, by identifier; unknown identifiers are left out.
    virtual PhotoLibraryAnswer<PhotoAsset> fetchAssetsWithLocalIdentifiers(
        const std::vector<std::string>& identifiers) const = 0;
    // Every asset visible with the access granted, oldest first.
    virtual PhotoLibraryAnswer<PhotoAsset> fetchAssets() const = 0;
    // The user's albums, in the order they were made.
    virtual PhotoLibraryAnswer<PhotoAlbum> fetchUserAlbums() const = 0;
    // The asset identifiers of an album, in the order they were added.
    virtual PhotoLibraryAnswer<std::string> fetchAssetsInAlbum(
        const std::string& albumIdentifier) const = 0;

    // A thumbnail for the asset, at most `maximumSize` pixels on its longer side; answers on the
    // library's queue.
    virtual void requestImageForAsset(const std::string& localIdentifier, int maximumSize,
                                      ThumbnailHandler handler) = 0;

    // The first user album with this exact title, if any.
    std::optional<PhotoAlbum> albumWithTitle(const std::string& title) const;
};

}  // namespace orvane::platform
