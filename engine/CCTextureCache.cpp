#include "engine/CCTextureCache.h"

#include <cairo.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "engine/cairo_handles.h"
#include "foundation/log.h"
#include "platform/system/data_directory.h"

namespace orvane::engine {
namespace {

std::string withPngSuffix(const std::string& name) {
    constexpr std::string_view suffix = ".png";
    if (name.size() >= suffix.size() &&
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
        return name;
    }
    return name + std::string(suffix);
}

}  // namespace

CCTextureCache& CCTextureCache::sharedTextureCache() {
    static CCTextureCache cache;
    return cache;
}

std::string CCTextureCache::imagesDirectory() {
    return platform::dataDirectory() + "/images";
}

std::shared_ptr<CCTexture2D> CCTextureCache::addImage(const std::string& name) {
    const std::string file = withPngSuffix(name);
    if (const auto found = _textures.find(file); found != _textures.end()) {
        return found->second;
    }
    auto texture = addImageFromFile(imagesDirectory() + "/" + file);
    if (texture) {
        _textures.emplace(file, texture);
    }
    return texture;
}

std::shared_ptr<CCTexture2D> CCTextureCache::addImageFromFile(const std::string& path) {
    const CairoSurface surface(cairo_image_surface_create_from_png(path.c_str()));
    const cairo_status_t status = cairo_surface_status(surface.get());
    if (status != CAIRO_STATUS_SUCCESS) {
        foundation::log("Cannot load the image %s: %s", path.c_str(),
                        cairo_status_to_string(status));
        return nullptr;
    }
    // Cairo reads a PNG as native-endian 32-bit words, premultiplied 0xAARRGGBB, or 0xxxRRGGBB
    // when the image has no alpha.
    const cairo_format_t format = cairo_image_surface_get_format(surface.get());
    if (format != CAIRO_FORMAT_ARGB32 && format != CAIRO_FORMAT_RGB24) {
        foundation::log("Cannot load the image %s: unexpected pixel format %d", path.c_str(),
                        static_cast<int>(format));
        return nullptr;
    }
    cairo_surface_flush(surface.get());
    const int width = cairo_image_surface_get_width(surface.get());
    const int height = cairo_image_surface_get_height(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    const unsigned char* data = cairo_image_surface_get_data(surface.get());
    const bool opaque = format == CAIRO_FORMAT_RGB24;

    std::vector<std::uint8_t> rgba(static_cast<std::size_t>(width) *
                                   static_cast<std::size_t>(height) * 4);
    for (int y = 0; y < height; ++y) {
        const unsigned char* row = data + static_cast<std::ptrdiff_t>(y) * stride;
        std::uint8_t* out = rgba.data() + static_cast<std::size_t>(y) * width * 4;
        for (int x = 0; x < width; ++x) {
            std::uint32_t pixel;
            std::memcpy(&pixel, row + x * 4, sizeof pixel);
            out[x * 4 + 0] = static_cast<std::uint8_t>(pixel >> 16);
            out[x * 4 + 1] = static_cast<std::uint8_t>(pixel >> 8);
            out[x * 4 + 2] = static_cast<std::uint8_t>(pixel);
            out[x * 4 + 3] = opaque ? 255 : static_cast<std::uint8_t>(pixel >> 24);
        }
    }
    return CCTexture2D::fromPixels(width, height, rgba.data());
}

void CCTextureCache::removeAllTextures() {
    _textures.clear();
}

}  // namespace orvane::engine
