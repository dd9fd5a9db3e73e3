#include "engine/CCSprite.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "engine/geometry.h"
#include "engine/gl_objects.h"

namespace orvane::engine {
namespace {

constexpr const char* kVertexShader = R"(
attribute vec2 position;
attribute vec2 texturecoordinate;
varying vec2 coordinate;
void main() {
    gl_Position = vec4(position, 0.0, 1.0);
    coordinate = texturecoordinate;
}
)";

// The texel is premultiplied, so one multiply by (tint * opacity, opacity) tints and fades it.
constexpr const char* kFragmentShader = R"(
precision mediump float;
varying vec2 coordinate;
uniform sampler2D sprite;
uniform vec4 tint;
void main() {
    gl_FragColor = texture2D(sprite, coordinate) * tint;
}
)";

// Sprites sample from a unit that no other role uses, so that drawing a label during the frame
// pass leaves the compositor's bindings alone.
constexpr GLint kSpriteTextureUnit = 7;

// Offsets span -1280..1280 across the target.
constexpr float kOffsetToClip = 1.0f / kTextureSide;

// Texture coordinates in the order of the quad's corners: (left, top), (right, top),
// (left, bottom), (right, bottom), top being the smallest offset y. Flipped, the bitmap's row 0
// lands on the top edge and the sprite reads upright in the target's row order.
constexpr float kFlippedCoordinates[8] = {0, 0, 1, 0, 0, 1, 1, 1};
constexpr float kUnflippedCoordinates[8] = {0, 1, 1, 1, 0, 0, 1, 0};

SharedProgram spriteProgram("sprite", kVertexShader, kFragmentShader);

struct Uniforms {
    unsigned generation = 0;
    GLint tint = -1;
};
Uniforms uniforms;

}  // namespace

CCSprite::CCSprite(std::shared_ptr<CCTexture2D> texture) : _texture(std::move(texture)) {
    resetByOffsetPosition();
}

CCSprite::~CCSprite() = default;

void CCSprite::setTexture(std::shared_ptr<CCTexture2D> texture) {
    _texture = std::move(texture);
    resetByOffsetPosition();
}

Size CCSprite::contentSize() const {
    if (!_texture) {
        return {};
    }
    return {2.0f * static_cast<float>(_texture->pixelsWide()),
            2.0f * static_cast<float>(_texture->pixelsHigh())};
}

void CCSprite::resetByOffsetPosition() {
    const Size size = contentSize();
    const float left = _offset.x * kOffsetToClip;
    const float right = (_offset.x + size.width) * kOffsetToClip;
    const float top = _offset.y * kOffsetToClip;
    const float bottom = (_offset.y + size.height) * kOffsetToClip;
    const float corners[8] = {left, top, right, top, left, bottom, right, bottom};
    std::copy(std::begin(corners), std::end(corners), std::begin(_quad));
}

void CCSprite::visit() {
    if (!_texture || _texture->name() == 0) {
        return;
    }
    const GLuint program = spriteProgram.get();
    if (program == 0) {
        return;
    }
    glUseProgram(program);
    if (uniforms.generation != spriteProgram.generation()) {
        uniforms.generation = spriteProgram.generation();
        uniforms.tint = glGetUniformLocation(program, "tint");
        glUniform1i(glGetUniformLocation(program, "sprite"), kSpriteTextureUnit);
    }
    const float opacity = static_cast<float>(_opacity) / 255.0f;
    glUniform4f(uniforms.tint, static_cast<float>(_tint.r) / 255.0f * opacity,
                static_cast<float>(_tint.g) / 255.0f * opacity,
                static_cast<float>(_tint.b) / 255.0f * opacity, opacity);

    glActiveTexture(GL_TEXTURE0 + kSpriteTextureUnit);
    glBindTexture(GL_TEXTURE_2D, _texture->name());

    // Client arrays: the quad is eight floats, and no buffer is worth keeping for it.
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glEnableVertexAttribArray(0);
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, _quad);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0,
                          _flipY ? kFlippedCoordinates : kUnflippedCoordinates);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glDisableVertexAttribArray(1);
    glDisableVertexAttribArray(0);

    glBindTexture(GL_TEXTURE_2D, 0);
    glActiveTexture(GL_TEXTURE0);
    ++_visits;
}

}  // namespace orvane::engine
