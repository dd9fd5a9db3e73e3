#include "engine/text_raster.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <unordered_map>

#include "engine/cairo_handles.h"
#include "engine/font_names.h"

namespace orvane::engine {
namespace {

// Cairo's image surfaces end at this side.
constexpr int kMaxSide = 32767;
// Larger sizes overflow Pango's fixed-point units and no bitmap could hold them.
constexpr float kMaxFontSize = 4096.0f;

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <typename T>
using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

struct DescriptionFree {
    void operator()(PangoFontDescription* description) const {
        pango_font_description_free(description);
    }
};
using DescriptionPtr = std::unique_ptr<PangoFontDescription, DescriptionFree>;

struct GFree {
    void operator()(gchar* text) const { g_free(text); }
};
struct IterFree {
    void operator()(PangoLayoutIter* iter) const { pango_layout_iter_free(iter); }
};
struct FontOptionsDestroy {
    void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
};

// One thread's font map and context, with the requests its font names resolved to.
class ThreadFonts {
  public:
    ThreadFonts()
        : _fontMap(pango_cairo_font_map_new()),
          _context(pango_font_map_create_context(_fontMap.get())) {
        // Grey antialiasing without hinting: the same text gives the same pixels at any position
        // and on any machine's fontconfig defaults.
        std::unique_ptr<cairo_font_options_t, FontOptionsDestroy> options(
            cairo_font_options_create());
        cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
        cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
        pango_cairo_context_set_font_options(_context.get(), options.get());
    }

    PangoFontMap* fontMap() const { return _fontMap.get(); }
    PangoContext* context() const { return _context.get(); }

    // Asking fontconfig for a PostScript name lists every face, so each name is asked once.
    const FontRequest& request(const std::string& fontName) {
        auto found = _requests.find(fontName);
        if (found == _requests.end()) {
            found = _requests.emplace(fontName, fontRequestFor(fontName)).first;
        }
        return found->second;
    }

  private:
    GObjectPtr<PangoFontMap> _fontMap;
    GObjectPtr<PangoContext> _context;
    std::unordered_map<std::string, FontRequest> _requests;
};

ThreadFonts& threadFonts() {
    thread_local ThreadFonts fonts;
    return fonts;
}

DescriptionPtr describe(const FontRequest& request, float pixels) {
    DescriptionPtr description(pango_font_description_new());
    pango_font_description_set_family(description.get(), request.families.c_str());
    pango_font_description_set_weight(description.get(), static_cast<PangoWeight>(request.weight));
    pango_font_description_set_style(description.get(),
                                     request.italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
    pango_font_description_set_absolute_size(description.get(), std::round(pixels * PANGO_SCALE));
    return description;
}

PangoAlignment pangoAlignment(int alignment) {
    switch (alignment) {
        case 1:
            return PANGO_ALIGN_CENTER;
        case 2:
            return PANGO_ALIGN_RIGHT;
        default:
            return PANGO_ALIGN_LEFT;
    }
}

bool usableSize(float fontSize) {
    return std::isfinite(fontSize) && fontSize > 0.0f;
}

GObjectPtr<PangoLayout> makeLayout(const std::string& utf8, const TextStyle& style) {
    ThreadFonts& fonts = threadFonts();
    GObjectPtr<PangoLayout> layout(pango_layout_new(fonts.context()));
    // The stamp's position decides the alignment, whatever the script's direction.
    pango_layout_set_auto_dir(layout.get(), FALSE);
    pango_layout_set_alignment(layout.get(), pangoAlignment(style.alignment));
    const DescriptionPtr description =
        describe(fonts.request(style.fontName), std::min(style.fontSize, kMaxFontSize));
    pango_layout_set_font_description(layout.get(), description.get());

    // Broken UTF-8 (a damaged settings file) shows replacement characters rather than nothing.
    const auto length = static_cast<gssize>(utf8.size());
    if (g_utf8_validate(utf8.data(), length, nullptr)) {
        pango_layout_set_text(layout.get(), utf8.data(), static_cast<int>(length));
    } else {
        const std::unique_ptr<gchar, GFree> valid(g_utf8_make_valid(utf8.data(), length));
        pango_layout_set_text(layout.get(), valid.get(), -1);
    }

    if (style.wrapWidth > 0) {
        int width = 0;
        pango_layout_get_pixel_size(layout.get(), &width, nullptr);
        if (width > style.wrapWidth) {
            pango_layout_set_width(layout.get(), style.wrapWidth * PANGO_SCALE);
            pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD);
        }
    }
    return layout;
}

// The bitmap's height when it keeps only whole lines within `limit`, its top at layout y `top`.
int heightOfWholeLines(PangoLayout* layout, int top, int pad, int limit) {
    std::unique_ptr<PangoLayoutIter, IterFree> iter(pango_layout_get_iter(layout));
    int fitted = 0;
    do {
        int lineTop = 0;
        int lineBottom = 0;
        pango_layout_iter_get_line_yrange(iter.get(), &lineTop, &lineBottom);
        const int bottom = PANGO_PIXELS_CEIL(lineBottom) - top + pad;
        if (bottom > limit) {
            break;
        }
        fitted = bottom;
    } while (pango_layout_iter_next_line(iter.get()));
    return fitted > 0 ? fitted : limit;
}

void setSource(cairo_t* cr, Color3B color) {
    cairo_set_source_rgb(cr, color.r / 255.0, color.g / 255.0, color.b / 255.0);
}

}  // namespace

// Every program that lays out text links this file, so the sanitizers learn here what to leave
// alone inside the font libraries, which are built without them.
#if defined(__SANITIZE_ADDRESS__)
// Fontconfig leaks part of the configuration it parses, and Pango's threads leave patterns and
// font sets behind at exit, more or fewer by their timing. Fontconfig is built without frame
// pointers, so its frame is the only one a leak report can be matched by.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
#endif
#if defined(__SANITIZE_THREAD__)
// Pango loads fontconfig's configuration and matches fonts on threads of its own, and these
// libraries hand data between threads through GLib's futex-based locks and through atomics,
// none of which the race detector sees.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libfontconfig.so\n"
           "race:libglib-2.0.so\n"
           "race:libharfbuzz.so\n"
           "race:libpango-1.0.so\n"
           "race:libpangoft2-1.0.so\n";
}
#endif

