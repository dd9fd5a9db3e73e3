#include "engine/PixelBufferTextures.h"

#include <GLES3/gl3.h>
// After gl3.h: the extension tokens (GL_BGRA_EXT).
#include <GLES2/gl2ext.h>

#include <cstring>

#include "foundation/log.h"

namespace orvane::engine {
namespace {

using platform::PixelBuffer;

constexpr std::size_t kBytesPerPixel = 4;

bool insideBuffer(const PixelBuffer& buffer, int x, int y, int width, int height) {
    return x >= 0 && y >= 0 && width > 0 && height > 0 && x <= buffer.width() - width &&
           y <= buffer.height() - height;
}

// Drains GL's errors; false, with one log line naming the step, when there was any.
bool noGLError(const char* step) {
    const GLenum first = glGetError();
    if (first == GL_NO_ERROR) {
        return true;
    }
    while (glGetError() != GL_NO_ERROR) {
    }
    foundation::log("GL error 0x%04X in %s", first, step);
    return false;
}

std::size_t bytesOf(int width, int height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * kBytesPerPixel;
}

// BGRA <-> RGBA: the same swap both ways.
void swapRedAndBlue(std::uint8_t* pixels, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint8_t* pixel = pixels + i * kBytesPerPixel;
        const std::uint8_t blue = pixel[0];
        pixel[0] = pixel[2];
        pixel[2] = blue;
    }
}

}  // namespace

PixelBufferTexture::PixelBufferTexture(GLCapabilities capabilities) : _capabilities(capabilities) {}

bool PixelBufferTexture::resize(int width, int height) {
    if (_texture && width == _width && height == _height) {
        return true;
    }
    if (width <= 0 || height <= 0) {
        foundation::log("A pixel buffer texture cannot be %dx%d", width, height);
        return false;
    }
    _texture = makeTexture();
    glBindTexture(GL_TEXTURE_2D, _texture.get());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    // With the BGRA extension the texture itself is BGRA (ES requires internal format and
    // format to agree), and samples as RGBA like any other.
    const GLenum format = _capabilities.bgraTextures ? GL_BGRA_EXT : GL_RGBA;
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width, height, 0, format,
                 GL_UNSIGNED_BYTE, nullptr);
    glBindTexture(GL_TEXTURE_2D, 0);
    if (!noGLError("making a pixel buffer texture")) {
        _texture.reset();
        _width = 0;
        _height = 0;
        return false;
    }
    _width = width;
    _height = height;
    if (!_capabilities.bgraTextures) {
        // Room for the largest upload now, so that no frame grows it.
        _scratch.resize(bytesOf(width, height));
    }
    return true;
}

bool PixelBufferTexture::upload(const PixelBuffer& buffer) {
    if (!resize(buffer.width(), buffer.height())) {
        return false;
    }
    return uploadRows(buffer, 0, 0, buffer.width(), buffer.height());
}

bool PixelBufferTexture::uploadRegion(const PixelBuffer& buffer, int x, int y, int width,
                                      int height) {
    if (!_texture || buffer.width() != _width || buffer.height() != _height) {
        foundation::log("Uploading a rectangle of a %dx%d buffer into a %dx%d texture",
                        buffer.width(), buffer.height(), _width, _height);
        return false;
    }
    if (!insideBuffer(buffer, x, y, width, height)) {
        foundation::log("The rectangle %dx%d at (%d, %d) is outside the %dx%d buffer", width,
                        height, x, y, buffer.width(), buffer.height());
        return false;
    }
    return uploadRows(buffer, x, y, width, height);
}

