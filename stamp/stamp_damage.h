// Which part of the stamp texture a draw must renew. Most draws follow a change of the glyph
// runs alone (the fraction of a second, the compass degrees, the stopwatch), whose glyphs cover
// a few hundred pixels; renewing only those, clipped by a scissor, keeps the per-frame cost of
// a running fraction to the digits instead of the whole texture.
#pragma once

#include "stamp/stamp_layout.h"

namespace orvane::stamp {

// A rectangle of texture pixels: x along the width, y down the rows from the top of the stamp.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool empty() const { return width <= 0 || height <= 0; }
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

// The smallest rectangle holding both, an empty one counting for nothing.
PixelRect unite(const PixelRect& a, const PixelRect& b);

// The pixels an item at `offset` of `size` (offset units) covers with its shadow, a pixel of
// margin all round.
PixelRect stampItemPixels(engine::Point offset, engine::Size size);

// Whether two rectangles share a pixel.
bool intersects(const PixelRect& a, const PixelRect& b);

// The whole square of the texture.
PixelRect wholeStamp();

// What a draw from `drawn` to `now` must renew. With `labelsChanged` (a label's text or look, the
// plate, the alphas, the alignment or the time order) it is both blocks' extent; otherwise the
// old and new places of the glyph runs and of the compass tail that follows them, shadows
// included - unless a label moved, which renews both blocks too.
PixelRect stampDamage(const StampLayout& drawn, const StampLayout& now,
                      const StampMeasures& measures, bool labelsChanged);

}  // namespace orvane::stamp
