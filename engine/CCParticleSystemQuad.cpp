#include "engine/CCParticleSystemQuad.h"

#include "engine/geometry.h"
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace orvane::engine {
namespace {

// Four vertices per quad are addressed by unsigned shorts.
constexpr int kMaxParticles = 65536 / 4 - 1;
constexpr int kFloatsPerVertex = 8;
constexpr int kFloatsPerParticle = 4 * kFloatsPerVertex;
constexpr GLint kParticleTextureUnit = 5;
constexpr auto kOffsetRange = static_cast<float>(kTextureSide);

std::atomic<float> cameraWidth{kOffsetRange};
std::atomic<float> cameraHeight{kOffsetRange};

const char* const kVertexShader = R"(
attribute vec4 position;
attribute vec2 texturecoordinate;
attribute vec4 color;
varying mediump vec2 coordinate;
varying lowp vec4 tint;
void main() {
    gl_Position = position;
    coordinate = texturecoordinate;
    tint = color;
}
)";

const char* const kFragmentShader = R"(
precision mediump float;
uniform sampler2D particletexture;
varying mediump vec2 coordinate;
varying lowp vec4 tint;
void main() {
    gl_FragColor = texture2D(particletexture, coordinate) * tint;
}
)";

SharedProgram& particleProgram() {
    static SharedProgram program("particle", kVertexShader, kFragmentShader);
    return program;
}

float radians(float degrees) {
    return degrees * std::numbers::pi_v<float> / 180.0f;
}

float clamp01(float v) {
    return std::clamp(v, 0.0f, 1.0f);
}

}  // namespace

CCParticleSystemQuad::CCParticleSystemQuad(const ParticleConfig& config) : _config(config) {
    _config.totalParticles = std::clamp(_config.totalParticles, 0, kMaxParticles);
    const auto capacity = static_cast<std::size_t>(_config.totalParticles);
    _particles.resize(capacity);
    _vertices.resize(capacity * kFloatsPerParticle);
    _indices.resize(capacity * 6);
    for (std::size_t i = 0; i < capacity; ++i) {
        // Corners 0 1 2 3 as a strip: triangles 0 1 2 and 3 2 1.
        const auto first = static_cast<GLushort>(i * 4);
        const GLushort quad[6] = {first,
                                  static_cast<GLushort>(first + 1),
                                  static_cast<GLushort>(first + 2),
                                  static_cast<GLushort>(first + 3),
                                  static_cast<GLushort>(first + 2),
                                  static_cast<GLushort>(first + 1)};
        std::copy(std::begin(quad), std::end(quad), _indices.begin() + i * 6);
    }
}

CCParticleSystemQuad::~CCParticleSystemQuad() = default;

void CCParticleSystemQuad::setCameraSize(float width, float height) {
    cameraWidth.store(width, std::memory_order_relaxed);
    cameraHeight.store(height, std::memory_order_relaxed);
}

Size CCParticleSystemQuad::cameraSize() {
    return {cameraWidth.load(std::memory_order_relaxed),
            cameraHeight.load(std::memory_order_relaxed)};
}

float CCParticleSystemQuad::randomMinus1To1() {
    // Spelled out rather than through a distribution, whose output the standard leaves to the
    // library: the same seed gives the same particles everywhere.
    return static_cast<float>(static_cast<double>(_random()) / 4294967295.0 * 2.0 - 1.0);
}