bool PixelBufferTexture::uploadRows(const PixelBuffer& buffer, int x, int y, int width,
                                    int height) {
    const platform::PixelBufferReadLock lock(buffer);
    const std::size_t bytesPerRow = buffer.bytesPerRow();
    const auto rowPixels = static_cast<GLint>(bytesPerRow / kBytesPerPixel);
    const std::uint8_t* first = lock.data() + static_cast<std::size_t>(y) * bytesPerRow +
                                static_cast<std::size_t>(x) * kBytesPerPixel;

    glBindTexture(GL_TEXTURE_2D, _texture.get());
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    if (!_capabilities.bgraTextures) {
        std::uint8_t* out = _scratch.data();
        const std::size_t rowBytes = static_cast<std::size_t>(width) * kBytesPerPixel;
        for (int row = 0; row < height; ++row) {
            std::memcpy(out + static_cast<std::size_t>(row) * rowBytes,
                        first + static_cast<std::size_t>(row) * bytesPerRow, rowBytes);
        }
        swapRedAndBlue(out, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, width, height, GL_RGBA, GL_UNSIGNED_BYTE, out);
    } else if (rowPixels == width) {
        glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, width, height, GL_BGRA_EXT, GL_UNSIGNED_BYTE,
                        first);
    } else if (_capabilities.unpackRowLength) {
        glPixelStorei(GL_UNPACK_ROW_LENGTH, rowPixels);
        glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, width, height, GL_BGRA_EXT, GL_UNSIGNED_BYTE,
                        first);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    } else {
        for (int row = 0; row < height; ++row) {
            glTexSubImage2D(GL_TEXTURE_2D, 0, x, y + row, width, 1, GL_BGRA_EXT, GL_UNSIGNED_BYTE,
                            first + static_cast<std::size_t>(row) * bytesPerRow);
        }
    }
    glBindTexture(GL_TEXTURE_2D, 0);
    return noGLError("uploading a pixel buffer");
}

PixelBufferReadback::PixelBufferReadback(GLCapabilities capabilities)
    : _capabilities(capabilities),
      _format(capabilities.bgraReadback ? static_cast<GLenum>(GL_BGRA_EXT)
                                        : static_cast<GLenum>(GL_RGBA)) {
    // The compositor begins a handful of rectangles a frame: one per overlay.
    _pending.reserve(16);
}

bool PixelBufferReadback::read(PixelBuffer& buffer, int x, int y, int width, int height) {
    if (!insideBuffer(buffer, x, y, width, height)) {
        foundation::log("Cannot read %dx%d at (%d, %d) into a %dx%d buffer", width, height, x, y,
                        buffer.width(), buffer.height());
        return false;
    }
    const platform::PixelBufferWriteLock lock(buffer);
    const std::size_t bytesPerRow = buffer.bytesPerRow();
    const auto rowPixels = static_cast<GLint>(bytesPerRow / kBytesPerPixel);
    std::uint8_t* first = lock.data() + static_cast<std::size_t>(y) * bytesPerRow +
                          static_cast<std::size_t>(x) * kBytesPerPixel;

    if (_capabilities.pixelBufferObjects) {
        glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    }
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    const Rectangle rectangle{x, y, width, height, 0};
    if (rowPixels == width || _capabilities.packRowLength) {
        if (rowPixels != width) {
            glPixelStorei(GL_PACK_ROW_LENGTH, rowPixels);
        }
        glReadPixels(x, y, width, height, _format, GL_UNSIGNED_BYTE, first);
        if (rowPixels != width) {
            glPixelStorei(GL_PACK_ROW_LENGTH, 0);
        }
        if (_format == GL_RGBA) {
            for (int row = 0; row < height; ++row) {
                swapRedAndBlue(first + static_cast<std::size_t>(row) * bytesPerRow,
                               static_cast<std::size_t>(width));
            }
        }
    } else {
        // A narrower rectangle without pack row length: through scratch, then row by row.
        if (_readScratch.size() < bytesOf(width, height)) {
            _readScratch.resize(bytesOf(width, height));
        }
        glReadPixels(x, y, width, height, _format, GL_UNSIGNED_BYTE, _readScratch.data());
        copyRows(_readScratch.data(), buffer, rectangle);
    }
    return noGLError("reading back into a pixel buffer");
}

