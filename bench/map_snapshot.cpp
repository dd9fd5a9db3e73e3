// Cost of one map update per source, from the request to the answer on the callback queue: the
// offline map drawn from the bundled places (a city, with a track), and a map stitched from an
// MBTiles file of PNG tiles, beside the floor under it, decoding the same tiles alone. Then what
// the updater adds to each: the position mark and the opacity baked in.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <unistd.h>
#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "platform/image/bitmap_codec.h"
#include "platform/image/bitmap_drawing.h"
#include "platform/map/map_sources.h"
#include "platform/map/tile_stitching.h"
#include "platform/map/web_mercator.h"

namespace {

using namespace orvane;
namespace fs = std::filesystem;

constexpr double kScale = 2;  // a 512-pixel map, as on a screen of scale 2

platform::MapSnapshotOptions aroundParis() {
    platform::MapSnapshotOptions options;
    options.region = {{48.8566, 2.3522}, {0.05, 0.05}};
    options.scale = kScale;
    for (int i = 0; i < 600; ++i) {  // a track of ten minutes at one position a second
        options.track.push_back({48.84 + i * 3e-5, 2.33 + i * 4e-5});
    }
    return options;
}

// Runs one snapshot to its answer.
void snapshotOnce(platform::MapSnapshotter& snapshotter,
                  const platform::MapSnapshotOptions& options, benchmark::State& state) {
    std::mutex mutex;
    std::condition_variable answered;
    bool done = false;
    bool failed = false;
    snapshotter.startWithCompletionHandler(
        options, [&](std::optional<platform::MapSnapshot> snapshot, auto error) {
            benchmark::DoNotOptimize(snapshot);
            std::lock_guard lock(mutex);
            failed = !snapshot;
            if (error) {
                std::fprintf(stderr, "%s\n", error->message().c_str());
            }
            done = true;
            answered.notify_one();
        });
    std::unique_lock lock(mutex);
    answered.wait(lock, [&] { return done; });
    if (failed) {
        state.SkipWithError("the snapshot failed");
    }
}

std::unique_ptr<platform::MapSnapshotter> make(const std::string& source,
                                               std::shared_ptr<foundation::DispatchQueue> queue) {
    platform::MapSourceOptions options;
    options.placesPath = ORVANE_PLACES_FILE;
    options.tileCacheDirectory.reset();
    std::string problem;
    auto snapshotter = platform::makeMapSnapshotter(source, options, std::move(queue), problem);
    if (!snapshotter) {
        std::fprintf(stderr, "%s\n", problem.c_str());
        std::abort();
    }
    return snapshotter;
}

void BM_MapOfflineUpdate(benchmark::State& state) {
    auto queue = foundation::SerialQueue::create("bench.map.callback");
    auto snapshotter = make("offline", queue);
    const auto options = aroundParis();
    snapshotOnce(*snapshotter, options, state);  // loads the place file
    for (auto _ : state) {
        snapshotOnce(*snapshotter, options, state);
    }
}
BENCHMARK(BM_MapOfflineUpdate)->Unit(benchmark::kMillisecond)->UseRealTime();

// Tiles of a street map's look: a light ground with a grid of lines and blocks, so that PNG has
// real work to do.
std::string streetTile(int x, int y) {
    platform::Bitmap tile = platform::Bitmap::transparent(256, 256);
    for (int row = 0; row < 256; ++row) {
        for (int column = 0; column < 256; ++column) {
            const bool street = (row + y * 7) % 37 < 3 || (column + x * 5) % 29 < 3;
            const bool block = ((row / 16 + column / 16 + x + y) % 5) == 0;
            const std::uint32_t colour = street ? 0xFFFFFFFFu : block ? 0xFFD9D0C9u : 0xFFF2EFE9u;
            std::memcpy(&tile.pixels[static_cast<std::size_t>(row) * tile.stride + column * 4],
                        &colour, 4);
        }
    }
    const auto png = platform::encodePng(tile);
    return std::string(png.begin(), png.end());
}

// An MBTiles file covering the map around Paris at the zoom the map asks for.
struct TilesFile {
    TilesFile() {
        path =
            fs::temp_directory_path() / ("orvane-bench-" + std::to_string(::getpid()) + ".mbtiles");
        std::string problem;
        const auto frame = platform::mercator::frameFor(aroundParis(), problem);
        zoom = platform::tileZoomFor(frame->worldPixels, 256, 0, 19);
        // The tiles the map needs, and one more all round.
        const double side = 1 << zoom;
        const double halfWidth = frame->width / 2.0 / frame->worldPixels;
        const double halfHeight = frame->height / 2.0 / frame->worldPixels;
        const long firstX = std::lround(std::floor((frame->centreX - halfWidth) * side)) - 1;
        const long lastX = std::lround(std::floor((frame->centreX + halfWidth) * side)) + 1;
        const long firstY = std::lround(std::floor((frame->centreY - halfHeight) * side)) - 1;
        const long lastY = std::lround(std::floor((frame->centreY + halfHeight) * side)) + 1;
        sqlite3* database = nullptr;
        sqlite3_open(path.c_str(), &database);
        sqlite3_exec(database,
                     "CREATE TABLE metadata (name TEXT, value TEXT);"
                     "CREATE TABLE tiles (zoom_level INTEGER, tile_column INTEGER, tile_row "
                     "INTEGER, tile_data BLOB);"
                     "CREATE UNIQUE INDEX tile_index ON tiles (zoom_level, tile_column, tile_row);"
                     "INSERT INTO metadata VALUES ('format', 'png');",
                     nullptr, nullptr, nullptr);
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(database, "INSERT INTO tiles VALUES (?, ?, ?, ?)", -1, &insert, nullptr);
        for (long x = firstX; x <= lastX; ++x) {
            for (long y = firstY; y <= lastY; ++y) {
                const std::string tile = streetTile(static_cast<int>(x), static_cast<int>(y));
                tiles.push_back(tile);
                sqlite3_bind_int(insert, 1, zoom);
                sqlite3_bind_int64(insert, 2, x);
                sqlite3_bind_int64(insert, 3, (1L << zoom) - 1 - y);
                sqlite3_bind_blob(insert, 4, tile.data(), static_cast<int>(tile.size()),
                                  SQLITE_TRANSIENT);
                sqlite3_step(insert);
                sqlite3_reset(insert);
            }
        }
        sqlite3_finalize(insert);
        sqlite3_close(database);
    }
    ~TilesFile() { fs::remove(path); }

