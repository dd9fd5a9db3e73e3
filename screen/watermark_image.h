// The logo: one picture, "watermark.png" in the program's data folder, kept without its opacity.
// The opacity is baked into the pixels as the picture is loaded, so a change of opacity takes
// effect at the next load.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "compositor/image.h"

namespace orvane::screen {

// $XDG_DATA_HOME/orvane/watermark.png.
std::filesystem::path watermarkFile();

// Makes the picture at `source` (PNG or JPEG, any size) the logo: with both sides over 640 it
// is scaled so that its short side is 640, then written in place of `file` all at once. Returns
// the problem, naming the file; the previous logo then stays as it was.
std::optional<std::string> importWatermarkPicture(const std::filesystem::path& source,
                                                  const std::filesystem::path& file);

// The saved logo at `opacity`; nothing without a file. A file that cannot be read is nothing
// too, with the reason in `problem`.
std::optional<compositor::Image> loadWatermarkImage(const std::filesystem::path& file,
                                                    float opacity, std::string& problem);

// Deletes the logo's file; a missing file is no problem. Returns the problem, naming the file.
std::optional<std::string> removeWatermarkImage(const std::filesystem::path& file);

// The image with every premultiplied component scaled by `factor` (clamped to 0..1): the image
// as it shows at that alpha.
compositor::Image imageWithAlphaFactor(compositor::Image image, float factor);

}  // namespace orvane::screen
