#include "platform/map/MapLettering.h"

#include <cairo.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>

namespace orvane::platform {
namespace {

constexpr const char* kFamilies = "Liberation Sans, WenQuanYi Micro Hei, sans-serif";

struct FontOptionsDestroy {
    void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
};
struct DescriptionFree {
    void operator()(PangoFontDescription* description) const {
        pango_font_description_free(description);
    }
};

void setSource(cairo_t* cr, const MapColour& colour) {
    cairo_set_source_rgba(cr, colour.red, colour.green, colour.blue, colour.alpha);
}

}  // namespace

void MapLettering::GObjectUnref::operator()(void* object) const {
    g_object_unref(object);
}

MapLettering::MapLettering()
    : _fontMap(pango_cairo_font_map_new()),
      _context(pango_font_map_create_context(_fontMap.get())) {
    // Grey antialiasing without hinting: the same words give the same pixels on any machine.
    std::unique_ptr<cairo_font_options_t, FontOptionsDestroy> options(cairo_font_options_create());
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(_context.get(), options.get());
}

MapLettering::Text MapLettering::layOut(const std::string& utf8, const Style& style) const {
    Text text;
    text._style = style;
    text._layout.reset(pango_layout_new(_context.get()));
    std::unique_ptr<PangoFontDescription, DescriptionFree> description(
        pango_font_description_new());
    pango_font_description_set_family(description.get(), kFamilies);
    pango_font_description_set_weight(description.get(),
                                      style.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    pango_font_description_set_absolute_size(description.get(),
                                             std::round(style.pixels * PANGO_SCALE));
    pango_layout_set_font_description(text._layout.get(), description.get());
    pango_layout_set_single_paragraph_mode(text._layout.get(), TRUE);
    pango_layout_set_text(text._layout.get(), utf8.c_str(), static_cast<int>(utf8.size()));
    if (style.maxWidth > 0) {
        const double inner = std::max(1.0, style.maxWidth - 2 * style.haloPixels);
        pango_layout_set_width(text._layout.get(), static_cast<int>(inner * PANGO_SCALE));
        pango_layout_set_ellipsize(text._layout.get(), PANGO_ELLIPSIZE_END);
    }
    int width = 0, height = 0;
    pango_layout_get_pixel_size(text._layout.get(), &width, &height);
    text._width = width + 2 * style.haloPixels;
    text._height = height + 2 * style.haloPixels;
    return text;
}

void MapLettering::draw(cairo_t* cr, const Text& text, double x, double y) const {
    if (!text._layout) {
        return;
    }
    const Style& style = text._style;
    cairo_save(cr);
    cairo_move_to(cr, x + style.haloPixels, y + style.haloPixels);
    if (style.haloPixels > 0) {
        pango_cairo_layout_path(cr, text._layout.get());
        setSource(cr, style.halo);
        cairo_set_line_width(cr, 2 * style.haloPixels);
        cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
        cairo_stroke(cr);
        cairo_move_to(cr, x + style.haloPixels, y + style.haloPixels);
    }
    setSource(cr, style.fill);
    pango_cairo_show_layout(cr, text._layout.get());
    // Showing the layout leaves the move as the current point, which the path would keep.
    cairo_new_path(cr);
    cairo_restore(cr);
}

}  // namespace orvane::platform