void CCParticleSystemQuad::addParticle() {
    Particle& p = _particles[static_cast<std::size_t>(_count++)];
    const ParticleConfig& c = _config;
    p.timeToLive = std::max(0.0f, c.life + c.lifeVar * randomMinus1To1());
    p.origin = c.sourcePosition;
    p.pos = {c.sourcePosition.x + c.posVar.x * randomMinus1To1(),
             c.sourcePosition.y + c.posVar.y * randomMinus1To1()};

    // Changes per second take the particle from its start to its end values over its life.
    const float perSecond = p.timeToLive > 0 ? 1.0f / p.timeToLive : 0.0f;
    auto spread = [this](const Color4F& value, const Color4F& var) {
        return Color4F{clamp01(value.r + var.r * randomMinus1To1()),
                       clamp01(value.g + var.g * randomMinus1To1()),
                       clamp01(value.b + var.b * randomMinus1To1()),
                       clamp01(value.a + var.a * randomMinus1To1())};
    };
    const Color4F start = spread(c.startColor, c.startColorVar);
    const Color4F end = spread(c.endColor, c.endColorVar);
    p.color = start;
    p.deltaColor = {(end.r - start.r) * perSecond, (end.g - start.g) * perSecond,
                    (end.b - start.b) * perSecond, (end.a - start.a) * perSecond};

    p.size = std::max(0.0f, c.startSize + c.startSizeVar * randomMinus1To1());
    const float endSize =
        c.endSize < 0 ? p.size : std::max(0.0f, c.endSize + c.endSizeVar * randomMinus1To1());
    p.deltaSize = (endSize - p.size) * perSecond;

    p.rotation = c.startSpin + c.startSpinVar * randomMinus1To1();
    const float endSpin = c.endSpin + c.endSpinVar * randomMinus1To1();
    p.deltaRotation = (endSpin - p.rotation) * perSecond;

    const float angle = radians(c.angle + c.angleVar * randomMinus1To1());
    const float speed = c.speed + c.speedVar * randomMinus1To1();
    p.velocity = {std::cos(angle) * speed, std::sin(angle) * speed};
    p.radialAccel = c.radialAccel + c.radialAccelVar * randomMinus1To1();
    p.tangentialAccel = c.tangentialAccel + c.tangentialAccelVar * randomMinus1To1();
}

void CCParticleSystemQuad::update(float dt) {
    if (!(dt > 0)) {
        return;
    }
    if (_config.emissionRate > 0 && _count < _config.totalParticles) {
        _emitCounter += static_cast<double>(dt) * _config.emissionRate;
        const double owed = std::floor(_emitCounter);
        const int room = _config.totalParticles - _count;
        const int births = owed < room ? static_cast<int>(owed) : room;
        for (int i = 0; i < births; ++i) {
            addParticle();
        }
        _emitCounter -= owed;
    }

    int i = 0;
    while (i < _count) {
        Particle& p = _particles[static_cast<std::size_t>(i)];
        p.timeToLive -= dt;
        if (p.timeToLive <= 0) {
            // The last living particle takes the slot; the order of particles does not matter.
            p = _particles[static_cast<std::size_t>(--_count)];
            continue;
        }
        Point radial{p.pos.x - p.origin.x, p.pos.y - p.origin.y};
        const float length = std::hypot(radial.x, radial.y);
        if (length > 0) {
            radial = {radial.x / length, radial.y / length};
        }
        const Point tangential{-radial.y, radial.x};
        const Point accel{
            _config.gravity.x + radial.x * p.radialAccel + tangential.x * p.tangentialAccel,
            _config.gravity.y + radial.y * p.radialAccel + tangential.y * p.tangentialAccel};
        p.velocity = {p.velocity.x + accel.x * dt, p.velocity.y + accel.y * dt};
        p.pos = {p.pos.x + p.velocity.x * dt, p.pos.y + p.velocity.y * dt};
        p.color = {p.color.r + p.deltaColor.r * dt, p.color.g + p.deltaColor.g * dt,
                   p.color.b + p.deltaColor.b * dt, p.color.a + p.deltaColor.a * dt};
        p.size = std::max(0.0f, p.size + p.deltaSize * dt);
        p.rotation += p.deltaRotation * dt;
        ++i;
    }
}

