#include "compositor/overlay_placement.h"

#include <algorithm>
#include <cmath>

#include "engine/geometry.h"

namespace orvane::compositor {

namespace {

// A device with only a front camera sees its buffer the other way round: 1 with 2, 3 with 4.
int effectiveOrientation(int orientation, bool onlyFrontCamera) {
    if (!onlyFrontCamera) {
        return orientation;
    }
    switch (orientation) {
        case 1:
            return 2;
        case 2:
            return 1;
        case 3:
            return 4;
        case 4:
            return 3;
        default:
            return orientation;
    }
}

bool isKnownOrientation(int orientation) {
    return orientation >= 1 && orientation <= 4;
}

}  // namespace

int alignmentForPosition(std::int64_t timePosition) {
    return static_cast<int>(((timePosition % 3) + 3) % 3);
}

Margins marginsFor(int textDistance, std::int64_t marginsMode, int width, int height) {
    Margins margins{textDistance, textDistance};
    if (marginsMode != 2) {
        return margins;
    }
    // The band a 3:2 print crops away, measured against the frame's own shape.
    const int w = width;
    const int h = height;
    if (h > w) {
        if (2 * h > 3 * w) {
            margins.dy += (h - 3 * w / 2) / 2;
        } else {
            margins.dx += (w - 2 * h / 3) / 2;
        }
    } else if (2 * w < 3 * h) {
        margins.dy += (h - 2 * w / 3) / 2;
    } else {
        margins.dx += (w - 3 * h / 2) / 2;
    }
    return margins;
}

std::optional<std::array<float, 8>> stampQuad(int orientation, bool onlyFrontCamera) {
    static constexpr std::array<std::array<float, 8>, 4> kQuads = {{
        {-1, 1, -1, -1, 1, 1, 1, -1},  // quarter turn
        {1, -1, 1, 1, -1, -1, -1, 1},  // opposite quarter turn
        {-1, -1, 1, -1, -1, 1, 1, 1},  // upright
        {1, 1, -1, 1, 1, -1, -1, -1},  // half turn
    }};
    const int row = effectiveOrientation(orientation, onlyFrontCamera);
    if (!isKnownOrientation(row)) {
        return std::nullopt;
    }
    return kQuads[static_cast<std::size_t>(row - 1)];
}

std::optional<PointF> provisionalTextOrigin(int orientation, bool onlyFrontCamera, int width,
                                            int height) {
    const double far = engine::kTextureSide;
    switch (effectiveOrientation(orientation, onlyFrontCamera)) {
        case 1:
            return PointF{0, height - far};
        case 2:
            return PointF{width - far, 0};
        case 3:
            return PointF{0, 0};
        case 4:
            return PointF{width - far, height - far};
        default:
            return std::nullopt;
    }
}

std::optional<PointF> textRectOrigin(int orientation, std::int64_t timePosition, Margins margins,
                                     bool onlyFrontCamera, double W, double H, double tw,
                                     double th) {
    if (timePosition < 0 || timePosition > 5) {
        return std::nullopt;
    }
    if (onlyFrontCamera) {
        margins = {};
    }
    const double dx = margins.dx;
    const double dy = margins.dy;
    const double side = engine::kTextureSide;
    const bool bottom = timePosition >= 3;
    const auto along = static_cast<int>(timePosition % 3);  // 0 start, 1 centre, 2 end
    switch (effectiveOrientation(orientation, onlyFrontCamera)) {
        case 1: {
            const double y[] = {H - side - dy, H / 2 + tw / 2 - side, tw + dy - side};
            return PointF{bottom ? W - dx - th : dx, y[along]};
        }
        case 2: {
            const double y[] = {dy, (H - tw) / 2, H - dy - tw};
            return PointF{bottom ? th + dx - side : W - side - dx, y[along]};
        }
        case 3: {
            const double x[] = {dx, (W - tw) / 2, W - dx - tw};
            return PointF{x[along], bottom ? H - dy - th : dy};
        }
        case 4: {
            const double x[] = {W - side - dx, W / 2 + tw / 2 - side, tw + dx - side};
            return PointF{x[along], bottom ? th + dy - side : H - side - dy};
        }
        default:
            return std::nullopt;
    }
}

SizeI textRoom(int orientation, Margins margins, int width, int height) {
    const auto side = [](int pixels) { return std::clamp(pixels, 1, engine::kTextureSide); };
    const SizeI landscape{side(width - 2 * margins.dx), side(height - 2 * margins.dy)};
    const SizeI portrait{side(height - 2 * margins.dy), side(width - 2 * margins.dx)};
    switch (orientation) {
        case kOrientationPortrait:
        case kOrientationPortraitUpsideDown:
            return portrait;
        case kOrientationLandscapeRight:
        case kOrientationLandscapeLeft:
            return landscape;
        default:
            return {std::min(landscape.width, portrait.width),
                    std::min(landscape.height, portrait.height)};
    }
}

std::optional<RectF> textScissor(int orientation, PointF origin, double tw, double th) {
    const double side = engine::kTextureSide;
    switch (orientation) {
        case 1:
            return RectF{origin.x, origin.y + side - tw, th, tw};
        case 2:
            return RectF{origin.x + side - th, origin.y, th, tw};
        case 3:
            return RectF{origin.x, origin.y, tw, th};
        case 4:
            return RectF{origin.x + side - tw, origin.y + side - th, tw, th};
        default:
            return std::nullopt;
    }
}

SizeI overlaySize(double share, int width, int height, int imageWidth, int imageHeight,
                  int orientation) {
    if (imageWidth <= 0 || imageHeight <= 0) {
        return {};
    }
    std::int64_t bx = static_cast<std::int64_t>(share * width);
    std::int64_t by = static_cast<std::int64_t>(share * height);
    std::int64_t iw = imageWidth;
    std::int64_t ih = imageHeight;
    if (orientation == 1 || orientation == 2) {
        std::swap(bx, by);
        std::swap(iw, ih);
    }
    if (by * iw > bx * ih) {
        by = bx * ih / iw;
    } else {
        bx = by * iw / ih;
    }
    return {static_cast<int>(bx), static_cast<int>(by)};
}

int logoMargin(std::int64_t edge, int width) {
    return static_cast<int>(static_cast<double>(edge * width) * 0.0008);
}

std::optional<PointI> overlayOrigin(int orientation, std::int64_t code, int W, int H, SizeI size,
                                    int e) {
    const int w = size.width;
    const int h = size.height;
    if (code == 6) {
        return PointI{(W - w) / 2, (H - h) / 2};
    }
    if (!isKnownOrientation(orientation) || code < 0 || code > 5) {
        return std::nullopt;
    }
    const int right = W - w - e;
    const int bottom = H - h - e;
    // Columns: code 0, codes 1 and 2, code 3, codes 4 and 5.
    const PointI table[4][4] = {
        {{e, bottom}, {e, e}, {right, bottom}, {right, e}},
        {{right, e}, {right, bottom}, {e, e}, {e, bottom}},
        {{e, e}, {right, e}, {e, bottom}, {right, bottom}},
        {{right, bottom}, {e, bottom}, {right, e}, {e, e}},
    };
    static constexpr int kColumn[] = {0, 1, 1, 2, 3, 3};
    return table[orientation - 1][kColumn[code]];
}

std::optional<OverlayPositions> automaticOverlayPositions(std::int64_t timePosition) {
    static constexpr OverlayPositions kPositions[] = {
        {2, 3, 5}, {0, 3, 5}, {0, 3, 5}, {5, 0, 2}, {3, 0, 2}, {3, 0, 2},
    };
    if (timePosition < 0 || timePosition > 5) {
        return std::nullopt;
    }
    return kPositions[timePosition];
}

}  // namespace orvane::compositor
