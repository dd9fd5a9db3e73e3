#include "platform/library/freedesktop_thumbnail.h"

#include <fcntl.h>
#include <glib.h>
#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace orvane::platform {

namespace {

constexpr const char* kUriKey = "Thumb::URI";
constexpr const char* kMTimeKey = "Thumb::MTime";

struct GFreeDeleter {
    void operator()(gchar* text) const { g_free(text); }
};
using GText = std::unique_ptr<gchar, GFreeDeleter>;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// libpng reports errors by jumping back to the setjmp of the function that drives it, so these
// functions keep no object with a destructor in their own frames.
bool writePng(png_structp png, png_infop info, std::FILE* file, const PixelBuffer& image,
              const std::uint8_t* pixels, png_text* texts, int textCount) {
    if (setjmp(png_jmpbuf(png))) {
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width()),
                 static_cast<png_uint_32>(image.height()), 8, PNG_COLOR_TYPE_RGB_ALPHA,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_text(png, info, texts, textCount);
    png_write_info(png, info);
    png_set_bgr(png);
    for (std::int32_t y = 0; y < image.height(); ++y) {
        png_write_row(png, pixels + static_cast<std::size_t>(y) * image.bytesPerRow());
    }
    png_write_end(png, info);
    return true;
}

bool readPngHeader(png_structp png, png_infop info, std::FILE* file, png_uint_32& width,
                   png_uint_32& height) {
    if (setjmp(png_jmpbuf(png))) {
        return false;
    }
    png_init_io(png, file);
    png_read_info(png, info);
    // Every colour type and depth arrives as 8-bit BGRA.
    png_set_expand(png);
    png_set_strip_16(png);
    png_set_gray_to_rgb(png);
    png_set_filler(png, 0xFF, PNG_FILLER_AFTER);
    png_set_bgr(png);
    png_read_update_info(png, info);
    width = png_get_image_width(png, info);
    height = png_get_image_height(png, info);
    return true;
}

bool readPngRows(png_structp png, png_infop info, png_bytepp rows) {
    if (setjmp(png_jmpbuf(png))) {
        return false;
    }
    png_read_image(png, rows);
    png_read_end(png, info);
    return true;
}

}  // namespace

std::string thumbnailFileURI(const std::filesystem::path& path) {
    GText uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    return uri ? std::string(uri.get()) : "file://" + path.string();
}

std::string thumbnailFileName(const std::string& uri) {
    GText digest(g_compute_checksum_for_string(G_CHECKSUM_MD5, uri.c_str(),
                                               static_cast<gssize>(uri.size())));
    return std::string(digest.get()) + ".png";
}

std::filesystem::path thumbnailCacheDirectory(const EnvironmentLookup& environment) {
    if (auto cache = environment("XDG_CACHE_HOME");
        cache && !cache->empty() && cache->front() == '/') {
        return std::filesystem::path(*cache) / "thumbnails";
    }
    const auto home = environment("HOME");
    return std::filesystem::path(home && !home->empty() ? *home : std::string("/")) / ".cache" /
           "thumbnails";
}

ThumbnailFlavor thumbnailFlavorFor(int maximumSize) {
    if (maximumSize <= 128) {
        return {"normal", 128};
    }
    return {"large", 256};
}

std::optional<std::string> writeThumbnailPng(const std::filesystem::path& file,
                                             const PixelBuffer& image, const std::string& uri,
                                             std::int64_t mtime) {
    std::error_code error;
    std::filesystem::create_directories(file.parent_path(), error);
    if (error) {
        return "cannot make " + file.parent_path().string() + ": " + error.message();
    }
    // The cache is private to the user.
    ::chmod(file.parent_path().c_str(), 0700);
    std::string pattern = file.string() + ".XXXXXX";
    const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (fd < 0) {
        return "cannot write in " + file.parent_path().string() + ": " + std::strerror(errno);
    }
    File out(::fdopen(fd, "wb"));
    if (!out) {
        ::close(fd);
        ::unlink(pattern.c_str());
        return std::string("cannot write ") + pattern + ": " + std::strerror(errno);
    }
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    std::string uriText = uri;
    std::string mtimeText = std::to_string(mtime);
    std::string software = "Orvane";
    png_text texts[3]{};
    texts[0].compression = texts[1].compression = texts[2].compression = PNG_TEXT_COMPRESSION_NONE;
    texts[0].key = const_cast<char*>(kUriKey);
    texts[0].text = uriText.data();
    texts[1].key = const_cast<char*>(kMTimeKey);
    texts[1].text = mtimeText.data();
    texts[2].key = const_cast<char*>("Software");
    texts[2].text = software.data();
    bool written = false;
    if (info) {
        const PixelBufferReadLock lock(image);
        written = writePng(png, info, out.get(), image, lock.data(), texts, 3);
    }
    png_destroy_write_struct(png ? &png : nullptr, info ? &info : nullptr);
    const bool flushed = std::fflush(out.get()) == 0;
    const bool closed = std::fclose(out.release()) == 0;
    if (!written || !flushed || !closed) {
        ::unlink(pattern.c_str());
        return "cannot write the thumbnail " + file.string();
    }
    if (std::rename(pattern.c_str(), file.c_str()) != 0) {
        const std::string reason = std::strerror(errno);
        ::unlink(pattern.c_str());
        return "cannot write the thumbnail " + file.string() + ": " + reason;
    }
    return std::nullopt;
}

std::optional<ThumbnailPng> readThumbnailPng(const std::filesystem::path& file) {
    File in(std::fopen(file.c_str(), "rb"));
    if (!in) {
        return std::nullopt;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    std::optional<ThumbnailPng> answer;
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    if (info && readPngHeader(png, info, in.get(), width, height) &&
        PixelBuffer::validateSize(static_cast<std::int32_t>(width),
                                  static_cast<std::int32_t>(height)) == kCVReturnSuccess) {
        auto created = PixelBuffer::create(static_cast<std::int32_t>(width),
                                           static_cast<std::int32_t>(height));
        if (created.buffer) {
            std::vector<png_bytep> rows(height);
            {
                const PixelBufferWriteLock lock(*created.buffer);
                for (png_uint_32 y = 0; y < height; ++y) {
                    rows[y] = lock.data() + y * created.buffer->bytesPerRow();
                }
                if (readPngRows(png, info, rows.data())) {
                    answer.emplace();
                    answer->image = created.buffer;
                }
            }
        }
    }
    if (answer) {
        png_textp texts = nullptr;
        const int count = png_get_text(png, info, &texts, nullptr);
        for (int i = 0; i < count; ++i) {
            if (std::strcmp(texts[i].key, kUriKey) == 0) {
                answer->uri = texts[i].text;
            } else if (std::strcmp(texts[i].key, kMTimeKey) == 0) {
                char* end = nullptr;
                const long long value = std::strtoll(texts[i].text, &end, 10);
                if (end && *end == '\0' && end != texts[i].text) {
                    answer->mtime = value;
                }
            }
        }
    }
    png_destroy_read_struct(png ? &png : nullptr, info ? &info : nullptr, nullptr);
    return answer;
}

}  // namespace orvane::platform
