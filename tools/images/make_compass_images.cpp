// Writes the compass images: the needle luopanzhen.png and the dials luopandi.png (N E S W),
// luopandicn.png (simplified Chinese) and luopanditw.png (traditional Chinese). All are 512 x 512
// so the compositor can draw needle and dial into one viewport; the needle points to the top row,
// north. Lettering goes through Pango and fontconfig, and a letter that the named font cannot
// draw ends the program with an error: a dial with a box or a fallback font in it is not shipped.
#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <string>
#include <string_view>

#include <pango/pangocairo.h>

#include "tools/images/image_canvas.h"

namespace {

using orvane::engine::CairoPattern;
using orvane::tools::fail;
using orvane::tools::ImageCanvas;

constexpr int kSize = 512;
constexpr double kCentre = kSize / 2.0;
constexpr double kPi = std::numbers::pi;
constexpr std::string_view kProgram = "make_compass_images";

struct GObjectDeleter {
    void operator()(void* object) const { g_object_unref(object); }
};
struct FontDescriptionDeleter {
    void operator()(PangoFontDescription* d) const { pango_font_description_free(d); }
};
using Layout = std::unique_ptr<PangoLayout, GObjectDeleter>;
using FontDescription = std::unique_ptr<PangoFontDescription, FontDescriptionDeleter>;

// Checks that every glyph of `layout` exists and comes from `family` itself, not a fallback.
void requireGlyphs(PangoLayout* layout, std::string_view text, std::string_view family) {
    if (pango_layout_get_unknown_glyphs_count(layout) > 0) {
        fail(kProgram, "no glyph for \"" + std::string(text) + "\" in any font");
    }
    PangoLayoutIter* iter = pango_layout_get_iter(layout);
    do {
        PangoLayoutRun* run = pango_layout_iter_get_run_readonly(iter);
        if (run == nullptr) {
            continue;
        }
        FontDescription used(pango_font_describe(run->item->analysis.font));
        const char* usedFamily = pango_font_description_get_family(used.get());
        if (usedFamily == nullptr ||
            g_ascii_strcasecmp(usedFamily, std::string(family).c_str()) != 0) {
            pango_layout_iter_free(iter);
            fail(kProgram, "\"" + std::string(text) + "\" is not drawn by the font \"" +
                               std::string(family) + "\" but by \"" +
                               (usedFamily != nullptr ? usedFamily : "nothing") +
                               "\": install it (fontconfig must find it by that name)");
        }
    } while (pango_layout_iter_next_run(iter));
    pango_layout_iter_free(iter);
}

// Draws `text` centred on the dial at `radius` and `bearing` (radians clockwise from north),
// turned so that its top faces outward.
void letter(cairo_t* cr, std::string_view text, std::string_view family, double pixels,
            double radius, double bearing) {
    Layout layout(pango_cairo_create_layout(cr));
    FontDescription font(pango_font_description_new());
    pango_font_description_set_family(font.get(), std::string(family).c_str());
    pango_font_description_set_weight(font.get(), PANGO_WEIGHT_BOLD);
    pango_font_description_set_absolute_size(font.get(), pixels * PANGO_SCALE);
    pango_layout_set_font_description(layout.get(), font.get());
    pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
    requireGlyphs(layout.get(), text, family);

    PangoRectangle ink;
    pango_layout_get_pixel_extents(layout.get(), &ink, nullptr);
    cairo_save(cr);
    cairo_translate(cr, kCentre, kCentre);
    cairo_rotate(cr, bearing);
    cairo_translate(cr, 0, -radius);
    cairo_move_to(cr, -ink.x - ink.width / 2.0, -ink.y - ink.height / 2.0);
    pango_cairo_update_layout(cr, layout.get());
    pango_cairo_show_layout(cr, layout.get());
    cairo_restore(cr);
}

struct Dial {
    std::string_view file;
    std::string_view family;
    std::array<std::string_view, 4> cardinals;  // north, east, south, west
};

constexpr std::string_view kLatin = "Liberation Sans";
constexpr std::string_view kChinese = "WenQuanYi Micro Hei";

constexpr std::array kDials{
    Dial{"luopandi.png", kLatin, {"N", "E", "S", "W"}},
    Dial{"luopandicn.png", kChinese, {"北", "东", "南", "西"}},
    Dial{"luopanditw.png", kChinese, {"北", "東", "南", "西"}},
};

void drawDial(const Dial& dial, const std::string& directory) {
    ImageCanvas canvas(kSize, kSize);
    cairo_t* cr = canvas.cr();

    // A dark translucent face, so the dial reads over any picture, inside a white rim.
    CairoPattern face(cairo_pattern_create_radial(kCentre, kCentre, 60, kCentre, kCentre, 250));
    cairo_pattern_add_color_stop_rgba(face.get(), 0, 0.05, 0.05, 0.08, 0.25);
    cairo_pattern_add_color_stop_rgba(face.get(), 1, 0.05, 0.05, 0.08, 0.55);
    cairo_set_source(cr, face.get());
    cairo_arc(cr, kCentre, kCentre, 250, 0, 2 * kPi);
    cairo_fill(cr);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.95);
    cairo_set_line_width(cr, 4);
    cairo_arc(cr, kCentre, kCentre, 246, 0, 2 * kPi);
    cairo_stroke(cr);
    cairo_set_line_width(cr, 1.5);
    cairo_arc(cr, kCentre, kCentre, 128, 0, 2 * kPi);
    cairo_stroke(cr);

