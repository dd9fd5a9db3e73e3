#include "app/map_overlay.h"

#include "screen/map_source_settings.h"

namespace orvane::app {

namespace {

// Forwards to the source and tells of each failure, which the updater keeps to itself (it keeps
// the old map and tries again at the next slot).
class ObservedSnapshotter : public platform::MapSnapshotter {
  public:
    ObservedSnapshotter(std::unique_ptr<platform::MapSnapshotter> source, MapFailure onFailure)
        : _source(std::move(source)), _onFailure(std::move(onFailure)) {}

    void startWithCompletionHandler(const platform::MapSnapshotOptions& options,
                                    Completion completion) override {
        _source->startWithCompletionHandler(
            options,
            [onFailure = _onFailure, description = _source->description(),
             completion = std::move(completion)](std::optional<platform::MapSnapshot> snapshot,
                                                 std::optional<foundation::Error> error) mutable {
                if (!snapshot && error && onFailure) {
                    onFailure("no map from the " + description + ": " + error->message());
                }
                completion(std::move(snapshot), std::move(error));
            });
    }
    std::string description() const override { return _source->description(); }

  private:
    std::unique_ptr<platform::MapSnapshotter> _source;
    MapFailure _onFailure;
};

}  // namespace

std::unique_ptr<screen::MapOverlayUpdater> startMapOverlay(
    foundation::RunLoop& loop, screen::SettingsStore& store, compositor::ZephrinOpenGLView& view,
    screen::MapOverlayUpdater::LocationSource location, const std::string& prefix,
    std::ostream& err, std::function<void()> onMap, MapFailure onFailure) {
    if (!store.viewController.isNeedDisplayMap()) {
        return nullptr;
    }
    std::string problem;
    auto source = screen::makeMapSnapshotterFromSettings(store, loop.mainQueue(), problem);
    if (!source) {
        err << prefix << problem << "; no map is drawn\n";
        return nullptr;
    }
    auto updater = std::make_unique<screen::MapOverlayUpdater>(
        loop, store, std::make_unique<ObservedSnapshotter>(std::move(source), std::move(onFailure)),
        std::move(location),
        [&view, onMap = std::move(onMap)](std::shared_ptr<const platform::Bitmap> map) {
            if (!map) {
                view.setMap(std::nullopt);
                return;
            }
            view.setMap(
                compositor::Image{map->width, map->height, platform::premultipliedRgba(*map)});
            if (onMap) {
                onMap();
            }
        },
        screen::MapOverlayUpdater::Options{});
    // The opacity and size the maps are made with come from the settings read here.
    updater->reloadMapSetting();
    updater->startUpdateMap();
    return updater;
}

}  // namespace orvane::app
