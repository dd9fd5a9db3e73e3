// Scaling and quarter turns of the images handed to the compositor (logo, imported photo).
#pragma once

#include <optional>

#include "compositor/image.h"

namespace orvane::compositor {

// The image scaled with smooth filtering to exactly width x height.
Image scaledImage(const Image& image, int width, int height);
// The image scaled down so its long side is at most `maxSide`; as it is when already small.
Image fitWithin(const Image& image, int maxSide);
// The image turned clockwise by a multiple of 90 degrees.
Image rotatedImage(const Image& image, int degrees);
// The imported photo as the frame pass wants it: a short side of 1080 when both sides exceed
// 640, turned upright by its orientation value (0 by 270 degrees, 1 by 90, 2 by 180, 3 as it
// is), then turned a quarter more if still taller than wide. Nothing for an unknown orientation
// or an image without pixels.
std::optional<Image> uprightLandscapePhoto(const Image& photo);

}  // namespace orvane::compositor
