#include "platform/map/MBTilesTileSource.h"

#include <cstdlib>

#include "platform/image/bitmap_codec.h"
#include "platform/map/MapSnapshotWorker.h"

namespace orvane::platform {
namespace {

std::string metadataValue(sqlite3* database, const char* name) {
    sqlite::Statement select(database, "SELECT value FROM metadata WHERE name = ?");
    if (!select.ok()) {
        return {};
    }
    select.bind(1, std::string_view(name));
    return select.step() == SQLITE_ROW ? select.text(0) : std::string();
}

bool parseZoom(const std::string& text, int& zoom) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 0 || value > 30) {
        return false;
    }
    zoom = static_cast<int>(value);
    return true;
}

}  // namespace

std::string plainTextOfMarkup(const std::string& markup) {
    static const std::pair<const char*, const char*> kEntities[] = {
        {"&copy;", "©"},  {"&amp;", "&"}, {"&lt;", "<"},  {"&gt;", ">"},
        {"&quot;", "\""}, {"&#39;", "'"}, {"&nbsp;", " "}};
    std::string text;
    bool inTag = false;
    for (std::size_t i = 0; i < markup.size(); ++i) {
        const char c = markup[i];
        if (inTag) {
            inTag = c != '>';
            continue;
        }
        if (c == '<') {
            inTag = true;
            continue;
        }
        if (c == '&') {
            bool replaced = false;
            for (const auto& [entity, character] : kEntities) {
                if (markup.compare(i, std::char_traits<char>::length(entity), entity) == 0) {
                    text += character;
                    i += std::char_traits<char>::length(entity) - 1;
                    replaced = true;
                    break;
                }
            }
            if (replaced) {
                continue;
            }
        }
        text += c;
    }
    return text;
}

std::unique_ptr<MBTilesTileSource> MBTilesTileSource::open(const std::string& path,
                                                           std::string attribution,
                                                           std::string& problem) {
    sqlite3* handle = nullptr;
    const int status =
        sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
    sqlite::Database database(handle);
    if (status != SQLITE_OK) {
        problem = handle != nullptr ? sqlite3_errmsg(handle) : sqlite3_errstr(status);
        return nullptr;
    }
    auto source = std::unique_ptr<MBTilesTileSource>(new MBTilesTileSource);
    source->_select = sqlite::Statement(
        database.get(),
        "SELECT tile_data FROM tiles WHERE zoom_level = ? AND tile_column = ? AND tile_row = ?");
    if (!source->_select.ok()) {
        // Opening reads nothing: a file that is not a database fails here, as does one without
        // the table.
        problem = std::string("not an MBTiles file (") + sqlite3_errmsg(database.get()) + ")";
        return nullptr;
    }
    const std::string format = metadataValue(database.get(), "format");
    if (format == "pbf" || format == "mvt") {
        problem = "it holds vector tiles (" + format + "); a map needs raster tiles (png or jpg)";
        return nullptr;
    }
    int minimum = 0, maximum = 0;
    if (!parseZoom(metadataValue(database.get(), "minzoom"), minimum) ||
        !parseZoom(metadataValue(database.get(), "maxzoom"), maximum) || minimum > maximum) {
        // The metadata is optional; the tiles say which zooms there are.
        sqlite::Statement zooms(database.get(),
                                "SELECT MIN(zoom_level), MAX(zoom_level) FROM tiles");
        if (!zooms.ok() || zooms.step() != SQLITE_ROW ||
            sqlite3_column_type(zooms.get(), 0) == SQLITE_NULL) {
            problem = "it holds no tiles";
            return nullptr;
        }
        minimum = static_cast<int>(zooms.integer(0));
        maximum = static_cast<int>(zooms.integer(1));
    }
    source->_path = path;
    source->_attribution = attribution.empty()
                               ? plainTextOfMarkup(metadataValue(database.get(), "attribution"))
                               : std::move(attribution);
    source->_minimumZoom = minimum;
    source->_maximumZoom = maximum;
    source->_database = std::move(database);
    return source;
}

TileAnswer MBTilesTileSource::tile(int zoom, int x, int y, MapType, const std::atomic<bool>&) {
    // TMS rows count from the south.
    const std::int64_t row = (std::int64_t{1} << zoom) - 1 - y;
    _select.reset();
    _select.bind(1, std::int64_t{zoom}).bind(2, std::int64_t{x}).bind(3, row);
    const int status = _select.step();
    if (status == SQLITE_DONE) {
        return {};
    }
    const std::string where = _path + " at zoom " + std::to_string(zoom) + ", column " +
                              std::to_string(x) + ", row " + std::to_string(row);
    if (status != SQLITE_ROW) {
        return {std::nullopt,
                mapError(MapSnapshotter::kSourceUnavailable, "The map tiles file cannot be read",
                         where + ": " + sqlite3_errmsg(_database.get()))};
    }
    const auto* data = static_cast<const std::uint8_t*>(sqlite3_column_blob(_select.get(), 0));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(_select.get(), 0));
    std::string problem;
    std::optional<Bitmap> bitmap = decodeBitmap({data, data == nullptr ? 0 : size}, problem);
    if (!bitmap) {
        return {std::nullopt, mapError(MapSnapshotter::kBadTile,
                                       "The map tiles file holds a tile that is not a picture",
                                       where + ": " + problem)};
    }
    return {std::move(bitmap), std::nullopt};
}

}  // namespace orvane::platform
