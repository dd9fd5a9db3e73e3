#include "platform/capture/test_scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace orvane::platform {
namespace {

struct Bgra {
    std::uint8_t b, g, r, a;
};

// The classic bar order: white, yellow, cyan, green, magenta, red, blue, black.
constexpr std::array<Bgra, 8> kBars = {{{235, 235, 235, 255},
                                        {16, 235, 235, 255},
                                        {235, 235, 16, 255},
                                        {16, 235, 16, 255},
                                        {235, 16, 235, 255},
                                        {16, 16, 235, 255},
                                        {235, 16, 16, 255},
                                        {16, 16, 16, 255}}};

}  // namespace

void drawTestScene(PixelBuffer& buffer, double seconds) {
    PixelBufferWriteLock lock(buffer);
    const int width = buffer.width();
    const int height = buffer.height();
    const int barsBottom = height * 2 / 3;
    std::uint8_t* base = lock.data();

    // The bars and the ramp are the same on every row of their band: draw one row, copy it.
    std::uint8_t* firstBar = base;
    for (int x = 0; x < width; ++x) {
        const Bgra c = kBars[static_cast<std::size_t>(x) * kBars.size() / width];
        std::memcpy(firstBar + x * 4, &c, 4);
    }
    for (int y = 1; y < barsBottom; ++y) {
        std::memcpy(base + y * buffer.bytesPerRow(), firstBar, static_cast<std::size_t>(width) * 4);
    }
    if (barsBottom < height) {
        std::uint8_t* firstRamp = base + barsBottom * buffer.bytesPerRow();
        for (int x = 0; x < width; ++x) {
            const auto v = static_cast<std::uint8_t>(x * 255 / std::max(1, width - 1));
            const Bgra c{v, v, v, 255};
            std::memcpy(firstRamp + x * 4, &c, 4);
        }
        for (int y = barsBottom + 1; y < height; ++y) {
            std::memcpy(base + y * buffer.bytesPerRow(), firstRamp,
                        static_cast<std::size_t>(width) * 4);
        }
    }

    // An orange disc going round once every four seconds.
    const double angle = seconds * 2.0 * M_PI / 4.0;
    const double radius = std::min(width, height) / 10.0;
    const double cx = width / 2.0 + std::cos(angle) * width / 4.0;
    const double cy = height / 2.0 + std::sin(angle) * height / 4.0;
    const int y0 = std::max(0, static_cast<int>(cy - radius));
    const int y1 = std::min(height - 1, static_cast<int>(cy + radius));
    for (int y = y0; y <= y1; ++y) {
        const double dy = y + 0.5 - cy;
        const double half = std::sqrt(std::max(0.0, radius * radius - dy * dy));
        const int x0 = std::max(0, static_cast<int>(cx - half));
        const int x1 = std::min(width - 1, static_cast<int>(cx + half));
        std::uint8_t* row = base + y * buffer.bytesPerRow();
        for (int x = x0; x <= x1; ++x) {
            const Bgra c{0, 140, 255, 255};
            std::memcpy(row + x * 4, &c, 4);
        }
    }
}

}  // namespace orvane::platform