bool PixelBufferReadback::begin(int x, int y, int width, int height) {
    if (x < 0 || y < 0 || width <= 0 || height <= 0) {
        foundation::log("Cannot read back %dx%d at (%d, %d)", width, height, x, y);
        return false;
    }
    const std::size_t bytes = bytesOf(width, height);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    Rectangle rectangle{x, y, width, height, 0};
    if (_capabilities.pixelBufferObjects) {
        rectangle.slot = _pending.size();
        if (rectangle.slot == _packBuffers.size()) {
            _packBuffers.push_back(makeBuffer());
            _packBufferSizes.push_back(0);
        }
        glBindBuffer(GL_PIXEL_PACK_BUFFER, _packBuffers[rectangle.slot].get());
        if (_packBufferSizes[rectangle.slot] < bytes) {
            glBufferData(GL_PIXEL_PACK_BUFFER, static_cast<GLsizeiptr>(bytes), nullptr,
                         GL_STREAM_READ);
            _packBufferSizes[rectangle.slot] = bytes;
        }
        glReadPixels(x, y, width, height, _format, GL_UNSIGNED_BYTE, nullptr);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    } else {
        rectangle.slot = 0;
        for (const Rectangle& each : _pending) {
            rectangle.slot += bytesOf(each.width, each.height);
        }
        if (_pendingScratch.size() < rectangle.slot + bytes) {
            _pendingScratch.resize(rectangle.slot + bytes);
        }
        glReadPixels(x, y, width, height, _format, GL_UNSIGNED_BYTE,
                     _pendingScratch.data() + rectangle.slot);
    }
    if (!noGLError("beginning a readback")) {
        return false;
    }
    _pending.push_back(rectangle);
    return true;
}

bool PixelBufferReadback::finish(PixelBuffer& buffer) {
    bool ok = true;
    const platform::PixelBufferWriteLock lock(buffer);
    for (const Rectangle& rectangle : _pending) {
        if (!insideBuffer(buffer, rectangle.x, rectangle.y, rectangle.width, rectangle.height)) {
            foundation::log("The readback of %dx%d at (%d, %d) is outside the %dx%d buffer",
                            rectangle.width, rectangle.height, rectangle.x, rectangle.y,
                            buffer.width(), buffer.height());
            ok = false;
            continue;
        }
        if (!_capabilities.pixelBufferObjects) {
            copyRows(_pendingScratch.data() + rectangle.slot, buffer, rectangle);
            continue;
        }
        const std::size_t bytes = bytesOf(rectangle.width, rectangle.height);
        glBindBuffer(GL_PIXEL_PACK_BUFFER, _packBuffers[rectangle.slot].get());
        const auto* mapped = static_cast<const std::uint8_t*>(glMapBufferRange(
            GL_PIXEL_PACK_BUFFER, 0, static_cast<GLsizeiptr>(bytes), GL_MAP_READ_BIT));
        if (mapped == nullptr) {
            if (noGLError("mapping a readback")) {
                foundation::log("A readback's buffer could not be mapped");
            }
            ok = false;
            continue;
        }
        copyRows(mapped, buffer, rectangle);
        if (glUnmapBuffer(GL_PIXEL_PACK_BUFFER) != GL_TRUE) {
            // The store was lost while mapped (ES allows it): the copy cannot be trusted.
            foundation::log("A readback's buffer was lost while mapped");
            ok = false;
        }
    }
    if (_capabilities.pixelBufferObjects) {
        glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    }
    _pending.clear();
    return noGLError("finishing a readback") && ok;
}

void PixelBufferReadback::copyRows(const std::uint8_t* from, PixelBuffer& buffer,
                                   const Rectangle& rectangle) const {
    const std::size_t bytesPerRow = buffer.bytesPerRow();
    const std::size_t rowBytes = static_cast<std::size_t>(rectangle.width) * kBytesPerPixel;
    std::uint8_t* first = buffer.baseAddress() +
                          static_cast<std::size_t>(rectangle.y) * bytesPerRow +
                          static_cast<std::size_t>(rectangle.x) * kBytesPerPixel;
    for (int row = 0; row < rectangle.height; ++row) {
        std::uint8_t* out = first + static_cast<std::size_t>(row) * bytesPerRow;
        std::memcpy(out, from + static_cast<std::size_t>(row) * rowBytes, rowBytes);
        if (_format == GL_RGBA) {
            swapRedAndBlue(out, static_cast<std::size_t>(rectangle.width));
        }
    }
}

}  // namespace orvane::engine
