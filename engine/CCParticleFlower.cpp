#include "engine/CCParticleFlower.h"

#include "engine/geometry.h"
namespace orvane::engine {

ParticleConfig CCParticleFlower::preset() {
    ParticleConfig c;
    // About four seconds of life at 62.5 a second keeps some 250 alive: the capacity is met in
    // the steady state and hardly exceeded, so the emitter neither starves nor stutters.
    c.totalParticles = 250;
    c.emissionRate = 62.5f;
    c.life = 4.0f;
    c.lifeVar = 1.0f;
    // Launched every way at a slow drift (a sixteenth of the target's width a second), pushed
    // outward from the source and swung round it, so the petals spiral out.
    c.angle = 90.0f;
    c.angleVar = 360.0f;
    c.speed = 160.0f;
    c.speedVar = 40.0f;
    c.radialAccel = 60.0f;
    c.radialAccelVar = 20.0f;
    c.tangentialAccel = 90.0f;
    c.tangentialAccelVar = 30.0f;
    // Petals of about 40 pixels that shrink by half and turn most of a circle as they go.
    c.startSize = 40.0f;
    c.startSizeVar = 12.0f;
    c.endSize = 20.0f;
    c.endSizeVar = 6.0f;
    c.startSpin = 0.0f;
    c.startSpinVar = 180.0f;
    c.endSpin = 270.0f;
    c.endSpinVar = 180.0f;
    // Warm: amber to orange at birth, fading out through red.
    c.startColor = {1.0f, 0.62f, 0.35f, 0.9f};
    c.startColorVar = {0.0f, 0.2f, 0.15f, 0.1f};
    c.endColor = {0.95f, 0.25f, 0.2f, 0.0f};
    c.endColorVar = {0.05f, 0.1f, 0.1f, 0.0f};
    c.additive = true;
    // Spread over the whole target: 1280 offset units each way from the centre.
    c.sourcePosition = {0.0f, 0.0f};
    c.posVar = {static_cast<float>(kTextureSide), static_cast<float>(kTextureSide)};
    return c;
}

CCParticleFlower::CCParticleFlower() : CCParticleSystemQuad(preset()) {}

std::unique_ptr<CCParticleFlower> CCParticleFlower::node() {
    return std::unique_ptr<CCParticleFlower>(new CCParticleFlower());
}

}  // namespace orvane::engine
