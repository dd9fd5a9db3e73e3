// The thread every snapshotter draws on: one snapshot at a time, checked, drawn, and its answer
// posted to the callback queue. Snapshotters keep one as their last member, so that it stops
// before anything it draws with goes away.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "foundation/DispatchQueue.h"
#include "foundation/thread_annotations.h"
#include "platform/map/MapSnapshotter.h"

namespace orvane::platform {

// What a drawing gives: the snapshot, or the error that stopped it.
struct MapSnapshotResult {
    std::optional<MapSnapshot> snapshot;
    std::optional<foundation::Error> error;
};

// An error of the map domain.
foundation::Error mapError(std::int64_t code, std::string description,
                           std::string failureReason = {});

class MapSnapshotWorker {
  public:
    // Draws one snapshot on the worker thread, in the frame already worked out for the request.
    // `cancel` turns true when the snapshotter is going away; a long drawing may stop early then.
    using Draw = std::function<MapSnapshotResult(const MapSnapshotOptions& options,
                                                 const MercatorFrame& frame,
                                                 const std::atomic<bool>& cancel)>;

    MapSnapshotWorker(std::shared_ptr<foundation::DispatchQueue> callbackQueue, Draw draw);
    // Abandons a snapshot under way (its completion never runs) and joins the thread.
    ~MapSnapshotWorker();
    MapSnapshotWorker(const MapSnapshotWorker&) = delete;
    MapSnapshotWorker& operator=(const MapSnapshotWorker&) = delete;

    // Any thread. An invalid request, or one while a snapshot is under way, is answered at once
    // with an error; otherwise the request goes to the worker thread.
    void start(const MapSnapshotOptions& options, MapSnapshotter::Completion completion);

  private:
    struct Job {
        MapSnapshotOptions options;
        MercatorFrame frame;
        MapSnapshotter::Completion completion;
    };

    void run();  // the worker thread
    void finish(MapSnapshotter::Completion completion, MapSnapshotResult result);

    const std::shared_ptr<foundation::DispatchQueue> _callbackQueue;
    const Draw _draw;
    std::atomic<bool> _busy{false};
    std::atomic<bool> _stopping{false};
    std::mutex _mutex;
    std::condition_variable _wake;
    std::optional<Job> _job GUARDED_BY(_mutex);
    std::thread _worker;
};

}  // namespace orvane::platform
