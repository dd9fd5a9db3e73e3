// Cost of the coordinate rows of one position: every form with one UTM and one MGRS conversion,
// the catalogue's rebuild with its collapse and selection, and the frame pass's read of the chosen
// line. One snprintf of a single row stands beside them as the unit of comparison.
#include <benchmark/benchmark.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <string>

#include "stamp/coordinate_formats.h"

namespace {

using orvane::stamp::CoordinateCatalogue;
using orvane::stamp::CoordinateFix;

// Both hemispheres, several zones, and one point beyond the UTM grid.
constexpr std::array<CoordinateFix, 6> kRoute = {{
    {48.85837, 2.294481, 5},
    {-33.8688, 151.2093, 8},
    {40.7484, -73.9857, 4},
    {-22.9519, -43.2105, 12},
    {64.1, -21.9, 6},
    {85, 10, 30},
}};

void BM_CoordinateForms(benchmark::State& state) {
    std::setlocale(LC_NUMERIC, "C");
    orvane::stamp::GridConverter grid;
    size_t i = 0;
    for (auto _ : state) {
        auto forms = orvane::stamp::coordinateForms(kRoute[i++ % kRoute.size()], grid);
        benchmark::DoNotOptimize(forms.data());
    }
}
BENCHMARK(BM_CoordinateForms);

void BM_CatalogueRebuild(benchmark::State& state) {
    std::setlocale(LC_NUMERIC, "C");
    CoordinateCatalogue catalogue("gpsMGRS");
    size_t i = 0;
    for (auto _ : state) {
        catalogue.rebuild(kRoute[i++ % kRoute.size()]);
    }
    benchmark::DoNotOptimize(catalogue.getGpsIndex());
}
BENCHMARK(BM_CatalogueRebuild);

// What the frame pass pays per frame; the line's storage is reused.
void BM_CoordinateLine(benchmark::State& state) {
    std::setlocale(LC_NUMERIC, "C");
    CoordinateCatalogue catalogue("gps5");
    catalogue.rebuild(kRoute[0]);
    std::string line;
    for (auto _ : state) {
        catalogue.coordinateLine(line);
        benchmark::DoNotOptimize(line.data());
    }
}
BENCHMARK(BM_CoordinateLine);

// Reference: the cost of one plain row.
void BM_SnprintfOneRow(benchmark::State& state) {
    std::setlocale(LC_NUMERIC, "C");
    char buffer[64];
    size_t i = 0;
    for (auto _ : state) {
        const CoordinateFix& fix = kRoute[i++ % kRoute.size()];
        benchmark::DoNotOptimize(
            std::snprintf(buffer, sizeof buffer, "%f,%f", fix.latitude, fix.longitude));
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(BM_SnprintfOneRow);

}  // namespace
