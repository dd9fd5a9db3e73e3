// The map source "none": every request is answered with an error that says so, so a map that
// was turned off is never mistaken for one that failed quietly.
#pragma once

#include <memory>

#include "foundation/DispatchQueue.h"
#include "platform/map/MapSnapshotter.h"

namespace orvane::platform {

class NoMapSnapshotter final : public MapSnapshotter {
  public:
    explicit NoMapSnapshotter(std::shared_ptr<foundation::DispatchQueue> callbackQueue)
        : _callbackQueue(std::move(callbackQueue)) {}

    void startWithCompletionHandler(const MapSnapshotOptions& options,
                                    Completion completion) override;
    std::string description() const override { return "none"; }

  private:
    const std::shared_ptr<foundation::DispatchQueue> _callbackQueue;
};

}  // namespace orvane::platform
