// Reads a PNG file of the build tree with Cairo, for the tests of the generated images.
#pragma once

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#ifndef ORVANE_IMAGES_DIR
#error "the image tests need ORVANE_IMAGES_DIR, the images directory of the build tree"
#endif

namespace orvane::testing {

// Pixels as Cairo decodes them: premultiplied, so a translucent pixel's colour is scaled by its
// alpha; an opaque pixel holds the file's components exactly.
struct PngImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> argb;  // row 0 first

    std::uint32_t at(int x, int y) const { return argb[static_cast<std::size_t>(y) * width + x]; }
    int red(int x, int y) const { return (at(x, y) >> 16) & 0xFF; }
    int green(int x, int y) const { return (at(x, y) >> 8) & 0xFF; }
    int blue(int x, int y) const { return at(x, y) & 0xFF; }
    int alpha(int x, int y) const { return at(x, y) >> 24; }
    // Channel 0 red, 1 green, 2 blue, 3 alpha.
    int channel(int x, int y, int c) const {
        return c == 3 ? alpha(x, y) : (at(x, y) >> (16 - 8 * c)) & 0xFF;
    }
};

inline std::string imagePath(const std::string& name) {
    return std::string(ORVANE_IMAGES_DIR) + "/" + name;
}

// The image `name` of the images directory, or nothing when it is missing or unreadable.
inline std::optional<PngImage> readImage(const std::string& name) {
    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface(
        cairo_image_surface_create_from_png(imagePath(name).c_str()), cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        return std::nullopt;
    }
    PngImage image;
    image.width = cairo_image_surface_get_width(surface.get());
    image.height = cairo_image_surface_get_height(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    const unsigned char* data = cairo_image_surface_get_data(surface.get());
    image.argb.resize(static_cast<std::size_t>(image.width) * image.height);
    for (int y = 0; y < image.height; ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(data + y * stride);
        for (int x = 0; x < image.width; ++x) {
            image.argb[static_cast<std::size_t>(y) * image.width + x] = row[x];
        }
    }
    return image;
}

}  // namespace orvane::testing
