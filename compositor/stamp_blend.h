// The stamp laid over a frame on the CPU: for frames whose camera layer is a plain copy and
// whose only overlay is the text block, blending the block's few hundred thousand pixels here
// costs far less than a round trip through a software rasteriser.
//
// The stamp texture lies texel for pixel in its 1280 square viewport, turned by the quad of the
// orientation, and is seen only through the scissor; so every visible pixel has exactly one
// texel, found by a signed swap of axes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "compositor/overlay_placement.h"
#include "platform/media/PixelBuffer.h"

namespace orvane::compositor {

// Where texel (u, v) of the square lands: pixel = origin + u * uStep + v * vStep, each step a
// unit vector along x or y. Nothing for a quad that is not a quarter turn of the square.
struct TexelMap {
    PointI origin;
    PointI uStep;
    PointI vStep;
};
std::optional<TexelMap> texelMapForQuad(const std::array<float, 8>& quad, PointI viewportOrigin,
                                        int side);

// Blends premultiplied RGBA texels (rows of `stride` texels, row 0 first; only those a visible
// pixel needs are read) over the BGRA frame inside `clip` (x, y, width, height; already cut to
// the frame), as GL's (ONE, ONE_MINUS_SRC_ALPHA) blending would.
void blendStamp(platform::PixelBuffer& frame, const std::uint8_t* texels, int stride,
                const TexelMap& map, const std::array<int, 4>& clip);

// The same over a copy of `source` (same size as `frame`): each row of the clip is blended right
// after it is copied, while it is still in the cache, so the block's rows cross memory once.
void copyAndBlendStamp(const platform::PixelBuffer& source, platform::PixelBuffer& frame,
                       const std::uint8_t* texels, int stride, const TexelMap& map,
                       const std::array<int, 4>& clip);

// The source's pixels into `frame` (same size), row by row where the strides differ.
void copyPixels(const platform::PixelBuffer& source, platform::PixelBuffer& frame);

}  // namespace orvane::compositor
