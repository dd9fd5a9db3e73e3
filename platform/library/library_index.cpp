#include "platform/library/library_index.h"

#include <system_error>

namespace orvane::platform {

namespace {

// The layout this program writes; an index of a later layout is refused rather than changed.
constexpr int kSchemaVersion = 1;

constexpr const char* kSchema = R"sql(
CREATE TABLE IF NOT EXISTS assets (
    identifier TEXT PRIMARY KEY,
    file_name TEXT NOT NULL UNIQUE,
    media_type INTEGER NOT NULL,
    original_name TEXT,
    creation_time REAL NOT NULL,
    added_by TEXT NOT NULL
);
CREATE TABLE IF NOT EXISTS albums (
    identifier TEXT PRIMARY KEY,
    title TEXT NOT NULL,
    creation_time REAL NOT NULL
);
CREATE TABLE IF NOT EXISTS album_assets (
    album TEXT NOT NULL REFERENCES albums(identifier) ON DELETE CASCADE,
    asset TEXT NOT NULL REFERENCES assets(identifier) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    PRIMARY KEY (album, asset)
);
PRAGMA user_version = 1;
)sql";

constexpr const char* kAssetColumns =
    "SELECT identifier, file_name, media_type, original_name, creation_time, added_by "
    "FROM assets";

IndexedAsset assetFromRow(const sqlite::Statement& row) {
    IndexedAsset asset;
    asset.identifier = row.text(0);
    asset.fileName = row.text(1);
    const auto type = row.integer(2);
    asset.mediaType = type == 1   ? PHAssetMediaType::Image
                      : type == 2 ? PHAssetMediaType::Video
                                  : PHAssetMediaType::Unknown;
    asset.originalName = row.optionalText(3);
    asset.creationTime = row.real(4);
    asset.addedBy = row.text(5);
    return asset;
}

std::string message(sqlite3* database, int status) {
    if (database && sqlite3_errcode(database) == status) {
        return sqlite3_errmsg(database);
    }
    return sqlite3_errstr(status);
}

}  // namespace

foundation::Error photoLibraryWriteError(const std::filesystem::path& folder,
                                         const std::string& reason) {
    return {kPhotoLibraryErrorDomain, kPhotoLibraryWriteFailed,
            "Cannot write to the photo library at " + folder.string() + ": " + reason, reason};
}

LibraryIndex::LibraryIndex(sqlite::Database database, std::filesystem::path folder)
    : _database(std::move(database)), _folder(std::move(folder)) {}

foundation::Error LibraryIndex::writeError(int status) const {
    return photoLibraryWriteError(_folder, message(_database.get(), status));
}

foundation::Error LibraryIndex::readError(int status) const {
    const std::string reason = message(_database.get(), status);
    return {kPhotoLibraryErrorDomain, kPhotoLibraryIndexUnreadable,
            "The photo library's index at " + (_folder / kFileName).string() +
                " cannot be read: " + reason,
            reason};
}

LibraryIndex::Opened LibraryIndex::open(const std::filesystem::path& folder, bool create) {
    const auto path = folder / kFileName;
    std::error_code ignored;
    if (!create && !std::filesystem::exists(path, ignored)) {
        return {};
    }
    sqlite3* raw = nullptr;
    const int flags =
        SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0) | SQLITE_OPEN_NOMUTEX;
    const int opened = sqlite3_open_v2(path.c_str(), &raw, flags, nullptr);
    sqlite::Database database(raw);
    std::unique_ptr<LibraryIndex> index(new LibraryIndex(std::move(database), folder));
    if (opened != SQLITE_OK) {
        return {nullptr, create ? index->writeError(opened) : index->readError(opened)};
    }
    sqlite3* db = index->database();
    sqlite3_busy_timeout(db, 5000);
    sqlite3_extended_result_codes(db, 0);

    // The first read finds out whether the file is an index at all.
    sqlite::Statement version(db, "PRAGMA user_version");
    if (!version.ok()) {
        return {nullptr, index->readError(sqlite3_errcode(db))};
    }
    const int stepped = version.step();
    if (stepped != SQLITE_ROW) {
        return {nullptr, index->readError(stepped)};
    }
    const auto found = version.integer(0);
    if (found > kSchemaVersion) {
        return {nullptr, foundation::Error{kPhotoLibraryErrorDomain, kPhotoLibraryIndexUnreadable,
                                           "The photo library's index at " + path.string() +
                                               " was made by a newer version of Orvane",
                                           "index layout " + std::to_string(found)}};
    }
    sqlite::execute(db, "PRAGMA foreign_keys = ON");
    if (found < kSchemaVersion) {
        if (const int status = sqlite::execute(db, kSchema); status != SQLITE_OK) {
            return {nullptr, create ? index->writeError(status) : index->readError(status)};
        }
    }
    return {std::move(index), std::nullopt};
}

