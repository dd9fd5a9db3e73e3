#include "platform/image/picture_file.h"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>

#include "platform/system/replace_file.h"

namespace orvane::platform {

namespace {

struct TjFree {
    void operator()(void* handle) const { tjDestroy(handle); }
};

// libpng's simplified reader and writer keep their state in a png_image, freed here whatever
// happens.
struct PngImage {
    png_image image{};
    PngImage() { image.version = PNG_IMAGE_VERSION; }
    ~PngImage() { png_image_free(&image); }
    PngImage(const PngImage&) = delete;
    PngImage& operator=(const PngImage&) = delete;
};

std::string quoted(const std::filesystem::path& file) {
    return "\"" + file.string() + "\"";
}

void premultiply(std::vector<std::uint8_t>& rgba) {
    for (std::size_t i = 0; i + 3 < rgba.size(); i += 4) {
        const unsigned alpha = rgba[i + 3];
        for (std::size_t c = 0; c < 3; ++c) {
            rgba[i + c] = static_cast<std::uint8_t>((rgba[i + c] * alpha + 127) / 255);
        }
    }
}

std::vector<std::uint8_t> unpremultiplied(const std::vector<std::uint8_t>& rgba) {
    std::vector<std::uint8_t> straight(rgba);
    for (std::size_t i = 0; i + 3 < straight.size(); i += 4) {
        const unsigned alpha = straight[i + 3];
        for (std::size_t c = 0; c < 3 && alpha > 0; ++c) {
            straight[i + c] = static_cast<std::uint8_t>(
                std::min(255u, (straight[i + c] * 255u + alpha / 2) / alpha));
        }
    }
    return straight;
}

std::optional<std::string> sizeProblem(const std::filesystem::path& file, int width, int height) {
    if (width <= 0 || height <= 0) {
        return quoted(file) + " has no pixels";
    }
    if (width > kLargestPictureSide || height > kLargestPictureSide) {
        return quoted(file) + " is too large a picture (" + std::to_string(width) + "x" +
               std::to_string(height) + ")";
    }
    return std::nullopt;
}

PictureRead readPng(const std::filesystem::path& file, const std::string& bytes) {
    PngImage png;
    if (!png_image_begin_read_from_memory(&png.image, bytes.data(), bytes.size())) {
        return {std::nullopt, "cannot read " + quoted(file) + " as a PNG: " + png.image.message};
    }
    const int width = static_cast<int>(png.image.width);
    const int height = static_cast<int>(png.image.height);
    if (auto problem = sizeProblem(file, width, height)) {
        return {std::nullopt, *problem};
    }
    png.image.format = PNG_FORMAT_RGBA;
    Picture picture{width, height, std::vector<std::uint8_t>(PNG_IMAGE_SIZE(png.image))};
    if (!png_image_finish_read(&png.image, nullptr, picture.rgba.data(), 0, nullptr)) {
        return {std::nullopt, "cannot read " + quoted(file) + " as a PNG: " + png.image.message};
    }
    premultiply(picture.rgba);
    return {std::move(picture), {}};
}

PictureRead readJpeg(const std::filesystem::path& file, const std::string& bytes) {
    const std::unique_ptr<void, TjFree> decoder(tjInitDecompress());
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colorspace = 0;
    if (!decoder || tjDecompressHeader3(decoder.get(), data, bytes.size(), &width, &height,
                                        &subsampling, &colorspace) != 0) {
        return {std::nullopt,
                "cannot read " + quoted(file) + " as a JPEG: " + tjGetErrorStr2(decoder.get())};
    }
    if (auto problem = sizeProblem(file, width, height)) {
        return {std::nullopt, *problem};
    }
    // A JPEG is opaque: RGBA with alpha 255 is already premultiplied.
    Picture picture{width, height,
                    std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height * 4)};
    if (tjDecompress2(decoder.get(), data, bytes.size(), picture.rgba.data(), width, 0, height,
                      TJPF_RGBA, 0) != 0 &&
        tjGetErrorCode(decoder.get()) == TJERR_FATAL) {
        return {std::nullopt,
                "cannot decode the JPEG " + quoted(file) + ": " + tjGetErrorStr2(decoder.get())};
    }
    return {std::move(picture), {}};
}

}  // namespace

PictureRead readPicture(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        return {std::nullopt,
                "cannot open " + quoted(file) + ": " + std::generic_category().message(errno)};
    }
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    static constexpr unsigned char kPngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (bytes.size() >= sizeof kPngSignature &&
        std::memcmp(bytes.data(), kPngSignature, sizeof kPngSignature) == 0) {
        return readPng(file, bytes);
    }
    if (bytes.size() >= 3 && static_cast<unsigned char>(bytes[0]) == 0xff &&
        static_cast<unsigned char>(bytes[1]) == 0xd8 &&
        static_cast<unsigned char>(bytes[2]) == 0xff) {
        return readJpeg(file, bytes);
    }
    return {std::nullopt, quoted(file) + " is not a PNG or JPEG picture"};
}

std::optional<std::string> writePictureAsPng(const Picture& picture,
                                             const std::filesystem::path& file) {
    if (auto problem = sizeProblem(file, picture.width, picture.height)) {
        return problem;
    }
    PngImage png;
    png.image.width = static_cast<png_uint_32>(picture.width);
    png.image.height = static_cast<png_uint_32>(picture.height);
    png.image.format = PNG_FORMAT_RGBA;
    const std::vector<std::uint8_t> straight = unpremultiplied(picture.rgba);
    png_alloc_size_t size = 0;
    if (!png_image_write_to_memory(&png.image, nullptr, &size, 0, straight.data(), 0, nullptr)) {
        return "cannot encode " + quoted(file) + " as PNG: " + png.image.message;
    }
    std::string bytes(size, '\0');
    if (!png_image_write_to_memory(&png.image, bytes.data(), &size, 0, straight.data(), 0,
                                   nullptr)) {
        return "cannot encode " + quoted(file) + " as PNG: " + png.image.message;
    }
    bytes.resize(size);
    const char* step = "";
    if (const int error = replaceFile(file, bytes, step)) {
        return "cannot write " + quoted(file) + " (" + step +
               "): " + std::generic_category().message(error);
    }
    syncDirectory(file.parent_path());
    return std::nullopt;
}

}  // namespace orvane::platform