    fs::path path;
    int zoom = 0;
    std::vector<std::string> tiles;
};

void BM_MapMBTilesUpdate(benchmark::State& state) {
    TilesFile file;
    auto queue = foundation::SerialQueue::create("bench.map.callback");
    auto snapshotter = make("mbtiles:" + file.path.string(), queue);
    const auto options = aroundParis();
    for (auto _ : state) {
        snapshotOnce(*snapshotter, options, state);
    }
    state.counters["tiles in file"] = static_cast<double>(file.tiles.size());
    state.counters["zoom"] = file.zoom;
}
BENCHMARK(BM_MapMBTilesUpdate)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floor of the stitch: decoding every tile of the file, nothing else.
void BM_MapMBTilesDecodeOnly(benchmark::State& state) {
    TilesFile file;
    for (auto _ : state) {
        for (const std::string& tile : file.tiles) {
            std::string problem;
            auto bitmap = platform::decodeBitmap(
                {reinterpret_cast<const std::uint8_t*>(tile.data()), tile.size()}, problem);
            benchmark::DoNotOptimize(bitmap);
        }
    }
    state.counters["tiles"] = static_cast<double>(file.tiles.size());
}
BENCHMARK(BM_MapMBTilesDecodeOnly)->Unit(benchmark::kMillisecond);

// What the updater adds once a map is made: the mark drawn at the centre, the opacity baked in.
void BM_MapMarkAndFade(benchmark::State& state) {
    platform::Bitmap map = platform::Bitmap::transparent(512, 512);
    std::fill(map.pixels.begin(), map.pixels.end(), 0xFF);
    platform::Bitmap mark = platform::Bitmap::transparent(64, 64);
    std::fill(mark.pixels.begin(), mark.pixels.end(), 0x80);
    for (auto _ : state) {
        platform::Bitmap copy = map;
        platform::drawCentred(copy, mark, 256, 256, kScale / 2);
        benchmark::DoNotOptimize(platform::withAlphaFactor(copy, 0.4));
    }
}
BENCHMARK(BM_MapMarkAndFade)->Unit(benchmark::kMicrosecond);

}  // namespace
