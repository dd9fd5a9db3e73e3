#include "platform/map/TileMapSnapshotter.h"

#include "platform/map/MapLettering.h"
#include "platform/map/MapSnapshotWorker.h"
#include "platform/map/tile_stitching.h"

namespace orvane::platform {

TileMapSnapshotter::TileMapSnapshotter(std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                                       std::unique_ptr<TileSource> source)
    : _source(std::move(source)), _description(_source->description()) {
    _worker = std::make_unique<MapSnapshotWorker>(
        std::move(callbackQueue),
        [this](const MapSnapshotOptions& options, const MercatorFrame& frame,
               const std::atomic<bool>& cancel) {
            if (!_lettering) {
                _lettering = std::make_unique<MapLettering>();
            }
            return stitchTiles(*_source, *_lettering, options, frame, cancel);
        });
}

TileMapSnapshotter::~TileMapSnapshotter() = default;

void TileMapSnapshotter::startWithCompletionHandler(const MapSnapshotOptions& options,
                                                    Completion completion) {
    _worker->start(options, std::move(completion));
}

}  // namespace orvane::platform
