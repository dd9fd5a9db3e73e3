// Raster tiles from an MBTiles file: an SQLite database whose "tiles" table holds PNG or JPEG
// tiles by zoom, column and row, rows counted from the south (TMS), with a "metadata" table of
// names and values. Read only, offline.
#pragma once

#include <memory>
#include <string>

#include "platform/library/sqlite_handle.h"
#include "platform/map/TileSource.h"

namespace orvane::platform {

class MBTilesTileSource final : public TileSource {
  public:
    // Opens the file read-only and checks that it holds raster tiles; nullptr with the reason in
    // `problem` when it cannot be opened, is not an MBTiles file, holds vector tiles or no tiles.
    // `attribution` is drawn on the map; empty takes the file's own attribution, without markup.
    static std::unique_ptr<MBTilesTileSource> open(const std::string& path, std::string attribution,
                                                   std::string& problem);

    // A tile the file lacks is no tile, not an error: files often cover one region only.
    TileAnswer tile(int zoom, int x, int y, MapType type, const std::atomic<bool>& cancel) override;
    int minimumZoom() const override { return _minimumZoom; }
    int maximumZoom() const override { return _maximumZoom; }
    std::string attribution() const override { return _attribution; }
    std::string description() const override { return _path; }

  private:
    MBTilesTileSource() = default;

    std::string _path;
    std::string _attribution;
    int _minimumZoom = 0;
    int _maximumZoom = 0;
    sqlite::Database _database;
    sqlite::Statement _select;
};

// The text of an HTML fragment: tags dropped, the common entities written out ("&copy;" as "©").
std::string plainTextOfMarkup(const std::string& markup);

}  // namespace orvane::platform
