// Decoding a library file into a small picture for its thumbnail: JPEG through libjpeg-turbo at
// the nearest scale it decodes to directly, anything else (movies above all) as its first video
// frame through FFmpeg; both end scaled with swscale to at most `maximumSize` on the longer side,
// never enlarged.
#pragma once

#include <filesystem>
#include <string>

#include "platform/media/PixelBuffer.h"

namespace orvane::platform {

struct DecodedThumbnail {
    PixelBufferRef image;  // 32BGRA, opaque; null on failure
    std::string problem;   // why it failed
};

// The size that fits `width` x `height` into `maximumSize` on its longer side, keeping the
// aspect ratio, at least 1 pixel either way, never larger than the source.
struct ThumbnailSize {
    int width;
    int height;
};
ThumbnailSize fitThumbnail(int width, int height, int maximumSize);

DecodedThumbnail decodeJpegThumbnail(const std::filesystem::path& file, int maximumSize);
DecodedThumbnail decodeMovieThumbnail(const std::filesystem::path& file, int maximumSize);
// JPEG when the file starts like one, else FFmpeg.
DecodedThumbnail decodeThumbnail(const std::filesystem::path& file, int maximumSize);

}  // namespace orvane::platform
