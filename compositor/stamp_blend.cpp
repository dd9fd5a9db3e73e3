#include "compositor/stamp_blend.h"

#include <cmath>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace orvane::compositor {
namespace {

int sign(float v) {
    return v > 0 ? 1 : (v < 0 ? -1 : 0);
}

// dst * keep / 255, rounded to nearest: the same as GL's blending of 8-bit channels.
inline unsigned scaleChannel(unsigned dst, unsigned keep) {
    return (dst * keep + 127) / 255;
}

inline void blendPixel(std::uint8_t* out, const std::uint8_t* in) {
    const unsigned alpha = in[3];
    if (alpha == 0) {
        return;
    }
    const unsigned keep = 255 - alpha;
    // Stamp texels are RGBA, the frame BGRA.
    out[0] = static_cast<std::uint8_t>(in[2] + scaleChannel(out[0], keep));
    out[1] = static_cast<std::uint8_t>(in[1] + scaleChannel(out[1], keep));
    out[2] = static_cast<std::uint8_t>(in[0] + scaleChannel(out[2], keep));
    out[3] = static_cast<std::uint8_t>(alpha + scaleChannel(out[3], keep));
}

#if defined(__SSE2__)
// Four pixels at once, exactly as blendPixel: (x + 128 + ((x + 128) >> 8)) >> 8 is x / 255
// rounded to nearest for every x up to 255 * 255.
inline void blendFour(std::uint8_t* out, __m128i texels) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i greenAlpha = _mm_and_si128(texels, _mm_set1_epi32(0xFF00FF00u));
    const __m128i redBlue = _mm_and_si128(texels, _mm_set1_epi32(0x00FF00FF));
    const __m128i source = _mm_or_si128(
        greenAlpha, _mm_or_si128(_mm_srli_epi32(redBlue, 16), _mm_slli_epi32(redBlue, 16)));
    // Each pixel's alpha in both 16-bit halves of its lane, then spread over its four channels.
    __m128i alpha = _mm_srli_epi32(texels, 24);
    alpha = _mm_or_si128(alpha, _mm_slli_epi32(alpha, 16));
    const __m128i full = _mm_set1_epi16(255);
    const __m128i keepLow = _mm_sub_epi16(full, _mm_unpacklo_epi32(alpha, alpha));
    const __m128i keepHigh = _mm_sub_epi16(full, _mm_unpackhi_epi32(alpha, alpha));
    const __m128i frame = _mm_loadu_si128(reinterpret_cast<const __m128i*>(out));
    const __m128i half = _mm_set1_epi16(128);
    __m128i low = _mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(frame, zero), keepLow), half);
    __m128i high = _mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(frame, zero), keepHigh), half);
    low = _mm_srli_epi16(_mm_add_epi16(low, _mm_srli_epi16(low, 8)), 8);
    high = _mm_srli_epi16(_mm_add_epi16(high, _mm_srli_epi16(high, 8)), 8);
    const __m128i kept = _mm_packus_epi16(low, high);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_add_epi8(source, kept));
}

inline bool allZero(__m128i v) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) == 0xFFFF;
}
#endif

// One row of `count` pixels; texels follow each other `stepBytes` apart. Premultiplied texels
// that are fully transparent are all zero, so runs of them are skipped sixteen at a time.
void blendRow(std::uint8_t* out, const std::uint8_t* in, int count, int stepBytes) {
    int x = 0;
#if defined(__SSE2__)
    if (stepBytes == 4) {
        for (; x + 16 <= count; x += 16) {
            const auto* p = reinterpret_cast<const __m128i*>(in + x * 4);
            const __m128i t0 = _mm_loadu_si128(p);
            const __m128i t1 = _mm_loadu_si128(p + 1);
            const __m128i t2 = _mm_loadu_si128(p + 2);
            const __m128i t3 = _mm_loadu_si128(p + 3);
            if (allZero(_mm_or_si128(_mm_or_si128(t0, t1), _mm_or_si128(t2, t3)))) {
                continue;
            }
            std::uint8_t* o = out + x * 4;
            const __m128i quads[4] = {t0, t1, t2, t3};
            for (int q = 0; q < 4; ++q) {
                if (!allZero(quads[q])) {
                    blendFour(o + q * 16, quads[q]);
                }
            }
        }
    }
#endif
    for (; x < count; ++x) {
        blendPixel(out + x * 4, in + static_cast<std::ptrdiff_t>(x) * stepBytes);
    }
}

