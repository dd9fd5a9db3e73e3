#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/log.h"
#include "platform/PixelBuffer.h"

namespace orvane::platform {
namespace {

TEST(PixelBuffer, RowsAreAlignedToSixteenBytes) {
    EXPECT_EQ(kCVPixelFormatType_32BGRA, 0x42475241u);  // 'B' in the high byte
    const struct {
        std::int32_t width;
        std::size_t bytesPerRow;
    } rows[] = {
        {1, 16}, {4, 16}, {5, 32}, {1080, 4320}, {1081, 4336}, {1920, 7680},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.width);
        const PixelBufferRef buffer = PixelBuffer::create(row.width, 3).buffer;
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(buffer->bytesPerRow(), row.bytesPerRow);
        EXPECT_EQ(buffer->dataSize(), row.bytesPerRow * 3);
        EXPECT_EQ(
            reinterpret_cast<std::uintptr_t>(buffer->baseAddress()) % PixelBuffer::kBaseAlignment,
            0u);
    }
}

TEST(PixelBuffer, StartsZeroedAndEveryByteIsItsOwn) {
    const PixelBufferRef buffer = PixelBuffer::create(7, 5).buffer;
    ASSERT_NE(buffer, nullptr);
    PixelBufferWriteLock lock(*buffer);
    for (std::size_t i = 0; i < buffer->dataSize(); ++i) {
        ASSERT_EQ(lock.data()[i], 0) << i;
        lock.data()[i] = static_cast<std::uint8_t>(i);
    }
}

TEST(PixelBuffer, RefusesSizesOutOfRange) {
    const struct {
        std::int32_t width, height;
    } rows[] = {
        {0, 1},
        {1, 0},
        {-1, 5},
        {PixelBuffer::kMaxDimension + 1, 1},
    };
    for (const auto& row : rows) {
        auto [status, buffer] = PixelBuffer::create(row.width, row.height);
        EXPECT_EQ(status, kCVReturnInvalidSize) << row.width << "x" << row.height;
        EXPECT_EQ(buffer, nullptr);
    }
    EXPECT_EQ(PixelBuffer::create(PixelBuffer::kMaxDimension, 1).status, kCVReturnSuccess);
}

TEST(PixelBuffer, LocksCountPerKindAndMisuseIsReported) {
    std::vector<std::string> lines;
    foundation::setLogSink([&](const std::string& line) { lines.push_back(line); });
    struct Restore {
        ~Restore() { foundation::setLogSink({}); }
    } restore;

    const PixelBufferRef buffer = PixelBuffer::create(16, 16).buffer;
    {
        PixelBufferReadLock first(*buffer);
        {
            PixelBufferReadLock second(*buffer);
            EXPECT_EQ(second.data(), buffer->baseAddress());
        }
        EXPECT_TRUE(buffer->isLocked());
        // Held read-only, unlocked as read-write: refused, and the read lock stays.
        EXPECT_EQ(buffer->unlockBaseAddress(PixelBufferLockFlags::readWrite),
                  kCVReturnInvalidArgument);
        EXPECT_TRUE(buffer->isLocked());
    }
    EXPECT_FALSE(buffer->isLocked());
    EXPECT_EQ(buffer->unlockBaseAddress(PixelBufferLockFlags::readOnly), kCVReturnInvalidArgument);
    EXPECT_EQ(buffer->lockBaseAddress(static_cast<PixelBufferLockFlags>(7)),
              kCVReturnInvalidArgument);
    EXPECT_FALSE(buffer->isLocked());

    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "unlockBaseAddress: pixel buffer 16x16 is not locked read-write");
    EXPECT_EQ(lines[1], "unlockBaseAddress: pixel buffer 16x16 is not locked read-only");
}

}  // namespace
}  // namespace orvane::platform
