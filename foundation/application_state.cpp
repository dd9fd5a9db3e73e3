#include "foundation/application_state.h"

#include <atomic>

namespace orvane::foundation {

namespace {

// A stale value costs one frame drawn or skipped, so relaxed order is enough.
std::atomic<bool> gAppActive{true};

}  // namespace

bool isAppActive() {
    return gAppActive.load(std::memory_order_relaxed);
}

void setAppActive(bool active) {
    gAppActive.store(active, std::memory_order_relaxed);
}

}  // namespace orvane::foundation
