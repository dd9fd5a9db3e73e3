#include "tools/images/image_canvas.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include <png.h>

namespace orvane::tools {
namespace {

std::string programName = "image generator";

}  // namespace

ImageCanvas::ImageCanvas(int width, int height)
    : _width(width),
      _height(height),
      _surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)) {
    if (cairo_surface_status(_surface.get()) != CAIRO_STATUS_SUCCESS) {
        fail(programName,
             "cannot make a " + std::to_string(width) + "x" + std::to_string(height) +
                 " surface: " + cairo_status_to_string(cairo_surface_status(_surface.get())));
    }
    _cr.reset(cairo_create(_surface.get()));
    // A fresh image surface is already transparent black; say so rather than rely on it.
    cairo_save(_cr.get());
    cairo_set_operator(_cr.get(), CAIRO_OPERATOR_CLEAR);
    cairo_paint(_cr.get());
    cairo_restore(_cr.get());
}

void ImageCanvas::setPixel(int x, int y, std::uint8_t r, std::uint8_t g, std::uint8_t b,
                           std::uint8_t a) {
    cairo_surface_flush(_surface.get());
    unsigned char* data = cairo_image_surface_get_data(_surface.get());
    const int stride = cairo_image_surface_get_stride(_surface.get());
    auto premultiply = [a](std::uint8_t c) {
        return static_cast<std::uint32_t>((c * a + 127) / 255);
    };
    // ARGB32 is one native-endian word per pixel, premultiplied.
    auto* pixel = reinterpret_cast<std::uint32_t*>(data + y * stride) + x;
    *pixel = (static_cast<std::uint32_t>(a) << 24) | (premultiply(r) << 16) |
             (premultiply(g) << 8) | premultiply(b);
    cairo_surface_mark_dirty_rectangle(_surface.get(), x, y, 1, 1);
}

void ImageCanvas::save(const std::string& directory, std::string_view name) {
    const std::string path = directory + "/" + std::string(name);
    if (cairo_status(_cr.get()) != CAIRO_STATUS_SUCCESS) {
        fail(programName,
             "drawing " + path + " failed: " + cairo_status_to_string(cairo_status(_cr.get())));
    }
    // Cairo writes an opaque image as RGB; every image here is RGBA, so libpng writes it from
    // straight (unpremultiplied) components.
    cairo_surface_flush(_surface.get());
    const unsigned char* data = cairo_image_surface_get_data(_surface.get());
    const int stride = cairo_image_surface_get_stride(_surface.get());
    std::vector<std::uint8_t> rgba(static_cast<std::size_t>(_width) * _height * 4);
    for (int y = 0; y < _height; ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(data + y * stride);
        for (int x = 0; x < _width; ++x) {
            const std::uint32_t p = row[x];
            const std::uint32_t a = p >> 24;
            auto straight = [a](std::uint32_t c) {
                return static_cast<std::uint8_t>(a == 0 ? 0 : (c * 255 + a / 2) / a);
            };
            std::uint8_t* out = &rgba[(static_cast<std::size_t>(y) * _width + x) * 4];
            out[0] = straight((p >> 16) & 0xFF);
            out[1] = straight((p >> 8) & 0xFF);
            out[2] = straight(p & 0xFF);
            out[3] = static_cast<std::uint8_t>(a);
        }
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(_width);
    image.height = static_cast<png_uint_32>(_height);
    image.format = PNG_FORMAT_RGBA;
    if (png_image_write_to_file(&image, path.c_str(), 0, rgba.data(), 0, nullptr) == 0) {
        fail(programName, "cannot write " + path + ": " + image.message);
    }
}

void fail(std::string_view program, const std::string& message) {
    std::fprintf(stderr, "%.*s: %s\n", static_cast<int>(program.size()), program.data(),
                 message.c_str());
    std::exit(1);
}

std::string outputDirectory(int argc, char** argv) {
    programName = std::filesystem::path(argv[0]).filename().string();
    if (argc != 2) {
        fail(programName, "usage: " + programName + " OUTPUT_DIRECTORY");
    }
    std::error_code error;
    std::filesystem::create_directories(argv[1], error);
    if (error) {
        fail(programName, std::string("cannot make ") + argv[1] + ": " + error.message());
    }
    return argv[1];
}

}  // namespace orvane::tools
