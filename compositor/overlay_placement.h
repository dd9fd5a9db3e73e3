// Where the stamp's text block, the map, the compass and the logo lie in the output buffer, for
// every device orientation, margin mode and position setting. All in buffer pixels: x along the
// width W, y along the height H, (0, 0) the first pixel. The buffer does not turn with the
// device, so a corner the viewer sees is a different buffer corner in each orientation.
//
// Pure functions; the compositor keeps the state (orientation, text distance, text rectangle).
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "engine/geometry.h"
#include "stamp/stamp_font.h"

namespace orvane::compositor {

// Device orientations: 1 portrait, 2 upside down, 3 landscape with the home key right (buffer
// and viewer agree), 4 landscape with the home key left.
inline constexpr int kOrientationPortrait = 1;
inline constexpr int kOrientationPortraitUpsideDown = 2;
inline constexpr int kOrientationLandscapeRight = 3;
inline constexpr int kOrientationLandscapeLeft = 4;

struct PointF {
    double x = 0;
    double y = 0;
    bool operator==(const PointF&) const = default;
};

struct SizeI {
    int width = 0;
    int height = 0;
    bool operator==(const SizeI&) const = default;
};

struct PointI {
    int x = 0;
    int y = 0;
    bool operator==(const PointI&) const = default;
};

struct RectF {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const RectF&) const = default;
};

// The stamp layer owns the font size and the text distance it asks for; the compositor reads them
// when the font changes.
using stamp::stampFontSize;
using stamp::textDistanceForMode;

// Horizontal alignment of the text for a position code 0 to 5: 0 left, 1 centre, 2 right.
int alignmentForPosition(std::int64_t timePosition);

// Per-axis margins. Mode 2 ("Printable") adds the band a 3:2 print crop takes away.
struct Margins {
    int dx = 0;
    int dy = 0;
    bool operator==(const Margins&) const = default;
};
Margins marginsFor(int textDistance, std::int64_t marginsMode, int width, int height);

// The quad corners, in the order of the texture coordinates (0,0), (1,0), (0,1), (1,1), as x, y
// pairs; nothing for an unknown orientation. A device with only a front camera swaps the
// orientations in pairs (1 with 2, 3 with 4).
std::optional<std::array<float, 8>> stampQuad(int orientation, bool onlyFrontCamera);

// The provisional text origin set at a change of orientation or output size.
std::optional<PointF> provisionalTextOrigin(int orientation, bool onlyFrontCamera, int width,
                                            int height);

// The origin of the 1280 square text rectangle for the text size (tw, th) of the stamp layer.
// Nothing for an unknown orientation or position. On an only-front device the margins are not
// applied and the orientations swap in pairs.
std::optional<PointF> textRectOrigin(int orientation, std::int64_t timePosition, Margins margins,
                                     bool onlyFrontCamera, double width, double height,
                                     double textWidth, double textHeight);

// The room the text block may take, in the stamp layer's terms (width along the viewer's
// horizontal): the frame as the viewer sees it, less the margins on both sides, and no more than
// the stamp's square. An unknown orientation takes the smaller of both readings.
SizeI textRoom(int orientation, Margins margins, int width, int height);

// The part of the text rectangle the block occupies. Chosen by the orientation itself, also on
// an only-front device.
std::optional<RectF> textScissor(int orientation, PointF origin, double textWidth,
                                 double textHeight);

// The viewport size of an image overlay of `share` of the frame (base share times the size
// setting), keeping the image's aspect; portrait orientations transpose box and image.
SizeI overlaySize(double share, int width, int height, int imageWidth, int imageHeight,
                  int orientation);

// The logo's margin for its edge setting.
int logoMargin(std::int64_t edge, int width);

// The viewport origin of an overlay of size (w, h) at position code 0 to 5 (6: the logo's
// centre), with margin `edge`. Nothing for an unknown code or orientation.
std::optional<PointI> overlayOrigin(int orientation, std::int64_t code, int width, int height,
                                    SizeI size, int edge);

// Automatic positions that keep out of the text block's way.
struct OverlayPositions {
    int map = 0;
    int compass = 0;
    int logo = 0;
    bool operator==(const OverlayPositions&) const = default;
};
std::optional<OverlayPositions> automaticOverlayPositions(std::int64_t timePosition);

}  // namespace orvane::compositor