std::optional<foundation::Error> LibraryIndex::insertAsset(const IndexedAsset& asset) {
    sqlite::Statement insert(database(),
                             "INSERT INTO assets (identifier, file_name, media_type, "
                             "original_name, creation_time, added_by) VALUES (?, ?, ?, ?, ?, ?)");
    if (!insert.ok()) {
        return writeError(sqlite3_errcode(database()));
    }
    insert.bind(1, asset.identifier)
        .bind(2, asset.fileName)
        .bind(3, static_cast<std::int64_t>(asset.mediaType))
        .bind(5, asset.creationTime)
        .bind(6, asset.addedBy);
    if (asset.originalName) {
        insert.bind(4, *asset.originalName);
    } else {
        insert.bindNull(4);
    }
    if (const int status = insert.step(); status != SQLITE_DONE) {
        return writeError(status);
    }
    return std::nullopt;
}

std::optional<foundation::Error> LibraryIndex::insertAlbum(const std::string& identifier,
                                                           const std::string& title,
                                                           double creationTime) {
    sqlite::Statement insert(
        database(), "INSERT INTO albums (identifier, title, creation_time) VALUES (?, ?, ?)");
    if (!insert.ok()) {
        return writeError(sqlite3_errcode(database()));
    }
    insert.bind(1, identifier).bind(2, title).bind(3, creationTime);
    if (const int status = insert.step(); status != SQLITE_DONE) {
        return writeError(status);
    }
    return std::nullopt;
}

std::optional<foundation::Error> LibraryIndex::addToAlbum(const std::string& album,
                                                          const std::string& asset) {
    sqlite::Statement insert(database(),
                             "INSERT OR IGNORE INTO album_assets (album, asset, position) "
                             "SELECT ?1, ?2, COALESCE(MAX(position), 0) + 1 FROM album_assets "
                             "WHERE album = ?1");
    if (!insert.ok()) {
        return writeError(sqlite3_errcode(database()));
    }
    insert.bind(1, album).bind(2, asset);
    if (const int status = insert.step(); status != SQLITE_DONE) {
        return writeError(status);
    }
    return std::nullopt;
}

LibraryIndex::Assets LibraryIndex::assets(const std::optional<std::string>& addedBy) const {
    sqlite::Statement select(database(), std::string(kAssetColumns) +
                                             (addedBy ? " WHERE added_by = ?" : "") +
                                             " ORDER BY creation_time, rowid");
    if (!select.ok()) {
        return {{}, readError(sqlite3_errcode(database()))};
    }
    if (addedBy) {
        select.bind(1, *addedBy);
    }
    Assets answer;
    int status;
    while ((status = select.step()) == SQLITE_ROW) {
        answer.assets.push_back(assetFromRow(select));
    }
    if (status != SQLITE_DONE) {
        return {{}, readError(status)};
    }
    return answer;
}

LibraryIndex::Assets LibraryIndex::assetsWithIdentifiers(
    const std::vector<std::string>& identifiers, const std::optional<std::string>& addedBy) const {
    sqlite::Statement select(database(), std::string(kAssetColumns) + " WHERE identifier = ?" +
                                             (addedBy ? " AND added_by = ?" : ""));
    if (!select.ok()) {
        return {{}, readError(sqlite3_errcode(database()))};
    }
    Assets answer;
    for (const auto& identifier : identifiers) {
        select.reset();
        select.bind(1, identifier);
        if (addedBy) {
            select.bind(2, *addedBy);
        }
        const int status = select.step();
        if (status == SQLITE_ROW) {
            answer.assets.push_back(assetFromRow(select));
        } else if (status != SQLITE_DONE) {
            return {{}, readError(status)};
        }
    }
    return answer;
}

PhotoLibraryAnswer<PhotoAlbum> LibraryIndex::albums() const {
    sqlite::Statement select(database(),
                             "SELECT identifier, title FROM albums ORDER BY creation_time, rowid");
    if (!select.ok()) {
        return {{}, readError(sqlite3_errcode(database()))};
    }
    PhotoLibraryAnswer<PhotoAlbum> answer;
    int status;
    while ((status = select.step()) == SQLITE_ROW) {
        answer.values.push_back({select.text(0), select.text(1)});
    }
    if (status != SQLITE_DONE) {
        return {{}, readError(status)};
    }
    return answer;
}

PhotoLibraryAnswer<std::string> LibraryIndex::albumAssets(const std::string& album) const {
    sqlite::Statement select(database(),
                             "SELECT asset FROM album_assets WHERE album = ? ORDER BY position");
    if (!select.ok()) {
        return {{}, readError(sqlite3_errcode(database()))};
    }
    select.bind(1, album);
    PhotoLibraryAnswer<std::string> answer;
    int status;
    while ((status = select.step()) == SQLITE_ROW) {
        answer.values.push_back(select.text(0));
    }
    if (status != SQLITE_DONE) {
        return {{}, readError(status)};
    }
    return answer;
}

std::int64_t LibraryIndex::assetCount() const {
    sqlite::Statement count(database(), "SELECT COUNT(*) FROM assets");
    return count.ok() && count.step() == SQLITE_ROW ? count.integer(0) : 0;
}

}  // namespace orvane::platform
