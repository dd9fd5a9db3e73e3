// The metadata writer over exiv2: EXIF, TIFF, GPS and IPTC tags into a JPEG, the compressed
// picture copied as it is.
#pragma once

#include "platform/image/ImageMetadataWriter.h"

namespace orvane::platform {

// Keys map onto tags by name: TIFF keys onto the image directory, Exif keys onto the photo
// directory, GPS keys onto the GPS directory with the "GPS" prefix, IPTC keys onto the
// application record; the top level's orientation onto the image directory's. Coordinates
// become degrees, minutes and seconds, the GPS time three rationals, the user comment gets its
// character set, keywords one record each. A key the standards do not know is left out with a
// log line; the rest is still written.
class Exiv2ImageMetadataWriter final : public ImageMetadataWriter {
  public:
    Exiv2ImageMetadataWriter();

    std::vector<std::uint8_t> writeMetadataIntoImageData(std::span<const std::uint8_t> imageData,
                                                         const ImageProperties& metadata) override;
};

}  // namespace orvane::platform
