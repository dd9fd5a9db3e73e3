#include "compositor/stamp_blend.h"

#include <cmath>

namespace orvane::compositor {
namespace {

int sign(float v) {
    return v > 0 ? 1 : (v < 0 ? -1 : 0);
}

}  // namespace

std::optional<TexelMap> texelMapForQuad(const std::array<float, 8>& quad, PointI viewportOrigin,
                                        int side) {
    // Corners for texture coordinates (0,0), (1,0) and (0,1).
    const float x0 = quad[0], y0 = quad[1];
    const float du[2] = {quad[2] - x0, quad[3] - y0};
    const float dv[2] = {quad[4] - x0, quad[5] - y0};
    const PointI uStep{sign(du[0]) * (std::abs(du[0]) == 2 ? 1 : 0),
                       sign(du[1]) * (std::abs(du[1]) == 2 ? 1 : 0)};
    const PointI vStep{sign(dv[0]) * (std::abs(dv[0]) == 2 ? 1 : 0),
                       sign(dv[1]) * (std::abs(dv[1]) == 2 ? 1 : 0)};
    const bool unit = std::abs(uStep.x) + std::abs(uStep.y) == 1 &&
                      std::abs(vStep.x) + std::abs(vStep.y) == 1 && uStep.x * vStep.x == 0 &&
                      uStep.y * vStep.y == 0;
    if (!unit || std::abs(x0) != 1 || std::abs(y0) != 1) {
        return std::nullopt;
    }
    // Texel 0 sits in the corner the (0,0) coordinate names: clip -1 is the first pixel of the
    // viewport, +1 the last.
    const PointI origin{viewportOrigin.x + (x0 < 0 ? 0 : side - 1),
                        viewportOrigin.y + (y0 < 0 ? 0 : side - 1)};
    return TexelMap{origin, uStep, vStep};
}

void blendStamp(platform::PixelBuffer& frame, const std::uint8_t* texels, int stride,
                const TexelMap& map, const std::array<int, 4>& clip) {
    // The inverse of the quarter turn: pixel offset (dx, dy) from the origin gives
    // u = dx * uStep.x + dy * uStep.y and v = dx * vStep.x + dy * vStep.y.
    platform::PixelBufferWriteLock lock(frame);
    const int stepU = map.uStep.x * 4 + map.vStep.x * stride * 4;  // texel bytes per pixel in x
    for (int y = clip[1]; y < clip[1] + clip[3]; ++y) {
        std::uint8_t* out = lock.data() + static_cast<std::size_t>(y) * frame.bytesPerRow() +
                            static_cast<std::size_t>(clip[0]) * 4;
        const int dx = clip[0] - map.origin.x;
        const int dy = y - map.origin.y;
        const int u = dx * map.uStep.x + dy * map.uStep.y;
        const int v = dx * map.vStep.x + dy * map.vStep.y;
        const std::uint8_t* in = texels + (static_cast<std::ptrdiff_t>(v) * stride + u) * 4;
        for (int x = 0; x < clip[2]; ++x, out += 4, in += stepU) {
            const unsigned alpha = in[3];
            if (alpha == 0) {
                continue;
            }
            const unsigned keep = 255 - alpha;
            // Stamp texels are RGBA, the frame BGRA.
            out[0] = static_cast<std::uint8_t>(in[2] + (out[0] * keep + 127) / 255);
            out[1] = static_cast<std::uint8_t>(in[1] + (out[1] * keep + 127) / 255);
            out[2] = static_cast<std::uint8_t>(in[0] + (out[2] * keep + 127) / 255);
            out[3] = static_cast<std::uint8_t>(alpha + (out[3] * keep + 127) / 255);
        }
    }
}

}  // namespace orvane::compositor
