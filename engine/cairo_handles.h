// Owning handles for Cairo's image surfaces and drawing contexts.
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

using CairoSurface = std::unique_ptr<cairo_surface_t, CairoSurfaceDeleter>;
using Cairo = std::unique_ptr<cairo_t, CairoDeleter>;

}  // namespace orvane::engine
