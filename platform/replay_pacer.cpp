#include "platform/replay_pacer.h"

namespace orvane::platform {

ReplayPacer::ReplayPacer(foundation::Clock& clock) : _state(std::make_shared<State>(clock)) {}

ReplayPacer::~ReplayPacer() {
    stop();
}

void ReplayPacer::start(Offset offset, Step step) {
    std::uint64_t generation;
    {
        std::lock_guard lock(_state->mutex);
        generation = ++_state->generation;
        _state->active = true;
        _state->offset = std::move(offset);
        _state->step = std::move(step);
        _state->startTime = _state->clock.now();
    }
    schedule(_state, generation, 0);
}

void ReplayPacer::stop() {
    std::lock_guard lock(_state->mutex);
    _state->active = false;
    ++_state->generation;
}

void ReplayPacer::schedule(const std::shared_ptr<State>& state, std::uint64_t generation,
                           std::size_t index) {
    foundation::MonotonicTime deadline;
    {
        std::lock_guard lock(state->mutex);
        if (!state->active || state->generation != generation) {
            return;
        }
        const auto offset = state->offset(index);
        if (!offset) {
            state->active = false;
            return;
        }
        deadline =
            foundation::addSaturating(state->startTime, foundation::durationFromSeconds(*offset));
    }
    // The clock may run the action at once, on this thread: the lock is not held here.
    state->clock.callAt(deadline, [state, generation, index] {
        {
            std::lock_guard lock(state->mutex);
            if (!state->active || state->generation != generation) {
                return;
            }
            state->step(index);
        }
        schedule(state, generation, index + 1);
    });
}

}  // namespace orvane::platform
