#include "screen/MapOverlayUpdater.h"

#include <mutex>

#include "foundation/log.h"
#include "platform/image/bitmap_codec.h"
#include "platform/image/bitmap_drawing.h"
#include "platform/system/data_directory.h"
#include "screen/settings_loading.h"
#include "stamp/geodesy/geodesy.h"

namespace orvane::screen {
namespace {

// The class-level map: written on the main queue, read by the capture threads.
std::mutex gMapImageMutex;
std::shared_ptr<const platform::Bitmap> gMapImage;

void setMapImage(std::shared_ptr<const platform::Bitmap> image) {
    std::lock_guard lock(gMapImageMutex);
    gMapImage = std::move(image);
}

// The mark is drawn for a screen of twice the scale: 64 pixels are 32 points.
constexpr double kMarkerScale = 2.0;

}  // namespace

std::shared_ptr<const platform::Bitmap> MapOverlayUpdater::loadMapImage() {
    std::lock_guard lock(gMapImageMutex);
    return gMapImage;
}

MapOverlayUpdater::MapOverlayUpdater(foundation::RunLoop& loop, SettingsStore& store,
                                     std::unique_ptr<platform::MapSnapshotter> snapshotter,
                                     LocationSource location, MapReceiver setMap, Options options)
    : _loop(loop),
      _store(store),
      _snapshotter(std::move(snapshotter)),
      _location(std::move(location)),
      _setMap(std::move(setMap)),
      _options(std::move(options)) {
    const std::string path = _options.markerPath.empty()
                                 ? platform::dataDirectory() + "/images/currentlocation.png"
                                 : _options.markerPath;
    std::string problem;
    _marker = platform::readBitmapFile(path, problem);
    if (!_marker) {
        foundation::log("The map's position mark %s cannot be read (%s); maps show no mark",
                        path.c_str(), problem.c_str());
    }
}

MapOverlayUpdater::~MapOverlayUpdater() {
    _timerUpdateMap.reset();
    setMapImage(nullptr);
}

void MapOverlayUpdater::startUpdateMap() {
    if (_timerUpdateMap) {
        return;
    }
    updateMap();
    _timerUpdateMap =
        foundation::Timer::scheduled(_loop, kTimerSeconds, true, [this] { updateMap(); });
}

void MapOverlayUpdater::stopUpdateMap() {
    // Each step on its own: one that throws must not keep the others from running.
    try {
        _timerUpdateMap.reset();
    } catch (...) {
    }
    try {
        _session = std::make_shared<int>(0);
        setMapImage(nullptr);
    } catch (...) {
    }
    try {
        if (_setMap) {
            _setMap(nullptr);
        }
    } catch (...) {
    }
    _lastUpdateTime = 0;
}

void MapOverlayUpdater::updateMap() {
    const std::optional<platform::Location> location = _location ? _location() : std::nullopt;
    if (!location) {
        return;
    }
    const double now = _loop.clock().timeIntervalSince1970();
    if (now - _lastUpdateTime < kUpdateSlotSeconds) {
        return;
    }
    _lastUpdateTime = now;
    if (_lastLocation && loadMapImage() &&
        location->distanceFromLocation(*_lastLocation) < kMinimumMoveMetres) {
        return;
    }
    _lastLocation = location;
    platform::LocationCoordinate2D coordinate = location->coordinate();
    if (_options.regionChina) {
        const stamp::LatitudeLongitude shifted =
            stamp::wgs84ToGcj02({coordinate.latitude, coordinate.longitude});
        coordinate = {shifted.latitude, shifted.longitude};
    }
    _track.push_back(coordinate);
    if (_track.size() > _options.maxTrackPoints) {
        _track.erase(_track.begin(), _track.begin() + static_cast<std::ptrdiff_t>(
                                                          _track.size() - _options.maxTrackPoints));
    }
    renderSnapshotForLocation(coordinate);
}

platform::MapAppearance MapOverlayUpdater::appearance() const {
    switch (_store.map.readMapAppearance()) {
        case 1:
            return platform::MapAppearance::Light;
        case 2:
            return platform::MapAppearance::Dark;
        default:
            return _options.systemAppearance;
    }
}

void MapOverlayUpdater::renderSnapshotForLocation(platform::LocationCoordinate2D coordinate) {
    if (!_snapshotter) {
        return;
    }
    platform::MapSnapshotOptions options;
    options.appearance = appearance();
    options.width = kMapPoints;
    options.height = kMapPoints;
    options.scale = _options.screenScale;
    options.mapType = _store.map.readMapType() == 2 ? platform::MapType::SatelliteHybrid
                                                    : platform::MapType::Standard;
    const double span = _store.map.readMapScale_public();
    options.region = {coordinate, {span, span}};
    options.track = _track;
    const std::weak_ptr<int> session = _session;
    _snapshotter->startWithCompletionHandler(
        options, [this, session, coordinate](std::optional<platform::MapSnapshot> snapshot,
                                             std::optional<foundation::Error> error) {
            if (session.expired()) {
                return;  // stopped, or gone, since the request
            }
            completeSnapshot(coordinate, std::move(snapshot), std::move(error));
        });
}

void MapOverlayUpdater::completeSnapshot(platform::LocationCoordinate2D coordinate,
                                         std::optional<platform::MapSnapshot> snapshot,
                                         std::optional<foundation::Error> error) {
    if (!snapshot || !_timerUpdateMap) {
        // The old map stays; a failure is told once until it changes.
        if (error && error->message() != _lastFailure) {
            _lastFailure = error->message();
            foundation::log("No new map: %s", _lastFailure.c_str());
        }
        return;
    }
    _lastFailure.clear();
    const platform::PixelPoint point = snapshot->pointForCoordinate(coordinate);
    platform::Bitmap map = std::move(*snapshot).takeImage();
    if (_marker && point.x >= 0 && point.y >= 0 && point.x < map.width && point.y < map.height) {
        platform::drawCentred(map, *_marker, point.x, point.y, _options.screenScale / kMarkerScale);
    }
    auto image = std::make_shared<const platform::Bitmap>(
        platform::withAlphaFactor(map, _store.cache().readMapOpacity()));
    setMapImage(image);
    if (_setMap) {
        _setMap(std::move(image));
    }
}

void MapOverlayUpdater::reloadMapSetting() {
    screen::reloadMapSetting(_store);
    setMapImage(nullptr);
}

void MapOverlayUpdater::displayMap_SwitchChange(bool on) {
    _store.viewController.SetNeedDisplayMap(on);
    if (on) {
        startUpdateMap();
    } else {
        stopUpdateMap();
    }
}

void MapOverlayUpdater::setSnapshotter(std::unique_ptr<platform::MapSnapshotter> snapshotter) {
    _snapshotter = std::move(snapshotter);
}

}  // namespace orvane::screen
