// An RGBA8888 texture with its own framebuffer, into which sprites draw between begin and end.
// Its content is premultiplied, and its first row is the top of what was drawn (offset -1280).
#pragma once

#include <cstdint>
#include <vector>

#include <GLES2/gl2.h>

namespace orvane::engine {

class CCRenderTexture {
  public:
    // Needs a current context. Starts cleared to transparent black.
    CCRenderTexture(int width, int height);
    ~CCRenderTexture();
    CCRenderTexture(const CCRenderTexture&) = delete;
    CCRenderTexture& operator=(const CCRenderTexture&) = delete;

    // Fills the whole texture with exactly these components (premultiply them first), keeping
    // whatever framebuffer and viewport were bound.
    void clear(float r, float g, float b, float a);
    // Binds the texture's framebuffer with a viewport over all of it, remembering the previous
    // binding and viewport for `end`.
    void begin();
    void end();

    GLuint textureName() const { return _texture; }
    int width() const { return _width; }
    int height() const { return _height; }
    // The pixels as RGBA rows, row 0 first: for tests and the frame command.
    std::vector<std::uint8_t> readPixels() const;

  private:
    int _width;
    int _height;
    GLuint _texture = 0;
    GLuint _framebuffer = 0;
    GLint _previousFramebuffer = 0;
    GLint _previousViewport[4] = {};
};

}  // namespace orvane::engine
