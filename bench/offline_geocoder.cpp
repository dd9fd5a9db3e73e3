// Cost of the offline geocoder: one nearest-place lookup through the tree beside a scan of every
// place (the reference, same points, same run), one whole answer through the geocoder's queues,
// and the first-request load of the place file.
#include <benchmark/benchmark.h>

#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "platform/geocoding/OfflineGeocoder.h"
#include "platform/geocoding/places_file.h"

namespace {

using orvane::platform::places::PlaceIndex;

const PlaceIndex& sharedIndex() {
    static const auto index = [] {
        std::string problem;
        auto loaded = PlaceIndex::load(ORVANE_PLACES_FILE, problem);
        if (!loaded) {
            std::fprintf(stderr, "%s: %s\n", ORVANE_PLACES_FILE, problem.c_str());
            std::abort();
        }
        return loaded;
    }();
    return *index;
}

// Points spread over the whole sphere (uniform in area), land and sea alike.
const std::vector<std::pair<double, double>>& points() {
    static const auto all = [] {
        std::mt19937 random(7);
        std::uniform_real_distribution<double> unit(-1, 1), longitude(-180, 180);
        std::vector<std::pair<double, double>> list;
        for (int i = 0; i < 4096; ++i) {
            list.emplace_back(std::asin(unit(random)) * 180 / 3.14159265358979, longitude(random));
        }
        return list;
    }();
    return all;
}

void BM_PlacesNearestTree(benchmark::State& state) {
    const PlaceIndex& index = sharedIndex();
    std::size_t i = 0;
    for (auto _ : state) {
        const auto [latitude, longitude] = points()[i++ % points().size()];
        benchmark::DoNotOptimize(index.nearest(latitude, longitude));
    }
    state.counters["places"] = double(index.size());
}
BENCHMARK(BM_PlacesNearestTree);

void BM_PlacesNearestScan(benchmark::State& state) {
    const PlaceIndex& index = sharedIndex();
    std::size_t i = 0;
    for (auto _ : state) {
        const auto [latitude, longitude] = points()[i++ % points().size()];
        benchmark::DoNotOptimize(index.nearestByScan(latitude, longitude));
    }
}
BENCHMARK(BM_PlacesNearestScan);

void BM_PlacesLoad(benchmark::State& state) {
    for (auto _ : state) {
        std::string problem;
        auto index = PlaceIndex::load(ORVANE_PLACES_FILE, problem);
        benchmark::DoNotOptimize(index.get());
    }
}
BENCHMARK(BM_PlacesLoad)->Unit(benchmark::kMillisecond);

// A request from the caller's thread to its completion on the callback queue, file loaded.
void BM_OfflineGeocoderAnswer(benchmark::State& state) {
    auto callbackQueue = orvane::foundation::SerialQueue::create("bench.geocoder.callback");
    orvane::platform::OfflineGeocoder geocoder(callbackQueue, "en", ORVANE_PLACES_FILE);
    std::mutex mutex;
    std::condition_variable answered;
    bool done = false;
    const auto ask = [&](double latitude, double longitude) {
        done = false;
        geocoder.reverseGeocodeLocation(
            orvane::platform::Location({latitude, longitude}, std::nullopt, 10, -1, 0),
            [&](auto placemarks, auto) {
                benchmark::DoNotOptimize(placemarks.data());
                std::lock_guard lock(mutex);
                done = true;
                answered.notify_one();
            });
        std::unique_lock lock(mutex);
        answered.wait(lock, [&] { return done; });
    };
    ask(0, 0);  // loads the file
    std::size_t i = 0;
    for (auto _ : state) {
        const auto [latitude, longitude] = points()[i++ % points().size()];
        ask(latitude, longitude);
    }
}
BENCHMARK(BM_OfflineGeocoderAnswer)->Unit(benchmark::kMicrosecond);

}  // namespace
