#include "engine/CCTexture2D.h"

#include <atomic>

namespace orvane::engine {
namespace {

std::atomic<int> labelAlignment{0};

}  // namespace

std::shared_ptr<CCTexture2D> CCTexture2D::fromPixels(int width, int height,
                                                     const std::uint8_t* rgba) {
    std::shared_ptr<CCTexture2D> texture(new CCTexture2D());
    texture->update(width, height, rgba);
    return texture;
}

CCTexture2D::~CCTexture2D() {
    if (_name != 0) {
        glDeleteTextures(1, &_name);
    }
}

void CCTexture2D::update(int width, int height, const std::uint8_t* rgba) {
    if (width <= 0 || height <= 0) {
        if (_name != 0) {
            glDeleteTextures(1, &_name);
            _name = 0;
        }
        _width = 0;
        _height = 0;
        return;
    }
    const bool fresh = _name == 0;
    if (fresh) {
        glGenTextures(1, &_name);
    }
    glBindTexture(GL_TEXTURE_2D, _name);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    if (fresh || width != _width || height != _height) {
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    } else {
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    }
    _width = width;
    _height = height;
}

void CCTexture2D::sethAlignment(int alignment) {
    labelAlignment.store(alignment, std::memory_order_relaxed);
}

int CCTexture2D::hAligment() {
    return labelAlignment.load(std::memory_order_relaxed);
}

}  // namespace orvane::engine
