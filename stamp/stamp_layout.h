// Where the stamp's labels and glyphs lie in the stamp texture, and whether a tick must draw the
// texture again. Pure arithmetic over measured label sizes, so the layer's GL side only measures,
// places and draws.
//
// Offsets are the engine's: the texture spans -1280 to +1280 on each axis, two offset units to a
// pixel, and offset y grows down the stamp as read (-1280 is its top).
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "engine/geometry.h"
#include "foundation/Color.h"

namespace orvane::stamp {

// The top left corner of the stamp texture, in offset units.
inline constexpr auto kStampOrigin = -static_cast<float>(engine::kTextureSide);
// Each shadow lies this far right of and below its text, in offset units (two pixels).
inline constexpr float kShadowOffset = 4.0f;
// The glyph labels: rows 0 to 9 the digits, row 10 the colon that stands for any other character.
inline constexpr std::size_t kGlyphCount = 11;
inline constexpr int kGlyphColon = 10;
// The longest stopwatch, "99:59:59:999"; a longer text stops at its twelfth glyph.
inline constexpr std::size_t kStopWatchGlyphs = 12;

// The glyph row of a character: its digit, or the colon.
int glyphFor(char c);

// A run of glyph labels: which glyph stands at each place and where its top left corner lies.
template <std::size_t N>
struct GlyphRun {
    int length = 0;
    std::array<int, N> index{};
    std::array<engine::Point, N> offset{};
};

// The content sizes of the labels, in offset units. A label with no text measures zero, so a
// hidden block takes no room.
struct StampMeasures {
    engine::Size time;
    engine::Size coordinates;
    engine::Size compassTail;
    engine::Size staticBlock;
    std::array<engine::Size, kGlyphCount> glyphs{};
};

// What the layout needs of a tick beyond the labels' sizes.
struct StampLayoutInput {
    std::string_view fraction;  // digits drawn after the time label
    bool compassShown = false;
    int compassDegree = 0;  // 0 to 359
    bool stopWatchShown = false;
    std::string_view stopWatch;
    int hAlignment = 0;  // 0 left, 1 centre, 2 right
    int timeBelow = 1;   // non-zero puts the time at the bottom
};

// The top left corners of the four text labels (each shadow at kShadowOffset from its text), the
// three glyph runs, and the block's width and height in offset units.
struct StampLayout {
    engine::Point time;
    engine::Point coordinates;
    engine::Point compassTail;
    engine::Point staticBlock;
    GlyphRun<3> fraction;
    GlyphRun<3> compass;
    GlyphRun<kStopWatchGlyphs> stopWatch;
    float width = 0.0f;
    float height = 0.0f;

    // The block's size in texture pixels.
    engine::Size textSize() const { return {width * 0.5f, height * 0.5f}; }
};

// Stacks time (with its fraction digits), coordinate block, compass, stopwatch and static block
// from the top, or static block first and time last when the time is below; lines each block up
// within the widest by the alignment. Glyphs are centred on the line they follow, rounded to
// whole pixels so they stay sharp. Reuses `out`; allocates nothing.
void layoutStamp(const StampLayoutInput& in, const StampMeasures& measures, StampLayout& out);

// Everything besides the label texts that a drawn stamp shows.
struct StampLook {
    std::string_view fraction;
    int compassDegree = -1;  // -1 when the compass is hidden
    bool stopWatchShown = false;
    int hAlignment = 0;
    int timeBelow = 1;
    float backgroundAlpha = 0.0f;
    float textAlpha = 1.0f;
    foundation::Color backgroundColor;
};

// Remembers what the texture last showed. A tick draws only when a label's text changed, the
// stopwatch is shown (its digits run too fast to compare), or something of the look differs from
// the last drawn one; the first tick always draws.
class StampRedrawTest {
  public:
    // Whether to draw; when it says yes it remembers the look.
    bool needsDraw(bool textsChanged, const StampLook& look);

  private:
    std::string _millSecLast;
    int _compassLast = -100;
    int _alignmentLast = -100;
    int _timeOrderLast = -100;
    float _backAlphaLast = -1.0f;
    float _textAlphaLast = -1.0f;
    std::optional<foundation::Color> _backColorLast;
};

}  // namespace orvane::stamp
