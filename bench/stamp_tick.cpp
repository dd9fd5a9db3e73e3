// The composition of one tick's texts with every line on and a second-precision time row: what
// the frame path pays on every frame before any drawing. Beside it, as a floor, one snprintf of
// a stamp of the same size, and the tick with a fraction row.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_loading.h"
#include "stamp/LineDrawer.h"

namespace {

using namespace orvane;

constexpr double kInstant = 1707537600.0;  // 2024-02-10 04:00 UTC

struct Stamp {
    explicit Stamp(int timeRow) {
        cache.setShowAltitudeAndSpeed(true);
        cache.setShowLunar(true);
        cache.setShowTagOnCamera(true);
        cache.setSelectTags({"site", "north wall"});
        cache.gSetShowFileNameIndex(true);
        cache.gSetFileNameIndex(42);
        cache.setShowLuoPan(true);
        store.luoPan.saveLuoPanStyle(2);
        screen::reloadLuoPanSetting(store);
        state.setAltitude(35.5f);
        state.setSpeed(12.0f);
        state.setCustomText("Orvane bench");
        state.displayStopWatch(true);
        state.startStopWatch();
        screen::StampLayerStartValues start;
        start.timeFormatIndex = timeRow;
        start.gpsType = "gpsMGRS";
        start.locationType = "formatAddress";
        drawer = std::make_unique<stamp::LineDrawer>(store, cache, start, state,
                                                     stamp::DateSettings{"en_US", "UTC"});
        platform::Placemark place;
        place.formattedAddress = "5 Avenue Anatole France, 75007 Paris, France";
        drawer->processPlacement({place}, std::nullopt);
        drawer->coordinateCatalogue().rebuild({48.858370, 2.294481, 5.0});
        drawer->setLuoPanSource([] { return stamp::LineDrawer::LuoPanReading{true, 1.2}; });
    }

    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store{defaults, cache};
    foundation::ManualClock clock{kInstant};
    stamp::StampState state{clock};
    std::unique_ptr<stamp::LineDrawer> drawer;
};

void runTicks(benchmark::State& state, int timeRow) {
    Stamp stamp(timeRow);
    stamp::StampStrings strings;
    for (auto _ : state) {
        stamp.clock.advance(1.0 / 30);
        stamp.drawer->composeStrings(strings);
        benchmark::DoNotOptimize(strings.blocks.staticBlock.data());
    }
}

void BM_StampTickSecondRow(benchmark::State& state) {
    runTicks(state, 19);
}
BENCHMARK(BM_StampTickSecondRow);

void BM_StampTickFractionRow(benchmark::State& state) {
    runTicks(state, 46);
}
BENCHMARK(BM_StampTickFractionRow);

void BM_StampTickSnprintfFloor(benchmark::State& state) {
    char text[512];
    double t = 0;
    for (auto _ : state) {
        t += 1.0 / 30;
        benchmark::DoNotOptimize(
            std::snprintf(text, sizeof text,
                          "%s\n%s\n%s\n%d%s\n%s\n%s\nAltitude:%.1fm\nSpeed:%.1fkm/h\n%s\n%s\n%s",
                          "2024-02-10 04:00:00", "农历正月初一 春节", "31UDQ4825111943", 69, "° E",
                          "00:00:01:000", "5 Avenue Anatole France, 75007 Paris, France", 35.5 + t,
                          12.0, "Orvane bench", "#site #north wall", "Index:42"));
    }
}
BENCHMARK(BM_StampTickSnprintfFloor);

}  // namespace
