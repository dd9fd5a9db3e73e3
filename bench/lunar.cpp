// The stamp's lunar line on every frame: the one-entry cache against the full lookup it saves,
// and the lookup against the plain table walk beneath it.
#include <benchmark/benchmark.h>

#include "stamp/lunar/lunar.h"

namespace {

using orvane::stamp::CivilDate;
using orvane::stamp::LunarLine;

constexpr double kMidAutumn2024 = 1726574400.0;  // 2024-09-17 12:00 UTC

CivilDate utcDate(double) {
    return {2024, 9, 17};
}

// What every frame but the first of a day costs.
void BM_LunarLineCached(benchmark::State& state) {
    LunarLine line(utcDate);
    line.getFormattedLunar(kMidAutumn2024);
    for (auto _ : state)
        benchmark::DoNotOptimize(line.getFormattedLunar(kMidAutumn2024));
}
BENCHMARK(BM_LunarLineCached);

// What the first frame of a day costs: names, festival and term, with the term list cached.
void BM_LunarLookup(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(orvane::stamp::lunarLookup(2024, 9, 17));
}
BENCHMARK(BM_LunarLookup);

// The table walk alone, without texts.
void BM_LunarPosition(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(orvane::stamp::lunarPosition(2024, 9, 17));
}
BENCHMARK(BM_LunarPosition);

}  // namespace
