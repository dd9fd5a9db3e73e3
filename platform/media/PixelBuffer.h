// A frame in memory: a 32BGRA pixel buffer, shared by reference count and locked around CPU
// access.
//
// Rows start every bytesPerRow() bytes, a multiple of 16 so that SIMD copies see aligned rows;
// every width divisible by 4 (all the camera and pool sizes) has no row padding, so the pixels
// are one block that GL ES 2 uploads and reads back in a single call. The base address is
// aligned to 64 bytes, a cache line. New buffers start zeroed: transparent black.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>

namespace orvane::platform {

// A four-character code packed first character most significant, as the 'BGRA' literal packs.
using FourCharCode = std::uint32_t;
constexpr FourCharCode fourCharCode(const char (&code)[5]) {
    return static_cast<FourCharCode>(static_cast<unsigned char>(code[0])) << 24 |
           static_cast<FourCharCode>(static_cast<unsigned char>(code[1])) << 16 |
           static_cast<FourCharCode>(static_cast<unsigned char>(code[2])) << 8 |
           static_cast<FourCharCode>(static_cast<unsigned char>(code[3]));
}
// The four characters, for logs.
std::string fourCharCodeString(FourCharCode code);

inline constexpr FourCharCode kCVPixelFormatType_32BGRA = fourCharCode("BGRA");

// Result codes of pixel buffer and pool operations.
using CVReturn = std::int32_t;
inline constexpr CVReturn kCVReturnSuccess = 0;
inline constexpr CVReturn kCVReturnInvalidArgument = -6661;
inline constexpr CVReturn kCVReturnAllocationFailed = -6662;
inline constexpr CVReturn kCVReturnInvalidPixelFormat = -6680;
inline constexpr CVReturn kCVReturnInvalidSize = -6681;
// A pool refuses a buffer because the buffers in use would pass its allocation threshold.
inline constexpr CVReturn kCVReturnWouldExceedAllocationThreshold = -6689;

enum class PixelBufferLockFlags : std::uint32_t { readWrite = 0, readOnly = 1 };

class PixelBuffer;
// The one way a pixel buffer is held. A pooled buffer goes back to its pool when the last
// reference goes.
using PixelBufferRef = std::shared_ptr<PixelBuffer>;

struct PixelBufferResult {
    CVReturn status = kCVReturnSuccess;
    PixelBufferRef buffer;  // null unless status is kCVReturnSuccess
};

class PixelBuffer {
  public:
    static constexpr std::size_t kRowAlignment = 16;
    static constexpr std::size_t kBaseAlignment = 64;
    static constexpr std::int32_t kMaxDimension = 16384;

    // Width and height from 1 to kMaxDimension pass; anything else is kCVReturnInvalidSize.
    static CVReturn validateSize(std::int32_t width, std::int32_t height);
    static std::size_t bytesPerRowForWidth(std::int32_t width);

    // A buffer of its own, outside any pool: for stills and tests. Fails with
    // kCVReturnInvalidSize or kCVReturnAllocationFailed.
    static PixelBufferResult create(std::int32_t width, std::int32_t height);

    // Only PixelBuffer and PixelBufferPool make buffers; the key keeps the constructor theirs
    // while letting std::make_shared and the pool's slots call it.
    class Key {
        Key() = default;
        friend class PixelBuffer;
        friend class PixelBufferPool;
    };
    struct FreeMemory {
        void operator()(std::uint8_t* bytes) const { std::free(bytes); }
    };
    using Memory = std::unique_ptr<std::uint8_t[], FreeMemory>;
    // Zeroed memory for a buffer of this size (already validated), or null when it runs out.
    static Memory allocateMemory(std::int32_t width, std::int32_t height);

    PixelBuffer(Key, std::int32_t width, std::int32_t height, Memory memory);
    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;
    ~PixelBuffer();

    FourCharCode pixelFormatType() const { return kCVPixelFormatType_32BGRA; }
    std::int32_t width() const { return _width; }
    std::int32_t height() const { return _height; }
    std::size_t bytesPerRow() const { return _bytesPerRow; }
    std::size_t dataSize() const { return _bytesPerRow * static_cast<std::size_t>(_height); }

    // The first pixel. The memory is always mapped; take a lock around CPU access anyway, so that
    // the buffer's users are visible and a buffer released while in use is reported.
    std::uint8_t* baseAddress() { return _memory.get(); }
    const std::uint8_t* baseAddress() const { return _memory.get(); }

    // Locks count per kind; read-only locks may overlap across threads. Unlocking a kind that is
    // not locked is a mistake: it logs and answers kCVReturnInvalidArgument. Safe from any
    // thread.
    CVReturn lockBaseAddress(PixelBufferLockFlags flags) const;
    CVReturn unlockBaseAddress(PixelBufferLockFlags flags) const;
    bool isLocked() const;

    // Forgets every lock, logging that the buffer was let go while locked. Used when the last
    // reference goes.
    void clearLocksOnRelease(Key) const;

  private:
    std::atomic<std::int32_t>& counterFor(PixelBufferLockFlags flags) const;

    std::int32_t _width;
    std::int32_t _height;
    std::size_t _bytesPerRow;
    Memory _memory;
    mutable std::atomic<std::int32_t> _readOnlyLocks{0};
    mutable std::atomic<std::int32_t> _readWriteLocks{0};
};

// Holds a lock on a buffer for a scope. A read lock hands out const pixels, a write lock mutable
// ones. A buffer that is null gives a null data() and locks nothing.
template <PixelBufferLockFlags Flags>
class ScopedPixelBufferLock {
  public:
    using Buffer =
        std::conditional_t<Flags == PixelBufferLockFlags::readOnly, const PixelBuffer, PixelBuffer>;
    using Byte = std::conditional_t<Flags == PixelBufferLockFlags::readOnly, const std::uint8_t,
                                    std::uint8_t>;

    explicit ScopedPixelBufferLock(Buffer* buffer) : _buffer(buffer) {
        if (_buffer != nullptr) {
            _buffer->lockBaseAddress(Flags);
        }
    }
    explicit ScopedPixelBufferLock(Buffer& buffer) : ScopedPixelBufferLock(&buffer) {}
    ScopedPixelBufferLock(const ScopedPixelBufferLock&) = delete;
    ScopedPixelBufferLock& operator=(const ScopedPixelBufferLock&) = delete;
    ~ScopedPixelBufferLock() {
        if (_buffer != nullptr) {
            _buffer->unlockBaseAddress(Flags);
        }
    }

    Byte* data() const { return _buffer != nullptr ? _buffer->baseAddress() : nullptr; }

  private:
    Buffer* _buffer;
};

using PixelBufferReadLock = ScopedPixelBufferLock<PixelBufferLockFlags::readOnly>;
using PixelBufferWriteLock = ScopedPixelBufferLock<PixelBufferLockFlags::readWrite>;

}  // namespace orvane::platform
