// Owning handles for Cairo's image surfaces, drawing contexts and patterns; header-only, so the
// build's image generators share them too.
#pragma once

#include <memory>

#include <cairo.h>

namespace orvane::engine {

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

}  // namespace orvane::engine
