#include "platform/map/XyzTileSource.h"

#include <cstdio>
#include <sstream>

#include "platform/geocoding/http_client.h"
#include "platform/image/bitmap_codec.h"
#include "platform/map/MapSnapshotWorker.h"

namespace orvane::platform {
namespace {

void replaceAll(std::string& text, std::string_view from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

// 64-bit FNV-1a: a short, stable folder name for a template.
std::string hashName(const std::string& text) {
    std::uint64_t hash = 0xcbf29ce484222325ull;
    for (unsigned char c : text) {
        hash = (hash ^ c) * 0x100000001b3ull;
    }
    char name[17];
    std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
    return name;
}

}  // namespace

std::optional<std::vector<std::string>> XyzTileSource::parseTemplates(std::string_view text,
                                                                      std::string& problem) {
    std::vector<std::string> templates;
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        const bool web = word.rfind("http://", 0) == 0 || word.rfind("https://", 0) == 0;
        if (!web || word.find("{z}") == std::string::npos ||
            word.find("{x}") == std::string::npos || word.find("{y}") == std::string::npos) {
            problem = "\"" + word +
                      "\" is not a tile URL template: it needs http:// or https:// and {z}, {x} "
                      "and {y}";
            return std::nullopt;
        }
        templates.push_back(std::move(word));
    }
    if (templates.empty()) {
        problem = "no tile URL template is given";
        return std::nullopt;
    }
    if (templates.size() > 2) {
        problem = "at most two tile URL templates, for \"Standard\" and \"Satellite hybrid\"";
        return std::nullopt;
    }
    return templates;
}

XyzTileSource::XyzTileSource(XyzTileOptions options) : _options(std::move(options)) {
    if (_options.cacheDirectory) {
        _cache = std::make_unique<TileDiskCache>(*_options.cacheDirectory, _options.cacheBytes,
                                                 _options.cacheMaxAgeSeconds);
    }
}

const std::string& XyzTileSource::templateFor(MapType type) const {
    const bool second = type == MapType::SatelliteHybrid && _options.templates.size() > 1;
    return _options.templates[second ? 1 : 0];
}

std::string XyzTileSource::tileUrl(int zoom, int x, int y, MapType type) const {
    std::string url = templateFor(type);
    replaceAll(url, "{z}", std::to_string(zoom));
    replaceAll(url, "{x}", std::to_string(x));
    replaceAll(url, "{y}", std::to_string(y));
    return url;
}

std::string XyzTileSource::userAgent() const {
    std::string agent = "Orvane/" ORVANE_VERSION;
    if (!_options.contact.empty()) {
        agent += " (" + _options.contact + ")";
    }
    return agent;
}

std::string XyzTileSource::cacheKey(int zoom, int x, int y, MapType type) const {
    return hashName(templateFor(type)) + "/" + std::to_string(zoom) + "/" + std::to_string(x) +
           "/" + std::to_string(y);
}

TileAnswer XyzTileSource::tile(int zoom, int x, int y, MapType type,
                               const std::atomic<bool>& cancel) {
    const std::string key = cacheKey(zoom, x, y, type);
    std::string problem;
    if (_cache) {
        if (const std::optional<std::string> bytes = _cache->read(key)) {
            const auto* data = reinterpret_cast<const std::uint8_t*>(bytes->data());
            if (auto bitmap = decodeBitmap({data, bytes->size()}, problem)) {
                return {std::move(bitmap), std::nullopt};
            }
            _cache->remove(key);  // damaged on disk: fetched again below
        }
    }
    const std::string url = tileUrl(zoom, x, y, type);
    HttpRequest request;
    request.url = url;
    request.userAgent = userAgent();
    request.timeoutSeconds = _options.timeoutSeconds;
    request.cancel = &cancel;
    request.headers.push_back("Accept: image/png, image/jpeg");
    const HttpResponse response = httpGet(request);
    if (response.timedOut) {
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%g", _options.timeoutSeconds);
        return {std::nullopt, mapError(MapSnapshotter::kTimedOut,
                                       std::string("The map tile server did not answer within ") +
                                           seconds + " seconds",
                                       url)};
    }
    if (response.failure) {
        return {std::nullopt, mapError(MapSnapshotter::kTransferFailed,
                                       "The map tile server could not be reached",
                                       url + ": " + *response.failure)};
    }
    if (response.status != 200) {
        return {
            std::nullopt,
            mapError(response.status,
                     "The map tile server answered HTTP " + std::to_string(response.status), url)};
    }
    const auto* data = reinterpret_cast<const std::uint8_t*>(response.body.data());
    std::optional<Bitmap> bitmap = decodeBitmap({data, response.body.size()}, problem);
    if (!bitmap) {
        return {std::nullopt, mapError(MapSnapshotter::kBadTile,
                                       "The map tile server sent something that is not a tile",
                                       url + ": " + problem)};
    }
    if (_cache) {
        _cache->write(key, response.body);
    }
    return {std::move(bitmap), std::nullopt};
}

}  // namespace orvane::platform
