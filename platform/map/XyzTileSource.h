// Raster tiles from a tile server the user names, by URL templates with {z}, {x} and {y}, kept in
// a disk cache. Off unless the user gives a template: positions leave the machine only then.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/map/TileDiskCache.h"
#include "platform/map/TileSource.h"

namespace orvane::platform {

struct XyzTileOptions {
    // The first template serves "Standard", the second, when given, "Satellite hybrid".
    std::vector<std::string> templates;
    std::string attribution;
    std::string contact;  // an e-mail address or URL for the User-Agent, as tile servers ask
    // Where tiles are cached; nothing caches none. Each template has a folder of its own inside.
    std::optional<std::filesystem::path> cacheDirectory;
    std::uintmax_t cacheBytes = 64ull * 1024 * 1024;
    double cacheMaxAgeSeconds = 7 * 24 * 3600.0;  // the least that public tile servers ask
    double timeoutSeconds = 10;
    int maximumZoom = 19;
};

class XyzTileSource final : public TileSource {
  public:
    // The templates of a setting: whitespace between them. Nothing, with the reason in
    // `problem`, for no template, more than two, or one that is not an http or https URL with
    // {z}, {x} and {y}.
    static std::optional<std::vector<std::string>> parseTemplates(std::string_view text,
                                                                  std::string& problem);

    explicit XyzTileSource(XyzTileOptions options);

    TileAnswer tile(int zoom, int x, int y, MapType type, const std::atomic<bool>& cancel) override;
    int minimumZoom() const override { return 0; }
    int maximumZoom() const override { return _options.maximumZoom; }
    std::string attribution() const override { return _options.attribution; }
    std::string description() const override { return _options.templates.front(); }

    // The tile's URL for that map type, and the request's User-Agent.
    std::string tileUrl(int zoom, int x, int y, MapType type) const;
    std::string userAgent() const;

  private:
    const std::string& templateFor(MapType type) const;
    // The tile's key in the cache: a folder named by the template's hash, then z/x/y.
    std::string cacheKey(int zoom, int x, int y, MapType type) const;

    const XyzTileOptions _options;
    std::unique_ptr<TileDiskCache> _cache;
};

}  // namespace orvane::platform
