#include "engine/CCRenderTexture.h"

#include <algorithm>

#include "foundation/log.h"

namespace orvane::engine {
namespace {

GLint boundFramebuffer() {
    GLint framebuffer = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
    return framebuffer;
}

}  // namespace

CCRenderTexture::CCRenderTexture(int width, int height)
    : _width(std::max(width, 0)), _height(std::max(height, 0)) {
    const GLint previous = boundFramebuffer();
    glGenTextures(1, &_texture);
    glBindTexture(GL_TEXTURE_2D, _texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, _width, _height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glBindTexture(GL_TEXTURE_2D, 0);

    glGenFramebuffers(1, &_framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, _framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, _texture, 0);
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (status != GL_FRAMEBUFFER_COMPLETE) {
        foundation::log("Render texture of %dx%d is incomplete: framebuffer status 0x%04X", _width,
                        _height, status);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(previous));
    clear(0.0f, 0.0f, 0.0f, 0.0f);
}

CCRenderTexture::~CCRenderTexture() {
    if (_framebuffer != 0) {
        glDeleteFramebuffers(1, &_framebuffer);
    }
    if (_texture != 0) {
        glDeleteTextures(1, &_texture);
    }
}

void CCRenderTexture::clear(float r, float g, float b, float a) {
    const GLint previous = boundFramebuffer();
    GLfloat previousColor[4] = {};
    glGetFloatv(GL_COLOR_CLEAR_VALUE, previousColor);
    GLboolean previousMask[4] = {};
    glGetBooleanv(GL_COLOR_WRITEMASK, previousMask);
    // A scissor left on by the caller would clear only part of the texture.
    const GLboolean scissor = glIsEnabled(GL_SCISSOR_TEST);

    glBindFramebuffer(GL_FRAMEBUFFER, _framebuffer);
    glDisable(GL_SCISSOR_TEST);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glClearColor(r, g, b, a);
    glClear(GL_COLOR_BUFFER_BIT);

    glClearColor(previousColor[0], previousColor[1], previousColor[2], previousColor[3]);
    glColorMask(previousMask[0], previousMask[1], previousMask[2], previousMask[3]);
    if (scissor == GL_TRUE) {
        glEnable(GL_SCISSOR_TEST);
    }
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(previous));
}

void CCRenderTexture::begin() {
    _previousFramebuffer = boundFramebuffer();
    glGetIntegerv(GL_VIEWPORT, _previousViewport);
    glBindFramebuffer(GL_FRAMEBUFFER, _framebuffer);
    glViewport(0, 0, _width, _height);
}

void CCRenderTexture::end() {
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(_previousFramebuffer));
    glViewport(_previousViewport[0], _previousViewport[1], _previousViewport[2],
               _previousViewport[3]);
}

std::vector<std::uint8_t> CCRenderTexture::readPixels() const {
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(_width) *
                                     static_cast<std::size_t>(_height) * 4);
    const GLint previous = boundFramebuffer();
    GLint packAlignment = 4;
    glGetIntegerv(GL_PACK_ALIGNMENT, &packAlignment);
    glBindFramebuffer(GL_FRAMEBUFFER, _framebuffer);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, _width, _height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    glPixelStorei(GL_PACK_ALIGNMENT, packAlignment);
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(previous));
    return pixels;
}

}  // namespace orvane::engine
