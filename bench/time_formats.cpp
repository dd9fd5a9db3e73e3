// The stamp's time on every frame: the live formatter with its kept ICU formatters for a
// second-precision row, a fraction row and a system row, beside the road that makes a new ICU
// formatter for every frame, and the still path's whole formatter.
#include <benchmark/benchmark.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <memory>
#include <string>

#include "stamp/time_formats.h"

namespace {

using orvane::stamp::DateSettings;
using orvane::stamp::LiveTime;
using orvane::stamp::LiveTimeFormatter;

constexpr double kStart = 1707537600.95;  // 2024-02-10 12:00:00.950 in Shanghai
constexpr double kFrame = 1.0 / 30;
const DateSettings kSettings{"en_US", "Asia/Shanghai"};

// One frame's time for a row, the instant moving on by a frame each call as on a recording.
void BM_TimeLive(benchmark::State& state) {
    const int row = static_cast<int>(state.range(0));
    LiveTimeFormatter live(kSettings);
    LiveTime out;
    double now = kStart;
    for (auto _ : state) {
        live.format(row, now, out);
        benchmark::DoNotOptimize(out.text.data());
        now += kFrame;
    }
    state.SetLabel(out.text + "|" + out.fraction);
}
BENCHMARK(BM_TimeLive)->Arg(19)->Arg(46)->Arg(1)->Arg(87);

// The same with the machine's own zone, which the formatter looks at again once a second.
void BM_TimeLiveSystemZone(benchmark::State& state) {
    LiveTimeFormatter live({"en_US", ""});
    LiveTime out;
    double now = kStart;
    for (auto _ : state) {
        live.format(19, now, out);
        benchmark::DoNotOptimize(out.text.data());
        now += kFrame;
    }
}
BENCHMARK(BM_TimeLiveSystemZone);

// Reference: a new ICU formatter per frame for a row's pattern (locale and zone made once), and
// a second one for the fraction where the row has one.
void BM_TimeFreshIcuFormatter(benchmark::State& state) {
    const bool split = state.range(0) != 0;
    const icu::Locale locale("en_US");
    const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone("Asia/Shanghai"));
    const icu::UnicodeString text(split ? "MM/dd/yyyy HH:mm:ss." : "yyyy-MM-dd HH:mm:ss");
    const icu::UnicodeString fraction("SSS");
    std::string out;
    double now = kStart;
    for (auto _ : state) {
        UErrorCode status = U_ZERO_ERROR;
        icu::UnicodeString buffer;
        icu::SimpleDateFormat format(text, locale, status);
        format.setTimeZone(*zone);
        format.format(now * 1000, buffer);
        if (split) {
            icu::SimpleDateFormat digits(fraction, locale, status);
            digits.setTimeZone(*zone);
            digits.format(now * 1000, buffer);
        }
        out.clear();
        buffer.toUTF8String(out);
        benchmark::DoNotOptimize(out.data());
        now += kFrame;
    }
    state.SetLabel(out);
}
BENCHMARK(BM_TimeFreshIcuFormatter)->Arg(0)->Arg(1);

// The still path: a formatter for the row, then one whole text.
void BM_TimeStillFormatter(benchmark::State& state) {
    for (auto _ : state) {
        const auto formatter = orvane::stamp::curDateFormatter(46, kSettings);
        benchmark::DoNotOptimize(formatter->format(kStart));
    }
}
BENCHMARK(BM_TimeStillFormatter);

// The picker's list, made once per stamp layer.
void BM_TimePreviews(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(orvane::stamp::timeFormatPreviews(kStart, kSettings));
}
BENCHMARK(BM_TimePreviews)->Unit(benchmark::kMillisecond);

}  // namespace
