#include "stamp/stamp_layout.h"

#include <algorithm>
#include <cmath>

namespace orvane::stamp {

namespace {

// Half of a length in offset units, down to a whole pixel (two offset units): a glyph or block
// placed half a pixel off would be filtered into a blur.
float halfToPixel(float length) {
    return 2.0f * std::floor(length / 4.0f);
}

template <std::size_t N>
void moveRun(GlyphRun<N>& run, float dx, float dy) {
    for (int i = 0; i < run.length; ++i) {
        run.offset[static_cast<std::size_t>(i)].x += dx;
        run.offset[static_cast<std::size_t>(i)].y += dy;
    }
}

// Lays glyphs for `text` left to right from x = kStampOrigin + startX on the line whose top is
// `lineTop`: each centred on a line of `lineHeight`, or on the top with no height given. Returns
// the run's width.
template <std::size_t N>
float layGlyphs(std::string_view text, const StampMeasures& m, float startX, float lineTop,
                std::optional<float> lineHeight, GlyphRun<N>& run) {
    run.length = 0;
    float x = startX;
    for (const char c : text) {
        if (run.length == static_cast<int>(N)) {
            break;
        }
        const int glyph = glyphFor(c);
        const engine::Size size = m.glyphs[static_cast<std::size_t>(glyph)];
        const auto i = static_cast<std::size_t>(run.length++);
        run.index[i] = glyph;
        const float centring = lineHeight ? halfToPixel(*lineHeight - size.height) : 0.0f;
        run.offset[i] = {x + kStampOrigin, lineTop + kStampOrigin + centring};
        x += size.width;
    }
    return x - startX;
}

}  // namespace

int glyphFor(char c) {
    return c >= '0' && c <= '9' ? c - '0' : kGlyphColon;
}

void layoutStamp(const StampLayoutInput& in, const StampMeasures& m, StampLayout& out) {
    // The first line: the time label and its fraction digits, centred on it.
    const float timeHeight = m.time.height;
    out.time = {kStampOrigin, kStampOrigin};
    const float timeWidth =
        m.time.width + layGlyphs(in.fraction, m, m.time.width, 0.0f, timeHeight, out.fraction);

    out.coordinates = {kStampOrigin, timeHeight + kStampOrigin};
    float width = std::max(timeWidth, m.coordinates.width);
    float y = timeHeight + m.coordinates.height;

    // The compass: degree digits centred on the tail's line, the tail after them.
    const float compassTop = y;
    float compassWidth = 0.0f;
    out.compass.length = 0;
    out.compassTail = {kStampOrigin, compassTop + kStampOrigin};
    if (in.compassShown) {
        char digits[4];
        int count = 0;
        int degree = std::clamp(in.compassDegree, 0, 359);
        do {
            digits[count++] = static_cast<char>('0' + degree % 10);
            degree /= 10;
        } while (degree > 0);
        std::reverse(digits, digits + count);
        const float digitsWidth =
            layGlyphs(std::string_view(digits, static_cast<std::size_t>(count)), m, 0.0f, y,
                      m.compassTail.height, out.compass);
        out.compassTail.x = digitsWidth + kStampOrigin;
        compassWidth = digitsWidth + m.compassTail.width;
        width = std::max(width, compassWidth);
        y += m.compassTail.height;
    }

    // The stopwatch: glyphs on their own line, as high as the digit 0.
    const float stopWatchTop = y;
    float stopWatchWidth = 0.0f;
    float stopWatchHeight = 0.0f;
    out.stopWatch.length = 0;
    if (in.stopWatchShown) {
        stopWatchWidth = layGlyphs(in.stopWatch, m, 0.0f, y, std::nullopt, out.stopWatch);
        stopWatchHeight = m.glyphs[0].height;
        width = std::max(width, stopWatchWidth);
        y += stopWatchHeight;
    }

    out.staticBlock = {kStampOrigin, y + kStampOrigin};
    width = std::max(width, m.staticBlock.width);
    const float height = y + m.staticBlock.height;

    // Each block moves right within the widest: all the way, half way or not at all.
    auto shift = [&](float blockWidth) {
        switch (in.hAlignment) {
            case 2:
                return width - blockWidth;
            case 1:
                return halfToPixel(width - blockWidth);
            default:
                return 0.0f;
        }
    };
    const float timeShift = shift(timeWidth);
    out.time.x += timeShift;
    moveRun(out.fraction, timeShift, 0.0f);
    out.coordinates.x += shift(m.coordinates.width);
    const float compassShift = shift(compassWidth);
    out.compassTail.x += compassShift;
    moveRun(out.compass, compassShift, 0.0f);
    moveRun(out.stopWatch, shift(stopWatchWidth), 0.0f);
    out.staticBlock.x += shift(m.staticBlock.width);

    if (in.timeBelow != 0) {
        // Static block at the top, then coordinates, compass, stopwatch, and the time last.
        float top = kStampOrigin;
        out.staticBlock.y = top;
        top += m.staticBlock.height;
        out.coordinates.y = top;
        top += m.coordinates.height;
        const float compassMove = top - (compassTop + kStampOrigin);
        out.compassTail.y += compassMove;
        moveRun(out.compass, 0.0f, compassMove);
        if (in.compassShown) {
            top += m.compassTail.height;
        }
        moveRun(out.stopWatch, 0.0f, top - (stopWatchTop + kStampOrigin));
        top += stopWatchHeight;
        const float timeMove = top - out.time.y;
        out.time.y = top;
        moveRun(out.fraction, 0.0f, timeMove);
    }

    out.width = width;
    out.height = height;
}

bool StampRedrawTest::needsDraw(bool textsChanged, const StampLook& look) {
    const bool changed = textsChanged || look.stopWatchShown || look.fraction != _millSecLast ||
                         look.compassDegree != _compassLast || look.hAlignment != _alignmentLast ||
                         look.timeBelow != _timeOrderLast ||
                         look.backgroundAlpha != _backAlphaLast ||
                         look.textAlpha != _textAlphaLast || look.backgroundColor != _backColorLast;
    if (changed) {
        _millSecLast.assign(look.fraction);
        _compassLast = look.compassDegree;
        _alignmentLast = look.hAlignment;
        _timeOrderLast = look.timeBelow;
        _backAlphaLast = look.backgroundAlpha;
        _textAlphaLast = look.textAlpha;
        _backColorLast = look.backgroundColor;
    }
    return changed;
}

}  // namespace orvane::stamp
