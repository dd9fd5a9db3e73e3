// Pictures the user hands the program (a logo), read from PNG or JPEG files and kept as PNG.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace orvane::platform {

// Premultiplied RGBA rows, row 0 the top, rows tightly packed.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;
};

// Pictures larger than this on a side are refused rather than decoded into gigabytes.
inline constexpr int kLargestPictureSide = 16384;

struct PictureRead {
    std::optional<Picture> picture;
    std::string problem;  // why there is none, naming the file
};

// A PNG or JPEG file (bitmap_codec.h), told apart by its first bytes, whatever its name.
PictureRead readPicture(const std::filesystem::path& file);

// Writes the picture as PNG in place of `file`, all at once (a crash leaves the old file or the
// new one). Returns the problem, naming the file, or nothing.
std::optional<std::string> writePictureAsPng(const Picture& picture,
                                             const std::filesystem::path& file);

}  // namespace orvane::platform
