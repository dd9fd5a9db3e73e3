#include "screen/watermark_image.h"

#include <algorithm>
#include <cmath>
#include <system_error>

#include "compositor/image_transform.h"
#include "platform/image/picture_file.h"
#include "platform/system/user_folders.h"

namespace orvane::screen {

namespace {

// A picked logo keeps this short side at most, when both its sides are larger.
constexpr int kImportShortSide = 640;

std::string quoted(const std::filesystem::path& file) {
    return "\"" + file.string() + "\"";
}

}  // namespace

std::filesystem::path watermarkFile() {
    return platform::userDataFolder() / "watermark.png";
}

std::optional<std::string> importWatermarkPicture(const std::filesystem::path& source,
                                                  const std::filesystem::path& file) {
    platform::PictureRead read = platform::readPicture(source);
    if (!read.picture) {
        return read.problem;
    }
    compositor::Image image{read.picture->width, read.picture->height,
                            std::move(read.picture->rgba)};
    if (image.width > kImportShortSide && image.height > kImportShortSide) {
        const double scale = static_cast<double>(kImportShortSide) /
                             static_cast<double>(std::min(image.width, image.height));
        image = compositor::scaledImage(
            image, std::max(1, static_cast<int>(std::lround(image.width * scale))),
            std::max(1, static_cast<int>(std::lround(image.height * scale))));
    }
    std::error_code error;
    std::filesystem::create_directories(file.parent_path(), error);
    if (error) {
        return "cannot make the folder " + quoted(file.parent_path()) + ": " + error.message();
    }
    return platform::writePictureAsPng({image.width, image.height, std::move(image.rgba)}, file);
}

std::optional<compositor::Image> loadWatermarkImage(const std::filesystem::path& file,
                                                    float opacity, std::string& problem) {
    std::error_code error;
    if (!std::filesystem::exists(file, error)) {
        return std::nullopt;
    }
    platform::PictureRead read = platform::readPicture(file);
    if (!read.picture) {
        problem = read.problem;
        return std::nullopt;
    }
    return imageWithAlphaFactor(
        {read.picture->width, read.picture->height, std::move(read.picture->rgba)}, opacity);
}

std::optional<std::string> removeWatermarkImage(const std::filesystem::path& file) {
    std::error_code error;
    std::filesystem::remove(file, error);
    if (error) {
        return "cannot remove " + quoted(file) + ": " + error.message();
    }
    return std::nullopt;
}

compositor::Image imageWithAlphaFactor(compositor::Image image, float factor) {
    const float f = std::isfinite(factor) ? std::clamp(factor, 0.0f, 1.0f) : 1.0f;
    if (f < 1.0f) {
        for (std::uint8_t& component : image.rgba) {
            component = static_cast<std::uint8_t>(std::lround(component * f));
        }
    }
    return image;
}

}  // namespace orvane::screen
