#include "compositor/image_transform.h"

#include <cairo.h>

#include <cstring>
#include <memory>

#include "engine/cairo_handles.h"

namespace orvane::compositor {
namespace {


bool hasPixels(const Image& image) {
    return image.width > 0 && image.height > 0 &&
           image.rgba.size() >= static_cast<std::size_t>(image.width) * image.height * 4;
}

// Cairo keeps premultiplied pixels in native-endian ARGB words: B, G, R, A bytes here.
engine::CairoSurface toSurface(const Image& image) {
    engine::CairoSurface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, image.width, image.height));
    cairo_surface_flush(surface.get());
    unsigned char* data = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    for (int y = 0; y < image.height; ++y) {
        const std::uint8_t* in = image.rgba.data() + static_cast<std::size_t>(y) * image.width * 4;
        unsigned char* out = data + static_cast<std::ptrdiff_t>(y) * stride;
        for (int x = 0; x < image.width; ++x, in += 4, out += 4) {
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
            out[3] = in[3];
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

Image fromSurface(cairo_surface_t* surface, int orientation) {
    cairo_surface_flush(surface);
    Image image;
    image.width = cairo_image_surface_get_width(surface);
    image.height = cairo_image_surface_get_height(surface);
    image.orientation = orientation;
    image.rgba.resize(static_cast<std::size_t>(image.width) * image.height * 4);
    const unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int y = 0; y < image.height; ++y) {
        const unsigned char* in = data + static_cast<std::ptrdiff_t>(y) * stride;
        std::uint8_t* out = image.rgba.data() + static_cast<std::size_t>(y) * image.width * 4;
        for (int x = 0; x < image.width; ++x, in += 4, out += 4) {
            out[0] = in[2];
            out[1] = in[1];
            out[2] = in[0];
            out[3] = in[3];
        }
    }
    return image;
}

}  // namespace

Image scaledImage(const Image& image, int width, int height) {
    if (!hasPixels(image) || width <= 0 || height <= 0) {
        return {};
    }
    if (width == image.width && height == image.height) {
        return image;
    }
    engine::CairoSurface source = toSurface(image);
    engine::CairoSurface target(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    engine::Cairo cr(cairo_create(target.get()));
    cairo_scale(cr.get(), static_cast<double>(width) / image.width,
                static_cast<double>(height) / image.height);
    cairo_set_source_surface(cr.get(), source.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr.get()), CAIRO_FILTER_GOOD);
    cairo_pattern_set_extend(cairo_get_source(cr.get()), CAIRO_EXTEND_PAD);
    cairo_set_operator(cr.get(), CAIRO_OPERATOR_SOURCE);
    cairo_paint(cr.get());
    return fromSurface(target.get(), image.orientation);
}

Image fitWithin(const Image& image, int maxSide) {
    if (!hasPixels(image) || (image.width <= maxSide && image.height <= maxSide)) {
        return image;
    }
    if (image.width >= image.height) {
        const int height = std::max(
            1, static_cast<int>(static_cast<long long>(image.height) * maxSide / image.width));
        return scaledImage(image, maxSide, height);
    }
    const int width =
        std::max(1, static_cast<int>(static_cast<long long>(image.width) * maxSide / image.height));
    return scaledImage(image, width, maxSide);
}

Image rotatedImage(const Image& image, int degrees) {
    const int turns = ((degrees / 90) % 4 + 4) % 4;
    if (!hasPixels(image) || turns == 0) {
        return image;
    }
    Image out;
    out.orientation = image.orientation;
    out.width = turns == 2 ? image.width : image.height;
    out.height = turns == 2 ? image.height : image.width;
    out.rgba.resize(static_cast<std::size_t>(out.width) * out.height * 4);
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            int tx = x;
            int ty = y;
            switch (turns) {
                case 1:  // clockwise: the left column becomes the top row
                    tx = image.height - 1 - y;
                    ty = x;
                    break;
                case 2:
                    tx = image.width - 1 - x;
                    ty = image.height - 1 - y;
                    break;
                default:  // three quarters clockwise
                    tx = y;
                    ty = image.width - 1 - x;
                    break;
            }
            std::memcpy(out.rgba.data() + (static_cast<std::size_t>(ty) * out.width + tx) * 4,
                        image.rgba.data() + (static_cast<std::size_t>(y) * image.width + x) * 4, 4);
        }
    }
    return out;
}

std::optional<Image> uprightLandscapePhoto(const Image& photo) {
    if (!hasPixels(photo)) {
        return std::nullopt;
    }
    int degrees = 0;
    switch (photo.orientation) {
        case 0:
            degrees = 270;
            break;
        case 1:
            degrees = 90;
            break;
        case 2:
            degrees = 180;
            break;
        case 3:
            degrees = 0;
            break;
        default:
            return std::nullopt;
    }
    Image sized = photo;
    if (photo.width > 640 && photo.height > 640) {
        // The short side becomes 1080; the sides as shown are swapped for the sideways values.
        int shownWidth = photo.orientation >= 2 ? photo.height : photo.width;
        int shownHeight = photo.orientation >= 2 ? photo.width : photo.height;
        if (shownWidth <= shownHeight) {
            shownHeight = static_cast<int>(static_cast<long long>(shownHeight) * 1080 / shownWidth);
            shownWidth = 1080;
        } else {
            shownWidth = static_cast<int>(static_cast<long long>(shownWidth) * 1080 / shownHeight);
            shownHeight = 1080;
        }
        sized = photo.orientation >= 2 ? scaledImage(photo, shownHeight, shownWidth)
                                       : scaledImage(photo, shownWidth, shownHeight);
    }
    Image upright = rotatedImage(sized, degrees);
    if (upright.width < upright.height) {
        upright = rotatedImage(upright, 90);
    }
    return upright;
}

}  // namespace orvane::compositor