void CCParticleSystemQuad::draw() {
    const Size camera = cameraSize();
    if (_count == 0 || !(camera.width > 0) || !(camera.height > 0)) {
        return;
    }
    SharedProgram& shared = particleProgram();
    const GLuint program = shared.get();
    if (program == 0) {
        return;
    }
    if (_programGeneration != shared.generation()) {
        _programGeneration = shared.generation();
        _samplerLocation = glGetUniformLocation(program, "particletexture");
        _colorLocation = glGetAttribLocation(program, "color");
    }

    // Pixels to clip units: the target is two clip units across.
    const float xScale = 2.0f / camera.width;
    const float yScale = 2.0f / camera.height;
    GLfloat* v = _vertices.data();
    for (int i = 0; i < _count; ++i) {
        const Particle& p = _particles[static_cast<std::size_t>(i)];
        const float half = p.size * 0.5f;
        const float cosine = std::cos(radians(p.rotation));
        const float sine = std::sin(radians(p.rotation));
        const float cx = p.pos.x / kOffsetRange;
        const float cy = p.pos.y / kOffsetRange;
        const float a = clamp01(p.color.a);
        const float rgba[4] = {clamp01(p.color.r) * a, clamp01(p.color.g) * a,
                               clamp01(p.color.b) * a, a};
        // Corner order (-,-) (+,-) (-,+) (+,+) with texture (0,0) (1,0) (0,1) (1,1): the image's
        // first row at the particle's smaller offset y, as sprites have it.
        for (int corner = 0; corner < 4; ++corner) {
            const float u = static_cast<float>(corner & 1);
            const float t = static_cast<float>(corner >> 1);
            const float x = (u * 2 - 1) * half;
            const float y = (t * 2 - 1) * half;
            v[0] = cx + (x * cosine - y * sine) * xScale;
            v[1] = cy + (x * sine + y * cosine) * yScale;
            v[2] = u;
            v[3] = t;
            std::copy(std::begin(rgba), std::end(rgba), v + 4);
            v += kFloatsPerVertex;
        }
    }

    if (!_vertexBuffer) {
        _vertexBuffer = makeBuffer();
        glBindBuffer(GL_ARRAY_BUFFER, _vertexBuffer.get());
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(_vertices.size() * sizeof(GLfloat)),
                     nullptr, GL_DYNAMIC_DRAW);
        _indexBuffer = makeBuffer();
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, _indexBuffer.get());
        glBufferData(GL_ELEMENT_ARRAY_BUFFER,
                     static_cast<GLsizeiptr>(_indices.size() * sizeof(GLushort)), _indices.data(),
                     GL_STATIC_DRAW);
    }
    glUseProgram(program);
    glUniform1i(_samplerLocation, kParticleTextureUnit);
    glBindBuffer(GL_ARRAY_BUFFER, _vertexBuffer.get());
    glBufferSubData(GL_ARRAY_BUFFER, 0,
                    static_cast<GLsizeiptr>(_count) * kFloatsPerParticle * sizeof(GLfloat),
                    _vertices.data());
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, _indexBuffer.get());
    constexpr GLsizei stride = kFloatsPerVertex * sizeof(GLfloat);
    const auto at = [](int floats) {
        return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(floats) * sizeof(GLfloat));
    };
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, stride, at(0));
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, stride, at(2));
    const bool hasColor = _colorLocation >= 0;
    if (hasColor) {
        glEnableVertexAttribArray(static_cast<GLuint>(_colorLocation));
        glVertexAttribPointer(static_cast<GLuint>(_colorLocation), 4, GL_FLOAT, GL_FALSE, stride,
                              at(4));
    }
    glBlendFunc(GL_ONE, _config.additive ? GL_ONE : GL_ONE_MINUS_SRC_ALPHA);
    glDrawElements(GL_TRIANGLES, _count * 6, GL_UNSIGNED_SHORT, nullptr);

    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    if (hasColor) {
        glDisableVertexAttribArray(static_cast<GLuint>(_colorLocation));
    }
    glDisableVertexAttribArray(1);
    glDisableVertexAttribArray(0);
    // Others draw from client memory: leave no buffer bound.
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

}  // namespace orvane::engine
