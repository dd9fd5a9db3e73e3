// Writes the particle images particle_0.png .. particle_21.png (there is no particle_4.png), the
// emitter's own texture stars-grayscale.png and the map's position marker currentlocation.png.
// Each is a 64 x 64 soft shape on a transparent background, drawn with Cairo's antialiasing and
// soft radial glows so that edges blend cleanly when the texture is sampled premultiplied.
#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <string_view>

#include "tools/images/image_canvas.h"

namespace {

using orvane::engine::CairoPattern;
using orvane::tools::ImageCanvas;

constexpr int kSize = 64;
constexpr double kCentre = kSize / 2.0;
constexpr double kPi = std::numbers::pi;

struct Rgba {
    double r;
    double g;
    double b;
    double a = 1.0;
};

void setColour(cairo_t* cr, Rgba c) {
    cairo_set_source_rgba(cr, c.r, c.g, c.b, c.a);
}

// A radial glow: `colour` at the centre fading to nothing at `radius`.
void glow(cairo_t* cr, double x, double y, double radius, Rgba colour) {
    CairoPattern pattern(cairo_pattern_create_radial(x, y, 0, x, y, radius));
    cairo_pattern_add_color_stop_rgba(pattern.get(), 0, colour.r, colour.g, colour.b, colour.a);
    cairo_pattern_add_color_stop_rgba(pattern.get(), 0.4, colour.r, colour.g, colour.b,
                                      colour.a * 0.45);
    cairo_pattern_add_color_stop_rgba(pattern.get(), 1, colour.r, colour.g, colour.b, 0);
    cairo_set_source(cr, pattern.get());
    cairo_arc(cr, x, y, radius, 0, 2 * kPi);
    cairo_fill(cr);
}

// A star path of `points` tips, the first pointing up.
void starPath(cairo_t* cr, double x, double y, int points, double outer, double inner) {
    for (int i = 0; i < points * 2; ++i) {
        const double r = i % 2 == 0 ? outer : inner;
        const double a = -kPi / 2 + i * kPi / points;
        if (i == 0) {
            cairo_move_to(cr, x + r * std::cos(a), y + r * std::sin(a));
        } else {
            cairo_line_to(cr, x + r * std::cos(a), y + r * std::sin(a));
        }
    }
    cairo_close_path(cr);
}

// A heart filling about `size` pixels around the centre.
void heartPath(cairo_t* cr, double x, double y, double size) {
    const double s = size / 2;
    cairo_move_to(cr, x, y + s * 0.9);
    cairo_curve_to(cr, x - s * 1.3, y + s * 0.05, x - s * 0.9, y - s * 1.05, x, y - s * 0.45);
    cairo_curve_to(cr, x + s * 0.9, y - s * 1.05, x + s * 1.3, y + s * 0.05, x, y + s * 0.9);
    cairo_close_path(cr);
}

// A petal from the origin outward along -y, `length` long and `width` wide.
void petalPath(cairo_t* cr, double length, double width) {
    cairo_move_to(cr, 0, 0);
    cairo_curve_to(cr, -width, -length * 0.3, -width * 0.7, -length * 0.9, 0, -length);
    cairo_curve_to(cr, width * 0.7, -length * 0.9, width, -length * 0.3, 0, 0);
    cairo_close_path(cr);
}

void fillLinear(cairo_t* cr, double x0, double y0, double x1, double y1, Rgba from, Rgba to) {
    CairoPattern pattern(cairo_pattern_create_linear(x0, y0, x1, y1));
    cairo_pattern_add_color_stop_rgba(pattern.get(), 0, from.r, from.g, from.b, from.a);
    cairo_pattern_add_color_stop_rgba(pattern.get(), 1, to.r, to.g, to.b, to.a);
    cairo_set_source(cr, pattern.get());
    cairo_fill_preserve(cr);
}

void star(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 31, {1.0, 0.9, 0.5, 0.6});
    starPath(cr, kCentre, kCentre + 2, 5, 24, 10);
    fillLinear(cr, 0, 8, 0, 56, {1.0, 1.0, 0.85}, {1.0, 0.8, 0.2});
    cairo_new_path(cr);
}

void snowflake(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 30, {0.8, 0.9, 1.0, 0.35});
    setColour(cr, {1, 1, 1, 0.95});
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(cr, 3.2);
    cairo_translate(cr, kCentre, kCentre);
    for (int arm = 0; arm < 6; ++arm) {
        cairo_save(cr);
        cairo_rotate(cr, arm * kPi / 3);
        cairo_move_to(cr, 0, 0);
        cairo_line_to(cr, 0, -25);
        for (double at : {-11.0, -18.0}) {
            cairo_move_to(cr, 0, at);
            cairo_line_to(cr, -6, at - 6);
            cairo_move_to(cr, 0, at);
            cairo_line_to(cr, 6, at - 6);
        }
        cairo_stroke(cr);
        cairo_restore(cr);
    }
}

