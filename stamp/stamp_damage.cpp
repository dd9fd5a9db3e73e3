#include "stamp/stamp_damage.h"

#include "engine/geometry.h"
#include <algorithm>
#include <cmath>

namespace orvane::stamp {
namespace {

constexpr int kSide = engine::kTextureSide;

}  // namespace

// Whole pixels outward, so linear filtering's edge falls inside.
PixelRect stampItemPixels(engine::Point offset, engine::Size size) {
    if (size.width <= 0 || size.height <= 0) {
        return {};
    }
    const float left = (offset.x - kStampOrigin) * 0.5f;
    const float top = (offset.y - kStampOrigin) * 0.5f;
    const float right = left + (size.width + kShadowOffset) * 0.5f;
    const float bottom = top + (size.height + kShadowOffset) * 0.5f;
    const int x = static_cast<int>(std::floor(left)) - 1;
    const int y = static_cast<int>(std::floor(top)) - 1;
    return {x, y, static_cast<int>(std::ceil(right)) + 1 - x,
            static_cast<int>(std::ceil(bottom)) + 1 - y};
}

bool intersects(const PixelRect& a, const PixelRect& b) {
    return !a.empty() && !b.empty() && a.x < b.x + b.width && b.x < a.x + a.width &&
           a.y < b.y + b.height && b.y < a.y + a.height;
}

namespace {

template <std::size_t N>
PixelRect runPixels(const GlyphRun<N>& run, const StampMeasures& measures) {
    PixelRect rect;
    for (int i = 0; i < run.length; ++i) {
        const auto at = static_cast<std::size_t>(i);
        rect =
            unite(rect, stampItemPixels(run.offset[at],
                                        measures.glyphs[static_cast<std::size_t>(run.index[at])]));
    }
    return rect;
}

template <std::size_t N>
bool sameRun(const GlyphRun<N>& a, const GlyphRun<N>& b) {
    if (a.length != b.length) {
        return false;
    }
    for (int i = 0; i < a.length; ++i) {
        const auto at = static_cast<std::size_t>(i);
        if (a.index[at] != b.index[at] || a.offset[at] != b.offset[at]) {
            return false;
        }
    }
    return true;
}

// A run that changed renews its old and its new places.
template <std::size_t N>
PixelRect runDamage(const GlyphRun<N>& drawn, const GlyphRun<N>& now,
                    const StampMeasures& measures) {
    if (sameRun(drawn, now)) {
        return {};
    }
    return unite(runPixels(drawn, measures), runPixels(now, measures));
}

PixelRect blockPixels(const StampLayout& layout) {
    return {0, 0, static_cast<int>(std::ceil(layout.width * 0.5f)) + 2,
            static_cast<int>(std::ceil(layout.height * 0.5f)) + 2};
}

PixelRect clipToSquare(const PixelRect& r) {
    const int x0 = std::clamp(r.x, 0, kSide);
    const int y0 = std::clamp(r.y, 0, kSide);
    const int x1 = std::clamp(r.x + r.width, 0, kSide);
    const int y1 = std::clamp(r.y + r.height, 0, kSide);
    return {x0, y0, x1 - x0, y1 - y0};
}

}  // namespace

PixelRect unite(const PixelRect& a, const PixelRect& b) {
    if (a.empty()) {
        return b;
    }
    if (b.empty()) {
        return a;
    }
    const int x0 = std::min(a.x, b.x);
    const int y0 = std::min(a.y, b.y);
    const int x1 = std::max(a.x + a.width, b.x + b.width);
    const int y1 = std::max(a.y + a.height, b.y + b.height);
    return {x0, y0, x1 - x0, y1 - y0};
}

PixelRect wholeStamp() {
    return {0, 0, kSide, kSide};
}

PixelRect stampDamage(const StampLayout& drawn, const StampLayout& now,
                      const StampMeasures& measures, bool labelsChanged) {
    const bool labelsMoved = drawn.time != now.time || drawn.coordinates != now.coordinates ||
                             drawn.staticBlock != now.staticBlock || drawn.width != now.width ||
                             drawn.height != now.height;
    if (labelsChanged || labelsMoved) {
        return clipToSquare(unite(blockPixels(drawn), blockPixels(now)));
    }
    PixelRect rect = runDamage(drawn.fraction, now.fraction, measures);
    rect = unite(rect, runDamage(drawn.compass, now.compass, measures));
    rect = unite(rect, runDamage(drawn.stopWatch, now.stopWatch, measures));
    if (drawn.compassTail != now.compassTail) {
        rect = unite(rect, stampItemPixels(drawn.compassTail, measures.compassTail));
        rect = unite(rect, stampItemPixels(now.compassTail, measures.compassTail));
    }
    return clipToSquare(rect);
}

}  // namespace orvane::stamp
