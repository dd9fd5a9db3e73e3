// The GL view's accessors to the settings store: its first-run flags, the text position and the
// effect keys. ZephrinOpenGLView forwards to these.
#pragma once

#include <cstdint>

#include "platform/settings/UserDefaults.h"

namespace orvane::screen {

class ZephrinOpenGLViewStore {
  public:
    explicit ZephrinOpenGLViewStore(platform::UserDefaults& defaults) : _d(defaults) {}

    // "haverun": the first effect, background, particle, paper, pen colour and time position.
    bool isHaveRun() const;
    void SetHaveRun();
    // "haverun2": the "worldCup" index.
    bool isHaveRun2() const;
    void SetHaveRun2();

    // The view's own readers of two camera screen keys, by the same rules.
    bool isPowerSaveMode() const;
    float getPowerSaveBrightness() const;

    // Text position 0..5: top left, centre, right, then bottom left, centre, right.
    std::int64_t getTimePosition() const;
    void saveTimePosition(std::int64_t position);

    std::int64_t getEffectIndex() const;
    void saveEffectIndex(std::int64_t index);
    std::int64_t getBackgroundIndex() const;
    void saveBackgroundIndex(std::int64_t index);
    std::int64_t getParticleIndex() const;
    void saveParticleIndex(std::int64_t index);
    std::int64_t getPaperIndex() const;
    void savePaperIndex(std::int64_t index);
    std::int64_t getPenColorIndex() const;
    void savePenColorIndex(std::int64_t index);
    std::int64_t getWorldCupIndex() const;
    void saveWorldCupIndex(std::int64_t index);

  private:
    platform::UserDefaults& _d;
};

}  // namespace orvane::screen