void heart(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 31, {1.0, 0.3, 0.45, 0.35});
    heartPath(cr, kCentre, kCentre + 2, 44);
    fillLinear(cr, 0, 12, 0, 54, {1.0, 0.45, 0.55}, {0.85, 0.05, 0.2});
    cairo_new_path(cr);
    glow(cr, kCentre - 9, kCentre - 7, 7, {1, 1, 1, 0.7});
}

void petal(cairo_t* cr) {
    cairo_translate(cr, kCentre, kCentre + 22);
    cairo_rotate(cr, 0.25);
    petalPath(cr, 46, 20);
    fillLinear(cr, 0, 0, 0, -46, {0.95, 0.45, 0.6}, {1.0, 0.85, 0.9});
    setColour(cr, {0.85, 0.35, 0.5, 0.6});
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
}

void bubble(cairo_t* cr) {
    CairoPattern body(cairo_pattern_create_radial(kCentre, kCentre, 10, kCentre, kCentre, 27));
    cairo_pattern_add_color_stop_rgba(body.get(), 0, 0.7, 0.9, 1.0, 0.08);
    cairo_pattern_add_color_stop_rgba(body.get(), 0.8, 0.6, 0.85, 1.0, 0.35);
    cairo_pattern_add_color_stop_rgba(body.get(), 1, 0.9, 0.95, 1.0, 0.85);
    cairo_set_source(cr, body.get());
    cairo_arc(cr, kCentre, kCentre, 27, 0, 2 * kPi);
    cairo_fill(cr);
    glow(cr, kCentre - 9, kCentre - 10, 9, {1, 1, 1, 0.95});
}

void sparkle(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 28, {0.7, 0.95, 1.0, 0.6});
    starPath(cr, kCentre, kCentre, 4, 30, 4);
    fillLinear(cr, 0, 2, 0, 62, {1, 1, 1}, {0.8, 0.95, 1.0});
    cairo_new_path(cr);
    glow(cr, kCentre, kCentre, 9, {1, 1, 1, 1});
}

void confetti(cairo_t* cr) {
    struct Piece {
        double x, y, angle;
        Rgba colour;
    };
    constexpr std::array kPieces{
        Piece{18, 18, 0.4, {0.95, 0.2, 0.3}},  Piece{44, 16, -0.7, {0.2, 0.6, 1.0}},
        Piece{32, 34, 1.2, {1.0, 0.85, 0.1}},  Piece{16, 46, -0.2, {0.3, 0.85, 0.4}},
        Piece{46, 46, 0.9, {0.75, 0.3, 0.95}},
    };
    for (const Piece& p : kPieces) {
        cairo_save(cr);
        cairo_translate(cr, p.x, p.y);
        cairo_rotate(cr, p.angle);
        setColour(cr, p.colour);
        cairo_rectangle(cr, -7, -3.5, 14, 7);
        cairo_fill(cr);
        cairo_restore(cr);
    }
}

void leafShape(cairo_t* cr, Rgba base, Rgba tip) {
    cairo_translate(cr, kCentre, kCentre);
    cairo_rotate(cr, -0.6);
    cairo_move_to(cr, 0, 28);
    cairo_curve_to(cr, -22, 10, -16, -18, 0, -28);
    cairo_curve_to(cr, 16, -18, 22, 10, 0, 28);
    cairo_close_path(cr);
    fillLinear(cr, 0, 28, 0, -28, base, tip);
    cairo_new_path(cr);
    setColour(cr, {1, 1, 1, 0.45});
    cairo_set_line_width(cr, 1.5);
    cairo_move_to(cr, 0, 28);
    cairo_line_to(cr, 0, -22);
    for (double y : {-12.0, 0.0, 12.0}) {
        cairo_move_to(cr, 0, y + 6);
        cairo_line_to(cr, -9, y - 2);
        cairo_move_to(cr, 0, y + 6);
        cairo_line_to(cr, 9, y - 2);
    }
    cairo_stroke(cr);
}

void leaf(cairo_t* cr) {
    leafShape(cr, {0.15, 0.5, 0.15}, {0.55, 0.85, 0.3});
}

void dot(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 30, {1, 1, 1, 1});
}

void ring(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 31, {1.0, 0.8, 0.3, 0.25});
    setColour(cr, {1.0, 0.85, 0.35, 0.95});
    cairo_set_line_width(cr, 5);
    cairo_arc(cr, kCentre, kCentre, 20, 0, 2 * kPi);
    cairo_stroke(cr);
}