TextBitmap rasterizeText(const std::string& utf8, const TextStyle& style) {
    if (utf8.empty() || !usableSize(style.fontSize)) {
        return {};
    }
    const GObjectPtr<PangoLayout> layout = makeLayout(utf8, style);

    PangoRectangle ink{};
    PangoRectangle logical{};
    pango_layout_get_pixel_extents(layout.get(), &ink, &logical);
    if (logical.width <= 0 || logical.height <= 0) {
        return {};
    }
    int left = logical.x;
    int top = logical.y;
    int right = logical.x + logical.width;
    int bottom = logical.y + logical.height;
    if (ink.width > 0 && ink.height > 0) {
        left = std::min(left, ink.x);
        top = std::min(top, ink.y);
        right = std::max(right, ink.x + ink.width);
        bottom = std::max(bottom, ink.y + ink.height);
    }

    const float fontSize = std::min(style.fontSize, kMaxFontSize);
    const bool outline = style.stroke && style.strokeSize != 0.0f;
    const bool fill = !outline || style.strokeSize < 0.0f;
    const double lineWidth = outline ? std::fabs(style.strokeSize) / 100.0 * fontSize : 0.0;
    // A stroke centred on the glyphs' edges reaches half its width beyond the ink.
    const int pad = static_cast<int>(std::ceil(lineWidth / 2.0));
    left -= pad;
    top -= pad;
    right += pad;
    bottom += pad;

    TextBitmap bitmap;
    bitmap.width = std::min(right - left, kMaxSide);
    bitmap.height = std::min(bottom - top, kMaxSide);
    if (style.maxHeight > 0 && bitmap.height > style.maxHeight) {
        bitmap.cut = true;
        bitmap.height = heightOfWholeLines(layout.get(), top, pad, style.maxHeight);
    }

    const CairoSurface surface(
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, bitmap.width, bitmap.height));
    if (const cairo_status_t status = cairo_surface_status(surface.get());
        status != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error(std::string("cannot make a text bitmap: ") +
                                 cairo_status_to_string(status));
    }
    {
        const Cairo cr(cairo_create(surface.get()));
        cairo_translate(cr.get(), -left, -top);
        if (outline) {
            cairo_move_to(cr.get(), 0, 0);
            pango_cairo_layout_path(cr.get(), layout.get());
            setSource(cr.get(), style.strokeColor);
            cairo_set_line_width(cr.get(), lineWidth);
            cairo_set_line_join(cr.get(), CAIRO_LINE_JOIN_ROUND);
            cairo_set_line_cap(cr.get(), CAIRO_LINE_CAP_ROUND);
            cairo_stroke(cr.get());
        }
        if (fill) {
            cairo_move_to(cr.get(), 0, 0);
            setSource(cr.get(), style.fill);
            pango_cairo_show_layout(cr.get(), layout.get());
        }
    }
    cairo_surface_flush(surface.get());

    // Cairo keeps each pixel as one native-endian word 0xAARRGGBB, premultiplied.
    const unsigned char* data = cairo_image_surface_get_data(surface.get());
    const int stride = cairo_image_surface_get_stride(surface.get());
    bitmap.rgba.resize(static_cast<std::size_t>(bitmap.width) * bitmap.height * 4);
    std::uint8_t* out = bitmap.rgba.data();
    for (int y = 0; y < bitmap.height; ++y) {
        const unsigned char* row = data + static_cast<std::ptrdiff_t>(y) * stride;
        for (int x = 0; x < bitmap.width; ++x) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, row + static_cast<std::ptrdiff_t>(x) * 4, sizeof pixel);
            *out++ = static_cast<std::uint8_t>(pixel >> 16);
            *out++ = static_cast<std::uint8_t>(pixel >> 8);
            *out++ = static_cast<std::uint8_t>(pixel);
            *out++ = static_cast<std::uint8_t>(pixel >> 24);
        }
    }
    return bitmap;
}

ResolvedFont resolveFont(const std::string& fontName) {
    ThreadFonts& fonts = threadFonts();
    const DescriptionPtr description = describe(fonts.request(fontName), 20.0f);
    const GObjectPtr<PangoFont> font(
        pango_font_map_load_font(fonts.fontMap(), fonts.context(), description.get()));
    if (!font) {
        return {};
    }
    const DescriptionPtr face(pango_font_describe(font.get()));
    const char* family = pango_font_description_get_family(face.get());
    return {family != nullptr ? family : "",
            static_cast<int>(pango_font_description_get_weight(face.get())),
            pango_font_description_get_style(face.get()) != PANGO_STYLE_NORMAL};
}

int unknownGlyphCount(const std::string& utf8, const TextStyle& style) {
    if (utf8.empty() || !usableSize(style.fontSize)) {
        return 0;
    }
    return pango_layout_get_unknown_glyphs_count(makeLayout(utf8, style).get());
}

}  // namespace orvane::engine
