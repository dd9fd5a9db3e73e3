// The flower preset: a fountain of warm petals of light swirling outward from the source, spread
// over the whole target until a touch gathers it at the finger.
#pragma once

#include <memory>

#include "engine/CCParticleSystemQuad.h"

namespace orvane::engine {

class CCParticleFlower final : public CCParticleSystemQuad {
  public:
    static std::unique_ptr<CCParticleFlower> node();
    // The preset's numbers.
    static ParticleConfig preset();

  private:
    CCParticleFlower();
};

}  // namespace orvane::engine
