// Web Mercator, the projection of tile servers, and the frame of a snapshot in it: from
// coordinates to the world square and to a snapshot's pixels, and back.
#pragma once

#include <optional>
#include <string>

#include "platform/map/MapSnapshotter.h"

namespace orvane::platform::mercator {

// The latitude at which the world square ends, north and south.
inline constexpr double kMaxLatitude = 85.05112877980659;
// The equator's length on the sphere the projection uses (radius 6378137 m).
inline constexpr double kEquatorMetres = 40075016.68557849;
// The largest side of a snapshot in pixels.
inline constexpr int kMaxSidePixels = 4096;

// A point of the world square: x 0..1 from 180 degrees west eastwards, y 0..1 from the north.
struct WorldPoint {
    double x = 0;
    double y = 0;
};

// Latitudes beyond the square's edge land on the edge.
WorldPoint project(LocationCoordinate2D coordinate);
LocationCoordinate2D unproject(WorldPoint point);

// The frame in which the request's region fits its image; nothing, with the reason in `problem`,
// when the centre, spans, size or scale are out of range.
std::optional<MercatorFrame> frameFor(const MapSnapshotOptions& options, std::string& problem);

// The coordinate's pixel, measured from the top left corner, taking the copy of the world that
// lies nearest the centre, so a map across the date line keeps both sides.
PixelPoint pixelFor(const MercatorFrame& frame, LocationCoordinate2D coordinate);
LocationCoordinate2D coordinateAt(const MercatorFrame& frame, PixelPoint pixel);
// Ground metres a pixel spans at the map's centre.
double metresPerPixel(const MercatorFrame& frame);

}  // namespace orvane::platform::mercator
