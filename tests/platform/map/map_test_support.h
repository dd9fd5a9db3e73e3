// Helpers of the map tests: tiles drawn with Cairo (PNG) or encoded with libjpeg-turbo, a wait for
// one snapshot's answer, and colour checks on a snapshot's pixels.
#pragma once

#include <cairo.h>
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/map/MapSnapshotter.h"

namespace orvane::platform::testing {

struct Rgb {
    int red = 0;
    int green = 0;
    int blue = 0;
};

// A square PNG tile of one colour, drawn with Cairo.
inline std::string solidPngTile(Rgb colour, int side = 256) {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, side, side);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0);
    cairo_paint(cr);
    cairo_destroy(cr);
    std::string bytes;
    cairo_surface_write_to_png_stream(
        surface,
        [](void* closure, const unsigned char* data, unsigned int length) {
            static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
            return CAIRO_STATUS_SUCCESS;
        },
        &bytes);
    cairo_surface_destroy(surface);
    return bytes;
}

// The same as a JPEG at quality 95.
inline std::string solidJpegTile(Rgb colour, int side = 256) {
    std::vector<unsigned char> pixels(static_cast<std::size_t>(side) * side * 3);
    for (std::size_t i = 0; i < pixels.size(); i += 3) {
        pixels[i] = static_cast<unsigned char>(colour.red);
        pixels[i + 1] = static_cast<unsigned char>(colour.green);
        pixels[i + 2] = static_cast<unsigned char>(colour.blue);
    }
    tjhandle encoder = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    const int status = tjCompress2(encoder, pixels.data(), side, 0, side, TJPF_RGB, &jpeg, &size,
                                   TJSAMP_444, 95, 0);
    std::string bytes = status == 0 ? std::string(reinterpret_cast<char*>(jpeg), size) : "";
    tjFree(jpeg);
    tjDestroy(encoder);
    return bytes;
}

// The colour of the tile at (x, y): its column's and row's parity, so neighbours always differ.
inline Rgb parityColour(long x, long y) {
    return {x % 2 != 0 ? 220 : 30, y % 2 != 0 ? 220 : 30, 120};
}

// Waits for one completion of a snapshotter.
struct SnapshotAnswer {
    std::mutex mutex;
    std::condition_variable done;
    bool arrived = false;
    std::optional<MapSnapshot> snapshot;
    std::optional<foundation::Error> error;

    MapSnapshotter::Completion completion() {
        return [this](std::optional<MapSnapshot> s, std::optional<foundation::Error> e) {
            std::lock_guard lock(mutex);
            EXPECT_FALSE(arrived) << "completion called twice";
            snapshot = std::move(s);
            error = std::move(e);
            arrived = true;
            done.notify_all();
        };
    }

    bool wait() {
        std::unique_lock lock(mutex);
        return done.wait_for(lock, std::chrono::seconds(30), [this] { return arrived; });
    }

    struct Result {
        std::optional<MapSnapshot> snapshot;
        std::optional<foundation::Error> error;
    };
    Result result() {
        std::lock_guard lock(mutex);
        return {std::move(snapshot), std::move(error)};
    }
};

// Whether the pixel is the colour, each channel within `tolerance`.
inline ::testing::AssertionResult pixelIs(const Bitmap& image, int x, int y, Rgb colour,
                                          int tolerance = 3) {
    const int r = image.red(x, y), g = image.green(x, y), b = image.blue(x, y);
    if (std::abs(r - colour.red) <= tolerance && std::abs(g - colour.green) <= tolerance &&
        std::abs(b - colour.blue) <= tolerance) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "pixel (" << x << ", " << y << ") is " << r << "," << g << "," << b << ", not "
           << colour.red << "," << colour.green << "," << colour.blue;
}

// A folder of its own under the system's temporary folder, removed with everything in it.
class ScratchFolder {
  public:
    ScratchFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "orvane-map-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a scratch folder");
        }
        _path = pattern;
    }
    ~ScratchFolder() {
        std::error_code error;
        std::filesystem::remove_all(_path, error);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return _path; }

  private:
    std::filesystem::path _path;
};

}  // namespace orvane::platform::testing
