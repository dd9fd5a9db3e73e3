#include "platform/image/bitmap_drawing.h"

#include <algorithm>
#include <cmath>

#include "platform/image/cairo_handles.h"

namespace orvane::platform {
namespace {

// Cairo takes writable pixels for any image surface, but never writes to one it only paints from.
CairoSurface readingSurface(const Bitmap& bitmap) {
    return surfaceOver(const_cast<Bitmap&>(bitmap));
}

}  // namespace

void drawCentred(Bitmap& target, const Bitmap& image, double x, double y, double scale) {
    if (target.empty() || image.empty() || !(scale > 0)) {
        return;
    }
    CairoSurface sourceSurface = readingSurface(image);
    CairoSurface targetSurface = surfaceOver(target);
    Cairo cr(cairo_create(targetSurface.get()));
    cairo_translate(cr.get(), x, y);
    cairo_scale(cr.get(), scale, scale);
    cairo_set_source_surface(cr.get(), sourceSurface.get(), -image.width / 2.0,
                             -image.height / 2.0);
    cairo_pattern_set_filter(cairo_get_source(cr.get()), CAIRO_FILTER_GOOD);
    cairo_paint(cr.get());
    cr.reset();
    cairo_surface_flush(targetSurface.get());
}

Bitmap withAlphaFactor(const Bitmap& bitmap, double factor) {
    Bitmap result = Bitmap::transparent(bitmap.width, bitmap.height);
    if (result.empty()) {
        return result;
    }
    CairoSurface sourceSurface = readingSurface(bitmap);
    CairoSurface targetSurface = surfaceOver(result);
    Cairo cr(cairo_create(targetSurface.get()));
    cairo_set_source_surface(cr.get(), sourceSurface.get(), 0, 0);
    cairo_paint_with_alpha(cr.get(), std::clamp(factor, 0.0, 1.0));
    cr.reset();
    cairo_surface_flush(targetSurface.get());
    return result;
}

}  // namespace orvane::platform
