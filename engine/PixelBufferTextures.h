// The two roads between 32BGRA pixel buffers and GL: a buffer (or a rectangle of it) into a
// texture, and a rectangle of the bound framebuffer back into a buffer.
//
// Both keep their scratch storage and GL objects from frame to frame, so that once warmed up a
// frame allocates nothing. Each is used from the thread that holds its context.
#pragma once

#include <GLES2/gl2.h>

#include <cstdint>
#include <vector>

#include "engine/gl_objects.h"
#include "platform/media/PixelBuffer.h"

namespace orvane::engine {

// One texture of a pixel buffer's size, whose texels are the buffer's pixels. It is made anew
// only when the size changes. Sampled, it gives the buffer's colours in RGBA order whatever the
// road: BGRA uploads where the context takes them, else a swizzle on the CPU.
class PixelBufferTexture {
  public:
    explicit PixelBufferTexture(GLCapabilities capabilities);

    // Makes the texture for this size unless it already has it; its content is then undefined.
    // Linear filtering, clamped to the edge. False with a log line on a GL error.
    bool resize(int width, int height);

    // The whole buffer, resizing the texture to the buffer's size.
    bool upload(const platform::PixelBuffer& buffer);
    // A rectangle of the buffer into the same place of the texture, which must already have the
    // buffer's size. False with a log line for a rectangle outside the buffer or a GL error.
    bool uploadRegion(const platform::PixelBuffer& buffer, int x, int y, int width, int height);

    GLuint name() const { return _texture.get(); }
    int width() const { return _width; }
    int height() const { return _height; }

  private:
    bool uploadRows(const platform::PixelBuffer& buffer, int x, int y, int width, int height);

    GLCapabilities _capabilities;
    GLTexture _texture;
    int _width = 0;
    int _height = 0;
    std::vector<std::uint8_t> _scratch;  // RGBA rows, for contexts without BGRA uploads
};

// Reads rectangles of the bound framebuffer into the same rectangles of a pixel buffer.
class PixelBufferReadback {
  public:
    explicit PixelBufferReadback(GLCapabilities capabilities);

    // Reads now. False with a log line for a rectangle outside the buffer or a GL error.
    bool read(platform::PixelBuffer& buffer, int x, int y, int width, int height);

    // Starts reading a rectangle; with ES 3 the copy runs on the GPU's time into a pixel buffer
    // object, else it is read at once into scratch storage. Several rectangles may be begun for
    // one frame; finish copies them all into the buffer and forgets them.
    bool begin(int x, int y, int width, int height);
    bool finish(platform::PixelBuffer& buffer);
    // Rectangles begun and not yet finished.
    std::size_t pending() const { return _pending.size(); }

  private:
    struct Rectangle {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        std::size_t slot = 0;  // pixel buffer object, or byte offset into the scratch storage
    };

    void copyRows(const std::uint8_t* from, platform::PixelBuffer& buffer,
                  const Rectangle& rectangle) const;

    GLCapabilities _capabilities;
    GLenum _format;
    std::vector<Rectangle> _pending;
    std::vector<GLBuffer> _packBuffers;
    std::vector<std::size_t> _packBufferSizes;
    std::vector<std::uint8_t> _pendingScratch;  // rectangles begun without pixel buffer objects
    std::vector<std::uint8_t> _readScratch;     // narrow synchronous reads without pack row length
};

}  // namespace orvane::engine
