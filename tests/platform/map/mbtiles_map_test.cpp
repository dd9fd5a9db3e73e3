// Tile maps from an MBTiles file written by the test with SQLite: rows counted from the south,
// zooms from the metadata or the tiles, the file's attribution, and the files it refuses.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <fstream>

#include "platform/map/MBTilesTileSource.h"
#include "platform/map/map_sources.h"
#include "tests/platform/map/map_test_support.h"

namespace orvane::platform {
namespace {

using testing::parityColour;
using testing::pixelIs;
using testing::ScratchFolder;
using testing::SnapshotAnswer;

struct Tile {
    int zoom, column, row;  // row as MBTiles counts it, from the south
    std::string data;
};

// An MBTiles file with the metadata and tiles given; tables made even when empty.
void writeMBTiles(const std::string& path,
                  const std::vector<std::pair<std::string, std::string>>& metadata,
                  const std::vector<Tile>& tiles) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(database,
                           "CREATE TABLE metadata (name TEXT, value TEXT);"
                           "CREATE TABLE tiles (zoom_level INTEGER, tile_column INTEGER, "
                           "tile_row INTEGER, tile_data BLOB);",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(database, "INSERT INTO metadata VALUES (?, ?)", -1, &insert, nullptr);
    for (const auto& [name, value] : metadata) {
        sqlite3_bind_text(insert, 1, name.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 2, value.c_str(), -1, SQLITE_TRANSIENT);
        EXPECT_EQ(sqlite3_step(insert), SQLITE_DONE);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_prepare_v2(database, "INSERT INTO tiles VALUES (?, ?, ?, ?)", -1, &insert, nullptr);
    for (const Tile& tile : tiles) {
        sqlite3_bind_int(insert, 1, tile.zoom);
        sqlite3_bind_int(insert, 2, tile.column);
        sqlite3_bind_int(insert, 3, tile.row);
        sqlite3_bind_blob(insert, 4, tile.data.data(), static_cast<int>(tile.data.size()),
                          SQLITE_TRANSIENT);
        EXPECT_EQ(sqlite3_step(insert), SQLITE_DONE);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_close(database);
}

// The zoom at which a map 0.01 degrees across at the equator is drawn, and the XYZ numbers of the
// tiles west and north of the equator on the prime meridian there.
constexpr int kZoom = 15;
constexpr int kWest = (1 << kZoom) / 2 - 1;
constexpr int kEast = kWest + 1;

// The four tiles around that point, in the parity colours of their XYZ numbers, stored under
// TMS rows.
std::vector<Tile> tilesAroundTheOrigin(bool jpeg) {
    std::vector<Tile> tiles;
    for (int x = kWest; x <= kEast; ++x) {
        for (int y = kWest; y <= kEast; ++y) {
            const auto colour = parityColour(x, y);
            tiles.push_back(
                {kZoom, x, (1 << kZoom) - 1 - y,
                 jpeg ? testing::solidJpegTile(colour) : testing::solidPngTile(colour)});
        }
    }
    return tiles;
}

class MBTilesMapTest : public ::testing::Test {
  protected:
    SnapshotAnswer::Result ask(const std::string& file, double latitude, double longitude) {
        std::string problem;
        auto snapshotter = makeMapSnapshotter("mbtiles:" + file, {}, queue, problem);
        EXPECT_TRUE(snapshotter) << problem;
        if (!snapshotter) {
            return {};
        }
        MapSnapshotOptions request;
        request.region = {{latitude, longitude}, {0.01, 0.01}};
        SnapshotAnswer answer;
        snapshotter->startWithCompletionHandler(request, answer.completion());
        EXPECT_TRUE(answer.wait());
        return answer.result();
    }

    std::string path(const char* name) const { return (scratch.path() / name).string(); }

    ScratchFolder scratch;
    std::shared_ptr<foundation::DispatchQueue> queue =
        foundation::SerialQueue::create("test.map.callback");
};

TEST_F(MBTilesMapTest, RowsCountedFromTheSouthLandInTheirPlaces) {
    for (const bool jpeg : {false, true}) {
        SCOPED_TRACE(jpeg ? "JPEG tiles" : "PNG tiles");
        const std::string file = path(jpeg ? "jpeg.mbtiles" : "png.mbtiles");
        writeMBTiles(file,
                     {{"format", jpeg ? "jpg" : "png"},
                      {"minzoom", "15"},
                      {"maxzoom", "15"},
                      {"attribution", "<a href=\"https://example.org\">&copy; Test Maps</a>"}},
                     tilesAroundTheOrigin(jpeg));
        const auto result = ask(file, 0, 0);
        ASSERT_TRUE(result.snapshot) << result.error->message();
        const Bitmap& image = result.snapshot->image();
        // Unflipped rows would put the southern tiles on top.
        EXPECT_TRUE(pixelIs(image, 64, 64, parityColour(kWest, kWest), 4));
        EXPECT_TRUE(pixelIs(image, 192, 64, parityColour(kEast, kWest), 4));
        EXPECT_TRUE(pixelIs(image, 64, 192, parityColour(kWest, kEast), 4));
        EXPECT_TRUE(pixelIs(image, 192, 180, parityColour(kEast, kEast), 4));
        // The file's own attribution is drawn, on its plate.
        EXPECT_GT(image.red(255, 255), 150);
    }
}

TEST_F(MBTilesMapTest, ZoomsComeFromTheTilesWhenTheMetadataLacksThem) {
    const std::string file = path("bare.mbtiles");
    writeMBTiles(file, {}, tilesAroundTheOrigin(false));
    std::string problem;
    const auto source = MBTilesTileSource::open(file, "", problem);
    ASSERT_TRUE(source) << problem;
    EXPECT_EQ(source->minimumZoom(), kZoom);
    EXPECT_EQ(source->maximumZoom(), kZoom);
    EXPECT_EQ(source->attribution(), "");
    const auto result = ask(file, 0, 0);
    ASSERT_TRUE(result.snapshot);
    EXPECT_TRUE(pixelIs(result.snapshot->image(), 64, 64, parityColour(kWest, kWest)));
}

TEST_F(MBTilesMapTest, AMapWhereTheFileHasNoTilesIsAnError) {
    const std::string file = path("origin.mbtiles");
    writeMBTiles(file, {}, tilesAroundTheOrigin(false));
    const auto result = ask(file, 60, 100);
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, MapSnapshotter::kNoTiles);
    EXPECT_NE(result.error->failureReason.find(file), std::string::npos);
}

TEST_F(MBTilesMapTest, FilesThatHoldNoRasterTilesAreRefusedByName) {
    writeMBTiles(path("vector.mbtiles"), {{"format", "pbf"}}, {});
    writeMBTiles(path("empty.mbtiles"), {{"format", "png"}}, {});
    std::ofstream(path("text.mbtiles")) << "not a database at all, just some words in a file";
    const struct {
        const char* file;
        const char* reason;
    } rows[] = {
        {"vector.mbtiles", "vector tiles"},
        {"empty.mbtiles", "no tiles"},
        {"text.mbtiles", "not an MBTiles file"},
        {"missing.mbtiles", "unable to open"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        std::string problem;
        EXPECT_FALSE(makeMapSnapshotter("mbtiles:" + path(row.file), {}, queue, problem));
        EXPECT_NE(problem.find(path(row.file)), std::string::npos) << problem;
        EXPECT_NE(problem.find(row.reason), std::string::npos) << problem;
    }
}

TEST(MarkupTextTest, AttributionsLoseTheirTagsAndKeepTheirWords) {
    const struct {
        const char* markup;
        const char* text;
    } rows[] = {
        {"&copy; OpenStreetMap contributors", "© OpenStreetMap contributors"},
        {"<a href=\"https://x\">&copy; Maps &amp; Co</a>", "© Maps & Co"},
        {"plain", "plain"},
        {"AT&T <b>bold</b>", "AT&T bold"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(plainTextOfMarkup(row.markup), row.text);
    }
}

}  // namespace
}  // namespace orvane::platform
