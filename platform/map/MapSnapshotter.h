// The map snapshotter: a raster map of a region around a coordinate, of a type and an appearance,
// with the function that finds a coordinate's pixel on it. The map overlay asks for one every few
// seconds.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "platform/image/Bitmap.h"
#include "platform/location/Location.h"

namespace orvane::platform {

// The values the settings store keeps under "MapType".
enum class MapType : std::int64_t { Standard = 0, SatelliteHybrid = 2 };
enum class MapAppearance { Light, Dark };

struct CoordinateSpan {
    double latitudeDelta = 0.01;  // degrees from the region's south edge to its north edge
    double longitudeDelta = 0.01;
};

struct CoordinateRegion {
    LocationCoordinate2D center;
    CoordinateSpan span;
};

struct MapSnapshotOptions {
    // The whole region fits in the map: the span that needs more room fills its side, the other
    // side shows more than asked.
    CoordinateRegion region;
    double width = 256;  // points
    double height = 256;
    double scale = 1;  // pixels per point
    MapType mapType = MapType::Standard;
    MapAppearance appearance = MapAppearance::Light;
    // The way travelled so far, oldest first, in the region's frame; sources that draw their own
    // map draw it, tile sources leave it out.
    std::vector<LocationCoordinate2D> track;
};

struct PixelPoint {
    double x = 0;
    double y = 0;
};

// Web Mercator, as tile servers draw it: where the map's centre lies on the world square (0..1
// from west to east and from north to south) and how many pixels the world is wide.
struct MercatorFrame {
    double centreX = 0.5;
    double centreY = 0.5;
    double worldPixels = 256;
    int width = 0;  // the image's size in pixels
    int height = 0;
};

class MapSnapshot {
  public:
    MapSnapshot(Bitmap image, MercatorFrame frame) : _image(std::move(image)), _frame(frame) {}

    // Opaque, width x scale by height x scale pixels.
    const Bitmap& image() const { return _image; }
    Bitmap takeImage() && { return std::move(_image); }
    const MercatorFrame& frame() const { return _frame; }
    // The pixel of the image at which the coordinate lies, measured from the image's top left
    // corner; outside 0..width, 0..height when the coordinate is off the map.
    PixelPoint pointForCoordinate(LocationCoordinate2D coordinate) const;

  private:
    Bitmap _image;
    MercatorFrame _frame;
};

class MapSnapshotter {
  public:
    // Errors of the snapshotters.
    static constexpr const char* kErrorDomain = "Orvane.Map";
    enum ErrorCode : std::int64_t {
        kBusy = 1,               // a snapshot is under way
        kInvalidRequest = 2,     // a span, size or scale out of range
        kSourceUnavailable = 3,  // the place data or tiles file cannot be read
        kTransferFailed = 4,     // the tile server could not be reached
        kTimedOut = 5,
        kBadTile = 6,   // a tile that is not a picture
        kNoTiles = 7,   // the tiles file has nothing where the map is
        kNoSource = 8,  // the "none" source
        // An HTTP status other than 200 is its own code (404, 500...).
    };

    // A snapshot or an error, on the snapshotter's callback queue.
    using Completion =
        std::function<void(std::optional<MapSnapshot> snapshot, std::optional<foundation::Error>)>;

    virtual ~MapSnapshotter() = default;
    // Makes one snapshot. The completion is called exactly once, unless the snapshotter is
    // destroyed first, in which case a snapshot under way is abandoned. One snapshot at a time:
    // a request while one is under way is answered at once with kBusy.
    virtual void startWithCompletionHandler(const MapSnapshotOptions& options,
                                            Completion completion) = 0;
    // What the maps come from, for messages ("offline map",
    // "https://tile.example/{z}/{x}/{y}.png").
    virtual std::string description() const = 0;
};

}  // namespace orvane::platform
