// Recording 1280x720 frames at 30 fps into a movie with each video codec: the wall time per
// frame through the whole writer (conversion on the appending thread, encoding on the input's
// thread, muxing to a file), against the 33 ms a frame may take in real time. The frames carry
// the synthetic camera's moving picture, drawn beforehand so that drawing is not counted.
// Counters: the process's CPU time per frame over all threads (what the encoder costs the
// machine, whatever else runs on it), the CPU time an append takes on its caller's thread
// (the conversion), and how often the loop found the writer not ready.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <time.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/capture/test_scene.h"
#include "platform/writer/FfmpegAssetWriter.h"

namespace orvane::platform {
namespace {

constexpr std::int32_t kWidth = 1280;
constexpr std::int32_t kHeight = 720;
constexpr int kDistinctFrames = 30;

std::vector<PixelBufferRef> drawnFrames() {
    std::vector<PixelBufferRef> frames;
    for (int i = 0; i < kDistinctFrames; ++i) {
        PixelBufferRef buffer = PixelBuffer::create(kWidth, kHeight).buffer;
        drawTestScene(*buffer, i / 30.0);
        frames.push_back(std::move(buffer));
    }
    return frames;
}

double cpuSeconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void recordFrames(benchmark::State& state, const char* codec, std::int32_t bitRate) {
    static const std::vector<PixelBufferRef> frames = drawnFrames();
    const FormatDescriptionRef format = FormatDescription::createForImageBuffer(*frames.front());
    std::string folder = (std::filesystem::temp_directory_path() / "orvane-bench-XXXXXX");
    mkdtemp(folder.data());
    const std::string path = folder + "/bench.mov";

    std::int64_t appended = 0;
    std::int64_t notReady = 0;
    double appendSeconds = 0;
    const double cpuBefore = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
    for (auto _ : state) {
        std::optional<foundation::Error> error;
        auto writer =
            FfmpegAssetWriterFactory().makeWriter(path, AssetFileType::QuickTimeMovie, error);
        AssetWriterInput* input =
            writer->addInput(writer->makeVideoInput({codec, kWidth, kHeight, bitRate, 30}, format));
        if (input == nullptr || !writer->startWriting()) {
            state.SkipWithError("the writer did not start");
            break;
        }
        writer->startSessionAtSourceTime(MediaTime::zero());
        for (int i = 0; i < state.range(0); ++i) {
            // A camera waits for nothing: the loop waits only so that every frame is encoded
            // and the time is the encoder's throughput; a refusal is counted.
            while (!input->isReadyForMoreMediaData()) {
                ++notReady;
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
            const auto sample = SampleBuffer::createForImageBuffer(
                frames[i % kDistinctFrames], format,
                {MediaTime::invalid(), MediaTime::make(i * 20, 600), MediaTime::invalid()});
            const double before = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
            input->appendSampleBuffer(sample);
            appendSeconds += cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - before;
            ++appended;
        }
        writer->finishWriting({});
        if (writer->status() != AssetWriterStatus::Completed) {
            state.SkipWithError("the movie did not complete");
            break;
        }
    }
    const double cpuUsed = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - cpuBefore;
    std::filesystem::remove_all(folder);
    state.SetItemsProcessed(appended);
    state.counters["frame_ms"] =
        benchmark::Counter(static_cast<double>(appended) * 1e-3,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["cpu_ms"] = appended > 0 ? 1e3 * cpuUsed / appended : 0;
    state.counters["append_ms"] = appended > 0 ? 1e3 * appendSeconds / appended : 0;
    state.counters["waits"] = static_cast<double>(notReady);
}

// The bit rates the recorder chooses for 1280x720 at 30 fps, normal mode.
void BM_RecordH264_720p(benchmark::State& state) {
    recordFrames(state, kVideoCodecTypeH264, 7096320);
}
void BM_RecordHEVC_720p(benchmark::State& state) {
    recordFrames(state, kVideoCodecTypeHEVC, 4044902);
}

BENCHMARK(BM_RecordH264_720p)->Arg(150)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RecordHEVC_720p)->Arg(150)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace orvane::platform
