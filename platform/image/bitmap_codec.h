// Bitmaps from and to encoded pictures: PNG through Cairo, JPEG through libjpeg-turbo.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/image/Bitmap.h"

namespace orvane::platform {

// A PNG or a JPEG, told apart by their first bytes; nothing, with the reason in `problem`
// ("not a PNG or JPEG picture", "damaged PNG: ..."), for anything else.
std::optional<Bitmap> decodeBitmap(std::span<const std::uint8_t> bytes, std::string& problem);
// The same for a file; the reason names neither the file nor its path, which the caller knows.
std::optional<Bitmap> readBitmapFile(const std::string& path, std::string& problem);
// The bitmap as a PNG file's bytes; empty for an empty bitmap.
std::vector<std::uint8_t> encodePng(const Bitmap& bitmap);

}  // namespace orvane::platform
