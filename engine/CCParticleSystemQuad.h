// A particle emitter drawn as one batch of textured quads into whatever framebuffer and viewport
// are bound.
//
// Positions, speeds and accelerations are in offset units, as sprites place themselves: the
// target spans -1280..1280 on each axis, offset y = -1280 being row 0. Particle sizes are in
// target pixels, so a particle keeps its size in pixels whatever the target's shape; the
// class-level camera size says how many pixels the target has. Angles are in degrees, from +x
// towards +y; times in seconds. Each "Var" is the half-width of a uniform spread around its
// value.
//
// The draw samples texture unit 5 and never binds a texture itself: whoever draws binds the
// image the particles should show there. The texture given with setTexture is the emitter's own
// and is only kept. Colours and the sampled image are premultiplied.
//
// Everything here runs on the thread that holds the GL context (the frame pass). Capacity,
// particle storage and vertex data are allocated when the emitter is made, never per frame.
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include <GLES2/gl2.h>

#include "engine/CCTexture2D.h"
#include "engine/geometry.h"
#include "engine/gl_objects.h"

namespace orvane::engine {

struct Color4F {
    float r = 0;
    float g = 0;
    float b = 0;
    float a = 0;
    friend bool operator==(const Color4F&, const Color4F&) = default;
};

// The numbers that shape an emitter's particles.
struct ParticleConfig {
    int totalParticles = 0;  // capacity, 0..16383
    float emissionRate = 0;  // particles per second
    float life = 1;
    float lifeVar = 0;
    float angle = 0;
    float angleVar = 0;
    float speed = 0;
    float speedVar = 0;
    Point gravity;
    // Along the line from the particle's source at birth to the particle (outward when positive),
    // and at right angles to it (which makes particles swirl).
    float radialAccel = 0;
    float radialAccelVar = 0;
    float tangentialAccel = 0;
    float tangentialAccelVar = 0;
    float startSize = 0;
    float startSizeVar = 0;
    float endSize = -1;  // negative: the start size throughout
    float endSizeVar = 0;
    float startSpin = 0;
    float startSpinVar = 0;
    float endSpin = 0;
    float endSpinVar = 0;
    Color4F startColor;
    Color4F startColorVar;
    Color4F endColor;
    Color4F endColorVar;
    bool additive = false;  // adds light (GL_ONE, GL_ONE) instead of covering
    Point sourcePosition;
    Point posVar;
};

struct Particle {
    Point pos;
    Point origin;  // the source position at birth, centre of the radial and tangential pulls
    Point velocity;
    float radialAccel = 0;
    float tangentialAccel = 0;
    Color4F color;
    Color4F deltaColor;
    float size = 0;
    float deltaSize = 0;
    float rotation = 0;
    float deltaRotation = 0;
    float timeToLive = 0;
    friend bool operator==(const Particle&, const Particle&) = default;
};

class CCParticleSystemQuad {
  public:
    // A fixed seed: the same emitter makes the same particles on every run, which the tests rely
    // on; call seed() for anything else.
    static constexpr std::uint32_t kDefaultSeed = 0x0F10E5u;

    explicit CCParticleSystemQuad(const ParticleConfig& config);
    virtual ~CCParticleSystemQuad();
    CCParticleSystemQuad(const CCParticleSystemQuad&) = delete;
    CCParticleSystemQuad& operator=(const CCParticleSystemQuad&) = delete;

    // The pixel size of the target that draw() renders into. Set by the frame pass; process-wide.
    static void setCameraSize(float width, float height);
    static Size cameraSize();

    void setTexture(std::shared_ptr<CCTexture2D> texture) { _texture = std::move(texture); }
    const std::shared_ptr<CCTexture2D>& texture() const { return _texture; }

    // Where new particles are born: the source, spread by up to posVar on each axis. Particles
    // already alive keep their course.
    void setSourcePosition(Point position) { _config.sourcePosition = position; }
    Point sourcePosition() const { return _config.sourcePosition; }
    void setPosVar(Point variance) { _config.posVar = variance; }
    Point posVar() const { return _config.posVar; }
    void setEmissionRate(float perSecond) { _config.emissionRate = perSecond; }
    float emissionRate() const { return _config.emissionRate; }
    const ParticleConfig& config() const { return _config; }

    void seed(std::uint32_t value) { _random.seed(value); }

    // Emits what the rate owes for `dt` (while there is room: what is owed beyond the capacity is
    // dropped, not saved up), then ages and moves every particle, removing those whose life is
    // over. A step of zero or less changes nothing.
    void update(float dt);

    // Draws the living particles in one call, sampling texture unit 5, with the blending of the
    // emitter (GL_ONE, GL_ONE when additive, else GL_ONE, GL_ONE_MINUS_SRC_ALPHA); afterwards
    // the blend function is GL_ONE, GL_ONE_MINUS_SRC_ALPHA again. Blending itself is switched on
    // by the caller. Needs a current context, and no vertex array object bound. The GL buffers
    // are made on the first draw and belong to that context, which must be current when the
    // emitter goes.
    void draw();

    int particleCount() const { return _count; }
    int totalParticles() const { return _config.totalParticles; }
    std::span<const Particle> particles() const { return {_particles.data(), std::size_t(_count)}; }

  private:
    float randomMinus1To1();
    void addParticle();

    ParticleConfig _config;
    std::shared_ptr<CCTexture2D> _texture;
    std::mt19937 _random{kDefaultSeed};
    std::vector<Particle> _particles;  // capacity slots; the first _count are alive
    int _count = 0;
    double _emitCounter = 0;         // particles owed, fractional
    std::vector<GLfloat> _vertices;  // 4 vertices of x, y, s, t, r, g, b, a per slot
    std::vector<GLushort> _indices;  // two triangles per slot
    GLBuffer _vertexBuffer;
    GLBuffer _indexBuffer;
    unsigned _programGeneration = 0;
    GLint _samplerLocation = -1;
    GLint _colorLocation = -1;
};

}  // namespace orvane::engine
