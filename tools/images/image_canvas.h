// The drawing surface every image generator writes through: an ARGB32 Cairo surface of a fixed
// size, cleared to transparent, saved as an RGBA PNG. Any Cairo failure ends the program with a
// message naming the file, so a broken generator fails the build instead of leaving a hole.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <cairo.h>

#include "engine/cairo_handles.h"

namespace orvane::tools {

class ImageCanvas {
  public:
    ImageCanvas(int width, int height);

    cairo_t* cr() const { return _cr.get(); }
    cairo_surface_t* surface() const { return _surface.get(); }
    int width() const { return _width; }
    int height() const { return _height; }

    // Sets one pixel from straight (not premultiplied) components; alpha 255 keeps the colour
    // exactly, which the lookup ramps rely on.
    void setPixel(int x, int y, std::uint8_t r, std::uint8_t g, std::uint8_t b,
                  std::uint8_t a = 255);

    // Writes `directory`/`name`; exits with a message on any failure.
    void save(const std::string& directory, std::string_view name);

  private:
    int _width;
    int _height;
    engine::CairoSurface _surface;
    engine::Cairo _cr;
};

// Prints "NAME: MESSAGE" to stderr and exits with status 1.
[[noreturn]] void fail(std::string_view program, const std::string& message);

// The output directory from the command line (the only argument); exits with usage otherwise.
std::string outputDirectory(int argc, char** argv);

}  // namespace orvane::tools
