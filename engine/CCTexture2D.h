// A GL texture with its pixel size, and the one horizontal alignment that every label of the
// process follows.
//
// Pixels are premultiplied RGBA, row 0 first: the first row in memory is the top of the image,
// and every drawing of the engine keeps that order, so a render texture read back row by row
// reads upright.
#pragma once

#include <cstdint>
#include <memory>

#include <GLES2/gl2.h>

namespace orvane::engine {

class CCTexture2D {
  public:
    // Uploads width x height premultiplied RGBA pixels, rows tightly packed. Needs a current
    // context; linear filtering, clamped to the edge. A texture of zero size holds no GL name.
    static std::shared_ptr<CCTexture2D> fromPixels(int width, int height, const std::uint8_t* rgba);
    CCTexture2D(const CCTexture2D&) = delete;
    CCTexture2D& operator=(const CCTexture2D&) = delete;
    // Deletes the GL name; the context that made it must be current.
    ~CCTexture2D();

    // Replaces the pixels, keeping the GL name when the size stays the same.
    void update(int width, int height, const std::uint8_t* rgba);

    GLuint name() const { return _name; }
    int pixelsWide() const { return _width; }
    int pixelsHigh() const { return _height; }

    // 0 left, 1 centre, 2 right: how the inner lines of a multi-line label line up. Set from
    // the main queue, read by the frame pass; a stale value lasts one frame.
    static void sethAlignment(int alignment);
    static int hAligment();

  private:
    CCTexture2D() = default;

    GLuint _name = 0;
    int _width = 0;
    int _height = 0;
};

}  // namespace orvane::engine
