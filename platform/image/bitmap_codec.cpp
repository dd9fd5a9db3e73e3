#include "platform/image/bitmap_codec.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

#include "platform/image/cairo_handles.h"

namespace orvane::platform {
namespace {

constexpr std::uint8_t kPngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::uint8_t kJpegSignature[] = {0xFF, 0xD8, 0xFF};
// Larger pictures are refused before decoding: no tile or mark comes near this.
constexpr int kMaxSide = 8192;

struct TjDestroy {
    void operator()(void* handle) const { tjDestroy(handle); }
};
using TjHandle = std::unique_ptr<void, TjDestroy>;

bool startsWith(std::span<const std::uint8_t> bytes, std::span<const std::uint8_t> signature) {
    return bytes.size() >= signature.size() &&
           std::equal(signature.begin(), signature.end(), bytes.begin());
}

struct ReadCursor {
    std::span<const std::uint8_t> bytes;
    std::size_t offset = 0;
};

cairo_status_t readFromCursor(void* closure, unsigned char* data, unsigned int length) {
    auto* cursor = static_cast<ReadCursor*>(closure);
    if (cursor->bytes.size() - cursor->offset < length) {
        return CAIRO_STATUS_READ_ERROR;
    }
    std::memcpy(data, cursor->bytes.data() + cursor->offset, length);
    cursor->offset += length;
    return CAIRO_STATUS_SUCCESS;
}

cairo_status_t appendToVector(void* closure, const unsigned char* data, unsigned int length) {
    auto* out = static_cast<std::vector<std::uint8_t>*>(closure);
    out->insert(out->end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}

std::optional<Bitmap> decodePng(std::span<const std::uint8_t> bytes, std::string& problem) {
    ReadCursor cursor{bytes};
    CairoSurface surface(cairo_image_surface_create_from_png_stream(readFromCursor, &cursor));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        problem = std::string("damaged PNG: ") +
                  cairo_status_to_string(cairo_surface_status(surface.get()));
        return std::nullopt;
    }
    const int width = cairo_image_surface_get_width(surface.get());
    const int height = cairo_image_surface_get_height(surface.get());
    if (width > kMaxSide || height > kMaxSide) {
        problem = "the PNG is larger than " + std::to_string(kMaxSide) + " pixels a side";
        return std::nullopt;
    }
    // Cairo decodes into ARGB32 or, for pictures without alpha, RGB24, whose unused top byte is
    // made opaque by painting onto a bitmap of our own.
    Bitmap bitmap = Bitmap::transparent(width, height);
    CairoSurface target = surfaceOver(bitmap);
    Cairo cr(cairo_create(target.get()));
    cairo_set_source_surface(cr.get(), surface.get(), 0, 0);
    cairo_set_operator(cr.get(), CAIRO_OPERATOR_SOURCE);
    cairo_paint(cr.get());
    cr.reset();
    cairo_surface_flush(target.get());
    return bitmap;
}

std::optional<Bitmap> decodeJpeg(std::span<const std::uint8_t> bytes, std::string& problem) {
    TjHandle decoder(tjInitDecompress());
    if (!decoder) {
        problem = "libjpeg-turbo could not start a decoder";
        return std::nullopt;
    }
    int width = 0, height = 0, subsampling = 0, colourspace = 0;
    auto* data = const_cast<unsigned char*>(bytes.data());
    const auto size = static_cast<unsigned long>(bytes.size());
    if (tjDecompressHeader3(decoder.get(), data, size, &width, &height, &subsampling,
                            &colourspace) != 0) {
        problem = std::string("damaged JPEG: ") + tjGetErrorStr2(decoder.get());
        return std::nullopt;
    }
    if (width <= 0 || height <= 0) {
        problem = "damaged JPEG: it gives no size";
        return std::nullopt;
    }
    if (width > kMaxSide || height > kMaxSide) {
        problem = "the JPEG is larger than " + std::to_string(kMaxSide) + " pixels a side";
        return std::nullopt;
    }
    Bitmap bitmap = Bitmap::transparent(width, height);
    // BGRA with the fourth byte set opaque is ARGB32 on this machine, and JPEG has no alpha to
    // premultiply.
    if (tjDecompress2(decoder.get(), data, size, bitmap.pixels.data(), width, bitmap.stride, height,
                      TJPF_BGRA, TJFLAG_ACCURATEDCT) != 0) {
        problem = std::string("damaged JPEG: ") + tjGetErrorStr2(decoder.get());
        return std::nullopt;
    }
    return bitmap;
}

}  // namespace

std::optional<Bitmap> decodeBitmap(std::span<const std::uint8_t> bytes, std::string& problem) {
    if (startsWith(bytes, kPngSignature)) {
        return decodePng(bytes, problem);
    }
    if (startsWith(bytes, kJpegSignature)) {
        return decodeJpeg(bytes, problem);
    }
    problem = "not a PNG or JPEG picture";
    return std::nullopt;
}

std::optional<Bitmap> readBitmapFile(const std::string& path, std::string& problem) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        problem = std::strerror(errno);
        return std::nullopt;
    }
    const std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)),
                                          std::istreambuf_iterator<char>());
    if (file.bad()) {
        problem = "read error";
        return std::nullopt;
    }
    return decodeBitmap(bytes, problem);
}

std::vector<std::uint8_t> encodePng(const Bitmap& bitmap) {
    std::vector<std::uint8_t> bytes;
    if (bitmap.empty()) {
        return bytes;
    }
    Bitmap copy = bitmap;  // Cairo's surface needs writable pixels
    CairoSurface surface = surfaceOver(copy);
    cairo_surface_write_to_png_stream(surface.get(), appendToVector, &bytes);
    return bytes;
}

}  // namespace orvane::platform
