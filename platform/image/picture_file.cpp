#include "platform/image/picture_file.h"

#include <system_error>

#include "platform/image/bitmap_codec.h"
#include "platform/system/replace_file.h"

namespace orvane::platform {

namespace {

std::string quoted(const std::filesystem::path& file) {
    return "\"" + file.string() + "\"";
}

}  // namespace

PictureRead readPicture(const std::filesystem::path& file) {
    std::string problem;
    const std::optional<Bitmap> bitmap = readBitmapFile(file.string(), problem);
    if (!bitmap) {
        return {std::nullopt, "cannot read " + quoted(file) + ": " + problem};
    }
    if (bitmap->width > kLargestPictureSide || bitmap->height > kLargestPictureSide) {
        return {std::nullopt, quoted(file) + " is too large a picture"};
    }
    return {Picture{bitmap->width, bitmap->height, premultipliedRgba(*bitmap)}, {}};
}

std::optional<std::string> writePictureAsPng(const Picture& picture,
                                             const std::filesystem::path& file) {
    if (picture.width <= 0 || picture.height <= 0 ||
        picture.rgba.size() != static_cast<std::size_t>(picture.width) * picture.height * 4) {
        return quoted(file) + " would hold no picture";
    }
    // Cairo's layout: premultiplied B, G, R, A bytes on this byte order.
    Bitmap bitmap = Bitmap::transparent(picture.width, picture.height);
    for (int y = 0; y < picture.height; ++y) {
        const std::uint8_t* from =
            picture.rgba.data() + static_cast<std::size_t>(y) * picture.width * 4;
        std::uint8_t* to = bitmap.pixels.data() + static_cast<std::size_t>(y) * bitmap.stride;
        for (int x = 0; x < picture.width; ++x, from += 4, to += 4) {
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
            to[3] = from[3];
        }
    }
    const std::vector<std::uint8_t> png = encodePng(bitmap);
    if (png.empty()) {
        return "cannot encode " + quoted(file) + " as PNG";
    }
    const char* step = "";
    if (const int error = replaceFile(
            file, std::string_view(reinterpret_cast<const char*>(png.data()), png.size()), step)) {
        return "cannot write " + quoted(file) + " (" + step +
               "): " + std::generic_category().message(error);
    }
    syncDirectory(file.parent_path());
    return std::nullopt;
}

}  // namespace orvane::platform
