// A tile map: the tiles that cover a snapshot's frame, fetched at the zoom nearest its scale,
// joined, scaled and cut to the frame, with the source's attribution in the corner.
#pragma once

#include <atomic>

#include "platform/map/MapLettering.h"
#include "platform/map/MapSnapshotWorker.h"
#include "platform/map/TileSource.h"

namespace orvane::platform {

// More tiles than this for one map is a request no tile map should make.
inline constexpr int kMaxTilesPerMap = 64;
// The attribution's size in points.
inline constexpr double kAttributionPoints = 8;

// The zoom for a frame whose world is `worldPixels` wide, within the source's zooms: its tiles
// are drawn at 0.59 to 1.19 times their size. Enlarged tiles blur, and the next zoom up costs
// four times the tiles, so a little enlargement is allowed and no more.
int tileZoomFor(double worldPixels, int tileSide, int minimumZoom, int maximumZoom);

// The map of `frame` from the source's tiles; an error when a tile fails or, for a source that
// covers only part of the world, when it has no tile at all where the frame is.
MapSnapshotResult stitchTiles(TileSource& source, const MapLettering& lettering,
                              const MapSnapshotOptions& options, const MercatorFrame& frame,
                              const std::atomic<bool>& cancel);

// The dark appearance of a tile map: each pixel's lightness turned over, its hue and saturation
// kept, so light ground turns dark and dark lettering light. A raster server draws one style.
void turnLightnessOver(Bitmap& bitmap);

}  // namespace orvane::platform
