// Thumbnails kept where and how freedesktop.org desktops keep them, so file managers share
// them: a PNG named by the MD5 of the file's URI under $XDG_CACHE_HOME/thumbnails/normal (128 px)
// or large (256 px), carrying Thumb::URI and Thumb::MTime; a thumbnail whose URI or time does
// not match its file is stale.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/library/photo_library_folder.h"
#include "platform/media/PixelBuffer.h"

namespace orvane::platform {

// The "file://" URI of an absolute path, escaped as file managers write it when they name
// thumbnails.
std::string thumbnailFileURI(const std::filesystem::path& path);
// The MD5 of the URI in lowercase hex, with ".png".
std::string thumbnailFileName(const std::string& uri);
// $XDG_CACHE_HOME/thumbnails, else ~/.cache/thumbnails.
std::filesystem::path thumbnailCacheDirectory(
    const EnvironmentLookup& environment = processEnvironment);

struct ThumbnailFlavor {
    const char* folder;  // "normal" or "large"
    int size;            // the longer side at most
};
// The smallest flavor that holds `maximumSize` pixels, large when none does.
ThumbnailFlavor thumbnailFlavorFor(int maximumSize);

// The thumbnail text chunks of a PNG, and its pixels.
struct ThumbnailPng {
    PixelBufferRef image;
    std::string uri;
    std::optional<std::int64_t> mtime;
};

// Writes the image as a PNG with Thumb::URI and Thumb::MTime, through a temporary file renamed
// into place, readable by the user alone. Answers the error text, or nothing.
std::optional<std::string> writeThumbnailPng(const std::filesystem::path& file,
                                             const PixelBuffer& image, const std::string& uri,
                                             std::int64_t mtime);
// Reads a PNG with its thumbnail chunks; none when it cannot be read.
std::optional<ThumbnailPng> readThumbnailPng(const std::filesystem::path& file);

}  // namespace orvane::platform