    // A tick every 5 degrees, longer every 10 and longest every 30.
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    for (int degree = 0; degree < 360; degree += 5) {
        const double length = degree % 30 == 0 ? 26 : degree % 10 == 0 ? 17 : 10;
        cairo_set_line_width(cr, degree % 30 == 0 ? 4 : degree % 10 == 0 ? 2.5 : 1.5);
        const double a = degree * kPi / 180;
        const double outer = 238;
        cairo_move_to(cr, kCentre + outer * std::sin(a), kCentre - outer * std::cos(a));
        cairo_line_to(cr, kCentre + (outer - length) * std::sin(a),
                      kCentre - (outer - length) * std::cos(a));
        cairo_stroke(cr);
    }
    for (int degree = 30; degree < 360; degree += 30) {
        if (degree % 90 != 0) {
            letter(cr, std::to_string(degree), kLatin, 22, 188, degree * kPi / 180);
        }
    }
    for (int i = 0; i < 4; ++i) {
        if (i == 0) {
            cairo_set_source_rgb(cr, 0.95, 0.2, 0.15);
        } else {
            cairo_set_source_rgb(cr, 1, 1, 1);
        }
        letter(cr, dial.cardinals[i], dial.family, 52, 176, i * kPi / 2);
    }
    canvas.save(directory, dial.file);
}

// A diamond needle through the centre: red half to the north (the top row), light half to the
// south, and a cap over the pivot.
void drawNeedle(const std::string& directory) {
    ImageCanvas canvas(kSize, kSize);
    cairo_t* cr = canvas.cr();
    const double reach = 200;
    const double halfWidth = 16;
    struct Half {
        double direction;  // -1 north (up), +1 south
        double r, g, b;
    };
    for (const Half& half : {Half{-1, 0.9, 0.12, 0.1}, Half{1, 0.92, 0.92, 0.95}}) {
        // Each half in two facets, one lighter, as if lit from the left.
        for (double side : {-1.0, 1.0}) {
            const double shade = side < 0 ? 1.0 : 0.78;
            cairo_move_to(cr, kCentre, kCentre + half.direction * reach);
            cairo_line_to(cr, kCentre + side * halfWidth, kCentre);
            cairo_line_to(cr, kCentre, kCentre);
            cairo_close_path(cr);
            cairo_set_source_rgb(cr, half.r * shade, half.g * shade, half.b * shade);
            cairo_fill(cr);
        }
    }
    CairoPattern cap(
        cairo_pattern_create_radial(kCentre - 4, kCentre - 4, 1, kCentre, kCentre, 14));
    cairo_pattern_add_color_stop_rgb(cap.get(), 0, 0.95, 0.95, 0.95);
    cairo_pattern_add_color_stop_rgb(cap.get(), 1, 0.45, 0.45, 0.5);
    cairo_set_source(cr, cap.get());
    cairo_arc(cr, kCentre, kCentre, 14, 0, 2 * kPi);
    cairo_fill(cr);
    canvas.save(directory, "luopanzhen.png");
}

}  // namespace

int main(int argc, char** argv) {
    const std::string directory = orvane::tools::outputDirectory(argc, argv);
    drawNeedle(directory);
    for (const Dial& dial : kDials) {
        drawDial(dial, directory);
    }
    return 0;
}