void flower(cairo_t* cr) {
    cairo_translate(cr, kCentre, kCentre);
    for (int i = 0; i < 5; ++i) {
        cairo_save(cr);
        cairo_rotate(cr, i * 2 * kPi / 5);
        cairo_arc(cr, 0, -15, 11, 0, 2 * kPi);
        fillLinear(cr, 0, -4, 0, -26, {1.0, 0.55, 0.75}, {1.0, 0.85, 0.92});
        cairo_new_path(cr);
        cairo_restore(cr);
    }
    glow(cr, 0, 0, 10, {1.0, 0.85, 0.2, 1});
    setColour(cr, {1.0, 0.75, 0.1});
    cairo_arc(cr, 0, 0, 6, 0, 2 * kPi);
    cairo_fill(cr);
}

void raindrop(cairo_t* cr) {
    cairo_move_to(cr, kCentre, 4);
    cairo_curve_to(cr, kCentre + 4, 18, kCentre + 18, 30, kCentre + 18, 42);
    cairo_arc(cr, kCentre, 42, 18, 0, kPi);
    cairo_curve_to(cr, kCentre - 18, 30, kCentre - 4, 18, kCentre, 4);
    cairo_close_path(cr);
    fillLinear(cr, 0, 4, 0, 60, {0.75, 0.9, 1.0, 0.7}, {0.2, 0.5, 0.95, 0.95});
    cairo_new_path(cr);
    glow(cr, kCentre - 7, 42, 6, {1, 1, 1, 0.8});
}

void autumnLeaf(cairo_t* cr) {
    leafShape(cr, {0.75, 0.15, 0.05}, {1.0, 0.65, 0.1});
}

void firefly(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 31, {0.8, 1.0, 0.3, 0.7});
    glow(cr, kCentre, kCentre, 10, {1.0, 1.0, 0.8, 1});
}

void note(cairo_t* cr) {
    setColour(cr, {0.95, 0.95, 1.0});
    cairo_save(cr);
    cairo_translate(cr, 22, 48);
    cairo_rotate(cr, -0.4);
    cairo_scale(cr, 1.35, 1.0);
    cairo_arc(cr, 0, 0, 8, 0, 2 * kPi);
    cairo_restore(cr);
    cairo_fill(cr);
    cairo_rectangle(cr, 30, 10, 4, 38);
    cairo_fill(cr);
    cairo_move_to(cr, 34, 10);
    cairo_curve_to(cr, 44, 16, 52, 22, 46, 36);
    cairo_curve_to(cr, 48, 26, 42, 22, 34, 20);
    cairo_close_path(cr);
    cairo_fill(cr);
}

void smoke(cairo_t* cr) {
    glow(cr, 24, 36, 22, {0.85, 0.85, 0.88, 0.7});
    glow(cr, 40, 30, 22, {0.9, 0.9, 0.92, 0.7});
    glow(cr, 32, 22, 18, {0.95, 0.95, 0.97, 0.6});
}

void diamond(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 31, {0.6, 0.9, 1.0, 0.35});
    cairo_move_to(cr, kCentre, 6);
    cairo_line_to(cr, 54, 26);
    cairo_line_to(cr, kCentre, 58);
    cairo_line_to(cr, 10, 26);
    cairo_close_path(cr);
    fillLinear(cr, 10, 6, 54, 58, {0.9, 1.0, 1.0}, {0.2, 0.6, 0.95});
    cairo_new_path(cr);
    setColour(cr, {1, 1, 1, 0.6});
    cairo_set_line_width(cr, 1.2);
    cairo_move_to(cr, 10, 26);
    cairo_line_to(cr, 54, 26);
    cairo_move_to(cr, 22, 26);
    cairo_line_to(cr, kCentre, 58);
    cairo_line_to(cr, 42, 26);
    cairo_stroke(cr);
}

void butterfly(cairo_t* cr) {
    cairo_translate(cr, kCentre, kCentre);
    for (double side : {-1.0, 1.0}) {
        cairo_save(cr);
        cairo_scale(cr, side, 1);
        cairo_move_to(cr, 0, -2);
        cairo_curve_to(cr, 10, -30, 32, -26, 26, -6);
        cairo_curve_to(cr, 22, 4, 8, 2, 0, 0);
        cairo_curve_to(cr, 8, 4, 22, 10, 16, 22);
        cairo_curve_to(cr, 10, 30, 2, 16, 0, 2);
        cairo_close_path(cr);
        fillLinear(cr, 0, -26, 0, 26, {1.0, 0.6, 0.1}, {0.9, 0.25, 0.45});
        cairo_new_path(cr);
        cairo_restore(cr);
    }
    setColour(cr, {0.2, 0.12, 0.08});
    cairo_save(cr);
    cairo_scale(cr, 1, 6);
    cairo_arc(cr, 0, 0, 2, 0, 2 * kPi);
    cairo_restore(cr);
    cairo_fill(cr);
}

