// What a label costs: rasterising one stamp line at a photo's font size, plain and outlined, and
// setString with the text it already shows (what the tick does on most frames) beside setString
// with a new text each time.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "engine/CCLabelTTF.h"
#include "engine/text_raster.h"
#include "platform/gl/EglContext.h"

namespace {

using namespace orvane;

const std::string kLine = "2024-02-10 08:15:42 48.85837N 2.29448E W";  // 40 characters

engine::TextStyle lineStyle() {
    engine::TextStyle style;
    style.fontName = "ArialMT";
    style.fontSize = 70;
    style.wrapWidth = 1280;
    style.maxHeight = 1280;
    return style;
}

void reportBitmap(benchmark::State& state, const engine::TextBitmap& bitmap) {
    state.counters["width"] = bitmap.width;
    state.counters["height"] = bitmap.height;
}

void BM_RasterizeLine(benchmark::State& state) {
    const engine::TextStyle style = lineStyle();
    engine::TextBitmap bitmap;
    for (auto _ : state) {
        bitmap = engine::rasterizeText(kLine, style);
        benchmark::DoNotOptimize(bitmap.rgba.data());
    }
    reportBitmap(state, bitmap);
}
BENCHMARK(BM_RasterizeLine)->Unit(benchmark::kMillisecond);

void BM_RasterizeLineOutlined(benchmark::State& state) {
    engine::TextStyle style = lineStyle();
    style.stroke = true;
    style.strokeSize = -3.0f;
    engine::TextBitmap bitmap;
    for (auto _ : state) {
        bitmap = engine::rasterizeText(kLine, style);
        benchmark::DoNotOptimize(bitmap.rgba.data());
    }
    reportBitmap(state, bitmap);
}
BENCHMARK(BM_RasterizeLineOutlined)->Unit(benchmark::kMillisecond);

// Labels upload to a texture, so they need a current context; it lives for the whole run.
platform::GLContext* benchContext(std::string& problem) {
    static std::string made;
    static std::unique_ptr<platform::GLContext> context =
        platform::EglContext::create(platform::EglContext::Platform::automatic, made);
    problem = made;
    return context.get();
}

void BM_LabelSetStringUnchanged(benchmark::State& state) {
    std::string problem;
    platform::GLContext* context = benchContext(problem);
    if (context == nullptr || !context->makeCurrent()) {
        state.SkipWithError(("no GL context: " + problem).c_str());
        return;
    }
    auto label = engine::CCLabelTTF::labelWithString(kLine, "ArialMT", 70);
    for (auto _ : state) {
        label->setString(kLine);
    }
    state.counters["rasterizations"] = static_cast<double>(label->rasterizations());
    context->doneCurrent();
}
BENCHMARK(BM_LabelSetStringUnchanged);

void BM_LabelSetStringChanged(benchmark::State& state) {
    std::string problem;
    platform::GLContext* context = benchContext(problem);
    if (context == nullptr || !context->makeCurrent()) {
        state.SkipWithError(("no GL context: " + problem).c_str());
        return;
    }
    const std::string other = "2024-02-10 08:15:43 48.85837N 2.29448E W";
    auto label = engine::CCLabelTTF::labelWithString(kLine, "ArialMT", 70);
    bool flip = false;
    for (auto _ : state) {
        label->setString(flip ? kLine : other);
        flip = !flip;
    }
    state.counters["rasterizations"] = static_cast<double>(label->rasterizations());
    context->doneCurrent();
}
BENCHMARK(BM_LabelSetStringChanged)->Unit(benchmark::kMillisecond);

}  // namespace
