// Points, sizes and colours of the scene engine.
#pragma once

#include <cstdint>

namespace orvane::engine {

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
