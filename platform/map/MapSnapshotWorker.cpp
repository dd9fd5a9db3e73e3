#include "platform/map/MapSnapshotWorker.h"

#include "platform/map/web_mercator.h"

namespace orvane::platform {

foundation::Error mapError(std::int64_t code, std::string description, std::string failureReason) {
    return {MapSnapshotter::kErrorDomain, code, std::move(description), std::move(failureReason)};
}

MapSnapshotWorker::MapSnapshotWorker(std::shared_ptr<foundation::DispatchQueue> callbackQueue,
                                     Draw draw)
    : _callbackQueue(std::move(callbackQueue)), _draw(std::move(draw)) {
    _worker = std::thread([this] { run(); });
}

MapSnapshotWorker::~MapSnapshotWorker() {
    {
        std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _wake.notify_all();
    _worker.join();
}

void MapSnapshotWorker::start(const MapSnapshotOptions& options,
                              MapSnapshotter::Completion completion) {
    std::string problem;
    const std::optional<MercatorFrame> frame = mercator::frameFor(options, problem);
    if (!frame) {
        finish(std::move(completion),
               {std::nullopt, mapError(MapSnapshotter::kInvalidRequest,
                                       "The map request is out of range", problem)});
        return;
    }
    if (_busy.exchange(true)) {
        finish(std::move(completion),
               {std::nullopt, mapError(MapSnapshotter::kBusy, "A map snapshot is already under way",
                                       "one snapshot at a time; try again when it has ended")});
        return;
    }
    {
        std::lock_guard lock(_mutex);
        _job = Job{options, *frame, std::move(completion)};
    }
    _wake.notify_all();
}

void MapSnapshotWorker::finish(MapSnapshotter::Completion completion, MapSnapshotResult result) {
    _callbackQueue->async(
        [completion = std::move(completion), result = std::move(result)]() mutable {
            completion(std::move(result.snapshot), std::move(result.error));
        });
}

void MapSnapshotWorker::run() {
    for (;;) {
        Job job;
        {
            std::unique_lock lock(_mutex);
            _wake.wait(lock, [this] { return _stopping.load() || _job.has_value(); });
            if (_stopping) {
                return;
            }
            job = std::move(*_job);
            _job.reset();
        }
        MapSnapshotResult result = _draw(job.options, job.frame, _stopping);
        if (_stopping) {
            return;  // the snapshotter is going away
        }
        // Free for the next request before the completion runs, so it may ask again.
        _busy = false;
        finish(std::move(job.completion), std::move(result));
    }
}

}  // namespace orvane::platform
