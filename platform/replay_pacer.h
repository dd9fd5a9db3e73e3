// Timed replay on a clock: steps 0, 1, 2 ... run at their offsets from the start, each step
// scheduled when the one before has run, so a long or endless replay holds one pending action.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "foundation/Clock.h"

namespace orvane::platform {

class ReplayPacer {
  public:
    // Seconds from the start at which step `index` runs, or none when the replay ends there.
    using Offset = std::function<std::optional<double>(std::size_t index)>;
    using Step = std::function<void(std::size_t index)>;

    explicit ReplayPacer(foundation::Clock& clock);
    ~ReplayPacer();
    ReplayPacer(const ReplayPacer&) = delete;
    ReplayPacer& operator=(const ReplayPacer&) = delete;

    // Starts a replay from now, ending any earlier one. Steps run on the clock's thread (its
    // scheduler thread, or the thread that advances a manual clock); a step due at once runs
    // inside start(). Steps never run at the same time as each other.
    void start(Offset offset, Step step);
    // Ends the replay: once this returns, no step runs. Not from inside a step.
    void stop();

  private:
    struct State {
        explicit State(foundation::Clock& clock) : clock(clock) {}
        foundation::Clock& clock;
        std::mutex mutex;  // guards the four below, and is held while a step runs
        std::uint64_t generation = 0;
        bool active = false;
        Offset offset;
        Step step;
        foundation::MonotonicTime startTime;
    };
    static void schedule(const std::shared_ptr<State>& state, std::uint64_t generation,
                         std::size_t index);

    std::shared_ptr<State> _state;
};

}  // namespace orvane::platform
