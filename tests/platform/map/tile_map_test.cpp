// Tile maps from a tile server on loopback serving tiles drawn with Cairo: the joined map's
// pixels, the User-Agent, the disk cache and its cap, the map type's template, the dark
// appearance, and the errors of a server that answers 404, garbage or nothing.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/map/XyzTileSource.h"
#include "platform/map/map_sources.h"
#include "tests/platform/geocoding/http_test_server.h"
#include "tests/platform/map/map_test_support.h"

namespace orvane::platform {
namespace {

namespace fs = std::filesystem;
using ::orvane::testing::HttpTestServer;
using testing::parityColour;
using testing::pixelIs;
using testing::Rgb;
using testing::ScratchFolder;
using testing::SnapshotAnswer;

// Serves /tiles/Z/X/Y.png in the parity colours, /sat/Z/X/Y.png grey, /missing/... 404 and
// /garbage/... a page that is no picture.
HttpTestServer::Reply serveTile(const HttpTestServer::Request& request) {
    int z = 0, x = 0, y = 0;
    char kind[16] = {};
    if (std::sscanf(request.path.c_str(), "/%15[a-z]/%d/%d/%d.png", kind, &z, &x, &y) != 4) {
        return {400, "bad request"};
    }
    const std::string what = kind;
    if (what == "tiles") {
        return {200, testing::solidPngTile(parityColour(x, y))};
    }
    if (what == "sat") {
        return {200, testing::solidPngTile({100, 100, 100})};
    }
    if (what == "garbage") {
        return {200, "<html>Tile server maintenance</html>"};
    }
    return {404, "not found"};
}

std::size_t countFiles(const fs::path& folder) {
    std::size_t count = 0;
    if (fs::exists(folder)) {
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            count += entry.is_regular_file() ? 1 : 0;
        }
    }
    return count;
}

std::uintmax_t folderBytes(const fs::path& folder) {
    std::uintmax_t bytes = 0;
    if (fs::exists(folder)) {
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            bytes += entry.is_regular_file() ? entry.file_size() : 0;
        }
    }
    return bytes;
}

class TileMapTest : public ::testing::Test {
  protected:
    std::unique_ptr<MapSnapshotter> make(const std::string& source) {
        std::string problem;
        auto snapshotter = makeMapSnapshotter(source, options, queue, problem);
        EXPECT_TRUE(snapshotter) << problem;
        return snapshotter;
    }

    SnapshotAnswer::Result ask(MapSnapshotter& snapshotter, MapType type = MapType::Standard,
                               MapAppearance appearance = MapAppearance::Light) {
        MapSnapshotOptions request;
        // The equator on the prime meridian is a corner of four tiles at every zoom.
        request.region = {{0, 0}, {0.01, 0.01}};
        request.mapType = type;
        request.appearance = appearance;
        SnapshotAnswer answer;
        snapshotter.startWithCompletionHandler(request, answer.completion());
        EXPECT_TRUE(answer.wait());
        return answer.result();
    }

    std::string templateFor(const std::string& kind) const {
        return server.baseUrl() + "/" + kind + "/{z}/{x}/{y}.png";
    }

    HttpTestServer server{serveTile};
    ScratchFolder scratch;
    MapSourceOptions options = [this] {
        MapSourceOptions o;
        o.contact = "maps@example.org";
        o.attribution = "© Test Tiles";
        o.tileCacheDirectory = scratch.path() / "tiles";
        return o;
    }();
    std::shared_ptr<foundation::DispatchQueue> queue =
        foundation::SerialQueue::create("test.map.callback");
};

TEST_F(TileMapTest, TheTilesAroundTheCentreAreJoinedInTheirPlaces) {
    auto snapshotter = make(templateFor("tiles"));
    const auto result = ask(*snapshotter);
    ASSERT_TRUE(result.snapshot) << result.error->message();
    const Bitmap& image = result.snapshot->image();
    ASSERT_EQ(image.width, 256);
    // At zoom z the centre is the corner of tiles n/2 - 1 (odd) and n/2 (even) either way.
    EXPECT_TRUE(pixelIs(image, 64, 64, parityColour(1, 1)));
    EXPECT_TRUE(pixelIs(image, 192, 64, parityColour(0, 1)));
    EXPECT_TRUE(pixelIs(image, 64, 192, parityColour(1, 0)));
    EXPECT_TRUE(pixelIs(image, 192, 180, parityColour(0, 0)));
    // The attribution's plate lightens the bottom right corner.
    EXPECT_GT(image.red(255, 255), 150);

    const auto requests = server.requests();
    ASSERT_FALSE(requests.empty());
    for (const auto& request : requests) {
        EXPECT_EQ(request.headers.at("user-agent"), "Orvane/" ORVANE_VERSION " (maps@example.org)");
    }
}

TEST_F(TileMapTest, ASecondMapComesFromTheDiskCacheWithoutAskingTheServer) {
    const auto first = ask(*make(templateFor("tiles")));
    ASSERT_TRUE(first.snapshot);
    const std::size_t asked = server.requests().size();
    EXPECT_EQ(countFiles(scratch.path() / "tiles"), asked);

    // A new snapshotter has nothing in memory: what it does not ask for comes from the disk.
    const auto second = ask(*make(templateFor("tiles")));
    ASSERT_TRUE(second.snapshot);
    EXPECT_EQ(server.requests().size(), asked);
    EXPECT_EQ(second.snapshot->image().pixels, first.snapshot->image().pixels);
}

