#include "platform/map/NoMapSnapshotter.h"

#include "platform/map/MapSnapshotWorker.h"

namespace orvane::platform {

void NoMapSnapshotter::startWithCompletionHandler(const MapSnapshotOptions&,
                                                  Completion completion) {
    _callbackQueue->async([completion = std::move(completion)] {
        completion(std::nullopt,
                   mapError(kNoSource, "There is no map source", "the map source is \"none\""));
    });
}

}  // namespace orvane::platform
