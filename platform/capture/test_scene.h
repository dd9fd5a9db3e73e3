// The synthetic camera's picture: colour bars, a grey ramp and a disc that circles the frame,
// so motion, colour and scale are all visible in a stamped frame or movie.
#pragma once

#include "platform/media/PixelBuffer.h"

namespace orvane::platform {

// Draws the scene at `seconds` into every pixel of `buffer` (opaque 32BGRA).
void drawTestScene(PixelBuffer& buffer, double seconds);

}  // namespace orvane::platform