TEST_F(TileMapTest, TheCacheKeepsToItsCapByDroppingTheOldestTiles) {
    const std::uintmax_t tileBytes = testing::solidPngTile(parityColour(0, 0)).size();
    options.tileCacheBytes = tileBytes * 2 + tileBytes / 2;
    const auto result = ask(*make(templateFor("tiles")));
    ASSERT_TRUE(result.snapshot);
    ASSERT_GT(server.requests().size(), 2u);
    EXPECT_EQ(countFiles(scratch.path() / "tiles"), 2u);
    EXPECT_LE(folderBytes(scratch.path() / "tiles"), options.tileCacheBytes);
}

TEST_F(TileMapTest, SatelliteHybridTakesTheSecondTemplate) {
    auto snapshotter = make(templateFor("tiles") + " " + templateFor("sat"));
    const auto result = ask(*snapshotter, MapType::SatelliteHybrid);
    ASSERT_TRUE(result.snapshot);
    EXPECT_TRUE(pixelIs(result.snapshot->image(), 64, 64, {100, 100, 100}));
    for (const auto& request : server.requests()) {
        EXPECT_EQ(request.path.rfind("/sat/", 0), 0u) << request.path;
    }
}

TEST_F(TileMapTest, TheDarkAppearanceTurnsTheTilesLightnessOver) {
    const auto result = ask(*make(templateFor("tiles")), MapType::Standard, MapAppearance::Dark);
    ASSERT_TRUE(result.snapshot);
    // (220, 220, 120) has a lightness of 212: each channel moves by 255 - 2 x 212.
    EXPECT_TRUE(pixelIs(result.snapshot->image(), 64, 64, {51, 51, 0}));
    // (30, 30, 120) has 36: each channel gains 183.
    EXPECT_TRUE(pixelIs(result.snapshot->image(), 192, 180, {213, 213, 255}));
    // The attribution's plate darkens the corner instead.
    EXPECT_LT(result.snapshot->image().red(255, 255), 120);
}

TEST_F(TileMapTest, AServerThatFailsGivesAnErrorNamingTheTileUrl) {
    const std::string prefix = server.baseUrl();
    const struct {
        const char* kind;
        std::int64_t code;
        const char* description;
    } rows[] = {
        {"missing", 404, "answered HTTP 404"},
        {"garbage", MapSnapshotter::kBadTile, "not a tile"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.kind);
        const auto result = ask(*make(templateFor(row.kind)));
        EXPECT_FALSE(result.snapshot);
        ASSERT_TRUE(result.error);
        EXPECT_EQ(result.error->domain, MapSnapshotter::kErrorDomain);
        EXPECT_EQ(result.error->code, row.code);
        EXPECT_NE(result.error->description.find(row.description), std::string::npos);
        EXPECT_EQ(result.error->failureReason.rfind(prefix + "/" + row.kind + "/", 0), 0u)
            << result.error->failureReason;
    }
    // Nothing bad is cached.
    EXPECT_EQ(countFiles(scratch.path() / "tiles"), 0u);
}

TEST_F(TileMapTest, AServerThatIsNotThereCannotBeReached) {
    // A port that was just free, with nothing listening on it now.
    std::string url;
    {
        HttpTestServer gone(serveTile);
        url = gone.baseUrl() + "/tiles/{z}/{x}/{y}.png";
    }
    const auto result = ask(*make(url));
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, MapSnapshotter::kTransferFailed);
    EXPECT_NE(result.error->failureReason.find("127.0.0.1"), std::string::npos);
}

TEST(MapSourcesTest, SourcesAreChosenByNameAndBadOnesAreNamed) {
    const auto queue = foundation::SerialQueue::create("test.map.callback");
    const struct {
        std::string source;
        const char* description;  // nothing made: a problem naming the value
    } rows[] = {
        {"", "offline map"},
        {"offline", "offline map"},
        {"none", "none"},
        {"https://tile.example/{z}/{x}/{y}.png", "https://tile.example/{z}/{x}/{y}.png"},
        {"https://tile.example/{z}/{x}.png", nullptr},
        {"ftp://tile.example/{z}/{x}/{y}.png", nullptr},
        {"https://a/{z}/{x}/{y} https://b/{z}/{x}/{y} https://c/{z}/{x}/{y}", nullptr},
        {"mbtiles:", nullptr},
        {"wms:https://tile.example", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.source);
        std::string problem;
        MapSourceOptions options;
        options.tileCacheDirectory.reset();
        const auto snapshotter = makeMapSnapshotter(row.source, options, queue, problem);
        if (row.description != nullptr) {
            ASSERT_TRUE(snapshotter) << problem;
            EXPECT_EQ(snapshotter->description(), row.description);
        } else {
            EXPECT_FALSE(snapshotter);
            EXPECT_FALSE(problem.empty());
        }
    }
}

TEST(MapSourcesTest, TheNoneSourceSaysSoAtEveryRequest) {
    const auto queue = foundation::SerialQueue::create("test.map.callback");
    std::string problem;
    const auto snapshotter = makeMapSnapshotter("none", {}, queue, problem);
    ASSERT_TRUE(snapshotter);
    SnapshotAnswer answer;
    snapshotter->startWithCompletionHandler({}, answer.completion());
    ASSERT_TRUE(answer.wait());
    ASSERT_TRUE(answer.error);
    EXPECT_EQ(answer.error->code, MapSnapshotter::kNoSource);
}

}  // namespace
}  // namespace orvane::platform
