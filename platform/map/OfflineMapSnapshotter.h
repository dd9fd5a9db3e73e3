// The default map: drawn on this machine from the bundled place data, with no network.
#pragma once

#include <memory>
#include <string>

#include "foundation/DispatchQueue.h"
#include "platform/map/MapSnapshotter.h"

namespace orvane::platform {

class MapSnapshotWorker;

class OfflineMapSnapshotter final : public MapSnapshotter {
  public:
    // The place file from the data directory.
    explicit OfflineMapSnapshotter(std::shared_ptr<foundation::DispatchQueue> callbackQueue);
    // The same with the place file given.
    OfflineMapSnapshotter(std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                          std::string placesPath);
    ~OfflineMapSnapshotter() override;

    // The file is read at the first request, on the snapshotter's thread; a missing or damaged
    // file is an error naming it, and the next request tries again.
    void startWithCompletionHandler(const MapSnapshotOptions& options,
                                    Completion completion) override;
    std::string description() const override { return "offline map"; }

  private:
    struct Drawing;
    const std::string _placesPath;
    std::unique_ptr<Drawing> _drawing;           // touched on the worker thread only
    std::unique_ptr<MapSnapshotWorker> _worker;  // last: stops before the rest goes
};

}  // namespace orvane::platform
