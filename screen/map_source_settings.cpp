#include "screen/map_source_settings.h"

namespace orvane::screen {
namespace {

// A value of blanks is no value.
std::string trimmed(const std::optional<std::string>& value) {
    if (!value) {
        return {};
    }
    const auto first = value->find_first_not_of(" \t\r\n");
    if (first == std::string::npos) {
        return {};
    }
    return value->substr(first, value->find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace

MapSourceChoice mapSourceFromSettings(const SettingsStore& store) {
    MapSourceChoice choice;
    choice.options.attribution = trimmed(store.map.getMapAttribution());
    choice.options.contact = trimmed(store.lineDrawer.getGeocoderContact());
    if (const std::string file = trimmed(store.map.getMapTilesFile()); !file.empty()) {
        choice.source = "mbtiles:" + file;
        choice.key = "MapTilesFile";
    } else if (const std::string url = trimmed(store.map.getMapTileURL()); !url.empty()) {
        choice.source = url;
        choice.key = "MapTileURL";
    } else {
        choice.source = "offline";
    }
    return choice;
}

std::unique_ptr<platform::MapSnapshotter> makeMapSnapshotterFromSettings(
    const SettingsStore& store, std::shared_ptr<foundation::DispatchQueue> callbackQueue,
    std::string& problem) {
    const MapSourceChoice choice = mapSourceFromSettings(store);
    std::string reason;
    auto snapshotter = platform::makeMapSnapshotter(choice.source, choice.options,
                                                    std::move(callbackQueue), reason);
    if (!snapshotter) {
        problem = choice.key.empty() ? reason : choice.key + ": " + reason;
    }
    return snapshotter;
}

}  // namespace orvane::screen
