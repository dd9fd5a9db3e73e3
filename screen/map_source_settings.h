// The map source the settings choose: the MBTiles file of "MapTilesFile", else the tile server of
// "MapTileURL", else the offline map; drawn with the attribution of "MapAttribution", asking the
// server under the contact of "GeocoderContact".
#pragma once

#include <memory>
#include <string>

#include "foundation/DispatchQueue.h"
#include "platform/map/MapSnapshotter.h"
#include "platform/map/map_sources.h"
#include "screen/settings_store.h"

namespace orvane::screen {

struct MapSourceChoice {
    std::string source;  // a name for makeMapSnapshotter: "offline", "mbtiles:FILE", a template
    std::string key;     // the settings key it comes from; empty for the offline map
    platform::MapSourceOptions options;
};

MapSourceChoice mapSourceFromSettings(const SettingsStore& store);

// The snapshotter of that choice; nullptr with a message naming the key and its value when the
// value cannot be used.
std::unique_ptr<platform::MapSnapshotter> makeMapSnapshotterFromSettings(
    const SettingsStore& store, std::shared_ptr<foundation::DispatchQueue> callbackQueue,
    std::string& problem);

}  // namespace orvane::screen
