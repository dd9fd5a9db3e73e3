// A picture in memory, laid out as Cairo's ARGB32: premultiplied alpha, one 32-bit word a pixel
// with alpha in the top byte, so the bytes run B, G, R, A on this little-endian machine. Map
// snapshots and position marks travel in it; it is a plain value, copied when copied.
#pragma once

#include <cstdint>
#include <vector>

namespace orvane::platform {

struct Bitmap {
    int width = 0;
    int height = 0;
    int stride = 0;  // bytes from one row to the next; rows run from the top
    std::vector<std::uint8_t> pixels;

    // A transparent bitmap of that size; 0 x 0 when either side is not positive.
    static Bitmap transparent(int width, int height);

    bool empty() const { return width <= 0 || height <= 0; }
    // The premultiplied ARGB word at (x, y); the caller keeps inside the bitmap.
    std::uint32_t argb(int x, int y) const;
    int alpha(int x, int y) const { return static_cast<int>(argb(x, y) >> 24); }
    int red(int x, int y) const { return static_cast<int>(argb(x, y) >> 16 & 0xFF); }
    int green(int x, int y) const { return static_cast<int>(argb(x, y) >> 8 & 0xFF); }
    int blue(int x, int y) const { return static_cast<int>(argb(x, y) & 0xFF); }
};

// The pixels as premultiplied R, G, B, A bytes in tightly packed rows, as the compositor takes
// its images.
std::vector<std::uint8_t> premultipliedRgba(const Bitmap& bitmap);

}  // namespace orvane::platform
