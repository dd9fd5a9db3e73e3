// Drawing bitmaps onto bitmaps with Cairo: a mark placed by its centre, and an opacity baked into
// the pixels.
#pragma once

#include "platform/image/Bitmap.h"

namespace orvane::platform {

// Draws `image` over `target` (source over), scaled by `scale`, with its centre at (x, y) in
// target pixels; what falls outside the target is cut.
void drawCentred(Bitmap& target, const Bitmap& image, double x, double y, double scale);

// The bitmap seen through `factor` (0 transparent .. 1 unchanged): every premultiplied channel
// scaled, as when an image is drawn at that opacity. Factors outside 0..1 are clamped.
Bitmap withAlphaFactor(const Bitmap& bitmap, double factor);

}  // namespace orvane::platform
