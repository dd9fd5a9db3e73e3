// Writes the film filters' lookup images lomo0.png .. lomo10.png.
//
// The filter shader replaces channel c of a fragment at (s, t) by the same channel of the lookup
// image sampled at (s, 0.75 - c * 0.5). With 510 rows and linear filtering, input k/255 lands on
// the centre of row 382 - k, so row i holds the output for input (382 - i) / 255; rows above 127
// and below 382 repeat the end values, which is what clamping would give. A look is a curve per
// channel of the input x in 0..1, and may also depend on the column's s in 0..1 (grain,
// vignettes). Every curve is monotonic in x, so no look folds tones over.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "tools/images/image_canvas.h"

namespace {

using orvane::tools::ImageCanvas;

constexpr int kRows = 510;
constexpr int kTopRow = 127;     // input 1
constexpr int kBottomRow = 382;  // input 0

struct Rgb {
    double r;
    double g;
    double b;
};

double gamma(double x, double g) {
    return std::pow(x, g);
}

// An S-shaped contrast curve through (0, 0), (0.5, 0.5) and (1, 1); steeper as `a` grows.
double sCurve(double x, double a) {
    return 0.5 + 0.5 * std::tanh(a * (x - 0.5)) / std::tanh(a * 0.5);
}

// Darkens towards the left and right edges of the frame.
double vignette(double s, double strength) {
    const double d = 2.0 * s - 1.0;
    return 1.0 - strength * d * d;
}

// A fixed grain value in -1..1 per column: an integer hash, so the grain is the same on every
// build.
double grain(int column) {
    std::uint32_t h = static_cast<std::uint32_t>(column) * 0x9E3779B9u + 0x7F4A7C15u;
    h ^= h >> 16;
    h *= 0x85EBCA6Bu;
    h ^= h >> 13;
    h *= 0xC2B2AE35u;
    h ^= h >> 16;
    return static_cast<double>(h) / 4294967295.0 * 2.0 - 1.0;
}

Rgb none(double x, double) {
    return {x, x, x};
}

// Faded: the blacks lifted and warm, the whites a little lowered.
Rgb instant(double x, double) {
    return {0.10 + 0.87 * gamma(x, 0.95), 0.07 + 0.87 * x, 0.05 + 0.80 * gamma(x, 1.08)};
}

// Gritty: each column shifted by its own grain, equally in every channel, on a flatter curve.
Rgb noise(double x, double s) {
    const double v = 0.03 + 0.94 * x + 0.05 * grain(static_cast<int>(s * 256.0));
    return {v, v, v};
}

Rgb cold(double x, double) {
    return {0.96 * gamma(x, 1.12), 0.02 + 0.97 * gamma(x, 1.02), 0.06 + 0.94 * gamma(x, 0.85)};
}

Rgb warm(double x, double) {
    return {0.04 + 0.96 * gamma(x, 0.85), 0.02 + 0.96 * gamma(x, 0.97), 0.92 * gamma(x, 1.15)};
}

// Inverted: light where the picture is dark, with blue shadows and a bluish white.
Rgb xray(double x, double) {
    const double y = 1.0 - x;
    return {0.05 + 0.75 * gamma(y, 1.1), 0.08 + 0.85 * y, 0.15 + 0.85 * gamma(y, 0.9)};
}

// Sepia toning on a gentle S-curve, with a vignette.
Rgb classic(double x, double s) {
    const double t = sCurve(x, 1.5);
    const double v = vignette(s, 0.35);
    return {v * (0.08 + 0.90 * gamma(t, 0.9)), v * (0.05 + 0.85 * t),
            v * (0.03 + 0.65 * gamma(t, 1.2))};
}

// Strong contrast in every channel, which also deepens saturation.
Rgb supper(double x, double) {
    return {sCurve(gamma(x, 0.95), 5.0), sCurve(x, 4.5), sCurve(gamma(x, 1.05), 4.5)};
}

// A contrast curve alone: the colour matrix of this filter makes the picture grey.
Rgb mono(double x, double) {
    const double v = sCurve(x, 3.0);
    return {v, v, v};
}

// Cross-processed: contrasty red, lifted green, flat yellowed blue; a soft vignette.
Rgb mix1(double x, double s) {
    const double v = vignette(s, 0.2);
    return {v * sCurve(x, 3.0), v * (0.03 + 0.94 * gamma(x, 0.9)), v * (0.15 + 0.62 * x)};
}

// Teal shadows and warm highlights, with a strong vignette.
Rgb mix2(double x, double s) {
    const double v = vignette(s, 0.45);
    return {v * sCurve(gamma(x, 1.1), 2.5), v * (0.02 + 0.95 * x),
            v * (0.10 + 0.80 * gamma(x, 0.8) - 0.12 * x * x)};
}

struct Look {
    std::string_view file;
    int width;  // 256 for looks that vary across the frame, else 4
    Rgb (*curve)(double x, double s);
};

constexpr std::array kLooks{
    Look{"lomo0.png", 4, instant},   Look{"lomo1.png", 256, noise}, Look{"lomo2.png", 4, cold},
    Look{"lomo3.png", 4, warm},      Look{"lomo4.png", 4, none},    Look{"lomo5.png", 4, xray},
    Look{"lomo6.png", 256, classic}, Look{"lomo7.png", 4, supper},  Look{"lomo8.png", 4, mono},
    Look{"lomo9.png", 256, mix1},    Look{"lomo10.png", 256, mix2},
};

std::uint8_t toByte(double v) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
}

void writeLook(const Look& look, const std::string& directory) {
    ImageCanvas canvas(look.width, kRows);
    for (int row = 0; row < kRows; ++row) {
        const int k = kBottomRow - std::clamp(row, kTopRow, kBottomRow);
        const double x = k / 255.0;
        for (int column = 0; column < look.width; ++column) {
            const double s = (column + 0.5) / look.width;
            const Rgb out = look.curve(x, s);
            canvas.setPixel(column, row, toByte(out.r), toByte(out.g), toByte(out.b));
        }
    }
    canvas.save(directory, look.file);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string directory = orvane::tools::outputDirectory(argc, argv);
    for (const Look& look : kLooks) {
        writeLook(look, directory);
    }
    return 0;
}
