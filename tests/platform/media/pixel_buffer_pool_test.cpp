#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "foundation/log.h"
#include "platform/media/PixelBufferPool.h"

namespace orvane::platform {
namespace {

std::unique_ptr<PixelBufferPool> makePool(std::int32_t width = 64, std::int32_t height = 48) {
    auto [status, pool] = PixelBufferPool::create({.width = width, .height = height});
    EXPECT_EQ(status, kCVReturnSuccess);
    return std::move(pool);
}

struct RestoreLogSink {
    ~RestoreLogSink() { foundation::setLogSink({}); }
};

PixelBufferPoolAuxAttributes threshold(std::int32_t count) {
    return {.allocationThreshold = count};
}

TEST(PixelBufferPool, CreationChecksAndRecordsTheAttributes) {
    const struct {
        PixelBufferPoolAttributes attributes;
        CVReturn expected;
    } rows[] = {
        {{.pixelFormatType = fourCharCode("420v"), .width = 8, .height = 8},
         kCVReturnInvalidPixelFormat},
        {{.width = 0, .height = 8}, kCVReturnInvalidSize},
        {{.width = 8, .height = 8, .minimumBufferCount = -1}, kCVReturnInvalidArgument},
    };
    for (const auto& row : rows) {
        auto [status, pool] = PixelBufferPool::create(row.attributes);
        EXPECT_EQ(status, row.expected);
        EXPECT_EQ(pool, nullptr);
    }

    auto [status, pool] = PixelBufferPool::create(
        {.width = 1280, .height = 720, .minimumBufferCount = 4, .openGLESCompatibility = true});
    ASSERT_EQ(status, kCVReturnSuccess);
    EXPECT_TRUE(pool->attributes().openGLESCompatibility);
    EXPECT_EQ(pool->allocationCount(), 0u);  // nothing is made before it is asked for
    EXPECT_EQ(pool->createPixelBuffer().buffer->height(), 720);
}

TEST(PixelBufferPool, ThresholdRefusesThePastLimitRequest) {
    // 4 as in video mode, 3 as in photo mode, and the edges.
    for (const std::int32_t limit : {4, 3, 1, 0}) {
        SCOPED_TRACE(limit);
        const auto pool = makePool();
        std::vector<PixelBufferRef> held;
        for (std::int32_t i = 0; i < limit; ++i) {
            held.push_back(pool->createPixelBuffer(threshold(limit)).buffer);
            ASSERT_NE(held.back(), nullptr);
        }
        auto [refused, none] = pool->createPixelBuffer(threshold(limit));
        EXPECT_EQ(refused, -6689);
        EXPECT_EQ(none, nullptr);
        EXPECT_EQ(pool->refusedRequestCount(), 1u);
        EXPECT_EQ(pool->buffersInUse(), limit);

        if (limit > 0) {
            held.pop_back();
            EXPECT_EQ(pool->createPixelBuffer(threshold(limit)).status, kCVReturnSuccess);
            EXPECT_EQ(pool->allocationCount(), static_cast<std::uint64_t>(limit));
        }
    }

    const auto pool = makePool();
    std::vector<PixelBufferRef> held(40);
    for (auto& buffer : held) {
        buffer = pool->createPixelBuffer().buffer;  // no threshold: never refused
        ASSERT_NE(buffer, nullptr);
    }
}

TEST(PixelBufferPool, AfterPreallocationFramesAllocateNothing) {
    const auto pool = makePool(1920, 1080);
    const auto aux = threshold(4);
    std::vector<PixelBufferRef> preallocated(4);
    for (auto& buffer : preallocated) {
        buffer = pool->createPixelBuffer(aux).buffer;
        ASSERT_NE(buffer, nullptr);
    }
    preallocated.clear();
    EXPECT_EQ(pool->freeBufferCount(), 4);

    // Frames in flight the way the render step holds them: up to three at once.
    std::deque<PixelBufferRef> inFlight;
    for (int frame = 0; frame < 1000; ++frame) {
        auto [status, buffer] = pool->createPixelBuffer(aux);
        ASSERT_EQ(status, kCVReturnSuccess) << frame;
        inFlight.push_back(std::move(buffer));
        if (inFlight.size() == 3) {
            inFlight.pop_front();
        }
    }
    inFlight.clear();
    EXPECT_EQ(pool->allocationCount(), 4u);
    EXPECT_EQ(pool->buffersInUse(), 0);
    EXPECT_EQ(pool->freeBufferCount(), 4);
}

TEST(PixelBufferPool, BufferOutlivesItsPool) {
    auto pool = makePool(32, 32);
    auto [status, survivor] = pool->createPixelBuffer();
    ASSERT_EQ(status, kCVReturnSuccess);
    pool->createPixelBuffer();  // released at once: waits on the free list
    EXPECT_EQ(pool->freeBufferCount(), 1);
    pool.reset();

    // Still usable; freed when released (the leak checker of the sanitizer build would see a
    // buffer that is not).
    PixelBufferWriteLock lock(*survivor);
    std::fill(lock.data(), lock.data() + survivor->dataSize(), 0xAB);
    EXPECT_EQ(lock.data()[survivor->dataSize() - 1], 0xAB);
}

TEST(PixelBufferPool, BufferReleasedWhileLockedComesBackUnlocked) {
    std::vector<std::string> lines;
    foundation::setLogSink([&](const std::string& line) { lines.push_back(line); });
    const RestoreLogSink restore;
    const auto pool = makePool(8, 8);
    {
        auto [status, buffer] = pool->createPixelBuffer();
        buffer->lockBaseAddress(PixelBufferLockFlags::readOnly);
    }
    auto [status, again] = pool->createPixelBuffer();
    EXPECT_EQ(pool->allocationCount(), 1u);
    EXPECT_FALSE(again->isLocked());
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "pixel buffer 8x8 released with 1 read-only and 0 read-write locks");
}

TEST(PixelBufferPool, ConcurrentRequestsNeverPassTheThreshold) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    const auto pool = makePool(16, 16);
    std::atomic<std::uint64_t> refused{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                const PixelBufferRef buffer = pool->createPixelBuffer(threshold(3)).buffer;
                if (buffer == nullptr) {
                    refused.fetch_add(1);
                } else {
                    buffer->baseAddress()[0] = static_cast<std::uint8_t>(i);
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    // Had four ever been in use at once, the pool would have made a fourth.
    EXPECT_LE(pool->allocationCount(), 3u);
    EXPECT_EQ(pool->refusedRequestCount(), refused.load());
    EXPECT_EQ(pool->buffersInUse(), 0);
    EXPECT_EQ(pool->freeBufferCount(), static_cast<std::int32_t>(pool->allocationCount()));
}

TEST(PixelBufferPool, TakenOnOneThreadReleasedOnOthersWhileThePoolGoes) {
    constexpr int kFrames = 3000, kReleasers = 3;
    auto pool = makePool(16, 16);
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<PixelBufferRef> queue;  // guarded by mutex, as are the two below
    int released = 0;
    bool done = false;

    std::vector<std::thread> releasers;
    for (int r = 0; r < kReleasers; ++r) {
        releasers.emplace_back([&] {
            for (std::unique_lock lock(mutex);;) {
                changed.wait(lock, [&] { return done || !queue.empty(); });
                if (queue.empty()) {
                    return;
                }
                PixelBufferRef buffer = std::move(queue.front());
                queue.pop_front();
                lock.unlock();
                buffer.reset();  // the last reference: back to the pool from this thread
                lock.lock();
                ++released;
                changed.notify_all();
            }
        });
    }

    int produced = 0;
    for (std::unique_lock lock(mutex); produced < kFrames; ++produced) {
        // A buffer counts as out until its release returns, so with fewer than four out the
        // pool must not refuse.
        if (!changed.wait_for(lock, std::chrono::seconds(30),
                              [&] { return produced - released < 4; })) {
            ADD_FAILURE() << "no buffer came back";
            break;
        }
        auto [status, buffer] = pool->createPixelBuffer(threshold(4));
        if (status != kCVReturnSuccess) {
            ADD_FAILURE() << "refused with " << produced - released << " out: " << status;
            break;
        }
        PixelBufferWriteLock(*buffer).data()[0] = static_cast<std::uint8_t>(produced);
        queue.push_back(std::move(buffer));
        changed.notify_one();
    }
    // The pool goes while the releasers may still hold its buffers.
    const std::uint64_t allocations = pool->allocationCount();
    pool.reset();
    {
        std::lock_guard lock(mutex);
        done = true;
    }
    changed.notify_all();
    for (auto& thread : releasers) {
        thread.join();
    }
    EXPECT_EQ(produced, kFrames);
    EXPECT_EQ(released, kFrames);
    EXPECT_LE(allocations, 4u);
}

}  // namespace
}  // namespace orvane::platform
