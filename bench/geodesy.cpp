// Cost of the projected coordinate rows of one position: one UTM and one MGRS conversion, on a
// route that crosses zones and both hemispheres, and the polar road on its own.
#include <benchmark/benchmark.h>

#include <array>
#include <numbers>
#include <string>

#include "stamp/geodesy/geodesy.h"

namespace {

using orvane::stamp::GridConverter;
using orvane::stamp::UTMPosition;

constexpr double kDegree = std::numbers::pi / 180;

struct Position {
    double latitude, longitude;
};

constexpr std::array<Position, 8> kRoute = {{
    {48.85837, 2.294481},
    {-33.9, 151.2},
    {60, 5},
    {75, 10},
    {0.0001, -75.5},
    {35.6, 139.7},
    {-54.8, -68.3},
    {64.1, -21.9},
}};

void BM_UTMAndMGRSOfOnePosition(benchmark::State& state) {
    GridConverter grid;
    UTMPosition utm;
    std::string mgrs;
    size_t i = 0;
    for (auto _ : state) {
        const Position& p = kRoute[i++ % kRoute.size()];
        benchmark::DoNotOptimize(
            grid.convertGeodeticToUTM(p.latitude * kDegree, p.longitude * kDegree, utm));
        benchmark::DoNotOptimize(
            grid.convertGeodeticToMGRS(p.latitude * kDegree, p.longitude * kDegree, 5, mgrs));
        benchmark::DoNotOptimize(mgrs.data());
    }
}
BENCHMARK(BM_UTMAndMGRSOfOnePosition);

void BM_MGRSNearThePole(benchmark::State& state) {
    GridConverter grid;
    std::string mgrs;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            grid.convertGeodeticToMGRS(87.3 * kDegree, -135 * kDegree, 5, mgrs));
        benchmark::DoNotOptimize(mgrs.data());
    }
}
BENCHMARK(BM_MGRSNearThePole);

}  // namespace
