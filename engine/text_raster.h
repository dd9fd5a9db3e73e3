// Text laid out with Pango and drawn with Cairo into premultiplied RGBA pixels, on the CPU.
//
// Threads: any thread may call these functions. Pango's font maps must not be shared between
// threads, so each calling thread keeps its own font map and context, made on its first call and
// released when the thread ends.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/geometry.h"

namespace orvane::engine {

struct TextStyle {
    std::string fontName;   // a PostScript name ("ArialMT") or a family ("Liberation Sans")
    float fontSize = 0.0f;  // pixels
    Color3B fill;
    bool stroke = false;
    Color3B strokeColor{0, 0, 0};
    // Negative: fill and outline; positive: the outline alone; zero: no outline. The outline is
    // |strokeSize| percent of the font size wide, centred on the glyphs' edges.
    float strokeSize = 0.0f;
    int alignment = 0;  // inner lines: 0 left, 1 centre, 2 right
    // Lines wider than this many pixels wrap between words, never inside one: a word wider than
    // the width overflows it, so the caller sees the bitmap is too wide and can draw smaller
    // (breaking "PM" after its "P" is worse than either). 0 never wraps.
    int wrapWidth = 0;
    int maxHeight = 0;  // lines below this many pixels are cut; 0 never
};

// Premultiplied RGBA, row 0 the top, rows tightly packed. A bitmap without area is 0 x 0.
struct TextBitmap {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;
    bool cut = false;  // lines beyond maxHeight were left out
};

// The bitmap covers the layout's logical box (line heights and advances), grown on any side
// where the ink overhangs it (an italic's last stroke, a swash), and then by half the outline's
// width on every side when an outline is drawn.
TextBitmap rasterizeText(const std::string& utf8, const TextStyle& style);

// The face that text in `fontName` is drawn with, for Latin script.
struct ResolvedFont {
    std::string family;
    int weight = 400;  // OpenType scale
    bool italic = false;
};
ResolvedFont resolveFont(const std::string& fontName);

// Characters that no installed face can draw and that would show as boxes.
int unknownGlyphCount(const std::string& utf8, const TextStyle& style);

}  // namespace orvane::engine
