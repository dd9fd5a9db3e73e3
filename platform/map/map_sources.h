// The map source named by a string: "offline" (the default), "none", "mbtiles:FILE", or a tile
// server's URL template ("https://tile.example/{z}/{x}/{y}.png", a second one after a space for
// "Satellite hybrid").
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/DispatchQueue.h"
#include "platform/map/MapSnapshotter.h"

namespace orvane::platform {

struct MapSourceOptions {
    // Drawn on tile maps; for an MBTiles file, empty takes the file's own.
    std::string attribution;
    // Named in the tile server's User-Agent.
    std::string contact;
    // The tile server's disk cache: tiles/ in the user's cache folder unless set; nothing caches
    // none.
    std::optional<std::filesystem::path> tileCacheDirectory = defaultTileCacheDirectory();
    std::uintmax_t tileCacheBytes = 64ull * 1024 * 1024;
    double timeoutSeconds = 10;
    // The offline map's place file; empty: the data directory's.
    std::string placesPath;

    static std::optional<std::filesystem::path> defaultTileCacheDirectory();
};

// The snapshotter for `source` (offline when empty), answering on `callbackQueue`. A malformed
// name, a bad template or an MBTiles file that cannot be used gives nullptr and a message in
// `problem` that names it; whether a tile server answers is learnt at the first snapshot.
std::unique_ptr<MapSnapshotter> makeMapSnapshotter(
    std::string_view source, const MapSourceOptions& options,
    std::shared_ptr<foundation::DispatchQueue> callbackQueue, std::string& problem);

}  // namespace orvane::platform
