#include "platform/media/PixelBuffer.h"

#include <cstring>

#include "foundation/log.h"

namespace orvane::platform {

namespace {

std::size_t roundUp(std::size_t size, std::size_t alignment) {
    return (size + alignment - 1) / alignment * alignment;
}

const char* lockName(PixelBufferLockFlags flags) {
    return flags == PixelBufferLockFlags::readOnly ? "read-only" : "read-write";
}

bool isKnown(PixelBufferLockFlags flags) {
    return flags == PixelBufferLockFlags::readOnly || flags == PixelBufferLockFlags::readWrite;
}

}  // namespace

std::string fourCharCodeString(FourCharCode code) {
    std::string text(4, ' ');
    for (int i = 0; i < 4; ++i) {
        text[static_cast<std::size_t>(i)] = static_cast<char>((code >> (24 - 8 * i)) & 0xFF);
    }
    return text;
}

CVReturn PixelBuffer::validateSize(std::int32_t width, std::int32_t height) {
    const bool inRange =
        width >= 1 && width <= kMaxDimension && height >= 1 && height <= kMaxDimension;
    return inRange ? kCVReturnSuccess : kCVReturnInvalidSize;
}

std::size_t PixelBuffer::bytesPerRowForWidth(std::int32_t width) {
    return roundUp(static_cast<std::size_t>(width) * 4, kRowAlignment);
}

PixelBuffer::Memory PixelBuffer::allocateMemory(std::int32_t width, std::int32_t height) {
    const std::size_t size = bytesPerRowForWidth(width) * static_cast<std::size_t>(height);
    // aligned_alloc wants a size that is a multiple of the alignment.
    const std::size_t allocated = roundUp(size, kBaseAlignment);
    auto* bytes = static_cast<std::uint8_t*>(std::aligned_alloc(kBaseAlignment, allocated));
    if (bytes == nullptr) {
        return nullptr;
    }
    // Touching every page now also keeps page faults out of the first frames.
    std::memset(bytes, 0, allocated);
    return Memory(bytes);
}

PixelBufferResult PixelBuffer::create(std::int32_t width, std::int32_t height) {
    if (const CVReturn status = validateSize(width, height); status != kCVReturnSuccess) {
        return {status, nullptr};
    }
    Memory memory = allocateMemory(width, height);
    if (!memory) {
        return {kCVReturnAllocationFailed, nullptr};
    }
    return {kCVReturnSuccess,
            std::make_shared<PixelBuffer>(Key{}, width, height, std::move(memory))};
}

PixelBuffer::PixelBuffer(Key, std::int32_t width, std::int32_t height, Memory memory)
    : _width(width),
      _height(height),
      _bytesPerRow(bytesPerRowForWidth(width)),
      _memory(std::move(memory)) {}

PixelBuffer::~PixelBuffer() {
    if (isLocked()) {
        foundation::log("pixel buffer %dx%d destroyed while locked", _width, _height);
    }
}

std::atomic<std::int32_t>& PixelBuffer::counterFor(PixelBufferLockFlags flags) const {
    return flags == PixelBufferLockFlags::readOnly ? _readOnlyLocks : _readWriteLocks;
}

CVReturn PixelBuffer::lockBaseAddress(PixelBufferLockFlags flags) const {
    if (!isKnown(flags)) {
        foundation::log("lockBaseAddress: unknown lock flags %u", static_cast<unsigned>(flags));
        return kCVReturnInvalidArgument;
    }
    counterFor(flags).fetch_add(1, std::memory_order_acq_rel);
    return kCVReturnSuccess;
}

CVReturn PixelBuffer::unlockBaseAddress(PixelBufferLockFlags flags) const {
    if (!isKnown(flags)) {
        foundation::log("unlockBaseAddress: unknown lock flags %u", static_cast<unsigned>(flags));
        return kCVReturnInvalidArgument;
    }
    std::atomic<std::int32_t>& counter = counterFor(flags);
    std::int32_t locks = counter.load(std::memory_order_acquire);
    do {
        if (locks == 0) {
            foundation::log("unlockBaseAddress: pixel buffer %dx%d is not locked %s", _width,
                            _height, lockName(flags));
            return kCVReturnInvalidArgument;
        }
    } while (!counter.compare_exchange_weak(locks, locks - 1, std::memory_order_acq_rel));
    return kCVReturnSuccess;
}

bool PixelBuffer::isLocked() const {
    return _readOnlyLocks.load(std::memory_order_acquire) != 0 ||
           _readWriteLocks.load(std::memory_order_acquire) != 0;
}

void PixelBuffer::clearLocksOnRelease(Key) const {
    const std::int32_t readOnly = _readOnlyLocks.exchange(0, std::memory_order_acq_rel);
    const std::int32_t readWrite = _readWriteLocks.exchange(0, std::memory_order_acq_rel);
    if (readOnly != 0 || readWrite != 0) {
        foundation::log("pixel buffer %dx%d released with %d read-only and %d read-write locks",
                        _width, _height, readOnly, readWrite);
    }
}

}  // namespace orvane::platform
