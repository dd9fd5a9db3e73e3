// An image handed to the compositor: a logo, a map snapshot, an imported photo.
#pragma once

#include <cstdint>
#include <vector>

namespace orvane::compositor {

// Premultiplied RGBA rows, row 0 the top. `orientation` is the platform's image orientation
// value (0 up, 1 down, 2 left, 3 right, as the photo picker gives it); only imported photos
// read it.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;
    int orientation = 0;
};

}  // namespace orvane::compositor
