// A textured quad placed by its offset position: the square of the target spans offsets -1280
// to +1280 on each axis, two offset units to a pixel of a 1280-pixel target, and offset y grows
// in the direction of the target's rows (offset -1280 is row 0, the top).
//
// A sprite draws itself, now, into whatever framebuffer and viewport are bound (`visit`); there
// is no scene graph to walk. Its texture is premultiplied, and the caller sets the blending
// (GL_ONE, GL_ONE_MINUS_SRC_ALPHA).
#pragma once

#include <cstdint>
#include <memory>

#include "engine/CCTexture2D.h"
#include "engine/geometry.h"

namespace orvane::engine {

class CCSprite {
  public:
    explicit CCSprite(std::shared_ptr<CCTexture2D> texture = nullptr);
    virtual ~CCSprite();
    CCSprite(const CCSprite&) = delete;
    CCSprite& operator=(const CCSprite&) = delete;

    void setTexture(std::shared_ptr<CCTexture2D> texture);
    const std::shared_ptr<CCTexture2D>& texture() const { return _texture; }

    // Tint and opacity multiply the texture when drawn; nothing is rasterised again.
    void setColor(Color3B tint) { _tint = tint; }
    Color3B color() const { return _tint; }
    void setOpacity(std::uint8_t opacity) { _opacity = opacity; }
    std::uint8_t opacity() const { return _opacity; }

    // Flips the quad's texture coordinates along y. Labels made for a render texture are
    // flipped, and then read upright in the target's row order.
    void setFlipY(bool flip) { _flipY = flip; }
    bool isFlipY() const { return _flipY; }

    // Stores the offset; the quad follows at the next resetByOffsetPosition.
    void setOffsetPosition(Point offset) { _offset = offset; }
    Point offsetPosition() const { return _offset; }
    // Lays the quad from the offset and the content size, without any transform work.
    void resetByOffsetPosition();

    // The size in offset units: twice the texture's pixels; zero without a texture.
    virtual Size contentSize() const;

    // Draws the quad now into the bound framebuffer; counts the draws.
    void visit();
    std::uint64_t visits() const { return _visits; }

  private:
    std::shared_ptr<CCTexture2D> _texture;
    Color3B _tint;
    std::uint8_t _opacity = 255;
    bool _flipY = false;
    Point _offset;
    float _quad[8] = {};  // corners in clip space, in the order of the texture coordinates
    std::uint64_t _visits = 0;
};

}  // namespace orvane::engine