struct RowWalk {
    int stepBytes;                   // texel bytes from one pixel to the next in x
    const std::uint8_t* firstTexel;  // the texel of the clip's top left pixel
    std::ptrdiff_t rowBytes;         // texel bytes from one row of pixels to the next
};

RowWalk walkFor(const std::uint8_t* texels, int stride, const TexelMap& map,
                const std::array<int, 4>& clip) {
    // The inverse of the quarter turn: pixel offset (dx, dy) from the origin gives
    // u = dx * uStep.x + dy * uStep.y and v = dx * vStep.x + dy * vStep.y.
    const int dx = clip[0] - map.origin.x;
    const int dy = clip[1] - map.origin.y;
    const int u = dx * map.uStep.x + dy * map.uStep.y;
    const int v = dx * map.vStep.x + dy * map.vStep.y;
    return {map.uStep.x * 4 + map.vStep.x * stride * 4,
            texels + (static_cast<std::ptrdiff_t>(v) * stride + u) * 4,
            static_cast<std::ptrdiff_t>(map.uStep.y) * 4 +
                static_cast<std::ptrdiff_t>(map.vStep.y) * stride * 4};
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
    platform::PixelBufferWriteLock lock(frame);
    const RowWalk walk = walkFor(texels, stride, map, clip);
    for (int row = 0; row < clip[3]; ++row) {
        std::uint8_t* out = lock.data() +
                            static_cast<std::size_t>(clip[1] + row) * frame.bytesPerRow() +
                            static_cast<std::size_t>(clip[0]) * 4;
        blendRow(out, walk.firstTexel + row * walk.rowBytes, clip[2], walk.stepBytes);
    }
}

void copyAndBlendStamp(const platform::PixelBuffer& source, platform::PixelBuffer& frame,
                       const std::uint8_t* texels, int stride, const TexelMap& map,
                       const std::array<int, 4>& clip) {
    platform::PixelBufferReadLock in(source);
    platform::PixelBufferWriteLock out(frame);
    const std::size_t inRow = source.bytesPerRow();
    const std::size_t outRow = frame.bytesPerRow();
    const std::size_t rowBytes = static_cast<std::size_t>(source.width()) * 4;
    const auto copyRows = [&](int first, int end) {
        if (first >= end) {
            return;
        }
        if (inRow == outRow) {
            std::memcpy(out.data() + first * outRow, in.data() + first * inRow,
                        static_cast<std::size_t>(end - first) * outRow);
            return;
        }
        for (int y = first; y < end; ++y) {
            std::memcpy(out.data() + y * outRow, in.data() + y * inRow, rowBytes);
        }
    };
    const RowWalk walk = walkFor(texels, stride, map, clip);
    copyRows(0, clip[1]);
    for (int row = 0; row < clip[3]; ++row) {
        const int y = clip[1] + row;
        std::memcpy(out.data() + y * outRow, in.data() + y * inRow, rowBytes);
        blendRow(out.data() + y * outRow + static_cast<std::size_t>(clip[0]) * 4,
                 walk.firstTexel + row * walk.rowBytes, clip[2], walk.stepBytes);
    }
    copyRows(clip[1] + clip[3], source.height());
}

void copyPixels(const platform::PixelBuffer& source, platform::PixelBuffer& frame) {
    platform::PixelBufferReadLock in(source);
    platform::PixelBufferWriteLock out(frame);
    const std::size_t row = static_cast<std::size_t>(source.width()) * 4;
    if (source.bytesPerRow() == frame.bytesPerRow()) {
        std::memcpy(out.data(), in.data(), source.dataSize());
        return;
    }
    for (int y = 0; y < source.height(); ++y) {
        std::memcpy(out.data() + y * frame.bytesPerRow(), in.data() + y * source.bytesPerRow(),
                    row);
    }
}

}  // namespace orvane::compositor
