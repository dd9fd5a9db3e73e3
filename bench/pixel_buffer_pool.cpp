// Taking and releasing a 1920x1080 frame from the pool, beside what a frame costs without a pool:
// an aligned allocation and free of the same size. The "Touched" pair also writes one byte per
// page, as rendering into the frame would, so the cost of faulting in fresh pages shows.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "platform/media/PixelBufferPool.h"

namespace orvane::platform {
namespace {

constexpr std::int32_t kWidth = 1920;
constexpr std::int32_t kHeight = 1080;
constexpr std::size_t kPage = 4096;

std::unique_ptr<PixelBufferPool> preallocatedPool(const PixelBufferPoolAuxAttributes& aux) {
    auto [status, pool] = PixelBufferPool::create({.width = kWidth,
                                                   .height = kHeight,
                                                   .minimumBufferCount = 4,
                                                   .openGLESCompatibility = true});
    if (status != kCVReturnSuccess) {
        return nullptr;
    }
    std::vector<PixelBufferRef> list;
    for (;;) {
        auto [result, buffer] = pool->createPixelBuffer(aux);
        if (result != kCVReturnSuccess) {
            break;
        }
        list.push_back(std::move(buffer));
    }
    return std::move(pool);
}

void touchPages(std::uint8_t* bytes, std::size_t size) {
    for (std::size_t offset = 0; offset < size; offset += kPage) {
        bytes[offset] = static_cast<std::uint8_t>(offset);
    }
    benchmark::ClobberMemory();
}

template <bool Touch>
void poolTakeRelease(benchmark::State& state) {
    const PixelBufferPoolAuxAttributes aux{.allocationThreshold = 4};
    const auto pool = preallocatedPool(aux);  // the last request of the loop was refused
    if (!pool) {
        state.SkipWithError("pool creation failed");
        return;
    }
    const std::uint64_t allocationsBefore = pool->allocationCount();
    const std::uint64_t refusalsBefore = pool->refusedRequestCount();
    for (auto _ : state) {
        auto [status, buffer] = pool->createPixelBuffer(aux);
        if (status != kCVReturnSuccess) {
            state.SkipWithError("pool refused a buffer");
            break;
        }
        if constexpr (Touch) {
            PixelBufferWriteLock pixels(*buffer);
            touchPages(pixels.data(), buffer->dataSize());
        }
        benchmark::DoNotOptimize(buffer.get());
    }
    state.counters["allocations"] =
        static_cast<double>(pool->allocationCount() - allocationsBefore);
    state.counters["refused"] = static_cast<double>(pool->refusedRequestCount() - refusalsBefore);
}

template <bool Touch>
void alignedAllocFree(benchmark::State& state) {
    const std::size_t size = PixelBuffer::bytesPerRowForWidth(kWidth) * kHeight;
    const std::size_t rounded = (size + PixelBuffer::kBaseAlignment - 1) /
                                PixelBuffer::kBaseAlignment * PixelBuffer::kBaseAlignment;
    for (auto _ : state) {
        auto* bytes =
            static_cast<std::uint8_t*>(std::aligned_alloc(PixelBuffer::kBaseAlignment, rounded));
        if (bytes == nullptr) {
            state.SkipWithError("allocation failed");
            break;
        }
        if constexpr (Touch) {
            touchPages(bytes, size);
        }
        benchmark::DoNotOptimize(bytes);
        std::free(bytes);
    }
}

BENCHMARK(poolTakeRelease<false>)->Name("PixelBufferPool/TakeRelease/1920x1080");
BENCHMARK(alignedAllocFree<false>)->Name("PixelBufferPool/AlignedAllocFree/1920x1080");
BENCHMARK(poolTakeRelease<true>)->Name("PixelBufferPool/TakeReleaseTouched/1920x1080");
BENCHMARK(alignedAllocFree<true>)->Name("PixelBufferPool/AlignedAllocFreeTouched/1920x1080");

}  // namespace
}  // namespace orvane::platform
