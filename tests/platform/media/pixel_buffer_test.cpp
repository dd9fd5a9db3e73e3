#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/log.h"
#include "platform/media/PixelBuffer.h"

namespace orvane::platform {
namespace {

TEST(PixelBuffer, RefusesSizesOutOfRangeAndAlignsRowsToSixteenBytes) {
    EXPECT_EQ(kCVPixelFormatType_32BGRA, 0x42475241u);  // 'B' in the high byte
    constexpr std::int32_t kMax = PixelBuffer::kMaxDimension;
    const struct {
        std::int32_t width, height;
        std::size_t bytesPerRow;  // 0 when the size is refused
    } rows[] = {
        {1, 3, 16},      {4, 3, 16},      {5, 3, 32},       {1080, 3, 4320},
        {1081, 3, 4336}, {1920, 3, 7680}, {kMax, 1, 65536}, {0, 1, 0},
        {1, 0, 0},       {-1, 5, 0},      {kMax + 1, 1, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        auto [status, buffer] = PixelBuffer::create(row.width, row.height);
        if (row.bytesPerRow == 0) {
            EXPECT_EQ(status, kCVReturnInvalidSize);
            EXPECT_EQ(buffer, nullptr);
            continue;
        }
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(buffer->bytesPerRow(), row.bytesPerRow);
        EXPECT_EQ(buffer->dataSize(), row.bytesPerRow * row.height);
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
