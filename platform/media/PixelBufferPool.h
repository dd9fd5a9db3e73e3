// A pool of same-sized 32BGRA pixel buffers that recycles them, and sheds load by refusing a
// buffer past an allocation threshold.
//
// A buffer whose last reference goes returns to the pool's free list and is handed out again,
// so once a pool has made as many buffers as are ever in use at once, taking and releasing
// allocates nothing, not even a reference count. Buffers may outlive their pool (it is replaced
// when the frame format changes while frames are in flight): such a buffer frees itself when its
// last reference goes. Every operation is safe from any thread; buffers are taken on one queue
// and released on others.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/media/PixelBuffer.h"

namespace orvane::platform {

struct PixelBufferPoolAttributes {
    FourCharCode pixelFormatType = kCVPixelFormatType_32BGRA;  // the only format there is
    std::int32_t width = 0;
    std::int32_t height = 0;
    // Buffers the pool is expected to keep. The pool never frees a buffer it made while it lives,
    // so once this many have been used it holds at least this many.
    std::int32_t minimumBufferCount = 0;
    // Recorded for the GL code that reads them: every buffer here can be uploaded to GL and
    // shared with it, so both flags describe what is already true.
    bool openGLESCompatibility = false;
    bool ioSurfaceProperties = false;
};

// Attributes of one request.
struct PixelBufferPoolAuxAttributes {
    // The most buffers of this pool that may be in use once the request is granted; none means
    // no limit. A threshold of 0 refuses every request.
    std::optional<std::int32_t> allocationThreshold;
};

class PixelBufferPool;

struct PixelBufferPoolResult {
    CVReturn status = kCVReturnSuccess;
    std::unique_ptr<PixelBufferPool> pool;  // null unless status is kCVReturnSuccess
};

class PixelBufferPool {
  public:
    // A pool for these attributes: kCVReturnInvalidPixelFormat for a format other than 32BGRA,
    // kCVReturnInvalidSize for a size PixelBuffer refuses, kCVReturnInvalidArgument for a
    // negative minimum count.
    static PixelBufferPoolResult create(const PixelBufferPoolAttributes& attributes);

    PixelBufferPool(const PixelBufferPool&) = delete;
    PixelBufferPool& operator=(const PixelBufferPool&) = delete;
    // Frees the buffers on the free list; buffers in use free themselves later.
    ~PixelBufferPool();

    // A buffer from the free list, or a new one. Answers kCVReturnWouldExceedAllocationThreshold
    // when the buffers in use would pass the request's threshold, kCVReturnAllocationFailed when
    // memory runs out.
    PixelBufferResult createPixelBuffer(const PixelBufferPoolAuxAttributes& auxAttributes = {});

    const PixelBufferPoolAttributes& attributes() const;

    // Counters for benchmarks and tests. Each is exact at the moment it is read.
    std::uint64_t allocationCount() const;      // buffers the pool has made
    std::uint64_t refusedRequestCount() const;  // requests refused by a threshold
    std::int32_t buffersInUse() const;          // handed out and not yet released
    std::int32_t freeBufferCount() const;       // waiting on the free list

  private:
    struct Core;
    struct Slot;
    template <typename T>
    struct SlotAllocator;
    struct SlotDeleter;

    explicit PixelBufferPool(std::shared_ptr<Core> core);
    static void recycle(Slot* slot) noexcept;
    static PixelBuffer::Key key() { return {}; }

    // Shared with nothing but the weak references of the pool's own buffers, which need to find
    // the free list while the pool lives and to know when it is gone.
    std::shared_ptr<Core> _core;
};

}  // namespace orvane::platform
