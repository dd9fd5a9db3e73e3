#include "platform/media/PixelBufferPool.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <new>
#include <utility>

namespace orvane::platform {

// What the pool and its buffers share: the free list and the counters.
struct PixelBufferPool::Core {
    explicit Core(const PixelBufferPoolAttributes& attributes) : attributes(attributes) {}
    ~Core();

    const PixelBufferPoolAttributes attributes;

    mutable std::mutex mutex;
    Slot* freeList = nullptr;    // guarded by mutex; linked through Slot::next
    std::int32_t freeCount = 0;  // guarded by mutex
    std::int32_t inUse = 0;      // guarded by mutex

    std::atomic<std::uint64_t> allocations{0};
    std::atomic<std::uint64_t> refusals{0};
};

// One buffer and the room for the reference count that shares it. Handing a buffer out builds
// the shared_ptr's control block in `controlBlock` instead of on the heap; the control block's
// last act, giving its memory back, is what returns the slot to the free list, so the storage
// is never reused while the old count is still being torn down.
struct PixelBufferPool::Slot {
    Slot(PixelBuffer::Key key, std::int32_t width, std::int32_t height, PixelBuffer::Memory memory,
         std::weak_ptr<Core> core)
        : buffer(key, width, height, std::move(memory)), core(std::move(core)) {}

    static constexpr std::size_t kControlBlockBytes = 64;

    PixelBuffer buffer;
    const std::weak_ptr<Core> core;
    Slot* next = nullptr;  // guarded by the core's mutex while on the free list
    alignas(std::max_align_t) std::byte controlBlock[kControlBlockBytes];
};

template <typename T>
struct PixelBufferPool::SlotAllocator {
    using value_type = T;

    explicit SlotAllocator(Slot* slot) noexcept : slot(slot) {}
    template <typename U>
    SlotAllocator(const SlotAllocator<U>& other) noexcept : slot(other.slot) {}

    T* allocate(std::size_t count) {
        static_assert(sizeof(T) <= Slot::kControlBlockBytes, "control block outgrew its slot");
        static_assert(alignof(T) <= alignof(std::max_align_t), "control block over-aligned");
        if (count != 1) {
            throw std::bad_alloc();
        }
        return reinterpret_cast<T*>(slot->controlBlock);
    }
    void deallocate(T*, std::size_t) noexcept { recycle(slot); }

    template <typename U>
    bool operator==(const SlotAllocator<U>& other) const noexcept {
        return slot == other.slot;
    }

    Slot* slot;
};

// The buffer lives in its slot: nothing to delete when the count reaches zero.
struct PixelBufferPool::SlotDeleter {
    void operator()(PixelBuffer*) const noexcept {}
};

PixelBufferPool::Core::~Core() {
    while (freeList != nullptr) {
        delete std::exchange(freeList, freeList->next);
    }
}

PixelBufferPoolResult PixelBufferPool::create(const PixelBufferPoolAttributes& attributes) {
    if (attributes.pixelFormatType != kCVPixelFormatType_32BGRA) {
        return {kCVReturnInvalidPixelFormat, nullptr};
    }
    if (const CVReturn status = PixelBuffer::validateSize(attributes.width, attributes.height);
        status != kCVReturnSuccess) {
        return {status, nullptr};
    }
    if (attributes.minimumBufferCount < 0) {
        return {kCVReturnInvalidArgument, nullptr};
    }
    return {kCVReturnSuccess, std::unique_ptr<PixelBufferPool>(
                                  new PixelBufferPool(std::make_shared<Core>(attributes)))};
}

PixelBufferPool::PixelBufferPool(std::shared_ptr<Core> core) : _core(std::move(core)) {}

PixelBufferPool::~PixelBufferPool() = default;

PixelBufferResult PixelBufferPool::createPixelBuffer(
    const PixelBufferPoolAuxAttributes& auxAttributes) {
    Core& core = *_core;
    Slot* slot = nullptr;
    {
        std::lock_guard lock(core.mutex);
        if (auxAttributes.allocationThreshold && core.inUse >= *auxAttributes.allocationThreshold) {
            core.refusals.fetch_add(1, std::memory_order_relaxed);
            return {kCVReturnWouldExceedAllocationThreshold, nullptr};
        }
        if (core.freeList != nullptr) {
            slot = std::exchange(core.freeList, core.freeList->next);
            slot->next = nullptr;
            --core.freeCount;
        }
        // Counted before a new buffer exists, so a concurrent request sees the place as taken.
        ++core.inUse;
    }
    if (slot == nullptr) {
        const std::int32_t width = core.attributes.width;
        const std::int32_t height = core.attributes.height;
        PixelBuffer::Memory memory = PixelBuffer::allocateMemory(width, height);
        if (memory) {
            slot = new (std::nothrow) Slot(key(), width, height, std::move(memory), _core);
        }
        if (slot == nullptr) {
            std::lock_guard lock(core.mutex);
            --core.inUse;
            return {kCVReturnAllocationFailed, nullptr};
        }
        core.allocations.fetch_add(1, std::memory_order_relaxed);
    }
    return {kCVReturnSuccess,
            PixelBufferRef(&slot->buffer, SlotDeleter{}, SlotAllocator<PixelBuffer>(slot))};
}

void PixelBufferPool::recycle(Slot* slot) noexcept {
    slot->buffer.clearLocksOnRelease(key());
    const std::shared_ptr<Core> core = slot->core.lock();
    if (!core) {
        delete slot;
        return;
    }
    // The lock goes before `core`: if this was the last reference, the core is destroyed
    // unlocked, and frees this slot with the rest of the free list.
    std::lock_guard lock(core->mutex);
    slot->next = core->freeList;
    core->freeList = slot;
    ++core->freeCount;
    --core->inUse;
}

const PixelBufferPoolAttributes& PixelBufferPool::attributes() const {
    return _core->attributes;
}

std::uint64_t PixelBufferPool::allocationCount() const {
    return _core->allocations.load(std::memory_order_relaxed);
}

std::uint64_t PixelBufferPool::refusedRequestCount() const {
    return _core->refusals.load(std::memory_order_relaxed);
}

std::int32_t PixelBufferPool::buffersInUse() const {
    std::lock_guard lock(_core->mutex);
    return _core->inUse;
}

std::int32_t PixelBufferPool::freeBufferCount() const {
    std::lock_guard lock(_core->mutex);
    return _core->freeCount;
}

}  // namespace orvane::platform
