#include "platform/map/map_sources.h"

#include "platform/map/MBTilesTileSource.h"
#include "platform/map/NoMapSnapshotter.h"
#include "platform/map/OfflineMapSnapshotter.h"
#include "platform/map/TileMapSnapshotter.h"
#include "platform/map/XyzTileSource.h"
#include "platform/system/user_folders.h"

namespace orvane::platform {

std::optional<std::filesystem::path> MapSourceOptions::defaultTileCacheDirectory() {
    return userCacheFolder() / "tiles";
}

std::unique_ptr<MapSnapshotter> makeMapSnapshotter(
    std::string_view source, const MapSourceOptions& options,
    std::shared_ptr<foundation::DispatchQueue> callbackQueue, std::string& problem) {
    if (source.empty() || source == "offline") {
        if (options.placesPath.empty()) {
            return std::make_unique<OfflineMapSnapshotter>(std::move(callbackQueue));
        }
        return std::make_unique<OfflineMapSnapshotter>(std::move(callbackQueue),
                                                       options.placesPath);
    }
    if (source == "none") {
        return std::make_unique<NoMapSnapshotter>(std::move(callbackQueue));
    }
    if (source.starts_with("mbtiles:")) {
        const std::string path(source.substr(8));
        if (path.empty()) {
            problem = "map source \"mbtiles:\" names no file";
            return nullptr;
        }
        std::string reason;
        auto tiles = MBTilesTileSource::open(path, options.attribution, reason);
        if (!tiles) {
            problem = "map tiles file " + path + ": " + reason;
            return nullptr;
        }
        return std::make_unique<TileMapSnapshotter>(std::move(callbackQueue), std::move(tiles));
    }
    // Anything with a {z} is meant as a template, so a template without its scheme is told what
    // it lacks.
    if (source.starts_with("http://") || source.starts_with("https://") ||
        source.find("{z}") != std::string_view::npos) {
        std::string reason;
        auto templates = XyzTileSource::parseTemplates(source, reason);
        if (!templates) {
            problem = "map tile URL: " + reason;
            return nullptr;
        }
        XyzTileOptions xyz;
        xyz.templates = std::move(*templates);
        xyz.attribution = options.attribution;
        xyz.contact = options.contact;
        xyz.cacheDirectory = options.tileCacheDirectory;
        xyz.cacheBytes = options.tileCacheBytes;
        xyz.timeoutSeconds = options.timeoutSeconds;
        return std::make_unique<TileMapSnapshotter>(std::move(callbackQueue),
                                                    std::make_unique<XyzTileSource>(xyz));
    }
    problem = "unknown map source \"" + std::string(source) +
              "\": offline, none, mbtiles:FILE or an http(s) tile URL template with {z}, {x} "
              "and {y}";
    return nullptr;
}

}  // namespace orvane::platform
