// Merges a properties dictionary into an encoded image without encoding its pixels again.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/image/ImageProperties.h"

namespace orvane::platform {

class ImageMetadataWriter {
  public:
    virtual ~ImageMetadataWriter() = default;

    // New bytes holding `imageData`'s picture as it was and its own tags, with the tags of
    // `metadata` added or replacing theirs. Empty, after a log line, when the data is not an
    // image the writer handles or cannot be read or written. Safe from any thread.
    virtual std::vector<std::uint8_t> writeMetadataIntoImageData(
        std::span<const std::uint8_t> imageData, const ImageProperties& metadata) = 0;
};

}  // namespace orvane::platform
