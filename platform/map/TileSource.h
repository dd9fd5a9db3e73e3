// Where a tile map's square tiles come from: a tile server, an MBTiles file. Tiles are numbered
// as tile servers number them (XYZ: x eastwards from 180 degrees west, y southwards from the
// north edge), 2^zoom a side.
#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "foundation/Error.h"
#include "platform/image/Bitmap.h"
#include "platform/map/MapSnapshotter.h"

namespace orvane::platform {

struct TileAnswer {
    std::optional<Bitmap> tile;  // nothing, without an error: the source has no tile there
    std::optional<foundation::Error> error;  // the source failed; the snapshot fails with it
};

class TileSource {
  public:
    virtual ~TileSource() = default;
    // The worker thread of the snapshotter that owns the source. `cancel` turns true when the
    // snapshotter is going away.
    virtual TileAnswer tile(int zoom, int x, int y, MapType type,
                            const std::atomic<bool>& cancel) = 0;
    virtual int minimumZoom() const = 0;
    virtual int maximumZoom() const = 0;
    // Drawn small in the map's corner; empty draws nothing.
    virtual std::string attribution() const = 0;
    virtual std::string description() const = 0;
};

}  // namespace orvane::platform
