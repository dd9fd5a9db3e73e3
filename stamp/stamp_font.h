// The stamp's font size and the margin it asks of the compositor: read once when the stamp layer
// is made, again when the text panel resets, and whenever the font changes.
#pragma once

#include <cstdint>

namespace orvane::stamp {

// The stamp's font size in pixels for a camera mode (0, 2, 3 video; 1 photo), size level 0 to 4
// and video resolution code: video sizes grow with the frame so the text keeps its share.
float stampFontSize(std::int64_t cameraModeIndex, std::int64_t sizeLevel,
                    std::int64_t videoResolution);
// The text distance of a margin mode for a font size: half the size in modes 1 and 2, a quarter
// in mode 3, 0 otherwise; truncated.
int textDistanceForMode(std::int64_t marginsMode, float fontSize);

}  // namespace orvane::stamp
