// A map joined from square raster tiles: a tile server's or an MBTiles file's.
#pragma once

#include <memory>
#include <string>

#include "foundation/DispatchQueue.h"
#include "platform/map/MapSnapshotter.h"
#include "platform/map/TileSource.h"

namespace orvane::platform {

class MapSnapshotWorker;
class MapLettering;

class TileMapSnapshotter final : public MapSnapshotter {
  public:
    TileMapSnapshotter(std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                       std::unique_ptr<TileSource> source);
    ~TileMapSnapshotter() override;

    // Tiles are fetched one after another on the snapshotter's thread; the first that fails
    // fails the snapshot with the source's error.
    void startWithCompletionHandler(const MapSnapshotOptions& options,
                                    Completion completion) override;
    std::string description() const override { return _description; }

  private:
    const std::unique_ptr<TileSource> _source;  // used on the worker thread only
    const std::string _description;
    std::unique_ptr<MapLettering> _lettering;    // made on the worker thread
    std::unique_ptr<MapSnapshotWorker> _worker;  // last: stops before the rest goes
};

}  // namespace orvane::platform
