// Points, sizes and colours of the scene engine.
#pragma once

#include <cstdint>

namespace orvane::engine {

// The side in pixels of the square the stamp is drawn in and every render target of the scene
// spans: offsets run from -kTextureSide to +kTextureSide on each axis, two units to a pixel.
inline constexpr int kTextureSide = 1280;

struct Point {
    float x = 0.0f;
    float y = 0.0f;
    friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
    float width = 0.0f;
    float height = 0.0f;
    friend bool operator==(const Size&, const Size&) = default;
};

// A colour of 8-bit components, as labels and sprites take them.
struct Color3B {
    std::uint8_t r = 255;
    std::uint8_t g = 255;
    std::uint8_t b = 255;
    friend bool operator==(const Color3B&, const Color3B&) = default;
};

}  // namespace orvane::engine
