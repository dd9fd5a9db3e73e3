#include "platform/image/Bitmap.h"

#include <cstring>

namespace orvane::platform {

Bitmap Bitmap::transparent(int width, int height) {
    Bitmap bitmap;
    if (width <= 0 || height <= 0) {
        return bitmap;
    }
    bitmap.width = width;
    bitmap.height = height;
    bitmap.stride = width * 4;
    bitmap.pixels.assign(static_cast<std::size_t>(bitmap.stride) * height, 0);
    return bitmap;
}

std::uint32_t Bitmap::argb(int x, int y) const {
    std::uint32_t word;
    std::memcpy(&word, pixels.data() + static_cast<std::size_t>(y) * stride + x * 4, sizeof word);
    return word;
}

std::vector<std::uint8_t> premultipliedRgba(const Bitmap& bitmap) {
    std::vector<std::uint8_t> rgba;
    if (bitmap.empty()) {
        return rgba;
    }
    rgba.reserve(static_cast<std::size_t>(bitmap.width) * bitmap.height * 4);
    for (int y = 0; y < bitmap.height; ++y) {
        for (int x = 0; x < bitmap.width; ++x) {
            const std::uint32_t word = bitmap.argb(x, y);
            rgba.push_back(static_cast<std::uint8_t>(word >> 16));
            rgba.push_back(static_cast<std::uint8_t>(word >> 8));
            rgba.push_back(static_cast<std::uint8_t>(word));
            rgba.push_back(static_cast<std::uint8_t>(word >> 24));
        }
    }
    return rgba;
}

}  // namespace orvane::platform
