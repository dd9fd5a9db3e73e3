#include "platform/map/OfflineMapSnapshotter.h"

#include "platform/geocoding/OfflineGeocoder.h"
#include "platform/geocoding/places_file.h"
#include "platform/map/MapLettering.h"
#include "platform/map/MapSnapshotWorker.h"
#include "platform/map/offline_map_drawing.h"
#include "platform/system/data_directory.h"

namespace orvane::platform {

// What the worker thread draws with, made there on the first request.
struct OfflineMapSnapshotter::Drawing {
    std::unique_ptr<places::PlaceIndex> places;
    std::unique_ptr<MapLettering> lettering;
};

OfflineMapSnapshotter::OfflineMapSnapshotter(
    std::shared_ptr<foundation::DispatchQueue> callbackQueue)
    : OfflineMapSnapshotter(std::move(callbackQueue),
                            dataDirectory() + "/" + OfflineGeocoder::kPlacesFileName) {}

OfflineMapSnapshotter::OfflineMapSnapshotter(
    std::shared_ptr<foundation::DispatchQueue> callbackQueue, std::string placesPath)
    : _placesPath(std::move(placesPath)), _drawing(std::make_unique<Drawing>()) {
    _worker = std::make_unique<MapSnapshotWorker>(
        std::move(callbackQueue),
        [this](const MapSnapshotOptions& options, const MercatorFrame& frame,
               const std::atomic<bool>&) -> MapSnapshotResult {
            Drawing& drawing = *_drawing;
            if (!drawing.places) {
                std::string problem;
                drawing.places = places::PlaceIndex::load(_placesPath, problem);
                if (!drawing.places) {
                    return {std::nullopt, mapError(kSourceUnavailable,
                                                   "The offline map's place data cannot be read",
                                                   _placesPath + ": " + problem)};
                }
            }
            if (!drawing.lettering) {
                drawing.lettering = std::make_unique<MapLettering>();
            }
            return {MapSnapshot(drawOfflineMap(*drawing.places, *drawing.lettering, options, frame),
                                frame),
                    std::nullopt};
        });
}

OfflineMapSnapshotter::~OfflineMapSnapshotter() = default;

void OfflineMapSnapshotter::startWithCompletionHandler(const MapSnapshotOptions& options,
                                                       Completion completion) {
    _worker->start(options, std::move(completion));
}

}  // namespace orvane::platform
