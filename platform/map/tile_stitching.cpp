#include "platform/map/tile_stitching.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/image/cairo_handles.h"

namespace orvane::platform {
namespace {

// Where no tile is, beyond the world's north and south edges or outside a file's coverage.
constexpr MapColour kLightGround{0.88, 0.88, 0.86};

struct FetchedTile {
    int column;  // from the mosaic's left, in tiles
    int row;
    Bitmap bitmap;
};

// The credit on a plate of the map's appearance: dark on light, or light on dark.
void drawAttribution(cairo_t* cr, const MapLettering& lettering, const std::string& text,
                     const MercatorFrame& frame, double scale, MapAppearance appearance) {
    if (text.empty()) {
        return;
    }
    const bool dark = appearance == MapAppearance::Dark;
    MapLettering::Style style;
    style.pixels = kAttributionPoints * scale;
    style.fill = dark ? MapColour{0.9, 0.9, 0.9} : MapColour{0.1, 0.1, 0.1};
    style.maxWidth = frame.width - 4 * scale;
    const MapLettering::Text caption = lettering.layOut(text, style);
    const double padding = 2 * scale;
    const double left = frame.width - caption.width() - 2 * padding;
    const double top = frame.height - caption.height() - 2 * padding;
    cairo_rectangle(cr, left, top, caption.width() + 2 * padding, caption.height() + 2 * padding);
    cairo_set_source_rgba(cr, dark ? 0 : 1, dark ? 0 : 1, dark ? 0 : 1, dark ? 0.6 : 0.7);
    cairo_fill(cr);
    lettering.draw(cr, caption, left + padding, top + padding);
}

}  // namespace

int tileZoomFor(double worldPixels, int tileSide, int minimumZoom, int maximumZoom) {
    const double exact = std::log2(worldPixels / std::max(tileSide, 1));
    const int zoom = static_cast<int>(std::ceil(exact - 0.25));
    return std::clamp(zoom, minimumZoom, std::max(minimumZoom, maximumZoom));
}

MapSnapshotResult stitchTiles(TileSource& source, const MapLettering& lettering,
                              const MapSnapshotOptions& options, const MercatorFrame& frame,
                              const std::atomic<bool>& cancel) {
    // Tile servers draw 256-pixel tiles; a source of larger ones gets a finer frame than needed,
    // which costs nothing but their pixels.
    const int zoom =
        tileZoomFor(frame.worldPixels, 256, source.minimumZoom(), source.maximumZoom());
    const long side = 1L << zoom;
    const double halfWidth = frame.width / 2.0 / frame.worldPixels;
    const double halfHeight = frame.height / 2.0 / frame.worldPixels;
    const long firstColumn = std::lround(std::floor((frame.centreX - halfWidth) * side));
    const long lastColumn = std::lround(std::ceil((frame.centreX + halfWidth) * side)) - 1;
    const long firstRow =
        std::max(0L, std::lround(std::floor((frame.centreY - halfHeight) * side)));
    const long lastRow =
        std::min(side - 1, std::lround(std::ceil((frame.centreY + halfHeight) * side)) - 1);
    const long columns = lastColumn - firstColumn + 1;
    const long rows = lastRow - firstRow + 1;
    if (columns * rows > kMaxTilesPerMap) {
        return {
            std::nullopt,
            mapError(MapSnapshotter::kInvalidRequest, "The map would need too many tiles",
                     std::to_string(columns * rows) + " tiles at zoom " + std::to_string(zoom))};
    }

    std::vector<FetchedTile> tiles;
    for (long row = firstRow; row <= lastRow; ++row) {
        for (long column = firstColumn; column <= lastColumn; ++column) {
            if (cancel) {
                return {std::nullopt, mapError(MapSnapshotter::kTransferFailed,
                                               "The map snapshot was abandoned")};
            }
            const long wrapped = ((column % side) + side) % side;
            TileAnswer answer = source.tile(zoom, static_cast<int>(wrapped), static_cast<int>(row),
                                            options.mapType, cancel);
            if (answer.error) {
                return {std::nullopt, std::move(answer.error)};
            }
            if (answer.tile && !answer.tile->empty()) {
                tiles.push_back({static_cast<int>(column - firstColumn),
                                 static_cast<int>(row - firstRow), std::move(*answer.tile)});
            }
        }
    }
    if (tiles.empty()) {
        return {std::nullopt,
                mapError(MapSnapshotter::kNoTiles, "The map source has no tiles where the map is",
                         source.description() + " at zoom " + std::to_string(zoom))};
    }

    // The tiles side by side at their own size, so no seam shows, then the whole scaled once.
    const int tileSide = tiles.front().bitmap.width;
    Bitmap mosaic = Bitmap::transparent(static_cast<int>(columns) * tileSide,
                                        static_cast<int>(rows) * tileSide);
    {
        CairoSurface surface = surfaceOver(mosaic);
        Cairo cr(cairo_create(surface.get()));
        cairo_set_source_rgb(cr.get(), kLightGround.red, kLightGround.green, kLightGround.blue);
        cairo_paint(cr.get());
        for (FetchedTile& tile : tiles) {
            CairoSurface tileSurface = surfaceOver(tile.bitmap);
            cairo_save(cr.get());
            cairo_translate(cr.get(), tile.column * tileSide, tile.row * tileSide);
            cairo_scale(cr.get(), double(tileSide) / tile.bitmap.width,
                        double(tileSide) / tile.bitmap.height);
            cairo_set_source_surface(cr.get(), tileSurface.get(), 0, 0);
            cairo_paint(cr.get());
            cairo_restore(cr.get());
        }
        cr.reset();
        cairo_surface_flush(surface.get());
    }

    Bitmap image = Bitmap::transparent(frame.width, frame.height);
    {
        CairoSurface surface = surfaceOver(image);
        CairoSurface mosaicSurface = surfaceOver(mosaic);
        Cairo cr(cairo_create(surface.get()));
        cairo_set_source_rgb(cr.get(), kLightGround.red, kLightGround.green, kLightGround.blue);
        cairo_paint(cr.get());
        const double pixelsPerTilePixel = frame.worldPixels / (double(side) * tileSide);
        cairo_save(cr.get());
        cairo_translate(
            cr.get(),
            (double(firstColumn) / side - frame.centreX) * frame.worldPixels + frame.width / 2.0,
            (double(firstRow) / side - frame.centreY) * frame.worldPixels + frame.height / 2.0);
        cairo_scale(cr.get(), pixelsPerTilePixel, pixelsPerTilePixel);
        cairo_set_source_surface(cr.get(), mosaicSurface.get(), 0, 0);
        cairo_pattern_set_filter(cairo_get_source(cr.get()), CAIRO_FILTER_GOOD);
        cairo_pattern_set_extend(cairo_get_source(cr.get()), CAIRO_EXTEND_PAD);
        cairo_paint(cr.get());
        cairo_restore(cr.get());
        cr.reset();
        cairo_surface_flush(surface.get());
    }
    if (options.appearance == MapAppearance::Dark) {
        turnLightnessOver(image);
    }
    {
        CairoSurface surface = surfaceOver(image);
        Cairo cr(cairo_create(surface.get()));
        drawAttribution(cr.get(), lettering, source.attribution(), frame, options.scale,
                        options.appearance);
        cr.reset();
        cairo_surface_flush(surface.get());
    }
    return {MapSnapshot(std::move(image), frame), std::nullopt};
}

void turnLightnessOver(Bitmap& bitmap) {
    for (int y = 0; y < bitmap.height; ++y) {
        std::uint8_t* pixel = bitmap.pixels.data() + static_cast<std::size_t>(y) * bitmap.stride;
        for (int x = 0; x < bitmap.width; ++x, pixel += 4) {
            // Bytes B, G, R, A; the map is opaque, so premultiplying changes nothing.
            const int lightness = (19 * pixel[0] + 183 * pixel[1] + 54 * pixel[2]) >> 8;
            const int shift = 255 - 2 * lightness;
            for (int c = 0; c < 3; ++c) {
                pixel[c] = static_cast<std::uint8_t>(std::clamp(pixel[c] + shift, 0, 255));
            }
        }
    }
}

}  // namespace orvane::platform
