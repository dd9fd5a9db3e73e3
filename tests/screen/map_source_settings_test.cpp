// Which map source the settings choose, and messages that name the key of a value that cannot be
// used.
#include "screen/map_source_settings.h"

#include <gtest/gtest.h>

#include "tests/screen/settings_test_support.h"

namespace orvane::screen {
namespace {

class MapSourceSettingsTest : public ::testing::Test, protected testing::TestStore {
  protected:
    std::shared_ptr<foundation::DispatchQueue> queue =
        foundation::SerialQueue::create("test.map.callback");
};

TEST_F(MapSourceSettingsTest, AFileComesBeforeAServerAndEitherBeforeTheOfflineMap) {
    const struct {
        const char* url;
        const char* file;
        const char* source;
    } rows[] = {
        {nullptr, nullptr, "offline"},
        {"  ", "", "offline"},
        {"https://tile.example/{z}/{x}/{y}.png", nullptr, "https://tile.example/{z}/{x}/{y}.png"},
        {"https://tile.example/{z}/{x}/{y}.png", "/maps/city.mbtiles",
         "mbtiles:/maps/city.mbtiles"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.source);
        store.map.saveMapTileURL(row.url ? std::optional<std::string>(row.url) : std::nullopt);
        store.map.saveMapTilesFile(row.file ? std::optional<std::string>(row.file) : std::nullopt);
        EXPECT_EQ(mapSourceFromSettings(store).source, row.source);
    }
}

TEST_F(MapSourceSettingsTest, TheAttributionAndTheContactGoWithTheSource) {
    store.map.saveMapAttribution("© Test Tiles");
    store.lineDrawer.saveGeocoderContact("maps@example.org");
    const MapSourceChoice choice = mapSourceFromSettings(store);
    EXPECT_EQ(choice.options.attribution, "© Test Tiles");
    EXPECT_EQ(choice.options.contact, "maps@example.org");
}

TEST_F(MapSourceSettingsTest, AValueThatCannotBeUsedIsNamedWithItsKey) {
    const struct {
        const char* key;
        const char* value;
    } rows[] = {
        {"MapTileURL", "tile.example/{z}/{x}/{y}.png"},
        {"MapTileURL", "https://tile.example/tiles.png"},
        {"MapTilesFile", "/nowhere/city.mbtiles"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.value);
        store.map.saveMapTileURL(std::string(row.key) == "MapTileURL"
                                     ? std::optional<std::string>(row.value)
                                     : std::nullopt);
        store.map.saveMapTilesFile(std::string(row.key) == "MapTilesFile"
                                       ? std::optional<std::string>(row.value)
                                       : std::nullopt);
        std::string problem;
        EXPECT_FALSE(makeMapSnapshotterFromSettings(store, queue, problem));
        EXPECT_EQ(problem.rfind(std::string(row.key) + ": ", 0), 0u) << problem;
        EXPECT_NE(problem.find(row.value), std::string::npos) << problem;
    }
}

TEST_F(MapSourceSettingsTest, AFreshStoreDrawsTheOfflineMap) {
    std::string problem;
    const auto snapshotter = makeMapSnapshotterFromSettings(store, queue, problem);
    ASSERT_TRUE(snapshotter) << problem;
    EXPECT_EQ(snapshotter->description(), "offline map");
}

}  // namespace
}  // namespace orvane::screen
