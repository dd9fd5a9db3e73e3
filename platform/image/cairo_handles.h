// Owning handles for Cairo's image surfaces, drawing contexts and patterns, and the surface that
// draws straight into a Bitmap's pixels. Header-only, so the build's image generators share them.
#pragma once

#include <cairo.h>

#include <memory>

#include "platform/image/Bitmap.h"

namespace orvane::platform {

struct CairoSurfaceDeleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct CairoDeleter {
    void operator()(cairo_t* cr) const { cairo_destroy(cr); }
};
struct CairoPatternDeleter {
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};

using CairoSurface = std::unique_ptr<cairo_surface_t, CairoSurfaceDeleter>;
using Cairo = std::unique_ptr<cairo_t, CairoDeleter>;
using CairoPattern = std::unique_ptr<cairo_pattern_t, CairoPatternDeleter>;

// A surface over the bitmap's own pixels: what is drawn lands in the bitmap once the surface is
// flushed or destroyed. The bitmap must outlive the surface and keep its size meanwhile.
inline CairoSurface surfaceOver(Bitmap& bitmap) {
    return CairoSurface(cairo_image_surface_create_for_data(
        bitmap.pixels.data(), CAIRO_FORMAT_ARGB32, bitmap.width, bitmap.height, bitmap.stride));
}

}  // namespace orvane::platform
