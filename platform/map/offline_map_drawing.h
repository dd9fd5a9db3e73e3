// The offline map, drawn from the bundled place data: water and land from the land mask, the
// track travelled, the nearby places with their names, a north arrow and a scale bar, in a light
// or a dark palette. There is no imagery offline: "Satellite hybrid" draws the same map.
#pragma once

#include "platform/geocoding/places_file.h"
#include "platform/image/Bitmap.h"
#include "platform/map/MapLettering.h"
#include "platform/map/MapSnapshotter.h"

namespace orvane::platform {

struct OfflineMapPalette {
    MapColour water;
    MapColour land;
    MapColour placeDot;
    MapColour placeName;
    MapColour halo;  // behind names and the map's furniture
    MapColour track;
    MapColour trackCasing;
    MapColour furniture;  // north arrow and scale bar
    MapColour plate;      // under the north arrow and the scale bar
};

const OfflineMapPalette& offlineMapPalette(MapAppearance appearance);

// At most this many places are named on one map.
inline constexpr int kMaxPlaceLabels = 12;
// The names' size in points, which the image's scale turns into pixels.
inline constexpr double kPlaceNamePoints = 12;

// The map of `frame`, an opaque bitmap of its size.
Bitmap drawOfflineMap(const places::PlaceIndex& places, const MapLettering& lettering,
                      const MapSnapshotOptions& options, const MercatorFrame& frame);

// The longest round length (1, 2 or 5 times a power of ten metres) that is at most `metres`.
double roundScaleLength(double metres);
// "200 m", "1 km", "20 km".
std::string scaleLengthText(double metres);

}  // namespace orvane::platform
