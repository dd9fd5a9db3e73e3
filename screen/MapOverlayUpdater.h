// The map overlay's updater: every second it looks at the position, and when five seconds have
// passed since its last try and the position has moved ten metres since the last map, it asks the
// map snapshotter for a map around it, marks the position on it, bakes the map's opacity into its
// pixels and hands it on. The camera screen owns it; the still and recording paths read the map
// through loadMapImage().
//
// Threads: everything but loadMapImage() runs on the main queue, the run loop it is given; the
// snapshotter's answers are posted there too. loadMapImage() is safe from any thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/RunLoop.h"
#include "foundation/Timer.h"
#include "platform/image/Bitmap.h"
#include "platform/location/Location.h"
#include "platform/map/MapSnapshotter.h"
#include "screen/settings_store.h"

namespace orvane::screen {

class MapOverlayUpdater {
  public:
    // The position the map follows: the stamp layer's last geocoded one (LineDrawer's
    // getCLLocation), nothing before the first fix.
    using LocationSource = std::function<std::optional<platform::Location>()>;
    // Where each new map goes (the GL view's setMap), and nothing when the map is taken away.
    using MapReceiver = std::function<void(std::shared_ptr<const platform::Bitmap> map)>;

    struct Options {
        // The screen's pixels per point; the map is 256 points square.
        double screenScale = 1;
        // The map's base is drawn in the GCJ-02 frame, as maps of mainland China are: positions
        // are shifted into it before they reach the map. The bundled places and tiles drawn from
        // OpenStreetMap are in WGS-84, where a shifted mark would stand some 500 m off.
        bool regionChina = false;
        // What "MapAppearance" 0 (the system's) means on this desktop.
        platform::MapAppearance systemAppearance = platform::MapAppearance::Light;
        // The position mark; empty: images/currentlocation.png in the data directory.
        std::string markerPath;
        // The track keeps at most this many positions, dropping the oldest.
        std::size_t maxTrackPoints = 10000;
    };

    // The map is renewed at most once a slot, and only after the position moved this far.
    static constexpr double kUpdateSlotSeconds = 5.0;
    static constexpr double kMinimumMoveMetres = 10.0;
    static constexpr double kTimerSeconds = 1.0;
    static constexpr double kMapPoints = 256;

    // Borrows the loop and the store, which must outlive the updater.
    MapOverlayUpdater(foundation::RunLoop& loop, SettingsStore& store,
                      std::unique_ptr<platform::MapSnapshotter> snapshotter,
                      LocationSource location, MapReceiver setMap, Options options);
    // Stops the timer and drops the map the still and recording paths read; the receiver, whose
    // owner may be going away too, is not called.
    ~MapOverlayUpdater();
    MapOverlayUpdater(const MapOverlayUpdater&) = delete;
    MapOverlayUpdater& operator=(const MapOverlayUpdater&) = delete;

    // Unless running already: one update at once, then one a second.
    void startUpdateMap();
    // Stops the timer, drops the map (the receiver gets nothing) and forgets the last update
    // time, so the next start updates at once; the last position is kept. A snapshot still under
    // way is thrown away when it comes.
    void stopUpdateMap();
    bool isUpdating() const { return static_cast<bool>(_timerUpdateMap); }
    // One tick of the timer.
    void updateMap();
    // Asks for a map around the coordinate, given in the map's frame.
    void renderSnapshotForLocation(platform::LocationCoordinate2D coordinate);
    // Reloads the map's cached settings and drops the map, so that changed settings show at the
    // next permitted update; what the receiver has keeps showing until then.
    void reloadMapSetting();
    // Stores the switch in "NeedDisplayMap" and starts or stops.
    void displayMap_SwitchChange(bool on);
    // A new source, after its settings changed; the map drawn so far stays until the next update.
    void setSnapshotter(std::unique_ptr<platform::MapSnapshotter> snapshotter);

    // The map the still and recording paths draw: nothing when none is made or after a stop.
    static std::shared_ptr<const platform::Bitmap> loadMapImage();

    // The positions the map followed, oldest first, in the map's frame.
    const std::vector<platform::LocationCoordinate2D>& track() const { return _track; }
    const std::optional<platform::Location>& lastLocation() const { return _lastLocation; }
    double lastUpdateTime() const { return _lastUpdateTime; }

  private:
    void completeSnapshot(platform::LocationCoordinate2D coordinate,
                          std::optional<platform::MapSnapshot> snapshot,
                          std::optional<foundation::Error> error);
    platform::MapAppearance appearance() const;

    foundation::RunLoop& _loop;
    SettingsStore& _store;
    std::unique_ptr<platform::MapSnapshotter> _snapshotter;
    const LocationSource _location;
    const MapReceiver _setMap;
    const Options _options;
    std::optional<platform::Bitmap> _marker;

    foundation::Timer _timerUpdateMap;
    std::optional<platform::Location> _lastLocation;
    double _lastUpdateTime = 0;  // seconds since 1970; 0 after a stop
    std::vector<platform::LocationCoordinate2D> _track;
    // Answers to requests made before the last stop find this changed and are dropped.
    std::shared_ptr<int> _session = std::make_shared<int>(0);
    std::string _lastFailure;  // logged once until another failure or a success
};

}  // namespace orvane::screen