void moon(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 31, {1.0, 0.95, 0.7, 0.3});
    // The crescent is the disc less a second disc offset to the upper right.
    cairo_push_group(cr);
    setColour(cr, {1.0, 0.95, 0.65});
    cairo_arc(cr, kCentre, kCentre, 22, 0, 2 * kPi);
    cairo_fill(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
    cairo_arc(cr, kCentre + 11, kCentre - 7, 19, 0, 2 * kPi);
    cairo_fill(cr);
    cairo_pop_group_to_source(cr);
    cairo_paint(cr);
}

void sakura(cairo_t* cr) {
    cairo_translate(cr, kCentre, kCentre);
    for (int i = 0; i < 5; ++i) {
        cairo_save(cr);
        cairo_rotate(cr, i * 2 * kPi / 5);
        // A petal with the notch at its tip that marks a cherry blossom.
        cairo_move_to(cr, 0, 0);
        cairo_curve_to(cr, -14, -8, -12, -24, -5, -28);
        cairo_line_to(cr, 0, -23);
        cairo_line_to(cr, 5, -28);
        cairo_curve_to(cr, 12, -24, 14, -8, 0, 0);
        cairo_close_path(cr);
        fillLinear(cr, 0, 0, 0, -28, {1.0, 0.6, 0.72}, {1.0, 0.9, 0.94});
        cairo_new_path(cr);
        cairo_restore(cr);
    }
    glow(cr, 0, 0, 7, {0.95, 0.3, 0.45, 1});
}

void comet(cairo_t* cr) {
    cairo_move_to(cr, 8, 56);
    cairo_line_to(cr, 44, 14);
    cairo_line_to(cr, 50, 20);
    cairo_close_path(cr);
    fillLinear(cr, 8, 56, 47, 17, {1.0, 0.9, 0.6, 0.0}, {1.0, 0.95, 0.8, 0.9});
    cairo_new_path(cr);
    glow(cr, 47, 17, 14, {1, 1, 0.9, 1});
}

void starsGrayscale(cairo_t* cr) {
    glow(cr, kCentre, kCentre, 31, {1, 1, 1, 0.5});
    starPath(cr, kCentre, kCentre + 2, 5, 26, 11);
    fillLinear(cr, 0, 6, 0, 58, {1, 1, 1}, {0.75, 0.75, 0.75});
    cairo_new_path(cr);
}

// A blue dot in a white ring over a soft shadow that falls a little below it.
void currentLocation(cairo_t* cr) {
    glow(cr, kCentre, kCentre + 3, 26, {0, 0, 0, 0.45});
    setColour(cr, {1, 1, 1});
    cairo_arc(cr, kCentre, kCentre, 17, 0, 2 * kPi);
    cairo_fill(cr);
    cairo_arc(cr, kCentre, kCentre, 12.5, 0, 2 * kPi);
    fillLinear(cr, 0, 20, 0, 44, {0.25, 0.6, 1.0}, {0.0, 0.38, 0.9});
    cairo_new_path(cr);
    glow(cr, kCentre - 4, kCentre - 4, 5, {1, 1, 1, 0.5});
}

struct Drawing {
    std::string_view file;
    void (*draw)(cairo_t*);
};

constexpr std::array kDrawings{
    Drawing{"particle_0.png", star},
    Drawing{"particle_1.png", snowflake},
    Drawing{"particle_2.png", heart},
    Drawing{"particle_3.png", petal},
    Drawing{"particle_5.png", bubble},
    Drawing{"particle_6.png", sparkle},
    Drawing{"particle_7.png", confetti},
    Drawing{"particle_8.png", leaf},
    Drawing{"particle_9.png", dot},
    Drawing{"particle_10.png", ring},
    Drawing{"particle_11.png", flower},
    Drawing{"particle_12.png", raindrop},
    Drawing{"particle_13.png", autumnLeaf},
    Drawing{"particle_14.png", firefly},
    Drawing{"particle_15.png", note},
    Drawing{"particle_16.png", smoke},
    Drawing{"particle_17.png", diamond},
    Drawing{"particle_18.png", butterfly},
    Drawing{"particle_19.png", moon},
    Drawing{"particle_20.png", sakura},
    Drawing{"particle_21.png", comet},
    Drawing{"stars-grayscale.png", starsGrayscale},
    Drawing{"currentlocation.png", currentLocation},
};

}  // namespace

int main(int argc, char** argv) {
    const std::string directory = orvane::tools::outputDirectory(argc, argv);
    for (const Drawing& drawing : kDrawings) {
        ImageCanvas canvas(kSize, kSize);
        cairo_set_antialias(canvas.cr(), CAIRO_ANTIALIAS_BEST);
        drawing.draw(canvas.cr());
        canvas.save(directory, drawing.file);
    }
    return 0;
}
